#include "support/ini_settings.h"

#include <array>
#include <filesystem>

#include "support/handles.h"
#include "support/registry.h"
#include "support/registry_administration.h"
#include "support/text.h"
#include "support/user.h"
#include "support/value_deletion.h"
#include "tests/components.h"

namespace {

namespace fs = std::filesystem;

const std::wstring folder = test_folder + LR"(suite\)";
const std::wstring users_file = test_folder + get_UserName() + L".own.ini";
constexpr const wchar_t* written_key = L"NORVAK_TEST_KEY";  // what another process is to write
constexpr int many = 500;

bool write_Text(std::wstring path, const std::wstring& text) {
  return regwrite_sz(path, text);
}

Lines values_Of(const std::wstring& name) {
  return {regread_Text(norvak + name), value_At(norvak + name)};
}

void write_Many(const std::wstring& key) {
  for (int number = 0; number < many; ++number)
    EXPECT_TRUE(write_Text(norvak + key + std::to_wstring(number), std::to_wstring(number)));
}

// This program, started as another writer: it writes its values and ends before any case begins.
struct Writer : testing::Environment {
  void SetUp() override {
    std::array<wchar_t, 32> key{};
    if (GetEnvironmentVariableW(written_key, key.data(), 32) == 0)
      return;
    CoInitialize(nullptr);
    write_Many(key.data());
    ExitProcess(0);
  }
};
[[maybe_unused]] const auto* const writer = testing::AddGlobalTestEnvironment(new Writer);

class IniMode : public Machine {
 protected:
  IniMode() {
    set_Value(norvak + L"useini", L"1");
    set_Value(norvak + L"userini", test_folder + L"%USER%.own.ini");
    set_Value(norvak + LR"(pdf\path)", folder);
    make_File(folder + L"global.ini", L"[Software\\Norvak]\r\na=global\r\nb=global\r\n[torn\r\n=\r\n");
    make_File(folder + L"norvak.ini", L"[SOFTWARE\\Norvak]\r\na=default\r\nb=default\r\nc=\"default \"\r\n");
    make_File(users_file, L"[Software\\Norvak]\r\na=user\r\n");
  }
};

TEST_F(IniMode, ReadsTheUsersFileThenTheCommonOnesThenTheRegistry) {
  for (const auto* name : {L"a", L"b", L"c", L"d", L"utest"})
    set_Value(norvak + name, L"registry");
  make_File(users_file, L"utest=user\r\n");
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {{L"a", L"user"},         {L"b", L"global"},
                                                            {L"c", L"default "},     {L"d", L"registry"},
                                                            {L"utest", L"registry"}, {L"missing", L""}};
  for (const auto& [name, value] : rows)
    EXPECT_EQ(regread_Text(norvak + name), value) << to_Ansi(name);
}

TEST_F(IniMode, IsOffForANought) {
  set_Value(norvak + L"useini", L"0");
  EXPECT_EQ(regread_Text(norvak + L"a"), L"");
}

TEST_F(IniMode, MovesWhatIsWrittenIntoTheFileOfItsRoot) {
  const std::wstring umlauts = L" \"Tr\u00E4ger\" ; = [x] ";
  const struct {
    const wchar_t* Name;
    std::wstring Value;
    Lines After;  // what a read gives, what the registry holds
  } rows[] = {{L"b", L"1", {L"1", L"(none)"}},
              {L"e", umlauts, {umlauts, L"(none)"}},
              {L"e", L"'", {L"'", L"(none)"}},
              {L"e", std::wstring(300, L'x'), {std::wstring(300, L'x'), L"(none)"}},
              {L"f", L"two\r\nlines", {L"old", L"old"}},
              {L"g", L"", {L"", L"(none)"}},
              {L"CryptDriveX", L"1", {L"1", L"1"}},
              {L"PenetworkX", L"1", {L"1", L"1"}},
              {L"=", L"1", {L"1", L"1"}},
              {L"", L"1", {L"1", L"1"}}};
  for (const auto& [name, value, after] : rows) {
    set_Value(norvak + name, L"old");
    EXPECT_EQ(write_Text(norvak + name, value), after[0] == value);
    regread_Text(norvak + L"another");
    EXPECT_EQ(values_Of(name), after) << to_Ansi(name) << to_Ansi(value);
  }
  std::wstring users_path = LR"(HKCU\Software\Norvak\x\a)";
  EXPECT_TRUE(regwrite_dw(users_path, -5));
  EXPECT_EQ(regread_Text(users_path), L"-5");
  EXPECT_EQ(read_Lines(users_file).back(), L"a=-5");
  EXPECT_FALSE(fs::exists(users_file + L".lock"));
  EXPECT_TRUE(deletevalue(norvak + L"b"));
  EXPECT_EQ(regread_Text(norvak + L"b"), L"");
}

TEST_F(IniMode, LosesNothingToAnotherProgramAndOutlivesADeadOne) {
  std::array<wchar_t, MAX_PATH> program{};
  GetModuleFileNameW(nullptr, program.data(), MAX_PATH);
  const auto start_Writer = [&](const wchar_t* key) {
    SetEnvironmentVariableW(written_key, key);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    CreateProcessW(program.data(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started);
    CloseHandle(started.hThread);
    return unique_kernel_handle(started.hProcess);
  };
  const auto other = start_Writer(L"other");
  write_Many(L"own");
  WaitForSingleObject(other.get(), INFINITE);
  for (const std::wstring key : {L"own", L"other"})
    for (int number = 0; number < many; ++number)
      EXPECT_EQ(regread_Text(norvak + key + std::to_wstring(number)), std::to_wstring(number));
  const auto dying = start_Writer(L"dying");
  while (!fs::exists(folder + L"global.ini.lock") && WaitForSingleObject(dying.get(), 0) == WAIT_TIMEOUT) {
  }
  TerminateProcess(dying.get(), 1);
  EXPECT_TRUE(write_Text(norvak + L"after", L"1"));
  const unique_kernel_handle held(CreateFileW((folder + L"global.ini.lock").c_str(), GENERIC_WRITE, 0,
                                              nullptr, CREATE_ALWAYS, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
  EXPECT_FALSE(write_Text(norvak + L"after", L"2")) << "a lock that is not let go";
  EXPECT_EQ(regread_Text(norvak + L"after"), L"1");
}

}  // namespace
