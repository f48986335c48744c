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
#include "host/explorer/popup.h"
#include "host/program.h"
#include "shellext/class_identifiers.h"
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
  static const std::wregex times(LR"(\d+ microseconds\W+(detail\W+)?the first time \d+)");
  for (auto line : read_Lines(test_folder + name)) {
    replace_All(line, L"},{", L"},\n{");
    for (const auto& part : split(std::regex_replace(line, times, L"TIMES"), L'\n'))
      shown.push_back(mark + part);
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
    for (const auto& key : {LR"(WOW6432Node\CLSID\)" + id,
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
  const auto invoke = [](const std::wstring& item, const std::wstring& path) {
    EXPECT_EQ(run_MenuHost(L"invoke " + item + L" " + ::quoted(path), true).back(), L"[0]");
  };
  const auto change = [](const std::wstring& path, std::streamoff place) {
    std::fstream(std::filesystem::path(path), std::ios::in | std::ios::out | std::ios::binary)
        .seekp(place)
        .put('#');
  };
  const auto picture = make_Picture(test_folder + L"picture.bmp"), envelope = pdf + L".p7m";
  const std::string content = "the content of the letter";
  std::ofstream(std::filesystem::path(pdf)) << content;
  invoke(L"1", picture);
  const auto page = read_Bytes(picture + L".pdf");
  EXPECT_TRUE(page.starts_with("%PDF-1.") && page.ends_with("%%EOF\n")) << page.substr(0, 20);
  invoke(L"5", pdf);
  std::filesystem::remove(pdf);
  invoke(L"2", envelope);
  EXPECT_EQ(read_Bytes(pdf), content);
  std::filesystem::remove(pdf);
  change(envelope, static_cast<std::streamoff>(read_Bytes(envelope).find(content)));
  invoke(L"2", envelope);
  EXPECT_FALSE(std::filesystem::exists(pdf)) << "a changed envelope must not give its content back";
  for (const auto* component : {&editor, &signer})
    component->run("DllUnregisterServer");
}

// A case in the file is a line with the command and then the lines that it shows. "$ " runs the command in
// this process, "> " in one of its own, "= " sets a registry value instead. Behind the command, "| part"
// keeps only the lines that contain the part, "|! part" only the others.
void run_Cases(const std::wstring& name) {
  BOOL on_other_bitness = FALSE;  // this is a 32-bit program on a 64-bit Windows
  IsWow64Process(GetCurrentProcess(), &on_other_bitness);
  const bool is_32BitWindows = is_SuitesBitness && !on_other_bitness;
  const std::pair<const wchar_t*, std::wstring> names[] = {
      {L"FILE", ::quoted(pdf)},
      {L"VERSION", L"" PROJECT_VERSION},
      {L"OWN_DLL", built_File(L"NorvakContextMenu.dll")},
      {L"VIEW", is_SuitesBitness ? L"" : LR"(WOW6432Node\)"},
      {L"BITNESS", is_32BitWindows ? L"fits        Windows and the extension are 32-bit"
                   : on_other_bitness
                       ? L"mismatch    only the 32-bit DLL is registered, which a 64-bit Explorer"
                         L" cannot load; run the setup again (it has none for ARM processors)"
                       : L"mismatch    only the 64-bit DLL is registered, which 32-bit programs"
                         L" cannot load; run the setup again"}};
  auto lines = read_Lines(from_Ansi(SOURCE_FOLDER "/tests/whole/") + name);
  ASSERT_FALSE(lines.empty());
  const auto only_64Bit = std::ranges::find(lines, L"64-bit:");  // the cases below need a 64-bit Windows
  lines.erase(only_64Bit, only_64Bit == lines.end() || is_32BitWindows ? lines.end() : only_64Bit + 1);
  for (auto& line : lines)
    for (auto [text, meant] : names) {
      if (line.starts_with(L'{'))
        replace_All(meant, L"\\", LR"(\\)");
      replace_All(line, text, meant);
    }
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
    EXPECT_EQ(run_MenuHost(L"show " + ::quoted(pdf), true), (Lines{shown, L"[0]"}));
    wait_ForDisplay();
  }
  EXPECT_EQ(recorded_Starts(1).size(), 1u);
}

}  // namespace
