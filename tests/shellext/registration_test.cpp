// What the DLL writes into the registry and removes again. The process gets three registry roots of its own,
// and everything in them is read back, so that no unexpected row goes unnoticed.
#include <algorithm>
#include <iterator>

#include "base/handles.h"
#include "base/module.h"
#include "base/text.h"
#include "tests/explorer.h"

namespace {

// In lower case, as rows are read back.
const std::wstring clsid = L"{2e416da3-34e8-444a-8288-8c2ff373681d}";
const std::wstring class_key = LR"(clsid\)" + clsid;
const std::wstring library_key = LR"(typelib\{60b0373e-c543-4525-a664-e9d775e867d8})";
const std::wstring project = L"" PROJECT_VERSION;
const auto version = project.substr(0, project.find(L'.', project.find(L'.') + 1));
const std::wstring progid = L"norvakcontextmenu.shellext";
const std::wstring interface_key = LR"(interface\{595d7e94-9b83-4cfd-98cc-0312978c2bc0})";
const std::wstring machines = LR"(software\classes\)";

HKEY open_Classes(HKEY root) {
  HKEY key = nullptr;
  RegCreateKeyW(root, machines.c_str(), &key);
  return key;
}

// "key\name=text" for each value, "key\" for each key.
void append_Rows(HKEY parent, const std::wstring& name, const std::wstring& path, Lines& rows) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(parent, name.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
    return;
  const unique_hkey key(opened);
  rows.push_back(path);
  wchar_t text[1024];
  DWORD length = 1024;
  wchar_t data[2048] = {};
  DWORD size = sizeof data;
  for (DWORD index = 0; RegEnumValueW(key.get(), index, text, &length, nullptr, nullptr,
                                      reinterpret_cast<BYTE*>(data), &size) == ERROR_SUCCESS;
       ++index) {
    rows.push_back(to_Lower(path + text + L"=" + std::wstring(data, size / sizeof *data).c_str()));
    length = 1024;
    size = sizeof data;
  }
  for (DWORD index = 0; RegEnumKeyW(key.get(), index, text, 1024) == ERROR_SUCCESS; ++index)
    append_Rows(key.get(), text, to_Lower(path + text + LR"(\)"), rows);
}

// While a case runs, all three lead to keys below the last one.
const std::pair<HKEY, std::wstring> roots[] = {
    {HKEY_CLASSES_ROOT, L"hkcr"}, {HKEY_LOCAL_MACHINE, L"hklm"}, {HKEY_CURRENT_USER, L"hkcu"}};

Lines all_Rows() {
  Lines rows;
  for (const auto& [root, name] : roots)
    append_Rows(root, L"", name + L"\\", rows);
  std::ranges::sort(rows);
  return rows;
}

class Registration : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    for (const auto& [root, name] : roots) {
      HKEY key = nullptr;
      RegCreateKeyW(HKEY_CURRENT_USER, (LR"(Software\Norvak\)" + name).c_str(), &key);
      ASSERT_EQ(RegOverridePredefKey(root, key), ERROR_SUCCESS);
      RegCloseKey(key);
    }
    clean();
  }
  void TearDown() override {
    for (const auto& [root, name] : roots)
      RegOverridePredefKey(root, nullptr);
  }

  static void clean() {
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, nullptr);
    for (const std::wstring key : {L"CLSID", L"Interface", L"TypeLib"})
      set_Value(LR"(HKLM\)" + machines + key + L"\\", L"");
  }
};

// The rows of the list, as they are read back.
Lines listed_Rows() {
  const auto path = to_Lower(built_File(L"NorvakContextMenu.dll"));
  auto expected = read_Lines(from_Ansi(SOURCE_FOLDER "/tests/shellext/registration_rows.txt"));
  for (auto& row : expected)
    for (const auto& [name, meant] : {std::pair(L"FOLDER", path.substr(0, path.rfind(L'\\'))),
                                      {L"VERSION", version},
                                      {L"BITNESS", std::to_wstring(sizeof(void*) * 8)}})
      replace_All(row, name, meant);
  std::ranges::sort(expected);
  return expected;
}

TEST_F(Registration, WritesTheListedRowsAndRemovesThemAgain) {
  auto expected = listed_Rows();
  for (auto& row : expected)
    row.insert(0, LR"(hklm\)" + machines);
  const auto before = all_Rows();
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(m_library.run("DllRegisterServer"), S_OK);
    Lines written;
    std::ranges::set_difference(all_Rows(), before, std::back_inserter(written));
    std::erase_if(written, [](const auto& row) { return row.ends_with(L'\\'); });
    EXPECT_EQ(written, expected);
  }
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
    EXPECT_EQ(all_Rows(), before);
  }
  for (const auto& [root, name] : roots) {
    const auto seen = all_Rows();
    RegSetKeyValueW(root, L"planted", nullptr, REG_SZ, L"", sizeof(wchar_t));
    EXPECT_NE(all_Rows(), seen) << to_Ansi(name);
  }
}

// Through the merged root, each of the user's keys would take the machine's rows.
TEST_F(Registration, IsNotDivertedByKeysOfTheUser) {
  const unique_hkey classes(open_Classes(HKEY_LOCAL_MACHINE)), users_classes(open_Classes(HKEY_CURRENT_USER));
  RegOverridePredefKey(HKEY_CLASSES_ROOT, users_classes.get());
  const Lines keys{class_key, progid, library_key, interface_key};
  const auto rows_Of = [&](HKEY root) {
    Lines rows;
    for (const auto& key : keys)
      append_Rows(root, key, key + L"\\", rows);
    std::ranges::sort(rows);
    return rows;
  };
  const auto before = rows_Of(classes.get());
  for (const auto& key : keys)
    RegSetValueW(users_classes.get(), key.c_str(), REG_SZ, L"planted", 0);
  RegSetValueW(users_classes.get(), (class_key + LR"(\InprocServer32)").c_str(), REG_SZ, L"planted.dll", 0);
  const auto planted = rows_Of(users_classes.get());
  EXPECT_EQ(m_library.run("DllRegisterServer"), S_OK);
  auto written = rows_Of(classes.get());
  std::erase_if(written, [](const auto& row) { return row.ends_with(L'\\'); });
  EXPECT_EQ(written, listed_Rows());
  EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
  EXPECT_EQ(rows_Of(classes.get()), before);
  EXPECT_EQ(rows_Of(users_classes.get()), planted);
}

TEST_F(Registration, KeepsWhatOthersHaveAddedWhenItIsRemoved) {
  m_library.run("DllRegisterServer");
  set_Value(LR"(HKLM\)" + machines + class_key + LR"(\InprocServer32\Note)", L"theirs");
  set_Value(LR"(HKLM\)" + machines + progid + LR"(\shell\)", L"theirs");
  EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
  Lines left;
  append_Rows(HKEY_LOCAL_MACHINE, machines + class_key, L"", left);
  append_Rows(HKEY_LOCAL_MACHINE, machines + progid, L"", left);
  EXPECT_EQ(left, (Lines{L"", LR"(inprocserver32\)", LR"(inprocserver32\note=theirs)", L"", LR"(shell\)",
                         LR"(shell\=theirs)"}));
  if constexpr (!is_SuitesBitness) {  // the 32-bit DLL has a class of its own and the same ProgID
    TearDown();                       // only the machine's own root has the other view
    const auto other = LR"(wow6432node\)" + class_key,
               class_OfProgId = LR"(HKLM\)" + machines + progid + LR"(\CLSID\)";
    m_library.run("DllRegisterServer");
    set_Value(LR"(HKLM\)" + machines + other + LR"(\InprocServer32\)", L"theirs");
    EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
    EXPECT_EQ(to_Lower(value_At(class_OfProgId)), clsid);
    RegDeleteTreeW(HKEY_LOCAL_MACHINE, (machines + other).c_str());
    EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
    EXPECT_EQ(value_At(class_OfProgId), L"(none)");
  }
}

LSTATUS WINAPI refuse(HKEY, const wchar_t*) {
  return ERROR_ACCESS_DENIED;
}

LSTATUS WINAPI refuse_Opening(HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) {
  return ERROR_ACCESS_DENIED;
}

TEST_F(Registration, ReportsAFailedRemoval) {
  const auto patch = [&](const char* import, auto* replacement) {
    EXPECT_TRUE(patch_Import(import, reinterpret_cast<void*>(replacement), m_library.handle()));
  };
  const auto expect_Failure = [&](const char* import, auto* original, auto* refusal) {
    m_library.run("DllRegisterServer");
    patch(import, refusal);
    EXPECT_EQ(m_library.run("DllUnregisterServer"), E_ACCESSDENIED) << import;
    patch(import, original);
    EXPECT_EQ(m_library.run("DllUnregisterServer"), S_OK);
  };
  const auto before = all_Rows();
  expect_Failure("RegOpenKeyExW", RegOpenKeyExW, refuse_Opening);
  expect_Failure("RegDeleteValueW", RegDeleteValueW, refuse);
  expect_Failure("RegDeleteKeyW", RegDeleteKeyW, refuse);
  EXPECT_EQ(all_Rows(), before);
}

TEST_F(Registration, LeavesEverythingAsItWasWhenARowCannotBeWritten) {
  for (const bool was_registered : {false, true}) {
    for (const auto& obstacle : {class_key, progid, library_key, interface_key}) {
      SCOPED_TRACE(to_Ansi(obstacle) + (was_registered ? ", registered before" : ""));
      if (was_registered)
        m_library.run("DllRegisterServer");
      set_Value(LR"(HKLM\)" + machines + class_key + LR"(\InprocServer32\)", L"an older release");
      // A key that does not outlive the session holds no lasting subkeys.
      RegDeleteTreeW(HKEY_LOCAL_MACHINE, (machines + obstacle).c_str());
      HKEY key = nullptr;
      RegCreateKeyExW(HKEY_LOCAL_MACHINE, (machines + obstacle).c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                      KEY_READ, nullptr, &key, nullptr);
      RegCloseKey(key);
      const auto before = all_Rows();
      EXPECT_TRUE(FAILED(m_library.run("DllRegisterServer")));
      EXPECT_EQ(all_Rows(), before);
      clean();
    }
  }
}

}  // namespace
