#include "files/trust.h"

#include "base/text.h"
#include "tests/accounts.h"
#include "tests/machine.h"

namespace {

class Trust : public Machine, public testing::WithParamInterface<bool> {};

INSTANTIATE_TEST_SUITE_P(, Trust, testing::Bool(),
                         [](const auto& row) { return row.param ? "Elevated" : "OfAPerson"; });

// As Windows has its system drive: everybody may add folders, and what is written there is for what lies in
// them.
TEST_P(Trust, EndsWhereSomebodyElseCouldChangeSomething) {
  const std::wstring folder = test_folder + L"suite", program = folder + LR"(\program.exe)";
  const std::wstring drive = L"c:", upper = test_folder.substr(0, test_folder.size() - 1),
                     own = L"S-1-5-21-1-2-3-1000",
                     installer = L"S-1-5-80-956008885-3418522649-1831038044-1853292631-2271478464",
                     drive_list = L"O:" + installer +
                                  L"D:PAI(A;;LC;;;AU)(A;OICIIO;SDGXGWGR;;;AU)(A;;FA;;;SY)"
                                  L"(A;OICIIO;GA;;;SY)(A;OICI;FA;;;BA)(A;OICI;0x1200a9;;;BU)",
                     owned = L"O:" + own + L"D:(A;;FA;;;" + own + L")(A;;FA;;;SY)",
                     persons = GetParam() ? L"!" : L"";
  make_File(program);
  pretend_Account(GetParam(), own);
  const auto with = [](const std::wstring& entry) { return closed_list + entry; };
  const struct {
    AccessLists Lists;
    std::wstring Path;
    std::wstring OpenPart;  // "!": the first path with a list
  } rows[] = {
      {{}, program, L""},
      {{}, folder + L"\\", L""},
      {{{drive, drive_list},
        {LR"(c:\windows\system32)", L"O:" + installer},
        {LR"(c:\windows\syswow64)", L"O:" + installer}},
       folder,
       L""},
      {{{folder, with(L"(D;;FA;;;WD)(A;OICIIO;FA;;;WD)(A;;0x1200a9;;;WD)(A;;FA;;;S-1-3-4)")}}, folder, L""},
      {{{upper, with(L"(A;;0x6;;;BU)")}},
       folder,
       L""},  // who adds something here does not change what is there
      {{{folder, with(L"(A;;0x6;;;BU)")}}, folder, L"!"},
      {{{folder, with(L"(A;;0x2;;;WD)")}}, program, L"!"},
      {{{program, with(L"(A;;0x2;;;AU)")}}, program, L"!"},
      {{{program, with(L"(A;;GW;;;AU)")}}, program, L"!"},
      {{{upper, with(L"(A;;SD;;;AU)")}}, program, L"!"},
      {{{upper, with(L"(A;;0x40;;;IU)")}}, folder, L"!"},
      {{{drive, with(L"(A;;WO;;;BU)")}}, folder, L"!"},
      {{{drive, with(L"(A;;GA;;;S-1-5-21-9-9-9-1000)")}}, folder, L"!"},
      {{{upper, L"O:S-1-5-21-9-9-9-1000D:(A;;FA;;;SY)"}}, folder, L"!"},
      {{{upper, L"O:BAD:(A;;FA;;;SY)(A;;FA;;;S-1-5-80-1-1-1-1-1)"}}, folder, L"!"},
      {{{folder, L"O:BA"}}, folder, L"!"},  // without a list, everybody may do everything
      {{{upper, L"link"}}, folder, L"!"},
      {{{folder, L"link"}}, folder, L"!"},
      {{{program, L"link"}}, program, L"!"},
      {{{upper, owned}}, folder, persons},
      {{{folder, owned}}, program, persons},
      {{{program, owned}}, program, persons},
      {{}, folder + LR"(\none)", folder + LR"(\none)"},
      {{}, LR"(\\server\share\suite)", LR"(\\server\share\suite)"},
      {{}, L"suite", L"suite"},
      {{}, L"c:suite", L"c:suite"},
      {{}, L"c:/windows", L"c:/windows"},
      {{}, L"", L""}};
  for (const auto& [lists, path, open_part] : rows) {
    pretend_AccessLists(lists);
    const auto expected = open_part == L"!" ? lists.begin()->first : open_part;
    const auto list = lists.empty() ? L"" : lists.begin()->second;
    EXPECT_EQ(find_OpenPart(path), expected) << to_Ansi(list);
    EXPECT_EQ(may_Obey(path), !GetParam() || (expected.empty() && !path.empty())) << to_Ansi(list);
  }
}

}  // namespace
