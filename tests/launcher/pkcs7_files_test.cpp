// The files of the PKCS#7 actions: which are made, which stay, and which are deleted.
#include <windows.h>

#include <aclapi.h>

#include <bit>
#include <filesystem>
#include <fstream>
#include <utility>

#include "base/handles.h"
#include "base/text.h"
#include "tests/launcher/actions.h"

namespace {

namespace fs = std::filesystem;

class Pkcs7Files : public Actions {};

void make_Older(const fs::path& folder, int hours) {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  const auto then = std::bit_cast<FILETIME>(std::bit_cast<LONGLONG>(now) - hours * 36'000'000'000LL);
  const auto opened = own_File(CreateFileW(folder.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  EXPECT_TRUE(SetFileTime(opened.get(), nullptr, nullptr, &then));
}

TEST_F(Pkcs7Files, AreMadeAndValidatedUnlessAShortcutIsSelected) {
  const auto file = make_File(test_folder + L"a.txt"), other = make_File(test_folder + L"b.txt");
  make_File(file + L".p7s", L"an older one, ");
  set_Value(norvak + LR"(CSP\CertificateAlwaysValid)", L" 1 ");
  EXPECT_EQ(run(L"p7s", {{file, L""}, {L"", other}, {L"", L""}, {file, L""}}), box);
  run(L"p7m", entries({file}));
  fs::remove(file);
  run(L"vPKCS7", entries({file + L".p7m", make_File(other + L".P7M"), file + L".p7s"}));
  select_Flags(L"Link");
  run(L"p7s", entries({file}));
  auto asked = calls(L"_P7x(");
  for (auto& call : asked)
    if (const auto start = call.find(L"nvk"); start != std::wstring::npos)
      call.replace(call.rfind(L", ", start) + 2, call.rfind(L", ") - call.rfind(L", ", start) - 2,
                   L"temporary");
  const auto a = test_folder + L"a.txt", b = test_folder + L"b.txt";
  EXPECT_EQ(asked, (Lines{L"create_P7x(" + a + L", " + a + L".p7s, container, -1)",
                          L"create_P7x(" + b + L", " + b + L".p7s, container, -1)",
                          L"create_P7x(" + a + L", " + a + L".p7m, container, 0)",
                          L"validate_P7x(" + a + L".p7m, temporary, -1)",
                          L"validate_P7x(" + b + L".P7M, temporary, -1)",
                          L"validate_P7x(" + a + L".p7s, temporary, -1)"}));
  EXPECT_EQ(read_Lines(a + L".p7s"), Lines{L"made"});
  EXPECT_EQ(read_Lines(a), Lines{L"made"}) << "the envelope gives its content back";
  EXPECT_EQ(read_Lines(b), Lines{}) << "the content does not replace a file";
  EXPECT_EQ(temporary_Files(), Lines{});
}

// Each row: what the component writes, whether it fails, what the output holds afterwards, and what the user
// is told.
TEST_F(Pkcs7Files, ReplaceAnEarlierFileOnlyOnceTheyAreWhole) {
  const auto file = make_File(test_folder + L"a.txt"), output = file + L".p7s";
  const auto writes = [&](const wchar_t* content, bool fails) {
    return [=, &output](const Arguments&) -> _variant_t {
      EXPECT_FALSE(fs::exists(output)) << "the earlier file is in the component's way";
      if (content != nullptr)
        std::ofstream(fs::path(output)) << to_Ansi(content);
      return fails ? throw HRESULT{E_FAIL} : _variant_t(true);
    };
  };
  const Lines told{L"Norvak: The file could not be created.\r\n" + output};
  const std::tuple<const wchar_t*, bool, Lines, Lines> rows[] = {{L"new", false, {L"new"}, {}},
                                                                 {L"half", true, {L"older"}, told},
                                                                 {nullptr, true, {L"older"}, told},
                                                                 {nullptr, false, {L"older"}, told},
                                                                 {L"", false, {L"older"}, told}};
  for (const auto& [content, fails, after, boxes] : rows) {
    fs::remove(output);
    make_File(output, L"older");
    m_pkcs7->Table[L"create_P7x"] = writes(content, fails);
    auto expected = box;
    expected.insert(expected.end(), boxes.begin(), boxes.end());
    EXPECT_EQ(run(L"p7s", entries({file})), expected);
    EXPECT_EQ(read_Lines(output), after);
    EXPECT_FALSE(fs::exists(output + L".earlier"));
  }
  const auto other = make_File(test_folder + L"b.txt");
  m_pkcs7->Table[L"create_P7x"] = fails();
  EXPECT_EQ(
      run(L"p7m", entries({file, other})),
      (Lines{box[0], L"Norvak: The file could not be created.\r\n" + file + L".p7m\r\n" + other + L".p7m"}));
  make_File(output + L".earlier", L"left by a program that ended");
  run(L"p7s", entries({file}));
  EXPECT_EQ(read_Lines(output), Lines{L"older"});
  EXPECT_EQ(read_Lines(output + L".earlier"), Lines{L"left by a program that ended"});
  {
    const auto held = own_File(
        CreateFileW(output.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    const auto asked = calls(L"create_P7x").size();
    EXPECT_EQ(run(L"p7s", entries({file})).back(),
              L"Norvak: The earlier file cannot be replaced.\r\n" + output);
    EXPECT_EQ(calls(L"create_P7x").size(), asked);
  }
  fs::remove(output);
  fs::create_directory(output);
  run(L"p7s", entries({file}));
  EXPECT_TRUE(fs::is_directory(output));
}

// Each row: the action, the file it is for, what stands in the way (a folder where the name ends in a
// backslash), what the component does, and the line in the log: its outcome and its file.
TEST_F(Pkcs7Files, LeaveALineWithTheirOutcome) {
  const Log log;
  const auto plain = test_folder + L"a.txt", signature = plain + L".p7s", envelope = plain + L".p7m";
  const struct {
    const wchar_t* Action;
    std::wstring File, InTheWay;
    Member Component;  // null where there is none
    std::wstring Outcome, Named;
    const wchar_t* Selected = L"";
  } rows[] = {
      {L"p7s", plain, L"", makes_File(1), L"made", signature},
      {L"p7m", plain, L"", makes_File(1), L"made", envelope},
      {L"p7s", plain, signature, makes_File(1), L"made", signature},
      {L"p7s", plain, L"", fails(), L"not made", signature},
      {L"p7s", plain, L"", answers(true), L"not made", signature},
      {L"p7s", plain, signature, fails(), L"not made, the earlier file stays", signature},
      {L"p7s", plain, signature + L"\\", makes_File(1), L"not made, the earlier file cannot be replaced",
       signature},
      {L"p7s", plain, L"", nullptr, L"the component is missing", plain},
      {L"vPKCS7", envelope, L"", nullptr, L"the component is missing", envelope},
      {L"vPKCS7", signature, L"", makes_File(1), L"valid", signature},
      {L"vPKCS7", signature, L"", answers(false), L"not clearly valid", signature},
      {L"vPKCS7", envelope, L"", answers(L"perhaps"), L"not clearly valid", envelope},
      {L"vPKCS7", envelope, L"", fails(), L"not checked, the component gave no answer", envelope},
      {L"vPKCS7", envelope, L"", answers(true), L"valid, no content was given", envelope},
      {L"vPKCS7", envelope, L"", makes_File(1), L"valid, unpacked", plain},
      {L"vPKCS7", envelope, plain, makes_File(1), L"valid, not unpacked since a file is in the way", plain},
      {L"vPKCS7", envelope, plain + L"\\", makes_File(1), L"valid, the content cannot be written", plain},
      {L"vPKCS7", envelope, L"", makes_File(1), L"passed over, a shortcut is selected", envelope, L"Link"}};
  for (const auto& row : rows) {
    fs::remove_all(test_folder + L"a.txt");
    fs::remove_all(signature);
    if (!row.InTheWay.ends_with(L'\\'))
      make_File(row.InTheWay.empty() ? row.File : row.InTheWay, L"older");
    else
      fs::create_directory(row.InTheWay);
    m_pkcs7->IsCreatable = row.Component != nullptr;
    m_pkcs7->Table[L"create_P7x"] = m_pkcs7->Table[L"validate_P7x"] = row.Component;
    select_Flags(row.Selected);
    const auto written = log.messages().size();
    run(row.Action, {{row.File, L""}, {L"", L""}, {row.File, L""}});
    auto lines = log.messages();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(written));
    std::erase_if(lines, [](const auto& line) { return !line.starts_with(L"PKCS7 result: "); });
    EXPECT_EQ(lines, Lines{L"PKCS7 result: " + row.Outcome + L": " + row.Named});
  }
}

TEST_F(Pkcs7Files, GiveTheirContentBackOnlyAfterAClearYesAndWithItsOrigin) {
  const std::wstring content = test_folder + L"a.txt", mark = L":Zone.Identifier";
  const auto envelope = make_File(content + L".p7m");
  std::ofstream(fs::path(envelope + mark)) << "[ZoneTransfer]\r\nZoneId=3\r\n";
  const std::pair<_variant_t, bool> rows[] = {
      {true, true}, {1L, true},   {L"True", true}, {L"-1", true}, {false, false},
      {0L, false},  {L"", false}, {L"no", false},  {{}, false},   {L"valid", false}};
  for (const auto& [answer, is_written] : rows) {
    m_pkcs7->Table[L"validate_P7x"] = [&answer = answer](const Arguments& arguments) {
      make_File(text_Of(arguments.at(1)), L"made");
      return answer;
    };
    run(L"vPKCS7", entries({envelope}));
    EXPECT_EQ(fs::exists(content), is_written) << to_Ansi(text_Of(answer));
    EXPECT_EQ(read_Lines(content + mark).size(), is_written ? 2u : 0u);
    fs::remove(content + mark);
    fs::remove(content);
  }
}

DWORD WINAPI deny_Owner(HANDLE, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID*, PSID*, PACL*, PACL*,
                        PSECURITY_DESCRIPTOR*) {
  return ERROR_ACCESS_DENIED;
}

TEST_F(Pkcs7Files, LeaveNoDecryptedContentOnceNobodyHasItOpen) {
  const auto envelope = make_File(test_folder + L"b.txt.p7m");
  unique_kernel_handle scanner;
  bool is_scanned = true;
  m_pkcs7->Table[L"validate_P7x"] = [&](const Arguments& arguments) {
    const auto output = make_File(text_Of(arguments.at(1)), L"made");
    if (std::exchange(is_scanned, false))
      scanner = own_File(CreateFileW(output.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                     nullptr, OPEN_EXISTING, 0, nullptr));
    return _variant_t(false);
  };
  run(L"vPKCS7", entries({envelope}));
  EXPECT_EQ(temporary_Files().size(), 1u);
  scanner.reset();
  run(L"vPKCS7", entries({test_folder + L"c.p7m"}));
  EXPECT_EQ(temporary_Files(), Lines{});
  const auto left = fs::temp_directory_path() / L"nvk{00000000-0000-4000-8000-000000000000}";
  const auto stays_After = [&](int hours) {
    fs::create_directory(left);
    make_File(left / L"content", L"made by a process that was ended");
    make_Older(left, hours);
    run(L"vPKCS7", entries({envelope}));
    EXPECT_EQ(fs::exists(left / L"content"), fs::exists(left));
    return fs::exists(left);
  };
  EXPECT_TRUE(stays_After(1));
  EXPECT_FALSE(stays_After(25));
  patch_Import("GetSecurityInfo", reinterpret_cast<void*>(deny_Owner));
  EXPECT_TRUE(stays_After(25));
}

}  // namespace
