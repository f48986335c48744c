#include "menu/access_keys.h"

#include "base/text.h"
#include "launcher/action_table.h"
#include "menu/composition.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

class AccessKeys : public Machine {};

// Each row: what is taken before, the caption, what stands in the menu, and the letter that is taken.
TEST_F(AccessKeys, MarkAFreeLetterAndLeaveWhatACaptionBrings) {
  const struct {
    std::wstring Taken;
    const wchar_t *Caption, *Marked, *Added;
  } rows[] = {{L"", L"Open with Norvak", L"&Open with Norvak", L"o"},
              {L"o", L"Open with Norvak", L"Open &with Norvak", L"w"},
              {L"own", L"Open with Norvak", L"O&pen with Norvak", L"p"},
              {L"", L"PKCS7-Signatur", L"&PKCS7-Signatur", L"p"},
              {L"p", L"PKCS7-Signatur", L"PKCS7-&Signatur", L"s"},
              {L"pkcs", L"PKCS7", L"PKCS&7", L"7"},
              {L"pkcs7", L"PKCS7", L"PKCS7", L""},
              {L"", L"\u00D6ffnen", L"&\u00D6ffnen", L"\u00F6"},
              {L"\u00F6", L"\u00D6ffnen", L"\u00D6&ffnen", L"f"},
              {L"", L"\u041F\u043E\u0434\u043F\u0438\u0441\u044C",
               L"&\u041F\u043E\u0434\u043F\u0438\u0441\u044C", L"\u043F"},
              {L"", L"\u7F72\u540D", L"\u7F72\u540D", L""},
              {L"", L"PDF\u7F72\u540D", L"&PDF\u7F72\u540D", L"p"},
              {L"", L"\u7F72\u540D(&S)", L"\u7F72\u540D(&S)", L""},
              {L"s", L"PDF &Sign", L"PDF &Sign", L""},
              {L"", L"R&&D &sign", L"R&&D &sign", L""},
              {L"", L"R&&D", L"&R&&D", L"r"},
              {L"r", L"R&&D", L"R&&&D", L"d"},
              {L"", L"Sign & seal", L"&Sign && seal", L"s"},
              {L"", L"& seal &", L"&& &seal &&", L"s"},
              {L"seal", L"Seal &", L"Seal &&", L""},
              {L"", L"", L"", L""},
              {L"", L"&", L"&&", L""},
              {L"", L"...", L"...", L""}};
  for (const auto& row : rows) {
    std::wstring caption = row.Caption, taken = row.Taken;
    mark_AccessKey(caption, taken);
    EXPECT_EQ(caption, row.Marked);
    EXPECT_EQ(taken, row.Taken + row.Added) << to_Ansi(row.Marked);
  }
}

// The shell's items keep their letters, and so does a caption of ours that comes after another one.
TEST_F(AccessKeys, AreNotSharedInOneMenu) {
  set_Value(norvak + LR"(pdf\path)", test_folder);
  set_Value(users + LR"(pdf\UniqueContainerName)", L"container");
  for (const auto* program : {L"PageKeeper", L"quill!", L"NorvakWorkerProcess"})
    make_File(test_folder + program + L".exe");
  const Component translator(L"NorvakTranslator.Language", {{L"translateit", [](const Arguments& arguments) {
                                                               const auto text = text_Of(arguments.at(0));
                                                               return _variant_t(contains(text, L"Envelope")
                                                                                     ? L"Envelo&pe & seal"
                                                                                     : text.c_str());
                                                             }}});
  select_Flags(L"Pdf Signable Convertible");
  const Menu menu;
  AppendMenuW(menu.Handle, MF_STRING, 1, L"&Open");
  AppendMenuW(menu.Handle, MF_STRING, 2, L"R&&D: cop&y");
  AppendMenuW(menu.Handle, MF_OWNERDRAW, 3, L"&Create");
  EXPECT_EQ(QueryContextMenu(nullptr, menu.Handle, 1, 0, 100, CMF_NORMAL), 5);
  EXPECT_EQ(menu.lines(),
            (Lines{L"1 &Open", L"0 Open &with Norvak", L"1 Open with &quill!", L"2 &Create PDF Signature *",
                   L"3 Create PKCS7 &Signature", L"4 Envelo&pe & seal", L"-", L"2 R&&D: cop&y", L"3 "}));
  std::wstring names;
  for (long command = 0; command < 5; ++command)
    names += (command == 0 ? L"" : L"|") + get_MenuName(command);
  EXPECT_EQ(
      names,
      L"Open with Norvak|Open with quill!|Create PDF Signature|Create PKCS7 Signature|Envelo&pe & seal");
}

}  // namespace
