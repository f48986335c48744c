#include "menu/composition.h"

#include "base/text.h"
#include "launcher/action_table.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

const std::wstring container = users + LR"(pdf\UniqueContainerName)";

// Fills a menu between two items that it has already.
HRESULT compose(const Menu& menu, UINT flags = CMF_NORMAL) {
  AppendMenuW(menu.Handle, MF_STRING, 1, L"above");
  AppendMenuW(menu.Handle, MF_STRING, 2, L"below");
  return QueryContextMenu(nullptr, menu.Handle, 1, 100, 100, flags);
}

void install(const std::wstring& programs) {
  set_Value(norvak + LR"(pdf\path)", test_folder);
  for (const auto& program : split(programs, L' '))
    make_File(test_folder + program + L".exe");
}

class Composition : public Machine, public testing::WithParamInterface<const wchar_t*> {};

// Each row: installed programs, settings that are on, the selection's flags, and the keywords of the offered
// items.
INSTANTIATE_TEST_SUITE_P(
    Offers, Composition,
    testing::Values(
        L"PageKeeper quill! NorvakWorkerProcess||Pdf Signable Convertible|view quill! signit p7s p7m",
        L"PageKeeper||Xml Signable|view p7s p7m",
        L"PageKeeper quill! NorvakWorkerProcess||Image Convertible Link|view signit",
        L"quill! NorvakWorkerProcess||Pdf Xml Image Convertible|p7s p7m",
        L"PageKeeper quill!||Convertible|p7s p7m", L"quill!||Pkcs7|vPKCS7",
        L"PageKeeper quill! NorvakWorkerProcess||Signable Pkcs7 Link|quill! vPKCS7",
        L"|CardConnector|Pdf Signable|p7s p7m", L"NorvakWorkerProcess||Pdf Signable Convertible|",
        L"PageKeeper|MultiSignator|Folders Pdf Container|sfolder",
        L"NorvakConfig|CardConnector|Folders Container|",
        L"NorvakConfig|CardConnector|Folders Drive Container|mount",
        L"NorvakConfig|CredentialProvider MultiSignator|Folders Drive Container Mounted|sfolder unmount",
        L"NorvakConfig|CardConnector MultiSignator|Folders Drive Mounted|sfolder create",
        L"|CardConnector|Folders Drive|"));

TEST_P(Composition, FillsTheMenuAndTheTable) {
  std::map<std::wstring, std::wstring> captions{
      {L"sfolder", L"Sign PDFs in Folder"},  {L"mount", L"Mount Secure Drive"},
      {L"unmount", L"Unmount Secure Drive"}, {L"create", L"Create Secure Drive"},
      {L"view", L"Open with Norvak"},        {L"quill!", L"Open with quill!"},
      {L"signit", L"Create PDF Signature"},  {L"p7s", L"Create PKCS7 Signature"},
      {L"p7m", L"Create PKCS7 Envelope"},    {L"vPKCS7", L"Validate PKCS7 Signature"}};
  const Log log;
  const auto row = split(GetParam(), L'|');
  set_Value(container, L"container");
  install(row[0]);
  for (const auto& name : split(row[1], L' '))
    set_Value(norvak + name, L"1");
  select_Flags(row[2]);
  auto keywords = split(row[3], L' ');
  std::erase(keywords, L"");
  const Menu menu;
  EXPECT_EQ(compose(menu), static_cast<HRESULT>(keywords.size()));

  Lines expected{L"1 above"};
  long index = 0;
  for (const auto& keyword : keywords) {
    const auto& record = action_table()[static_cast<std::size_t>(index)];
    EXPECT_EQ((Lines{std::wstring(record.MenuName), std::wstring(record.MenuAction)}),
              (Lines{captions[keyword], keyword}));
    EXPECT_TRUE(record.MenuIDX == 100 + index && record.MenuICMD == index && record.MenuEnabled);
    const auto mark = keyword == L"signit" ? L" *" : L"";
    expected.push_back(std::to_wstring(100 + index++) + L" " + captions[keyword] + mark);
  }
  if (index > 0)
    expected.push_back(L"-");
  expected.push_back(L"2 below");
  auto lines = menu.lines();
  for (auto& line : lines)
    std::erase(line, L'&');  // the access keys have cases of their own
  EXPECT_EQ(lines, expected);
  const auto word = contains(row[2], L"Folders") ? L"True" : L"False";
  EXPECT_EQ(log.messages().front(), std::wstring(L"Query Context Menu FilesAreFolder: ") + word);
}

TEST_F(Composition, DependsOnTheKindOfMenu) {
  install(L"quill!");
  for (const UINT others : {0u, ~0xFu}) {  // the other flags change nothing
    for (const UINT kind : {1u, 8u, 9u})
      EXPECT_EQ(compose(Menu(), others | kind), 0) << others << kind;
    for (const UINT kind : {0u, 2u, 3u, 4u, 5u, 0xAu})
      EXPECT_EQ(compose(Menu(), others | kind), 2) << others << kind;
  }
}

TEST_F(Composition, KeepsCaptionsAndTheContainerNameOnceKnown) {
  install(L"PageKeeper NorvakWorkerProcess");
  Component translator(L"NorvakTranslator.Language", {{L"translateit", answers(L"Unterschrift")}});
  select_Flags(L"Convertible");
  EXPECT_EQ(compose(Menu()), 2);
  set_Value(container, L"container");
  EXPECT_EQ(compose(Menu()), 3);
  translator->Table[L"translateit"] = answers(L"signature");
  set_Value(container, L"");
  const Menu menu;
  EXPECT_EQ(compose(menu), 3);
  EXPECT_EQ(menu.lines(), (Lines{L"1 above", L"100 &Unterschrift *", L"101 U&nterschrift",
                                 L"102 Un&terschrift", L"-", L"2 below"}));
}

}  // namespace
