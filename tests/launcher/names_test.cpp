// File names of every kind, on their way from the drop list to a program or a component: each leads to the
// selected file and to no other one, whatever lies beside it.
#include <algorithm>
#include <deque>
#include <span>

#include "base/handles.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "launcher/actions.h"
#include "selection/drop_list.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

const std::wstring prefix = LR"(\\?\)";

TEST(FileNames, HaveAFormThatThePlatformTakesLiterally) {
  const std::wstring long_name = LR"(C:\)" + std::wstring(300, L'x') + L".pdf",
                     share = LR"(\server\share\a.)";
  const std::pair<std::wstring, std::wstring> rows[] = {
      {LR"(C:\a folder\a.pdf)", LR"(C:\a folder\a.pdf)"},
      {LR"(\\server\share\a.pdf)", LR"(\\server\share\a.pdf)"},
      {LR"(E:\)", LR"(E:\)"},
      {L"E:", LR"(E:\)"},
      {LR"(C:\a.pdf )", prefix + LR"(C:\a.pdf )"},
      {LR"(C:\a.pdf.)", prefix + LR"(C:\a.pdf.)"},
      {LR"(C:\nul.pdf)", prefix + LR"(C:\nul.pdf)"},
      {LR"(\)" + share, prefix + L"UNC" + share},
      {prefix + LR"(C:\a.pdf )", prefix + LR"(C:\a.pdf )"},
      {long_name, prefix + long_name},
      {LR"(C:/a/b.pdf)", LR"(C:/a/b.pdf)"},
      {LR"(C:\a\..\b.pdf)", LR"(C:\a\..\b.pdf)"},
      {LR"(C:\)" + std::wstring(1, wchar_t{0xD83D}), LR"(C:\)" + std::wstring(1, wchar_t{0xD83D})},
      {L"a.pdf", L""},
      {L"C:a.pdf", L""},
      {LR"(\a.pdf)", L""},
      {LR"(\\.\C:)", L""},
      {L"", L""}};
  for (const auto& [path, exact] : rows)
    EXPECT_EQ(exact_Path(path), exact) << to_Ansi(path);
}

DWORD WINAPI keep_LongNames(const wchar_t* path, wchar_t* buffer, DWORD room) {
  const auto length = static_cast<DWORD>(std::wcslen(path));
  if (length >= room)
    return length + 1;
  std::wcscpy(buffer, path);
  return length;
}

// The content of the file that a program opens by this name, with the code page where the name is in it.
std::wstring content_At(const std::wstring& name) {
  const auto open = [](auto function, const auto* path) {
    return own_File(function(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  };
  const auto file = is_InCodePage(name) && !name.starts_with(prefix)
                        ? open(CreateFileA, to_Ansi(name).c_str())
                        : open(CreateFileW, name.c_str());
  std::wstring content(1000, L'\0');
  DWORD size = 0;
  ReadFile(file.get(), content.data(), 2000, &size, nullptr);
  return content.substr(0, size / sizeof(wchar_t));
}

class Names : public Machine, public testing::WithParamInterface<bool> {
 protected:
  ~Names() override {
    std::ranges::for_each(m_files, [](const auto& path) { DeleteFileW((prefix + path).c_str()); });
    std::ranges::for_each(m_folders, [](const auto& path) { RemoveDirectoryW((prefix + path).c_str()); });
  }
  // Make exactly this file, with its path as its content, and exactly this folder.
  std::wstring make_Exactly(const std::wstring& path);
  void make_Folder(const std::wstring& path);
  // The files that the suite's programs and components are given when the action is carried out.
  Lines reached_By(const std::wstring& action, const std::wstring& path);

  const std::wstring m_suite = install_Suite();
  ValueStore m_store;
  Component m_pkcs7{L"norvakcsp.PKCS7", {{L"create_P7x", [this](const Arguments& arguments) {
                                            m_made.push_back(text_Of(arguments.at(0)));
                                            m_made.push_back(text_Of(arguments.at(1)));
                                            return _variant_t(true);
                                          }}}};
  Lines m_made;

 private:
  Lines m_files;
  std::deque<std::wstring> m_folders;  // inner ones first
};

INSTANTIATE_TEST_SUITE_P(, Names, testing::Bool(),
                         [](const auto& row) { return row.param ? "WithShortNames" : "WithoutShortNames"; });

std::wstring Names::make_Exactly(const std::wstring& path) {
  const auto file = own_File(CreateFileW((prefix + path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                         FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_TRUE(file) << to_Ansi(path);
  DWORD written = 0;
  WriteFile(file.get(), path.data(), static_cast<DWORD>(path.size() * sizeof(wchar_t)), &written, nullptr);
  return m_files.emplace_back(path);
}

void Names::make_Folder(const std::wstring& path) {
  EXPECT_TRUE(CreateDirectoryW((prefix + path).c_str(), nullptr));
  m_folders.push_front(path);
}

Lines Names::reached_By(const std::wstring& action, const std::wstring& path) {
  m_made.clear();
  m_store.Values.clear();
  boxes_During([&] { run_Action(*find_Action(action), entries({path}), flags_Of(L"Pdf")); });
  Lines reached;
  for (const auto& start : take_Starts())
    if (const auto file = start.rfind(L" \""); file != start.npos)
      reached.push_back(start.substr(file + 2, start.rfind(L'"') - file - 2));
  if (!m_made.empty())
    reached.push_back(m_made.front());
  if (!m_store.Values[L"SignFiles"].empty())
    reached.push_back(m_store.Values[L"SignFiles"]);
  return reached;
}

TEST_P(Names, LeadToTheSelectedFileAlone) {
  record_Starts();
  if (!GetParam())
    patch_Import("GetShortPathNameW", reinterpret_cast<void*>(keep_LongNames));
  const std::wstring outer = test_folder + std::wstring(120, L'x'),
                     inner = outer + LR"(\)" + std::wstring(150, L'y');
  make_Folder(outer);
  make_Folder(inner);
  // Each row: the selected file, and files beside it that it could be mistaken for.
  const Lines rows[] = {{L"a.pdf"},
                        {L"Tr\u00E4ger.pdf", L"Trager.pdf"},
                        {L"Tra\u0308ger.pdf", L"Tr\u00E4ger.pdf", L"Trager.pdf"},
                        {L"\u5951\u7D04.pdf", L"__.pdf"},
                        {L"\u65E5\u672C \u0414\u0430 \u03B1.pdf"},
                        {L"\U0001F512.pdf"},
                        {L"\u0100vtal.pdf", L"Avtal.pdf", L"avtal.pdf"},
                        {L"Vertrag_\uFF12.pdf", L"Vertrag_2.pdf"},
                        {L"a\uFF5Cb.pdf", L"a", L"b.pdf"},
                        {L"offer\uFF5CC\uFF1A\uFF3Ccontract.pdf", L"offer", L"contract.pdf"},
                        {L"a\uFF02 \uFF02b.pdf", L"a", L"b.pdf"},
                        {L"dots\uFF0E.pdf", L"dots..pdf"},
                        {L"'100% ^&; (1)'.pdf"},
                        {L" first.pdf", L"first.pdf"}};
  const auto expect_Reached = [this](const std::wstring& path) {
    for (const std::wstring action : {L"view", L"quill!", L"signit", L"p7s"}) {
      const auto reached = reached_By(action, path);
      EXPECT_EQ(reached.size(), 1u) << to_Ansi(action) << to_Ansi(path);
      for (const auto& name : reached) {
        EXPECT_EQ(content_At(name), path) << to_Ansi(action);
        EXPECT_TRUE(is_InCodePage(name) || !GetParam() || action == L"signit" || action == L"p7s");
      }
      if (action == L"p7s") {
        EXPECT_EQ(m_made, (Lines{exact_Path(path), exact_Path(path + L".p7s")}));
      }
    }
  };
  for (const auto& row : rows) {
    for (const auto& other : std::span(row).subspan(1))
      make_Exactly(test_folder + other);
    expect_Reached(make_Exactly(test_folder + row[0]));
  }
  expect_Reached(make_Exactly(inner + LR"(\a.pdf)"));
}

// The platform drops such an end, and what is left is another file's name.
TEST_P(Names, EndingInABlankOrDotStayWhole) {
  record_Starts();
  for (const std::wstring name : {L"a.pdf", L"folder"})
    make_Exactly(test_folder + name);
  for (const std::wstring name : {L"a.pdf ", L"a.pdf.", L"a.pdf. "}) {
    const auto path = make_Exactly(test_folder + name);
    for (const std::wstring action : {L"signit", L"p7s"})
      EXPECT_EQ(reached_By(action, path), Lines{prefix + path});
  }
}

TEST_P(Names, AreNeverSplitOrCompleted) {
  record_Starts();
  make_Exactly(test_folder + L"a.pdf");
  for (const auto& path : {LR"(C:\a.pdf|)" + test_folder + L"a.pdf", std::wstring(L"a.pdf"),
                           L"\"" + test_folder + L"a.pdf\"", std::wstring(L"C:a.pdf")}) {
    for (const std::wstring action : {L"view", L"quill!", L"signit"}) {
      EXPECT_EQ(reached_By(action, path), Lines{}) << to_Ansi(path);
    }
  }
  const auto list = drop_List({L"C:\\" + std::wstring(496, L'x'), L"C:\\" + std::wstring(497, L'x')}, false);
  const auto names = read_DropNames(list).Names;
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(names[0].size(), 499u);
  EXPECT_EQ(names[1], L"") << "a name that fills the buffer may lack its end";
}

}  // namespace
