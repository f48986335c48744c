// The whole way from the command line of menuhost.exe, which plays Explorer, through the registered extension
// to the programs of the suite.
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "base/module.h"
#include "base/text.h"
#include "files/file_names.h"
#include "host/explorer/popup.h"
#include "tests/menu_host.h"

namespace {

std::string whole(const Lines& lines) {
  std::string text;
  for (const auto& line : lines)
    text += to_Ansi(line) + "\n";
  return text;
}

TEST_F(MenuHost, StartsTheProgramsOfPickedItemsAndLogsThem) {
  // In a folder in which nobody else may replace it, wherever the build is.
  const auto copy = m_suite + L"logmod.dll";
  CopyFileW(built_File(LR"(standins\logmod.dll)").c_str(), copy.c_str(), FALSE);
  const Library log_component(copy);
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
    return std::ranges::count(shown, L"Written: " + made) == 1;
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
