#include "launcher/actions.h"

#include <algorithm>

#include "launcher/action_table.h"
#include "support/text.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

const std::wstring box = L"Configuration Problem: No Signature Certificate Configured";

Lines run(const wchar_t* action, const std::vector<FileEntry>& files) {
  return boxes_During([&] { run_Action(action, files); });
}

// The suite's programs record their command lines.
class Actions : public Machine {
 protected:
  static Lines started(std::size_t count) {
    auto lines = recorded_Starts(count);
    std::ranges::sort(lines);
    return lines;
  }
  Lines starts(const std::wstring& program, const Lines& names) const {
    Lines lines;
    for (const auto& name : names)
      lines.push_back(program + L"\t" + ::quoted(m_suite + program) + L" " + ::quoted(test_folder + name));
    std::ranges::sort(lines);
    return lines;
  }
  const std::wstring m_suite = install_Suite();
};

TEST_F(Actions, OpenEachFileUpToAMissingOne) {
  const Log log;
  Lines paths;
  for (const auto* name : {L"a.pdf", L"b & c.PDF", L"100% ^'; (1).xml", L"Tr\u00E4ger.pdf", L"skipped.txt",
                           L"no extension.", L"last.pdf"})
    paths.push_back(make_File(test_folder + name));
  auto files = entries(paths);
  files.insert(files.begin() + 1, {L"", make_File(test_folder + L"short.pdf")});
  files.insert(files.end(), {{test_folder + L"missing.pdf", L""}, {paths[0], L""}});
  EXPECT_EQ(run(L"view", files), Lines{box});
  const auto program = m_suite + L"PageKeeper.exe";
  const auto messages = log.messages();
  EXPECT_EQ(Lines(messages.begin(), messages.begin() + 4),
            (Lines{paths[0], L"do action: " + paths[0], L"Found: " + program,
                   ::quoted(program) + L" " + ::quoted(paths[0])}));
  EXPECT_EQ(messages.back(), L"do action: " + test_folder + L"missing.pdf");
  run(L"view", {{L"", L""}, {paths[0], L""}});
  run(L"View", entries({paths[0]}));
  run(L"view", entries({paths[6]}));
  EXPECT_EQ(started(7), starts(L"PageKeeper.exe", {L"a.pdf", L"short.pdf", L"b & c.PDF", L"100% ^'; (1).xml",
                                                   L"Tr\u00E4ger.pdf", L"last.pdf", L"last.pdf"}));
}

TEST_F(Actions, OpenWhatCanBeSignedWithQuill) {
  Lines paths;
  for (const auto* ending : {L"d2d", L"p7m", L"p7s", L"pdf", L"PKCS7", L"png", L"xml"})
    paths.push_back(make_File(test_folder + L"a." + ending));
  EXPECT_EQ(run(L"quill!", entries(paths)), Lines{box});
  EXPECT_EQ(started(5), starts(L"quill!.exe", {L"a.d2d", L"a.p7m", L"a.pdf", L"a.PKCS7", L"a.xml"}));
}

TEST_F(Actions, EndInATranslatedMessageButForTheQueue) {
  const Component translator(L"NorvakTranslator.Language",
                             {{L"translateit", [](const Arguments& arguments) {
                                 return _variant_t((L"de " + text_Of(arguments.at(0))).c_str());
                               }}});
  for (const auto* action : {L"signit", L"sfolder"})
    EXPECT_EQ(run(action, {}), Lines{});
  for (const auto* action : {L"view", L"unknown", L"Signit"})
    EXPECT_EQ(run(action, {}), Lines{L"de Configuration Problem: de No Signature Certificate Configured"});
  EXPECT_EQ(calls(L"translateit").size(), 2u);
}

class ActionTable : public Machine {};

TEST_F(ActionTable, FindsTheFirstFittingRecord) {
  action_table() = {{{L"zero", -1, 0, VARIANT_TRUE, L"never"},
                     {L"one", 5, -1, VARIANT_TRUE, L"never"},
                     {L"", 5, 5, VARIANT_TRUE, L"never"},
                     {L"off", 5, 0, VARIANT_FALSE, L"never"},
                     {L"no action", 6, 1, VARIANT_TRUE, L""},
                     {L"first", 7, 3, VARIANT_TRUE, L"a"},
                     {L"second", 3, 7, VARIANT_TRUE, L"b"},
                     {L"zero", 0, 4, VARIANT_TRUE, L"c"}}};
  action_table()[99] = {L"last", 99, 5, VARIANT_TRUE, L"z"};
  const std::tuple<long, const wchar_t*, const wchar_t*> rows[] = {
      {3, L"a", L"second"},   {7, L"a", L"first"}, {0, L"c", L"zero"},  {4, L"c", L""},    {1, L"", L""},
      {6, L"", L"no action"}, {5, L"z", L"one"},   {99, L"z", L"last"}, {-1, L"", L"zero"}};
  for (const auto& [command, action, name] : rows) {
    EXPECT_EQ(get_ActionString(command), action) << command;
    EXPECT_EQ(get_MenuName(command), name) << command;
  }
}

TEST_F(ActionTable, LogsEachRecordUpToTheMatchAndIsClearedTogetherWithTheFlags) {
  const Log log;
  action_table()[1] = {L"", 1, 1, VARIANT_TRUE, L"unseen"};
  action_table()[2] = {L"shut", 8, 0, VARIANT_FALSE, L"p7s"};
  action_table()[3] = {L"open", 9, 1, VARIANT_TRUE, L"view"};
  action_table()[99] = {L"late", 9, 2, VARIANT_TRUE, L"p7m"};
  EXPECT_EQ(get_ActionString(9), L"view");
  get_MenuName(9);
  EXPECT_EQ(log.messages(), (Lines{L"get_ActionString: 9", L"MenuName: shut", L"MenuIDX: 8", L"MenuICMD: 0",
                                   L"MenuAction: p7s", L"MenuName: open", L"MenuIDX: 9", L"MenuICMD: 1",
                                   L"MenuAction: view"}));
  selection_flags() = flags_Of(L"Folders Card");
  clear_ActionTable();
  EXPECT_EQ(names_Of(selection_flags()), L"");
  for (const auto& record : action_table()) {
    EXPECT_EQ(record.MenuName + record.MenuAction, L"");
    EXPECT_EQ(record.MenuIDX + record.MenuICMD + record.MenuEnabled, -2);
  }
}

}  // namespace
