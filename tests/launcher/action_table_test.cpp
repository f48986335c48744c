#include "launcher/action_table.h"

#include "base/text.h"
#include "selection/selection.h"
#include "tests/components.h"

namespace {

class ActionTable : public Machine {};

TEST_F(ActionTable, FindsTheFirstFittingRecord) {
  action_table() = {{{L"zero", -1, 0, true, L"never"},
                     {L"one", 5, -1, true, L"never"},
                     {L"", 5, 5, true, L"never"},
                     {L"off", 5, 0, false, L"never"},
                     {L"no action", 6, 1, true, L""},
                     {L"first", 7, 3, true, L"a"},
                     {L"second", 3, 7, true, L"b"},
                     {L"zero", 0, 4, true, L"c"}}};
  action_table()[99] = {L"last", 99, 5, true, L"z"};
  const std::tuple<long, const wchar_t*, const wchar_t*> rows[] = {
      {3, L"a", L"second"},   {7, L"a", L"first"}, {0, L"c", L"zero"},  {4, L"c", L""},    {1, L"", L""},
      {6, L"", L"no action"}, {5, L"z", L"one"},   {99, L"z", L"last"}, {-1, L"", L"zero"}};
  for (const auto& [command, action, name] : rows) {
    EXPECT_EQ(get_ActionString(command), action) << command;
    EXPECT_EQ(get_MenuName(command), name) << command;
  }
}

TEST_F(ActionTable, LogsEachRecordUpToTheMatchAndIsClearedWithTheFlags) {
  const Log log;
  action_table()[1] = {L"", 1, 1, true, L"unseen"};
  action_table()[2] = {L"shut", 8, 0, false, L"p7s"};
  action_table()[3] = {L"open", 9, 1, true, L"view"};
  action_table()[99] = {L"late", 9, 2, true, L"p7m"};
  EXPECT_EQ(get_ActionString(9), L"view");
  get_MenuName(9);
  EXPECT_EQ(log.messages(), (Lines{L"get_ActionString: 9", L"MenuName: shut", L"MenuIDX: 8", L"MenuICMD: 0",
                                   L"MenuAction: p7s", L"MenuName: open", L"MenuIDX: 9", L"MenuICMD: 1",
                                   L"MenuAction: view"}));
  select_Flags(L"Folders Image");
  clear_ActionTable();
  EXPECT_EQ(names_Of(current_Selection()->Flags), L"");
  for (const auto& record : action_table()) {
    EXPECT_EQ(std::wstring(record.MenuName).append(record.MenuAction), L"");
    EXPECT_EQ(record.MenuIDX + record.MenuICMD + record.MenuEnabled, -2);
  }
}

}  // namespace
