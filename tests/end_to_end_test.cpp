// From the command line of the program that plays Explorer, through the registered extension, to the programs
// of the suite.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <span>

#include "shellext/shell_ext.h"
#include "support/guid.h"
#include "support/handles.h"
#include "support/module.h"
#include "support/text.h"
#include "tests/explorer.h"

namespace {

const std::wstring pdf = L"C" + test_folder.substr(1) + L"a letter.pdf";  // as the shell spells the drive

struct Outcome {
  DWORD ExitStatus = 0;
  std::string Output;
  std::string Errors;
  int Boxes = 0;  // the message boxes that were closed meanwhile
};

std::string read_Bytes(const std::wstring& path) {
  std::ifstream file(std::filesystem::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

Outcome run_MenuHost(const std::wstring& arguments) {
  auto command = ::quoted(built_File(L"menuhost.exe")) + L" " + arguments;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  const auto open = [&](const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
  };
  const unique_kernel_handle output(open(test_folder + L"output"));
  const unique_kernel_handle errors(open(test_folder + L"errors"));
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = output.get();
  startup.hStdError = errors.get();
  PROCESS_INFORMATION started{};
  CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &started);
  const unique_kernel_handle process(started.hProcess);
  const unique_kernel_handle thread(started.hThread);
  Outcome outcome;
  while (WaitForSingleObject(process.get(), 20) == WAIT_TIMEOUT) {
    const HWND box = FindWindowW(L"#32770", L"Configuration Problem");
    if (IsWindowVisible(box)) {
      SendMessageW(box, WM_COMMAND, IDOK, 0);
      ++outcome.Boxes;
    }
  }
  GetExitCodeProcess(process.get(), &outcome.ExitStatus);
  outcome.Output = read_Bytes(test_folder + L"output");
  outcome.Errors = read_Bytes(test_folder + L"errors");
  return outcome;
}

class EndToEnd : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    make_File(pdf);
    m_suite = install_Suite();
    EXPECT_EQ(m_library.run("DllRegisterServer"), S_OK);
  }
  void TearDown() override { m_library.run("DllUnregisterServer"); }

  std::wstring m_suite;
};

TEST_F(EndToEnd, PickedItemsStartTheirProgramsAndAreLogged) {
  const Library log_component(built_File(LR"(suite\logmod.dll)"));
  ASSERT_EQ(log_component.run("DllRegisterServer"), S_OK);
  set_Value(LR"(HKLM\Software\Norvak\AlwaysDebug)", L"1");
  Lines expected;
  for (const std::wstring program : {L"PageKeeper.exe", L"quill!.exe"}) {
    expected.push_back(program + L"\t" + ::quoted(m_suite + program) + L" " + ::quoted(pdf));
    const auto outcome = run_MenuHost(L"invoke " + std::to_wstring(expected.size()) + L" " + ::quoted(pdf));
    EXPECT_EQ(outcome.ExitStatus, 0u) << outcome.Errors;
    EXPECT_EQ(outcome.Boxes, 1);
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

TEST_F(EndToEnd, TheSuitesComponentsMakeFilesThatHold) {
  const Library editor(built_File(LR"(suite\norvakpdf.dll)")), signer(built_File(LR"(suite\norvakcsp.dll)"));
  for (const auto* component : {&editor, &signer})
    ASSERT_EQ(component->run("DllRegisterServer"), S_OK);
  const auto invoke = [](const wchar_t* item, const std::wstring& path) {
    EXPECT_EQ(run_MenuHost(L"invoke " + std::wstring(item) + L" " + ::quoted(path)).ExitStatus, 0u);
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
  EXPECT_FALSE(std::filesystem::exists(pdf)) << "the content of an envelope that was changed";
  for (const auto* component : {&editor, &signer})
    component->run("DllUnregisterServer");
}

TEST_F(EndToEnd, MenuHostListsInvokesAndExplainsItself) {
  const auto file = ::quoted(pdf);
  BOOL is_guest = FALSE;  // 32-bit on a 64-bit Windows
  IsWow64Process(GetCurrentProcess(), &is_guest);
  const std::string widths = is_guest           ? "only the 32-bit DLL is"
                             : is_SuitesBitness ? "Windows and the extension are 32-bit"
                                                : "only the 64-bit DLL is";
  const struct {
    std::wstring Arguments;
    DWORD ExitStatus;
    std::string Output;
    std::string Errors;
  } cases[] = {
      {L"", 2, "", "menuhost: A command is missing; see \"menuhost --help\".\n"},
      {L"--help", 0, "\nExamples:\n  menuhost list ", ""},
      {L"--version", 0, "menuhost " PROJECT_VERSION "\n", ""},
      {L"dance " + file, 2, "", "menuhost: \"dance\" is not a command"},
      {L"list --dance " + file, 2, "", "menuhost: \"--dance\" is not an option"},
      {L"list " + file + L" --flags", 2, "", "menuhost: The option --flags needs a value.\n"},
      {L"list --json=1 " + file, 2, "", "menuhost: The option --json takes no value.\n"},
      {L"list --flags 4x " + file, 2, "", "menuhost: The value of --flags must be a number"},
      {L"list", 2, "", "menuhost: The command \"list\" needs the path"},
      {L"list -- --json", 1, "", "menuhost: The path \"--json\" does not exist.\n"},
      {L"invoke", 2, "", "menuhost: The command \"invoke\" needs the number"},
      {L"invoke 6 " + file, 1, "", "menuhost: There is no item 6; the extension offers 5 items.\n"},
      {L"invoke 0 " + file, 1, "", "menuhost: There is no item 0; the extension offers 5 items.\n"},
      {L"list --flags 0x8 " + file, 0, "returned the count 0.\n", ""},
      {L"list --first-id 20 " + file, 0,
       "\n2         22          Create PDF Signature    -     -          check mark\n", ""},
      {L"list --first-id=0 " + file, 0,
       "\n1         1           Open with quill!        (GCS_VERB)MENUITEM2  Open with quill!        none\n",
       ""},
      {L"doctor", 2, "", "menuhost: The command \"doctor\" needs the path"},
      {L"doctor " + file, 0, "\n  Open with quill!          offered", ""},
      {L"doctor " + file, 0,
       is_SuitesBitness ? "  from HKLM\\SOFTWARE\\Norvak\\MultiSignator\n"
                        : "  from HKLM\\SOFTWARE\\WOW6432Node\\Norvak\\MultiSignator\n",
       ""},
      {L"doctor c:\\", 0, "not offered  neither the card connector nor", ""},
      {L"doctor c:\\", 0, widths, ""},
      {L"log dance", 2, "", "menuhost: The command \"log\" needs one of the words"},
      {L"log on nowhere", 1, "", "menuhost: \"nowhere\" is not the full path of a folder.\n"},
      {L"log on c:\\windows", 0, "The log is on; its lines go to c:\\windows\\\\pdf.log.\n", ""},
      {L"log off", 0, "The log is off", ""},
      {L"--verbose list " + file + L" c:\\windows\\system32", 0, "Create PKCS7 Envelope",
       "menuhost: The selection was"},
      {L"list --json --flags 4 --first-id 0 c:\\windows", 0,
       R"({"paths":["c:\\windows"],"dataObject":"shell","flags":4,"firstId":0,"returned":1,"entries":[{"position":0,)"
       R"("separator":false,"id":0,"offset":0,"caption":"Sign PDFs in Folder","verb":"(GCS_VERB)MENUITEM1",)"
       R"("helpText":"Sign PDFs in Folder","checkMarkBitmap":false,"itemBitmap":false},)"
       R"({"position":1,"separator":true}]})"
       "\n",
       ""}};
  for (const auto& [arguments, status, output, errors] : cases) {
    const auto outcome = run_MenuHost(arguments);
    EXPECT_EQ(outcome.ExitStatus, status) << to_Ansi(arguments);
    EXPECT_TRUE(output.empty() ? outcome.Output.empty() : outcome.Output.find(output) != std::string::npos)
        << outcome.Output;
    EXPECT_TRUE(errors.empty() ? outcome.Errors.empty() : outcome.Errors.starts_with(errors))
        << outcome.Errors;
  }
  const std::wstring log_folder = LR"(HKLM\Software\Norvak\debugpath)";
  set_Value(log_folder, L"c:\\windows");
  run_MenuHost(L"doctor " + file);
  EXPECT_EQ(value_At(log_folder), L"c:\\windows") << "a diagnosis that changes a setting";
  m_library.run("DllUnregisterServer");
  const std::wstring id = L"{5E0A9A5B-5C0D-4C0F-9A43-5B4E2A3C1D7F}", classes = LR"(HKCR\WOW6432Node\CLSID\)",
                     server = LR"(\InprocServer32\)", own = classes + guid_Text(clsid_ShellExt);
  const std::tuple<std::wstring, std::wstring, std::string> states[] = {
      {LR"(HKCR\logging.logme\CLSID\)", id, "logging.logme +missing"},
      {classes + id + server, L"logmod.dll", "32-bit DLL without a surrogate process; run the setup again"},
      {classes + id + LR"(\AppID)", id, "without a surrogate process; its class needs the value AppID"},
      {LR"(HKCR\AppID\)" + id + LR"(\DllSurrogate)", L"", "programs reach it in a surrogate process"},
      {own + server, L"a.dll", "only the 32-bit DLL is"}};
  for (const auto& [path, text, line] :
       std::span(states).first(is_SuitesBitness && !is_guest ? 0 : std::size(states))) {
    set_Value(path, text);
    const auto report = run_MenuHost(L"doctor c:\\").Output;
    EXPECT_TRUE(std::regex_search(report, std::regex(line))) << line << report;
  }
  for (const auto& path : {classes + id, own, LR"(HKCR\AppID\)" + id})
    RegDeleteTreeW(HKEY_CLASSES_ROOT, path.substr(5).c_str());
  const auto outcome = run_MenuHost(L"list " + file);
  EXPECT_EQ(outcome.ExitStatus, 1u);
  EXPECT_TRUE(outcome.Errors.starts_with("menuhost: The extension is not registered")) << outcome.Errors;
}

}  // namespace
