#include "launcher/program_locators.h"

#include <filesystem>

#include "base/module.h"
#include "base/text.h"
#include "settings/registry_view.h"
#include "suite/feature_probes.h"
#include "suite/suite_folders.h"
#include "tests/components.h"

namespace {

const std::wstring suite_folder = test_folder + L"suite";

class Features : public Machine, public testing::WithParamInterface<const wchar_t*> {};

// Each row: settings, and what they switch on: card connector, credential provider, multi-signer, signing
// with a card.
INSTANTIATE_TEST_SUITE_P(
    Settings, Features,
    testing::Values(
        LR"(tool|CardConnector= 1 |CSP\CardConnector=0|CredentialProvider=0>connector card)",
        LR"(tool|CardConnector=true|CSP\CardConnector=1|CSP\CredentialProvider=0>card)",
        LR"(tool|CardConnector= |CSP\CardConnector= 1|CSP\MultiSignator=1>connector card)",
        LR"(tool|CredentialProvider= 1 |CSP\CardConnector=0|CSP\CredentialProvider=0>provider card)",
        LR"(tool|CSP\CredentialProvider= 1|CardConnector=11>provider card)",
        LR"(CardConnector= 1|CredentialProvider=1|MultiSignator= 1 >signer card)",
        LR"(CSP\CardConnector=1|CardConnector=0|CredentialProvider=0>card)",
        LR"(CSP\CardConnector=0|CardConnector=1|CredentialProvider=1>)",
        LR"(CardConnector=1|CredentialProvider=0>card)", LR"(CredentialProvider=1>card)",
        LR"(CardConnector= 1|CredentialProvider=1>)", LR"(CredentialProvider=true>)"));

TEST_P(Features, AreSettledWithTheFirstQuestion) {
  set_Value(norvak + LR"(pdf\path)", suite_folder);
  const auto sides = split(GetParam(), L'>');
  for (const auto& setting : split(sides[0], L'|')) {
    if (setting == L"tool")
      make_File(suite_folder + LR"(\NorvakConfig.exe)");
    else
      set_Value(norvak + split(setting, L'=')[0], split(setting, L'=')[1]);
  }
  for (const auto* later : {L"1", L"0"}) {
    std::wstring on = has_CardConnector() ? L"connector " : L"";
    on += has_CredentialProvider() ? L"provider " : L"";
    on += has_MultiSigner() ? L"signer " : L"";
    find_PdfApplication();
    on += is_CardSigningAvailable() ? L"card" : L"";
    EXPECT_EQ(on, sides[1]);
    for (const auto* name : {L"CardConnector", L"CredentialProvider", L"MultiSignator"})
      set_Value(norvak + name, later);
  }
}

class ProgramLocators : public Machine {};

TEST_F(ProgramLocators, FindTheToolInItsSecondFolderAndTheWorkerOfADeveloper) {
  set_Value(norvak + LR"(pdf\path)", LR"(c:\nowhere)");
  set_Value(norvak + LR"(csp\INSTALLDIR)", suite_folder);
  const auto tool = make_File(suite_folder + LR"(\NorvakConfig.exe)");
  EXPECT_EQ(find_ConfigurationTool(), tool);
  std::filesystem::remove(tool);
  EXPECT_EQ(find_ConfigurationTool(), tool);
  const auto worker = make_File(LR"(c:\srcbox\worker\NorvakWorkerProcess.exe)");
  EXPECT_EQ(find_WorkerProcess(), worker);
}

TEST_F(ProgramLocators, LeaveTheFolderOfADeveloperAloneWhereOthersCouldPutTheWorkerThere) {
  open_ToAll(std::filesystem::path(make_File(LR"(c:\srcbox\worker\NorvakWorkerProcess.exe)")).parent_path());
  EXPECT_EQ(find_WorkerProcess(), L"");
}

// A value whose type the registry functions do not read is asked of the script host, whose calls show the
// order.
TEST_F(ProgramLocators, TryTheirFoldersInOrderAndKeepWhatTheyFound) {
  const Component host(L"WScript.Shell", {{L"RegRead", answers(L"")}, {L"RegWrite", answers({})}});
  const Log log;
  // Each row: the folders that are tried, and the file.
  const std::pair<std::wstring (*)(), std::wstring> rows[] = {
      {find_PageKeeper, LR"(Norvak\pagekeeper\path|Norvak\pdf\path|Norvak\pdf\INSTALLDIR|PageKeeper.exe)"},
      {find_PdfViewer,
       LR"(norvak\pdf\path|norvak\pdf\INSTALLDIR|norvak\pagekeeper\path|)"
       LR"(pdfviewer\NorvakPDFViewer.exe)"},
      {find_SealWriter, LR"(Norvak\pagekeeper\path|Norvak\pdf\path|Norvak\pdf\INSTALLDIR|SealWriter.exe)"},
      {find_Quill,
       LR"(norvak\quill!\path|norvak\quill!\installdir|norvak\quill\path|)"
       LR"(norvak\quill\installdir|norvak\pdf\path|norvak\pdf\INSTALLDIR|quill!.exe)"},
      {find_WorkerProcess,
       LR"(norvak\pdf\path|norvak\pdf\INSTALLDIR|norvak\pagekeeper\path|norvak\quill!\path|)"
       LR"(norvak\pagekeeper\INSTALLDIR|norvak\quill!\INSTALLDIR|NorvakWorkerProcess.exe)"}};
  Lines expected, found;
  for (const auto& [find, row] : rows) {
    for (const auto& name : split(row.substr(0, row.rfind(L'|')), L'|')) {
      set_Bytes(LR"(HKLM\Software\)" + name, REG_NONE, "?");
      const auto path = LR"(HKLM\SOFTWARE\)" + name;
      expected.push_back(L"RegRead(" + std::wstring(in_SuiteView(path)) + L")");
      if (!is_SuitesBitness)
        expected.push_back(L"RegRead(" + path + L")");
    }
    if (find != find_WorkerProcess)  // a developer may have the worker there, and no other program
      make_File(LR"(c:\srcbox\worker\)" + std::wstring(after_Last(row, L'|')));
    EXPECT_EQ(find(), L"");
  }
  auto asked = calls(L"RegRead(");
  std::erase_if(asked, [](const auto& call) { return call.ends_with(L"ctest)"); });
  EXPECT_EQ(asked, expected);

  set_Value(norvak + LR"(quill!\path)", LR"(c:\nowhere)");
  set_Value(norvak + LR"(pagekeeper\path)", suite_folder);
  set_Value(norvak + LR"(pdf\path)", suite_folder + L"\\");
  make_File(suite_folder + LR"(\NorvakWorkerProcess.exe)");  // the common folder comes first
  for (const auto& [find, row] : rows) {
    const bool is_common = find == find_WorkerProcess;
    found.push_back(
        (is_common ? get_CommonProgramFolder() : suite_folder + L"\\").append(after_Last(row, L'|')));
    make_File(found.back());
    EXPECT_EQ(find(), found.back());
  }
  std::filesystem::remove_all(suite_folder);
  for (std::size_t index = 0; index < found.size(); ++index)
    EXPECT_EQ(rows[index].first(), found[index]);
  for (auto& path : found)
    path.insert(0, L"Found: ");
  EXPECT_EQ(log.messages(), found);
}

TEST_F(ProgramLocators, StayWithTheFirstPdfApplication) {
  set_Value(norvak + LR"(pdf\path)", suite_folder);
  EXPECT_EQ(find_PdfApplication(), L"");
  make_File(suite_folder + LR"(\pdfviewer\NorvakPDFViewer.exe)");
  const auto writer = make_File(suite_folder + LR"(\SealWriter.exe)");
  EXPECT_EQ(find_PdfApplication(), writer);
  make_File(suite_folder + LR"(\PageKeeper.exe)");
  EXPECT_EQ(find_PdfApplication(), writer);
}

}  // namespace
