#include "selection/selection_analysis.h"

#include <filesystem>
#include <random>

#include "base/text.h"
#include "files/file_extensions.h"
#include "files/files.h"
#include "selection/selection_capture.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

std::wstring analyze(const Lines& paths) {
  return names_Of(analyze_Selection(entries(paths)));
}

void capture(const std::wstring& path) {
  DataObject data(Lines{path});
  std::wstring short_list;
  capture_Selection(&data, short_list);
}

class SelectionAnalysis : public Machine {};

TEST_F(SelectionAnalysis, SortsFilesByTheirEndings) {
  std::filesystem::create_directory(test_folder + L"folder.png");
  for (const auto* row :
       {L"a.pdf>Container Pdf Signable Convertible", L"A.XML>Container Xml Signable",
        L"a.txt|b.D2D>Container Signable", L"a.lnk|b.pdf>Container Link",
        L"a.pdf|b.lnk|c.xml>Container Pdf Signable Convertible Link", L"a. Png >Container Image Convertible",
        L"a.url|b.tiff>Container Image Convertible Link", L"a.LNK|b.pkcs7>Container Signable Link",
        L"reportpdf>Container Pdf Signable Convertible",
        L"scantif|tablexml>Container Xml Signable Convertible", L"df|nk|a.pdf.txt|p.d.f>Container",
        L"a.p7m>Container Signable Pkcs7 Envelope", L"a.p7s|b.url>Container Pkcs7 Link",
        L"x     png|b.     png>Container Image Convertible", L"a.txt||b.pdf>Container",
        L"c:\\norvaks machine\\folder.png|a.txt>Container"}) {
    const auto sides = split(row, L'>');
    EXPECT_EQ(analyze(split(sides[0], L'|')), sides[1]) << to_Ansi(row);
  }
  for (const auto* ending :
       {L"fax", L"gif", L"pcx", L"jpg", L"bmp", L"jp2", L"jpc", L"pgx", L"tga", L"a.jb2", L"a.emf", L"a.wmf"})
    EXPECT_TRUE(contains(analyze({ending}), L"Convertible")) << to_Ansi(ending);
  EXPECT_EQ(names_Of(analyze_Selection(std::vector<FileEntry>{{L"", L"A~1.XML"}})),
            L"Container Xml Signable");
}

TEST_F(SelectionAnalysis, RecognisesASecureDrive) {
  const Log log;
  set_Value(norvak + LR"(pdf\path)", test_folder);
  make_DriveE();
  const std::wstring end = L"Files are all Directory";
  const std::wstring one = L"DataFiles contains one entry|", drive = L"This is a drive|";
  // Each row: a new file, the selection, its flags and the messages.
  const std::wstring rows[][4] = {
      {L"x", L"E:", L"Folders Container", L"DataFiles contains 1 entries|" + end},
      {L"Vaultware.exe", L"E:", L"Folders Drive", one + drive + end},
      {LR"(drive\norvak\norvak.tc)", LR"(E:\)", L"Folders Drive Container", one + drive + end},
      {LR"(drive\mounted.txt)", L"E:", L"Folders Drive Container Mounted", one + drive + end},
      {L"x", L"E:|C:", L"Folders Container", L"DataFiles contains 2 entries|" + end},
      {L"x", LR"(E:\norvak)", L"Folders Container", one + end},
      {L"x", LR"(E:\|E:\missing)", L"Container", L""},
      {L"x", LR"(E:\|)", L"Container", L""},
  };
  Lines messages;
  for (const auto& [file, paths, flags, expected] : rows) {
    make_File(test_folder + file);
    EXPECT_EQ(analyze(split(paths, L'|')), flags) << to_Ansi(paths);
    for (const auto& message : split(expected, L'|'))
      messages.push_back(message);
  }
  std::erase(messages, L"");
  EXPECT_EQ(log.messages(), messages);
}

TEST_F(SelectionAnalysis, RepairsTheIconsForAnEnvelope) {
  set_Value(norvak + LR"(pdf\path)", test_folder);
  const auto icon = make_File(test_folder + L"p7m.ico");
  make_File(test_folder + L"p7s.ico");
  set_Value(LR"(HKCR\.p7s\DefaultIcon\)", L"own.ico");
  capture(L"a.p7s");
  EXPECT_EQ(value_At(LR"(HKCR\.p7m\DefaultIcon\)"), L"(none)");
  capture(L"a.p7m");
  EXPECT_EQ(value_At(LR"(HKCR\.p7m\DefaultIcon\)"), icon);
  EXPECT_EQ(value_At(LR"(HKCR\.p7s\DefaultIcon\)"), L"own.ico");
}

// A plain walk for one ending, name by name; the product walks all of them at once.
bool has_Extension(const Lines& paths, const std::wstring& extension, SelectionFlags& flags) {
  for (const auto& path : paths) {
    if (path.empty())
      return false;
    if (is_ImageFile(path))
      flags.HasImage = flags.HasConvertible = true;
    const auto name = to_Lower(path);
    if (name.ends_with(L"lnk") || name.ends_with(L"url")) {
      flags.HasLink = true;
      if (extension.size() == 3)
        return false;
    }
    if (name.ends_with(extension))
      return true;
  }
  return false;
}

TEST_F(SelectionAnalysis, AgreesWithPlainWalks) {
  const std::pair<bool SelectionFlags::*, const wchar_t*> walks[] = {
      {&SelectionFlags::HasPdf, L"pdf"},
      {&SelectionFlags::HasXml, L"xml"},
      {&SelectionFlags::HasSignable, L"pdf|xml|p7m|d2d|pkcs7"},
      {&SelectionFlags::HasConvertible, L"gif|fax|tif|tiff|pcx|jpg|bmp|jp2|jpc|pgx|tga|pdf"},
      {&SelectionFlags::HasPkcs7, L"p7m|p7s"},
      {&SelectionFlags::HasEnvelope, L"p7m"}};
  const auto endings =
      split(L".txt|.doc|.c|pdf|.pdf|.XML|.p7m|.p7s|.d2d|.pkcs7|.png|.tiff|tif|.lnk|.url|x", L'|');
  std::mt19937 random(20240229);
  for (int round = 0; round < 400; ++round) {
    // A selection has only a few kinds of file, so that most flags stay unset.
    Lines paths(1 + random() % 5);
    const auto first_kind = random() % endings.size();
    for (auto& path : paths)
      path = random() % 50 == 0 ? L"" : L"Z" + endings[(first_kind + random() % 4) % endings.size()];
    auto flags = flags_Of(L"Container");
    for (const auto& [flag, extensions] : walks)
      for (const auto& extension : split(extensions, L'|'))
        if (has_Extension(paths, extension, flags))
          flags.*flag = true;
    EXPECT_EQ(analyze(paths), names_Of(flags)) << testing::PrintToString(paths).substr(0, 300);
  }
}

}  // namespace
