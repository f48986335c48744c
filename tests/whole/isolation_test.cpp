// The extension must not load or start anything from the folder in which a user works, nor change anything
// for the process that it lives in.
#include <cfloat>
#include <clocale>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "base/handles.h"
#include "base/text.h"
#include "components/object_creation.h"
#include "launcher/actions.h"
#include "settings/settings.h"
#include "suite/component_list.h"
#include "tests/menu_host.h"

namespace {

namespace fs = std::filesystem;

HRESULT WINAPI know_NoFolder(HWND, int, HANDLE, DWORD, wchar_t*) {
  return E_FAIL;
}

// Picks each item that is offered for a file of the selected folder.
void right_Click(const Library& library, const std::wstring& path) {
  const auto object = library.create();
  select(object, {path});
  const auto folder = fs::path(path).parent_path().string();
  for (auto offset = offered(object, 100).size(); offset-- > 0;)
    invoke(object, offset, folder.c_str());
}

// Every name of a program or a library in the product's sources.
std::set<std::string> names_InSources() {
  std::set<std::string> names;
  const std::regex pattern(R"([\w!][\w!\\]*\.(exe|dll)\b)");
  const fs::path sources(SOURCE_FOLDER);
  for (const auto& room : read_Lines(sources / "cmake/rooms.txt"))
    for (const auto& source : fs::directory_iterator(sources / room)) {
      std::ifstream file(source.path());
      const std::string text(std::istreambuf_iterator<char>(file), {});
      for (std::sregex_iterator name(text.begin(), text.end(), pattern), end; name != end; ++name)
        names.insert(name->str());
    }
  return names;
}

const std::wstring current = test_folder + LR"(current\)", selected = test_folder + LR"(selected\)";

// The registry names folders by relative paths. Decoys lie there under all names of files that the product
// knows.
class Decoys : public Machine, public testing::WithParamInterface<const wchar_t*> {
 protected:
  void SetUp() override;
};

void Decoys::SetUp() {
  Machine::SetUp();
  SetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", (test_folder + L"record.log").c_str());
  const auto names = names_InSources();
  for (const auto* name : {"oleaut32.dll", "norvakpdf.dll", R"(pdfviewer\NorvakPDFViewer.exe)"})
    EXPECT_TRUE(names.contains(name)) << names.size();
  for (const auto& folder : {current, selected})
    for (const auto& name : names) {
      const auto decoy = fs::path(folder) / name;
      fs::create_directories(decoy.parent_path());
      fs::copy_file(built_File(name.ends_with("dll") ? L"decoy.dll" : LR"(standins\PageKeeper.exe)"), decoy,
                    fs::copy_options::overwrite_existing);
    }
  fs::current_path(current);
  for (const auto* setting : all_settings)
    for (const auto* folder : {LR"(\path)", LR"(\INSTALLDIR)", LR"(\StickDrive)"})
      if (std::wstring_view(setting->Path).ends_with(folder))
        set_Value(setting->Path, GetParam());
  for (const auto* setting : {&multi_signer, &card_connector, &users_container})
    set_Value(setting->Path, L"1");
}

// How many processes the job has had, once only this one is left.
DWORD processes_Of(HANDLE job) {
  constexpr int patience = 6000;
  JOBOBJECT_BASIC_ACCOUNTING_INFORMATION counts{};
  for (int waits = 0; counts.ActiveProcesses != 1 && waits < patience; ++waits) {
    QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &counts, sizeof counts, nullptr);
    Sleep(1);
  }
  return counts.ActiveProcesses == 1 ? counts.TotalProcesses : 0;
}

TEST_P(Decoys, AreNeitherLoadedNorStarted) {
  const unique_kernel_handle job(CreateJobObjectW(nullptr, nullptr));
  ASSERT_TRUE(AssignProcessToJobObject(job.get(), GetCurrentProcess()));
  const Library library;
  for (const HMODULE module : {GetModuleHandleW(nullptr), library.handle()}) {
    answer_Boxes(module);
    record_Starts(module);
    EXPECT_TRUE(patch_Import("SHGetFolderPathW", reinterpret_cast<void*>(know_NoFolder), module));
  }
  for (const std::wstring& path : {selected + L"a.pdf", selected + L"b.png", selected + L"c.p7m",
                                   std::wstring(LR"(c:\)"), selected.substr(0, selected.size() - 1)}) {
    if (path.ends_with(L'f') || path.ends_with(L'g') || path.ends_with(L'm'))
      make_File(path);
    right_Click(library, path);
    for (const auto* action : {L"mount", L"unmount", L"unmount", L"create", L"view", L"quill!", L"signit",
                               L"sfolder", L"p7s", L"p7m", L"vPKCS7"}) {
      run_Action(*find_Action(action), entries({path}), flags_Of(L"Image"));
    }
  }
  EXPECT_EQ(take_Starts(), Lines());
  EXPECT_EQ(processes_Of(job.get()), 1u) << "this process must not start others";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  EXPECT_TRUE(CreateProcessA(to_Ansi(current + L"quill!.exe").c_str(), nullptr, nullptr, nullptr, FALSE, 0,
                             nullptr, nullptr, &startup, &started));
  const unique_kernel_handle process(started.hProcess), thread(started.hThread);
  EXPECT_EQ(processes_Of(job.get()), 2u);
  FreeLibrary(LoadLibraryW((selected + L"norvakpdf.dll").c_str()));
  const auto recorded = recorded_Starts(2);
  EXPECT_EQ(recorded.size(), 2u) << "the test itself takes two decoys";
  EXPECT_EQ(recorded.back(), selected + L"norvakpdf.dll");
}

INSTANTIATE_TEST_SUITE_P(, Decoys,
                         testing::Values(L"", L".", LR"(..\selected\)", LR"(\norvaks machine\selected)"));

// What a library can change for the whole process or its thread, as texts by their names.
using Surroundings = std::map<std::string, std::wstring>;
using Names = std::vector<std::string>;

Surroundings look_Around() {
  wchar_t libraries[MAX_PATH] = {};
  GetDllDirectoryW(MAX_PATH, libraries);
  const std::string c_locale = std::setlocale(LC_ALL, nullptr);
  APTTYPE apartment{};
  APTTYPEQUALIFIER qualifier{};
  const auto has_apartment = CoGetApartmentType(&apartment, &qualifier);
  auto* const block = GetEnvironmentStringsW();
  const wchar_t* end = block;
  while (*end != L'\0')
    end += std::wcslen(end) + 1;
  const std::wstring environment(static_cast<const wchar_t*>(block), end);
  FreeEnvironmentStringsW(block);
  return {{"current folder", fs::current_path()},
          {"folder of libraries", libraries},
          {"error mode", std::to_wstring(GetErrorMode())},
          {"error mode of the thread", std::to_wstring(GetThreadErrorMode())},
          {"locale of the thread", std::to_wstring(GetThreadLocale())},
          {"locale of the runtime", {c_locale.begin(), c_locale.end()}},
          {"floating-point control", std::to_wstring(_controlfp(0, 0))},
          {"environment", environment},
          {"apartment",
           std::to_wstring(has_apartment) + std::to_wstring(apartment) + std::to_wstring(qualifier)}};
}

Names changed_By(const std::function<void()>& routine) {
  const auto before = look_Around(), after = (routine(), look_Around());
  Names changed;
  for (const auto& [name, value] : before)
    if (after.at(name) != value)
      changed.push_back(name);
  return changed;
}

class Isolation : public Machine {};

// The first time, what the component needs lies where the person is looking; then the component itself,
// registered without a folder.
TEST_F(Isolation, HasComponentsTakeWhatTheyNeedFromTheirOwnFolder) {
  const auto record = test_folder + L"record.log", own = test_folder + LR"(component\)",
             open = test_folder + LR"(open\)", component = own + L"needy.dll",
             server = LR"(CLSID\)" + component_id + LR"(\InprocServer32)";
  // Another component each time, since what could not be made is remembered.
  auto create = [&server, component = all_components.begin()](const std::wstring& path) mutable {
    const std::wstring progid = (*component++)->ProgId;
    set_Value(LR"(HKCR\)" + progid + LR"(\CLSID\)", component_id);
    RegSetKeyValueW(HKEY_CLASSES_ROOT, server.c_str(), nullptr, REG_SZ, path.c_str(),
                    static_cast<DWORD>(2 * path.size() + 2));
    create_Object(progid.c_str());
  };
  SetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", record.c_str());
  for (const auto& folder : {own, open})
    fs::create_directories(folder);
  fs::copy_file(built_File(L"needy.dll"), component);
  fs::copy_file(built_File(L"decoy.dll"), open + L"decoy.dll");
  fs::current_path(open);
  for (const auto& path : {component, std::wstring(L"decoy.dll")}) {
    create(path);
    EXPECT_FALSE(register_Server(path));
    EXPECT_EQ(read_Lines(record), Lines()) << to_Ansi(path);
  }
  fs::copy_file(open + L"decoy.dll", own + L"decoy.dll");
  create(component);
  const auto loads = read_Lines(record);
  EXPECT_EQ(std::set(loads.begin(), loads.end()), std::set{own + L"decoy.dll"});
  RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + component_id).c_str());
}

TEST_F(Isolation, KeepsEverythingAroundTheExtensionUnchanged) {
  install_Suite();
  const auto pdf = make_File(test_folder + L"a.pdf");
  EXPECT_EQ(changed_By([&] {
              const Library library;
              answer_Boxes(library.handle());
              right_Click(library, pdf);
              EXPECT_EQ(library.run("DllCanUnloadNow"), S_OK);
            }),
            Names());
  EXPECT_EQ(recorded_Starts(3).size(), 3u) << "viewer, signing application and worker start";
  const std::pair<const char*, void (*)()> changes[] = {
      {"current folder", [] { SetCurrentDirectoryW(LR"(c:\windows)"); }},
      {"folder of libraries", [] { SetDllDirectoryW(LR"(c:\windows)"); }},
      {"error mode", [] { SetErrorMode(SEM_NOOPENFILEERRORBOX); }},
      {"error mode of the thread", [] { SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr); }},
      {"locale of the thread", [] { SetThreadLocale(MAKELCID(LANG_GERMAN, SORT_DEFAULT)); }},
      {"locale of the runtime", [] { std::setlocale(LC_NUMERIC, "German"); }},
      {"environment", [] { SetEnvironmentVariableW(L"NORVAK_SUITE_RECORD", nullptr); }},
      {"apartment", [] { CoUninitialize(); }},
      // The last, since the end of an apartment set it back in an emulated ARM64 machine.
      {"floating-point control", [] { _controlfp(_RC_UP, _MCW_RC); }}};
  EXPECT_EQ(std::size(changes), look_Around().size());
  for (const auto& [name, change] : changes)
    EXPECT_EQ(changed_By(change), Names{name});
}

}  // namespace
