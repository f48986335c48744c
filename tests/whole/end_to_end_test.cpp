// The whole way from the command line of menuhost.exe, which plays Explorer, through the registered extension
// to the programs of the suite.
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "base/guid.h"
#include "base/handles.h"
#include "base/module.h"
#include "base/text.h"
#include "files/file_names.h"
#include "host/doctor/component_state.h"
#include "host/doctor/registry_views.h"
#include "host/explorer/popup.h"
#include "host/program.h"
#include "shellext/class_identifiers.h"
#include "suite/component_list.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

const std::wstring id = L"{5E0A9A5B-5C0D-4C0F-9A43-5B4E2A3C1D7F}";  // of a component
const std::wstring pdf =
    L"C" + test_folder.substr(1) + L"a \u5951\u7D04.pdf";  // as the shell spells the drive

std::string read_Bytes(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string whole(const Lines& lines) {
  std::string text;
  for (const auto& line : lines)
    text += to_Ansi(line) + "\n";
  return text;
}

void append_Shown(Lines& shown, const std::wstring& name, const std::wstring& mark) {
  const auto bytes = read_Bytes(test_folder + name);
  for (auto end = bytes.find('\n'); end != std::string::npos; end = bytes.find('\n', end + 1))
    EXPECT_TRUE(end != 0 && bytes[end - 1] == '\r') << "not the line end of a file";
  for (const auto& line : read_Lines(test_folder + name)) {
    EXPECT_FALSE(line.ends_with(L' ') || (line.size() > 120 && !line.starts_with(L'{'))) << to_Ansi(line);
    shown.push_back(mark + line);
  }
}

DWORD run_Here(const std::wstring& command, HANDLE output, HANDLE errors) {
  int count = 0;
  auto** const words = CommandLineToArgvW(command.c_str(), &count);
  SetStdHandle(STD_OUTPUT_HANDLE, output);
  SetStdHandle(STD_ERROR_HANDLE, errors);
  const int status = host::run_Words(std::vector<std::wstring_view>(words + 1, words + count));
  LocalFree(words);
  return static_cast<DWORD>(status);
}

// What was printed, with "! " before each line of the error output; at last the status in brackets, with a
// word for each message box that was closed.
Lines run_MenuHost(const std::wstring& arguments, bool here = false) {
  auto command = ::quoted(built_File(L"menuhost.exe")) + L" " + arguments;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const auto open = [&](const std::wstring& name) {
    return CreateFileW((test_folder + name).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                       &inherited, CREATE_ALWAYS, 0, nullptr);
  };
  const unique_kernel_handle output(open(L"output")), errors(open(L"errors"));
  DWORD status = 0;
  std::wstring closed;
  if (here)
    status = run_Here(command, output.get(), errors.get());
  else {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.get();
    startup.hStdError = errors.get();
    PROCESS_INFORMATION started{};
    CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started);
    const unique_kernel_handle process(started.hProcess), thread(started.hThread);
    while (WaitForSingleObject(process.get(), 20) == WAIT_TIMEOUT) {
      const HWND box = FindWindowW(L"#32770", L"Configuration Problem");
      if (IsWindowVisible(box)) {
        SendMessageW(box, WM_COMMAND, IDOK, 0);
        closed += L" box";
      }
    }
    GetExitCodeProcess(process.get(), &status);
  }
  Lines shown;
  append_Shown(shown, L"output", L"");
  append_Shown(shown, L"errors", L"! ");
  shown.push_back(L"[" + std::to_wstring(status) + L"]" + closed);
  return shown;
}

class MenuHost : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    make_File(pdf);
    m_suite = install_Suite();
    EXPECT_EQ(m_library.run("DllRegisterServer"), S_OK);
  }
  void TearDown() override {
    m_library.run("DllUnregisterServer");
    for (const auto& key : {LR"(CLSID\)" + id, LR"(WOW6432Node\CLSID\)" + id,
                            LR"(WOW6432Node\CLSID\)" + guid_Text(clsid_ShellExt), LR"(AppID\)" + id})
      RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  }

  std::wstring m_suite;
};

TEST_F(MenuHost, StartsTheProgramsOfPickedItemsAndLogsThem) {
  const Library log_component(built_File(LR"(standins\logmod.dll)"));
  ASSERT_EQ(log_component.run("DllRegisterServer"), S_OK);
  set_Value(LR"(HKLM\Software\Norvak\AlwaysDebug)", L"1");
  Lines expected;
  for (const std::wstring program : {L"PageKeeper.exe", L"quill!.exe"}) {
    expected.push_back(program + L"\t" + ::quoted(m_suite + program) + L" " + ::quoted(argument_Path(pdf)));
    const auto shown = run_MenuHost(L"invoke " + std::to_wstring(expected.size()) + L" " + ::quoted(pdf));
    EXPECT_EQ(shown.back(), L"[0] box");
    EXPECT_EQ(recorded_Starts(expected.size()), expected);
  }
  log_component.run("DllUnregisterServer");
  const auto log = read_Bytes(m_suite + L"pdf.log");
  std::size_t place = log.find(":menuhost.exe:");
  for (const std::string message : {"ifiles: 1", "Query Context Menu FilesAreFolder: False",
                                    "ActionString: view", "ifiles: 1", "ActionString: quill!"}) {
    place = log.find(": " + message + "\r\n", place);
    ASSERT_NE(place, std::string::npos) << message << log;
  }
}

TEST_F(MenuHost, MakesSoundFilesWithTheSuitesComponents) {
  const Library editor(built_File(LR"(standins\norvakpdf.dll)")),
      signer(built_File(LR"(standins\norvakcsp.dll)"));
  for (const auto* component : {&editor, &signer})
    ASSERT_EQ(component->run("DllRegisterServer"), S_OK);
  answer_Boxes(m_library.handle());
  // Which of the two files it tells as new.
  const auto invoke = [](const std::wstring& item, const std::wstring& path, const std::wstring& made) {
    const auto shown = run_MenuHost(L"invoke " + item + L" " + ::quoted(path), true);
    EXPECT_EQ(shown.back(), L"[0]");
    return std::ranges::count(shown, L"New: " + made) == 1;
  };
  const auto change = [](const std::wstring& path, std::streamoff place) {
    std::fstream(std::filesystem::path(path), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(place)
        .put('#');
  };
  const auto picture = make_Picture(test_folder + L"picture.bmp"), envelope = pdf + L".p7m";
  const std::string content = "the content of the letter";
  std::ofstream(std::filesystem::path(pdf)) << content;
  EXPECT_TRUE(invoke(L"1", picture, picture + L".pdf"));
  const auto page = read_Bytes(picture + L".pdf");
  EXPECT_TRUE(page.starts_with("%PDF-1.") && page.ends_with("%%EOF\n")) << page.substr(0, 20);
  EXPECT_TRUE(invoke(L"5", pdf, envelope));
  std::filesystem::remove(pdf);
  EXPECT_TRUE(invoke(L"2", envelope, pdf));
  EXPECT_EQ(read_Bytes(pdf), content);
  std::filesystem::remove(pdf);
  change(envelope, static_cast<std::streamoff>(read_Bytes(envelope).find(content)));
  EXPECT_FALSE(invoke(L"2", envelope, pdf));
  EXPECT_FALSE(std::filesystem::exists(pdf)) << "a changed envelope must not give its content back";
  for (const auto* component : {&editor, &signer})
    component->run("DllUnregisterServer");
}

// A case in the file is a line with the command and then the lines that it shows. "$ " runs the command in
// this process, "> " in one of its own, "= " sets a registry value instead. Behind the command, "| part"
// keeps only the lines that contain the part, "|! part" only the others.
void run_Cases(const std::wstring& name) {
  const auto is_development = std::ranges::count(std::wstring_view(L"" PROJECT_VERSION), L'.') == 3;
  const std::pair<const wchar_t*, std::wstring> names[] = {
      {L"FILE", ::quoted(pdf)},
      {L"VERSION", L"" PROJECT_VERSION + std::wstring(is_development ? L" (development build)" : L"")}};
  auto lines = read_Lines(from_Ansi(SOURCE_FOLDER "/tests/whole/") + name);
  ASSERT_FALSE(lines.empty());
  for (auto& line : lines)
    for (const auto& [text, meant] : names)
      replace_All(line, text, meant);
  const auto is_Case = [](const auto& line) { return line.find_first_of(L"$>=") == 0; };
  for (auto line = lines.begin(), end = line; line != lines.end(); line = end) {
    end = std::find_if(line + 1, lines.end(), is_Case);
    const auto words = split(line->substr(2), L'|');
    if (line->starts_with(L'=')) {
      set_Value(words[0], words[1]);
      continue;
    }
    auto shown = run_MenuHost(words[0], line->starts_with(L'$'));
    if (words.size() > 1)
      std::erase_if(shown, [&, part = after_Last(words[1], L' ')](const auto& text) {
        return contains(text, part) == words[1].starts_with(L'!');
      });
    EXPECT_EQ(whole(shown), whole(Lines(line + 1, end))) << to_Ansi(*line);
  }
}

TEST_F(MenuHost, ListsInvokesAndExplains) {
  answer_Boxes(m_library.handle());
  for (int line = 1; line <= 21; ++line)
    make_File(test_folder + L"pdf.log", std::to_wstring(line) + L"\n");
  run_Cases(L"menuhost.txt");
  m_library.run("DllUnregisterServer");
  run_Cases(L"menuhost_unregistered.txt");
}

// A class that is a suite's component by the registry alone, which is all that the doctor looks at.
constexpr std::wstring_view component_class = LR"(HKCR\CLSID\{5E0A9A5B-5C0D-4C0F-9A43-5B4E2A3C1D7F}\)";
const auto extension_class = LR"(CLSID\)" + guid_Text(clsid_ShellExt) + L"\\";
constexpr std::wstring_view extensions_key =
    LR"(SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\)";

// Sets the value in one view of the registry, or deletes it where there is no text.
void set_InView(const std::wstring& path, const wchar_t* text, REGSAM view) {
  const auto place = find_Place(path);
  HKEY opened = nullptr;
  RegCreateKeyExW(place.Root, place.Key.c_str(), 0, nullptr, 0, KEY_WRITE | view, nullptr, &opened, nullptr);
  const unique_hkey key(opened);
  if (text == nullptr)
    RegDeleteValueW(key.get(), place.Name.c_str());
  else
    RegSetValueExW(key.get(), place.Name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

class Doctor : public MenuHost {
 protected:
  void TearDown() override {
    mend();
    for (const auto* kind : {L"*", L"Directory", L"Drive"})
      RegDeleteTreeW(HKEY_CLASSES_ROOT, handler_Key(kind).c_str());
    for (const auto view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY})
      RegDeleteKeyExW(HKEY_CLASSES_ROOT, (extension_class + L"InprocServer32").c_str(), view, 0);
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + m_translator_class).c_str());
    MenuHost::TearDown();
  }

  static std::wstring handler_Key(const std::wstring& kind) {
    return kind + LR"(\shellex\ContextMenuHandlers\Norvak)";
  }

  // A machine without a fault, whatever was wrong with it.
  void mend() {
    const auto dll = built_File(L"NorvakContextMenu.dll"), clsid = guid_Text(clsid_ShellExt);
    for (const auto view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
      set_InView(LR"(HKCR\)" + extension_class + LR"(InprocServer32\)", dll.c_str(), view);
      set_InView(LR"(HKCR\)" + extension_class + LR"(TypeLib\)", guid_Text(libid_ShellExt).c_str(), view);
      for (const std::wstring root : {LR"(HKLM\)", LR"(HKCU\)"})
        set_InView(root + std::wstring(extensions_key) + LR"(Blocked\)" + clsid, nullptr, view);
      set_InView(enforced, nullptr, view);
      set_InView(norvak + LR"(quill\path)", nullptr, view);
    }
    set_Value(LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", clsid);
    for (const auto* kind : {L"*", L"Directory", L"Drive"})
      set_Value(LR"(HKCR\)" + handler_Key(kind) + L"\\", clsid);
    for (const auto* component : all_components)
      if (component != &translator_component)
        set_Value(LR"(HKCR\)" + std::wstring(component->ProgId) + LR"(\CLSID\)", id);
    set_Value(std::wstring(component_class) + LR"(InprocServer32\)", make_File(m_suite + L"component.dll"));
    set_Value(LR"(HKCR\CLSID\)" + m_translator_class + LR"(\InprocServer32\)", L"translator.dll");
    set_Value(norvak + LR"(pdf\path)", m_suite);
    set_Value(norvak + L"AlwaysDebug", L"");
    set_Value(norvak + LR"(csp\INSTALLDIR)", L"");
  }

  // The codes of the problems that are found, and the exit status. Whether the log is on is settled once a
  // process, so that takes a `menuhost` of its own.
  static Lines examine(bool here) {
    const auto shown = run_MenuHost(L"doctor --json " + ::quoted(pdf), here);
    Lines codes;
    static const std::wregex code(LR"x("code":"(\w+)")x");
    for (std::wsregex_iterator found(shown.front().begin(), shown.front().end(), code), end; found != end;
         ++found)
      codes.push_back((*found)[1]);
    codes.push_back(shown.back());
    return codes;
  }

  // The one component that a diagnosis itself asks; one that cannot be made takes a second each time.
  const Component m_translator{translator_component.ProgId,
                               {{L"translateit", [](const Arguments& text) { return text.at(0); }}}};
  const std::wstring m_translator_class =
      value_At(LR"(HKCR\)" + std::wstring(translator_component.ProgId) + LR"(\CLSID\)");
  static inline const std::wstring enforced =
      LR"(HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Policies\Explorer\EnforceShellExtensionSecurity)";
};

// Each fault alone has its problem and no other; all that do not hide another have theirs together.
TEST_F(Doctor, FindsEachFaultOfABrokenMachine) {
  const auto clsid = guid_Text(clsid_ShellExt);
  const REGSAM explorers = host::is_64BitWindows() ? KEY_WOW64_64KEY : 0;
  const std::wstring own = LR"(HKCR\)" + extension_class, server = own + LR"(InprocServer32\)",
                     gone = LR"(c:\gone\file.dll)";
  const auto remove_Handler = [](const wchar_t* kind) {
    return [kind] { RegDeleteTreeW(HKEY_CLASSES_ROOT, handler_Key(kind).c_str()); };
  };
  const auto write = [](std::wstring path, std::wstring text) { return [=] { set_Value(path, text); }; };
  const auto write_InView = [](std::wstring path, std::wstring text, REGSAM view) {
    return [=] { set_InView(path, text.c_str(), view); };
  };
  const auto block = [&](const std::wstring& root) {
    return write_InView(root + std::wstring(extensions_key) + LR"(Blocked\)" + clsid, L"", explorers);
  };
  struct Fault {
    Lines Codes;
    std::function<void()> Break;
    bool IsHidden = false;  // by another one
  };
  std::vector<Fault> faults{
      {{L"classMissing"},
       [&] {
         for (const auto view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY})
           set_InView(server, L"", view);
       },
       true},
      {{L"classFileGone"}, write_InView(server, gone, explorers), true},
      {{L"otherVersion"}, write_InView(server, LR"(c:\windows\system32\kernel32.dll)", explorers)},
      {{L"progIdMissing"}, write(LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", id)},
      {{L"typeLibraryMissing"}, write(own + LR"(TypeLib\)", L"")},
      {{L"handlerMissing"}, remove_Handler(L"*")},
      {{L"handlerMissing"}, remove_Handler(L"Directory")},
      {{L"handlerMissing"}, remove_Handler(L"Drive")},
      {{L"notApproved"}, write_InView(enforced, L"1", explorers)},
      {{L"blocked"}, block(LR"(HKLM\)")},
      {{L"blocked"}, block(LR"(HKCU\)")},
      {{L"suiteMissing"}, write(norvak + LR"(pdf\path)", L""), true},
      {{L"componentMissing"}, write(LR"(HKCR\norvakcsp.PKCS7\CLSID\)", L"")},
      {Lines(5, L"componentFileGone"), write(std::wstring(component_class) + LR"(InprocServer32\)", gone),
       true},
      {{L"componentMissing", L"logNotWritable"},
       [&] {
         write(LR"(HKCR\logging.logme\CLSID\)", L"")();
         write(norvak + L"AlwaysDebug", L"1")();
       }},
      {{L"folderMissing"}, write(norvak + LR"(csp\INSTALLDIR)", LR"(c:\gone\)")}};
  if (host::is_64BitWindows()) {
    faults.push_back({{L"noDllForExplorer"}, write_InView(server, L"", KEY_WOW64_64KEY), true});
    faults.push_back({{L"noDllFor32BitPrograms"}, write_InView(server, L"", KEY_WOW64_32KEY), true});
    faults.push_back(
        {{L"valueOverruled"}, write_InView(norvak + LR"(quill\path)", m_suite, KEY_WOW64_64KEY)});
  }
  mend();
  EXPECT_EQ(examine(true), Lines{L"[0]"});
  Lines expected;
  for (const auto& fault : faults) {
    fault.Break();
    auto codes = fault.Codes;
    codes.push_back(L"[3]");
    EXPECT_EQ(examine(fault.Codes.back() != L"logNotWritable"), codes);
    mend();
    if (!fault.IsHidden)
      expected.insert(expected.end(), fault.Codes.begin(), fault.Codes.end());
  }
  for (const auto& fault : faults)
    if (!fault.IsHidden)
      fault.Break();
  expected.push_back(L"[3]");
  auto found = examine(false);
  std::ranges::sort(expected);
  std::ranges::sort(found);
  EXPECT_EQ(found, expected);
}

// What a 64-bit program needs to reach a 32-bit DLL of the suite.
TEST_F(Doctor, FollowsAComponentIntoItsSurrogate) {
  if (!host::is_64BitWindows() || is_SuitesBitness)
    return;
  mend();
  RegDeleteTreeW(HKEY_CLASSES_ROOT, (LR"(CLSID\)" + id).c_str());
  const auto reach = [] { return host::find_ComponentState(log_component); };
  using enum host::Reach;
  EXPECT_EQ(reach().How, Missing);
  make_File(m_suite + L"logmod.dll");
  EXPECT_EQ(reach().How, Unregistered);
  const auto own = LR"(HKCR\CLSID\)" + id + L"\\", entry = LR"(HKCR\AppID\)" + id + L"\\";
  set_InView(own + LR"(InprocServer32\)", L"c:\\gone.dll", KEY_WOW64_32KEY);
  EXPECT_EQ(reach().How, FileGone);
  set_InView(own + LR"(InprocServer32\)", L"logmod.dll", KEY_WOW64_32KEY);
  EXPECT_EQ(reach().How, Unreachable);
  EXPECT_EQ(reach().Entry, L"");
  set_InView(own + L"AppID", id.c_str(), KEY_WOW64_32KEY);
  EXPECT_EQ(reach().Entry, entry);
  set_Value(entry + L"DllSurrogate", L"");
  EXPECT_EQ(reach().How, Surrogate);
  set_InView(own + LR"(InprocServer32\)", L"logmod.dll", KEY_WOW64_64KEY);
  EXPECT_EQ(reach().How, Direct);
}

WPARAM picking_Key = VK_DOWN;

// Called by the menu's own message loop.
void CALLBACK press_Keys(HWND, UINT, UINT_PTR timer, DWORD) {
  const HWND menu = FindWindowW(L"#32768", nullptr);
  if (!IsWindowVisible(menu))
    return;
  KillTimer(nullptr, timer);
  for (const WPARAM key : {WPARAM{VK_DOWN}, WPARAM{VK_DOWN}, WPARAM{VK_DOWN}, picking_Key})
    PostMessageW(menu, WM_KEYDOWN, key, 0);
}

// The display tells late that the window of the menu before has lost the keyboard, and the next menu would
// take that for its own.
void wait_ForDisplay() {
  for (int times = 0; times < 30; ++times, Sleep(10))
    host::handle_WaitingMessages();
}

TEST_F(MenuHost, CarriesOutTheItemThatIsPickedInTheRealMenu) {
  answer_Boxes(m_library.handle());
  for (const auto& [key, shown] : {std::pair(VK_ESCAPE, L"Nothing was picked."),
                                   std::pair(VK_RETURN, L"Invoked item 2: \"Open with quill!\".")}) {
    picking_Key = static_cast<WPARAM>(key);
    SetTimer(nullptr, 0, 10, press_Keys);
    EXPECT_EQ(run_MenuHost(L"show " + ::quoted(pdf), true).front(), shown);
    wait_ForDisplay();
  }
  EXPECT_EQ(recorded_Starts(1).size(), 1u);
}

}  // namespace
