#include "settings/ini_settings.h"

#include <array>
#include <filesystem>

#include "base/handles.h"
#include "base/text.h"
#include "files/files.h"
#include "files/user.h"
#include "settings/registry.h"
#include "tests/accounts.h"
#include "tests/components.h"

namespace {

namespace fs = std::filesystem;

const std::wstring folder = test_folder + LR"(suite\)";
const std::wstring users_file = test_folder + get_UserName() + L".own.ini";
constexpr const wchar_t* written_key = L"NORVAK_TEST_KEY";  // tells another process what to write
constexpr int many = 20;

bool write_Text(const std::wstring& path, const std::wstring& text) {
  return regwrite_sz(path, text);
}

Lines values_Of(const std::wstring& name) {
  return {regread_Text(norvak + name), value_At(norvak + name)};
}

// Both processes share these events: the other writer is within a write, and this one waits for it.
const unique_kernel_handle inside(CreateEventW(nullptr, FALSE, FALSE, L"norvak writer inside"));
const unique_kernel_handle awaited(CreateEventW(nullptr, FALSE, FALSE, L"norvak writer awaited"));
constexpr DWORD patience = 20000;

// The other writer stays in each of its writes, the lock held, until this one waits for it.
BOOL WINAPI write_WhenAwaited(const wchar_t* section, const wchar_t* name, const wchar_t* value,
                              const wchar_t* file) {
  if (section != nullptr) {
    ResetEvent(awaited.get());
    SetEvent(inside.get());
    if (WaitForSingleObject(awaited.get(), patience) != WAIT_OBJECT_0)
      ExitProcess(1);
  }
  static const auto write =
      reinterpret_cast<decltype(&write_WhenAwaited)>(kernel_Function("WritePrivateProfileStringW"));
  return write(section, name, value, file);
}

void WINAPI sleep_Visibly(DWORD milliseconds) {
  SetEvent(awaited.get());
  SleepEx(milliseconds, FALSE);
}

bool write_Number(const std::wstring& key, int number) {
  return write_Text(norvak + key + std::to_wstring(number), std::to_wstring(number));
}

// This program, started as another writer: it writes its values and ends before any case begins.
struct Writer : testing::Environment {
  void SetUp() override {
    std::array<wchar_t, 32> key{};
    if (GetEnvironmentVariableW(written_key, key.data(), 32) == 0)
      return;
    CoInitialize(nullptr);
    pretend_Account(false);
    use_Clock();
    patch_Import("WritePrivateProfileStringW", reinterpret_cast<void*>(write_WhenAwaited));
    for (int number = 0; number < many; ++number)
      EXPECT_TRUE(write_Number(key.data(), number));
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
  const Log log;
  for (const auto* name : {L"a", L"b", L"c", L"d", L"utest"})
    set_Value(norvak + name, L"registry");
  make_File(users_file, L"utest=user\r\n");
  const std::pair<const wchar_t*, const wchar_t*> rows[] = {{L"a", L"user"},         {L"b", L"global"},
                                                            {L"c", L"default "},     {L"d", L"registry"},
                                                            {L"utest", L"registry"}, {L"missing", L""}};
  for (const auto& [name, value] : rows)
    EXPECT_EQ(regread_Text(norvak + name), value) << to_Ansi(name);
  const std::wstring begin = L"entering replace_in_inipath", end = L"finished replace_in_inipath";
  EXPECT_EQ(log.messages(), (Lines{begin, end, begin, end, begin, end}));
}

struct FirstCall {
  const char* Name;
  void (*Call)();
};

class FirstCallInIniMode : public IniMode, public testing::WithParamInterface<FirstCall> {};

// The install folder is then the one that is found by its icon, not the one that its registry value names.
TEST_P(FirstCallInIniMode, FindsTheFilesInTheFolderOfTheIcon) {
  set_Value(norvak + LR"(pdf\path)", L"");
  set_Value(norvak + LR"(pdf\INSTALLDIR)", folder);
  make_File(LR"(c:\programme\bergstede\norvak.ico)");
  make_File(LR"(c:\programme\bergstede\global.ini)", L"[Software\\Norvak]\r\nb=beside the icon\r\n");
  GetParam().Call();
  EXPECT_EQ(regread_Text(norvak + L"b"), L"beside the icon");
}

INSTANTIATE_TEST_SUITE_P(, FirstCallInIniMode,
                         testing::Values(FirstCall{"Read", [] { regread_Text(norvak + L"c"); }},
                                         FirstCall{"Question", [] { find_Value(norvak + L"c"); }},
                                         FirstCall{"Write", [] { write_Text(norvak + L"x", L"1"); }},
                                         FirstCall{"Deletion", [] { deletevalue(norvak + L"x"); }}),
                         [](const auto& row) { return std::string(row.param.Name); });

TEST_F(IniMode, IsOffForAZero) {
  set_Value(norvak + L"useini", L"0");
  EXPECT_EQ(regread_Text(norvak + L"a"), L"");
}

TEST_F(IniMode, MovesWhatIsWrittenIntoTheFileOfItsRoot) {
  const std::wstring umlauts = L" \"Tr\u00E4ger\" ; = [x] ";
  const struct {
    const wchar_t* Name;
    std::wstring Value;
    Lines After;  // what a read gives, and what the registry holds
  } rows[] = {{L"b", L"1", {L"1", L"(none)"}},
              {L"e", umlauts, {umlauts, L"(none)"}},
              {L"e", L"'", {L"'", L"(none)"}},
              {L"e", std::wstring(300, L'x'), {std::wstring(300, L'x'), L"(none)"}},
              {L"f", L"two\r\nlines", {L"old", L"old"}},
              {L"g", L"", {L"", L"(none)"}},
              {LR"(pdf\path)", folder, {folder, folder}},
              {L"", L"1", {L"1", L"1"}}};
  for (const auto& [name, value, after] : rows) {
    set_Value(norvak + name, L"old");
    EXPECT_EQ(write_Text(norvak + name, value), after[0] == value);
    regread_Text(norvak + L"another");
    EXPECT_EQ(values_Of(name), after) << to_Ansi(name) << to_Ansi(value);
  }
  // What the system or the suite reads in the registry, and what an INI file cannot hold, stays in the
  // registry.
  for (const auto& part : split(
           L"currentcontrolset|CurrentVersion|utest|ctest|atest|c3979a98|Microsoft\\Office|Language|"
           L"useini|userini|globalini|InstallDir|StickDrive|CryptDrive|Penetwork|=|[a|;a| a|\x1A|a\nb|a]\\b",
           L'|')) {
    EXPECT_TRUE(write_Text(norvak + part + L"X", L"1"));
    EXPECT_EQ(values_Of(part + L"X"), Lines(2, L"1")) << to_Ansi(part);
  }
  const auto* const users_path = LR"(HKCU\Software\Norvak\x\a)";
  EXPECT_TRUE(regwrite_dw(users_path, -5));
  EXPECT_EQ(regread_Text(users_path), L"-5");
  EXPECT_EQ(read_Lines(users_file).back(), L"a=-5");
  EXPECT_FALSE(fs::exists(users_file + L".lock"));
  EXPECT_TRUE(deletevalue(norvak + L"b"));
  EXPECT_EQ(regread_Text(norvak + L"b"), L"");
}

// As an editor saves it, with the mark of its encoding.
std::string saved(std::wstring_view text, std::string_view mark) {
  std::string bytes(mark);
  if (mark.size() == 3)
    return bytes + std::string(reinterpret_cast<const char*>(fs::path(text).u8string().c_str()));
  for (const wchar_t letter : text) {
    const char halves[] = {static_cast<char>(letter & 0xFF), static_cast<char>(letter >> 8)};
    bytes += halves[mark.front() == '\xFE'];
    bytes += halves[mark.front() != '\xFE'];
  }
  return bytes;
}

TEST_F(IniMode, ReadsAFileByItsMarkAndKeepsAllOfItWhenItIsWritten) {
  const std::wstring text =
      L"[Other]\r\nx=no\r\n;x=no\r\n[ software\\norvak ]\n  X = \"\u5951 \" "
      L"\r\n[Software\\Norvak\\csp]\r\nx='\u7D04'";
  for (const std::string mark : {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}) {
    replace_File(folder + L"global.ini", saved(text, mark));
    EXPECT_EQ(regread_Text(norvak + L"x"), L"\u5951 ");
    EXPECT_TRUE(write_Text(norvak + L"written", L"\u66F8"));
    for (const auto& [name, value] :
         {std::pair(LR"(csp\x)", L"\u7D04"), {L"x", L"\u5951 "}, {L"written", L"\u66F8"}})
      EXPECT_EQ(regread_Text(norvak + name), value) << to_Ansi(name);
  }
  // What is no text in its encoding would be lost.
  for (const std::string torn : {"\xEF\xBB\xBF[a]\r\nb=\xFF\r\n", "\xFE\xFF\1"}) {
    replace_File(folder + L"global.ini", torn);
    EXPECT_FALSE(write_Text(norvak + L"written", L"1"));
    EXPECT_EQ(read_Bytes(folder + L"global.ini"), torn);
  }
}

TEST_F(IniMode, LeavesCertificatesToTheAdministrator) {
  const auto path = norvak + LR"(CSP\CertificateAlwaysValid)";
  make_File(users_file, L"[Software\\Norvak\\CSP]\r\nCertificateAlwaysValid=1\r\nother=1\r\n");
  EXPECT_EQ(regread_Text(path), L"");
  EXPECT_EQ(regread_Text(norvak + LR"(CSP\other)"), L"1");
  make_File(folder + L"global.ini", L"[Software\\Norvak\\CSP]\r\nCertificateAlwaysValid=1\r\n");
  EXPECT_EQ(regread_Text(path), L"1");
}

// What others could change, and the value that is read then.
class ElevatedIniMode : public IniMode,
                        public testing::WithParamInterface<std::pair<std::wstring, std::wstring>> {};

INSTANTIATE_TEST_SUITE_P(, ElevatedIniMode,
                         testing::Values(std::pair(users_file, L"global"),
                                         std::pair(folder + L"global.ini", L"user"),
                                         std::pair(folder.substr(0, folder.size() - 1), L"user"),
                                         std::pair(test_folder.substr(0, test_folder.size() - 1), L"")));

TEST_P(ElevatedIniMode, ReadsOnlyWhatNobodyElseCouldHaveWritten) {
  pretend_Account(true);
  pretend_AccessLists({{GetParam().first, closed_list + L"(A;;0x1301bf;;;BU)"}});
  EXPECT_EQ(regread_Text(norvak + L"a"), GetParam().second);
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
  use_Clock();
  patch_Import("Sleep", reinterpret_cast<void*>(sleep_Visibly));
  const auto other = start_Writer(L"other");
  EXPECT_EQ(WaitForSingleObject(inside.get(), patience), WAIT_OBJECT_0);
  int written = 0;
  while (WaitForSingleObject(other.get(), 0) == WAIT_TIMEOUT)
    EXPECT_TRUE(write_Number(L"own", written++));
  DWORD status = 1;
  GetExitCodeProcess(other.get(), &status);
  EXPECT_EQ(status, 0u) << "no write was waited for";
  for (const auto& [key, count] : {std::pair(L"own", written), std::pair(L"other", many)})
    for (int number = 0; number < count; ++number)
      EXPECT_EQ(regread_Text(norvak + key + std::to_wstring(number)), std::to_wstring(number));
  patch_Import("Sleep", kernel_Function("Sleep"));
  ResetEvent(inside.get());
  const auto dying = start_Writer(L"dying");
  EXPECT_EQ(WaitForSingleObject(inside.get(), patience), WAIT_OBJECT_0);
  clock_Step = 500;
  EXPECT_FALSE(write_Text(norvak + L"after", L"1")) << "the other program still holds the lock";
  EXPECT_EQ(WaitForSingleObject(dying.get(), 0), WAIT_TIMEOUT);
  TerminateProcess(dying.get(), 1);
  clock_Step = 1;
  EXPECT_TRUE(write_Text(norvak + L"after", L"2"));
  EXPECT_EQ(regread_Text(norvak + L"after"), L"2");
}

}  // namespace
