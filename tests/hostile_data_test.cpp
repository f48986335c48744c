// Selections as no shell should hand them over, and the two helpers that read them.
#include <windows.h>

#include <shellapi.h>

#include <array>
#include <optional>
#include <random>

#include "shellext/drop_list.h"
#include "shellext/path_list.h"
#include "support/text.h"
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

// What the shell's own routine gives for the list, asked as for a path.
Lines shell_Names(HGLOBAL block) {
  Lines names;
  for (UINT index = 0; index < DragQueryFileA(static_cast<HDROP>(block), 0xFFFFFFFF, nullptr, 0); ++index) {
    std::array<char, 500> buffer{};
    DragQueryFileA(static_cast<HDROP>(block), index, buffer.data(), 500);
    names.push_back(from_Ansi(buffer.data()));
  }
  return names;
}

TEST(DropList, ReadsWholeListsAsTheShellDoes) {
  const std::wstring a499(499, L'a');
  const Lines cases[] = {{L""},
                         {L"c:\\x"},
                         {L"c:\\a b\\x.pdf", L"", L"hidden"},
                         {L"", L"behind"},
                         {L" ", L"|", L"||||", L"\u00e4\u4e2d\u20ac", L"c:\\"},
                         {a499, a499 + L"b", a499 + a499, L"z"}};
  for (const auto& names : cases) {
    for (const bool wide : {true, false}) {
      for (const DWORD offset : {20, 21, 33}) {
        const auto block = make_Block(drop_List(names, wide, offset));
        EXPECT_EQ(read_DropList(block), shell_Names(block)) << to_Ansi(names[0]) << wide << offset;
        GlobalFree(block);
      }
    }
  }
}

TEST(DropList, NeverReadsBehindItsBlock) {
  const auto list = drop_List({L"ab", L"cd"}, false);
  const auto with_Offset = [&list](DWORD offset) {
    return std::string(list).replace(0, sizeof offset, reinterpret_cast<const char*>(&offset), sizeof offset);
  };
  constexpr auto header = sizeof(DROPFILES);
  const std::pair<std::string, Lines> cases[] = {{list.substr(0, 1), {}},
                                                 {list.substr(0, header - 1), {}},
                                                 {list.substr(0, header), {}},
                                                 {list.substr(0, header + 2), {}},
                                                 {list.substr(0, header + 3), {L"ab"}},
                                                 {list.substr(0, header + 5), {L"ab"}},
                                                 {list.substr(0, list.size() - 1), {L"ab", L"cd"}},
                                                 {drop_List({L"ab", L"cd"}).substr(0, header + 11), {L"ab"}},
                                                 {with_Offset(0x7FFFFFFF), {}},
                                                 {with_Offset(0xFFFFFFFF), {}},
                                                 {with_Offset(static_cast<DWORD>(list.size())), {}}};
  for (const auto& [bytes, names] : cases) {
    const auto block = make_Block(bytes);
    EXPECT_EQ(read_DropList(block), names) << bytes.size();
    GlobalFree(block);
  }
  EXPECT_EQ(read_DropList(nullptr), Lines());
}

TEST(PathList, GivesWhatTheStepsOverTheWholeListGive) {
  std::mt19937 random(20);
  const Lines parts{L"", L"|", L"||", L"|||", L"a", L"a|b", L"|a|", L"c:\\x"};
  for (int round = 0; round < 2000; ++round) {
    PathList list;
    std::wstring expected;
    for (auto left = random() % 9; left-- > 0;) {
      const auto path = parts[random() % parts.size()] + parts[random() % parts.size()];
      list.append(path);
      expected += L"|" + path;
      replace_All(expected, L"||", L"|");
      if (expected.starts_with(L'|'))
        expected.erase(0, 1);
      ASSERT_EQ(list.text(), expected) << to_Ansi(path);
    }
  }
}

class HostileData : public Explorer {
 protected:
  void SetUp() override {
    Explorer::SetUp();
    m_log.emplace();
  }

  // Captures it with these messages, and the next right-click works.
  void expect_Captured(IDataObject* selection, const Lines& messages) {
    const auto object = m_library.create();
    const auto known = m_log->messages().size();
    select(object, selection);
    const auto all = m_log->messages();
    EXPECT_EQ(Lines(all.begin() + static_cast<std::ptrdiff_t>(known), all.end()), messages);
    offered(object);
    select(object, Lines{test_folder});
    EXPECT_EQ(offered(object), folder_menu);
  }

 private:
  std::optional<Log> m_log;
};

TEST_F(HostileData, WithoutAUsableDropListIsASelectionOfNothing) {
  struct Refusing : Selection {
    using Selection::Selection;
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
  } refusing(Lines{test_folder});
  ComPtr<IStream> stream;
  CreateStreamOnHGlobal(nullptr, TRUE, &stream);
  stream->AddRef();
  const struct {
    HRESULT Result;
    DWORD Medium;
    void* Handle;
  } cases[] = {{DV_E_FORMATETC, TYMED_HGLOBAL, reinterpret_cast<void*>(0x10)},
               {S_OK, TYMED_NULL, nullptr},
               {S_OK, TYMED_HGLOBAL, nullptr},
               {S_OK, TYMED_HGLOBAL, make_Block("short")},
               {S_OK, TYMED_ISTREAM, stream.Get()},
               {S_OK, TYMED_MFPICT, make_Block(drop_List({test_folder}))}};
  const Lines nothing_captured{L"Subscript out of range", L"ifiles: 0"};
  expect_Captured(nullptr, nothing_captured);
  expect_Captured(&refusing, nothing_captured);
  for (const auto& row : cases) {
    Selection selection([&row](STGMEDIUM& medium) {
      medium.tymed = row.Medium;
      medium.hGlobal = row.Handle;
      medium.pUnkForRelease = FAILED(row.Result) ? reinterpret_cast<IUnknown*>(0x20) : nullptr;
      return row.Result;
    });
    expect_Captured(&selection, nothing_captured);
  }
  EXPECT_EQ(stream.Reset(), 0u) << "the stream was not released";
}

TEST_F(HostileData, WithOddNamesIsCapturedByTheSameSteps) {
  const std::wstring a600(600, L'a');
  Lines many;
  std::wstring all;
  for (int index = 0; index < 5000; ++index) {
    many.push_back(L"c:\\none\\" + std::to_wstring(index));
    all += (index == 0 ? L"" : L"|") + many.back();
  }
  const std::pair<Lines, Lines> cases[] = {
      {{a600, L"b"}, {L"ifiles: 2", a600.substr(0, 499) + L"|b", L"Files: 2"}},
      {{L""}, {L"ifiles: 1", L"Files: 1"}},
      {{L"  "}, {L"ifiles: 1", L"sztemp empty", L"Files: 1"}},
      {{L" x ", L"  ", L"y"}, {L"ifiles: 3", L"sztemp empty", L"x|y", L"Files: 3"}},
      {{L"  ", L"y"}, {L"ifiles: 2", L"sztemp empty", L"y", L"Files: 2"}},
      {{L"x", L"  "}, {L"ifiles: 2", L"sztemp empty", L"x|", L"Files: 2"}},
      {{L"|"}, {L"ifiles: 1", L"Files: 1"}},
      {{L"||||"}, {L"ifiles: 1", L"||", L"Files: 1"}},
      {{L"a||b", L"c"}, {L"ifiles: 2", L"a|b|c", L"Files: 2"}},
      {many, {L"ifiles: 5000", all, L"Files: 5000"}}};
  for (const auto& [names, messages] : cases) {
    Selection selection(names);
    expect_Captured(&selection, messages);
  }
}

}  // namespace
