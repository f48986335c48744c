#include "suite/diagnostic_log.h"

#include <array>
#include <ctime>
#include <regex>

#include "base/log.h"
#include "base/text.h"
#include "tests/components.h"

namespace {

std::wstring day_AndHour() {
  const auto now = std::time(nullptr);
  std::array<wchar_t, 8> text{};
  std::wcsftime(text.data(), text.size(), L"%d%H", std::localtime(&now));
  return text.data();
}

class DiagnosticLog : public Machine, public testing::WithParamInterface<int> {};

// Each row: program, project, file. A row of the product's table is found by either name, also where a later
// row would name another file.
TEST_F(DiagnosticLog, ChoosesItsFileByTheProgramThenTheProject) {
  const auto rows = read_Lines(from_Ansi(SOURCE_FOLDER "/tests/suite/log_files.txt"));
  EXPECT_EQ(rows.size(), 29u);
  for (const auto& row : rows) {
    const auto fields = split(row, L'|');
    EXPECT_EQ(choose_LogFile(fields[0], fields[1]), fields[2]) << to_Ansi(row);
  }
}

TEST_F(DiagnosticLog, IsOffWithInvalidSettings) {
  const Log log;
  set_Value(norvak + L"AlwaysDebug", L"true");
  set_Value(norvak + L"debugpath", LR"(c:\tool.exe\)");
  debug_Log(L"message");
  EXPECT_FALSE(is_LogOn());
  EXPECT_EQ(calls(), Lines{});
}

TEST_F(DiagnosticLog, WritesBelowTheDebugPathWithAHeader) {
  const Log log;
  set_Value(norvak + L"AlwaysDebug", L"0");
  set_Value(norvak + L"debugpath", LR"(c:\logs)");
  const auto before = day_AndHour();
  debug_Log(L"label ", -5);
  EXPECT_EQ(value_At(norvak + L"debugpath"), LR"(c:\logs\)");
  const auto form = LR"(logge\(()" + before + L"|" + day_AndHour() + LR"()[0-5]\d[0-5]\d:)" +
                    _wgetenv(L"USERNAME") + LR"(:unit_tests\.exe:)" + std::to_wstring(GetCurrentProcessId()) +
                    LR"(: label -5, c:\\logs\\\\pdf\.log\))";
  const auto line = calls(L"logge(").at(0);
  EXPECT_TRUE(std::regex_match(line, std::wregex(form))) << to_Ansi(line);
}

TEST_F(DiagnosticLog, DropsNoiseAndRepeatsAndMessagesAboutMessages) {
  Log log;
  log->Table[L"logge"] = [](const Arguments&) {
    debug_Log(L"about a message");
    return _variant_t();
  };
  for (const auto* message :
       {L"a", L"a", L"", L"a", L"b", L"a", L" INFO Ready ", L"a", L"Info Ready 2", L"set_", L"Set_ Ready",
        L"set_x", L"is unloading now", L"x Is_ServerMode", L"Is NOT System (lsass) Process",
        L"ReaderList Length (in characters) is: 5", L"A"})
    debug_Log(message);
  EXPECT_EQ(log.messages(), (Lines{L"a", L"b", L"a", L"Info Ready 2", L"set_x", L"A"}));
}

INSTANTIATE_TEST_SUITE_P(Folders, DiagnosticLog, testing::Values(-1, 0, 1, 2));

TEST_P(DiagnosticLog, WritesToTheFirstFolderThatIsSet) {
  const Log log;
  set_Value(norvak + L"AlternativeWritePath", L"pdf.log");  // a relative path counts as none
  // The fallbacks, the last one first.
  const wchar_t* names[] = {LR"(pdf\path)", LR"(pdf\INSTALLDIR)", L"AlternativeWritePath"};
  const wchar_t* files[] = {LR"(, c:\0\pdf.log))", LR"(, c:\1\pdf.log))", LR"(, c:\2\\pdf.log))"};
  for (int index = 0; index <= GetParam(); ++index)
    set_Value(norvak + names[index], L"c:\\" + std::to_wstring(index));
  debug_Log(L"message");
  set_Value(norvak + L"AlternativeWritePath", L"c:\\later");
  debug_Log(L"another");
  EXPECT_EQ(calls(L"logge(").size(), GetParam() < 0 ? 0u : 2u);
  EXPECT_EQ(calls(GetParam() < 0 ? L"logge(" : files[GetParam()]), calls(L"logge("));
}

TEST_F(DiagnosticLog, IsOffForGoodWithoutItsComponent) {
  const Log log;
  log->IsCreatable = false;
  EXPECT_TRUE(is_LogOn());
  debug_Log(L"message");
  log->IsCreatable = true;
  debug_Log(L"another");
  EXPECT_FALSE(is_LogOn());
  EXPECT_EQ(calls(), Lines{});
}

TEST_F(DiagnosticLog, TracesAtTheDriveRootInsteadOfItsComponent) {
  const Log log;
  set_Value(norvak + LR"(pdf\clog)", L" 1 ");
  debug_Log(L"x\r\n" + std::wstring(60, L'y') + L"end");
  debug_Log(L" short \u5951 ");
  auto lines = read_Lines(LR"(c:\norvak.log)");
  std::erase_if(lines, [](const auto& line) { return line.ends_with(L" permtest"); });
  EXPECT_EQ(lines, (Lines{L"x" + std::wstring(47, L'y'), L"short {U+5951}"}));
  EXPECT_EQ(calls(), Lines{});
  const auto others = make_File(test_folder + L"other.txt");
  DeleteFileW(LR"(c:\norvak.log)");
  EXPECT_TRUE(CreateHardLinkW(LR"(c:\norvak.log)", others.c_str(), nullptr));
  debug_Log(L"into a link that somebody made");
  EXPECT_EQ(read_Lines(others), Lines{});
}

}  // namespace
