// Selections that no shell should hand over; the fuzzing has many more (fuzz/).
#include "tests/components.h"
#include "tests/explorer.h"

namespace {

class HostileData : public Explorer {
 protected:
  // Captures the selection, expects these messages, and then a right-click that works.
  void expect_Captured(IDataObject* selection, const Lines& messages) {
    const auto object = m_library.create();
    const auto known = m_log.messages().size();
    select(object, selection);
    const auto all = m_log.messages();
    EXPECT_EQ(Lines(all.begin() + static_cast<std::ptrdiff_t>(known), all.end()), messages);
    offered(object);
    select(object, Lines{test_folder});
    EXPECT_EQ(offered(object), folder_menu);
  }

 private:
  const Log m_log;
};

TEST_F(HostileData, IsAnEmptySelectionWithoutAUsableDropList) {
  struct Refusing : DataObject {
    using DataObject::DataObject;
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
    DataObject selection([&row](STGMEDIUM& medium) {
      medium.tymed = row.Medium;
      medium.hGlobal = row.Handle;
      medium.pUnkForRelease = FAILED(row.Result) ? reinterpret_cast<IUnknown*>(0x20) : nullptr;
      return row.Result;
    });
    expect_Captured(&selection, nothing_captured);
  }
  EXPECT_EQ(stream.Reset(), 0u) << "the stream was not released";
}

TEST_F(HostileData, IsCapturedByTheSameStepsWithOddNames) {
  const std::wstring a600(600, L'a');
  Lines many;
  std::wstring all;
  for (int index = 0; index < 5000; ++index) {
    many.push_back(L"c:\\none\\" + std::to_wstring(index));
    all += (index == 0 ? L"" : L"|") + many.back();
  }
  const std::pair<Lines, Lines> cases[] = {
      {{a600, L"b"}, {L"ifiles: 2", a600 + L"|b", L"Files: 2"}},
      {{L""}, {L"ifiles: 1", L"Files: 1"}},
      {{L"  "}, {L"ifiles: 1", L"sztemp empty", L"Files: 1"}},
      {{L" x ", L"  ", L"y"}, {L"ifiles: 3", L"sztemp empty", L" x |y", L"Files: 3"}},
      {{L"  ", L"y"}, {L"ifiles: 2", L"sztemp empty", L"y", L"Files: 2"}},
      {{L"x", L"  "}, {L"ifiles: 2", L"sztemp empty", L"x", L"Files: 2"}},
      {{L"|"}, {L"ifiles: 1", L"|", L"Files: 1"}},
      {{L"a||b", L"c"}, {L"ifiles: 2", L"a||b|c", L"Files: 2"}},
      {many, {L"ifiles: 5000", all, L"Files: 5000"}}};
  for (const auto& [names, messages] : cases) {
    DataObject selection(names);
    expect_Captured(&selection, messages);
  }
}

}  // namespace
