#include "host/explorer/drop_list.h"

#include <shellapi.h>
#include <shlobj.h>

#include <cstddef>
#include <cstring>
#include <utility>

#include "base/unknown.h"
#include "host/explorer/handles.h"

namespace host {
namespace {

using Microsoft::WRL::ComPtr;

constexpr FORMATETC drop_list_format = {CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};

// The block that a drop list consists of: its header, each path with its NUL, and one NUL more.
std::vector<std::byte> compose_DropList(std::span<const std::wstring> paths) {
  std::wstring names;
  for (const std::wstring& path : paths)
    names.append(path).append(1, L'\0');
  names.append(1, L'\0');
  DROPFILES header{};
  header.pFiles = sizeof header;
  header.fWide = TRUE;
  std::vector<std::byte> block(sizeof header + names.size() * sizeof(wchar_t));
  std::memcpy(block.data(), &header, sizeof header);
  std::memcpy(block.data() + sizeof header, names.data(), names.size() * sizeof(wchar_t));
  return block;
}

class DropListObject final : public Unknown<IDataObject> {
 public:
  explicit DropListObject(std::vector<std::byte> block) : m_block(std::move(block)) {}

  HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override {
    *medium = {};
    if (const HRESULT result = QueryGetData(format); result != S_OK)
      return result;
    unique_global_memory copy(GlobalAlloc(GMEM_MOVEABLE, m_block.size()));
    void* const target = copy ? GlobalLock(copy.get()) : nullptr;
    if (target == nullptr)
      return STG_E_MEDIUMFULL;
    std::memcpy(target, m_block.data(), m_block.size());
    GlobalUnlock(copy.get());
    medium->tymed = TYMED_HGLOBAL;
    medium->hGlobal = copy.release();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override {
    if (format->cfFormat != drop_list_format.cfFormat)
      return DV_E_FORMATETC;
    if (format->dwAspect != DVASPECT_CONTENT)
      return DV_E_DVASPECT;
    return (format->tymed & TYMED_HGLOBAL) != 0 ? S_OK : DV_E_TYMED;
  }
  HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override {
    *formats = nullptr;
    return direction == DATADIR_GET ? SHCreateStdEnumFmtEtc(1, &drop_list_format, formats) : E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC* canonical) override {
    canonical->ptd = nullptr;
    return E_NOTIMPL;
  }

  HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override {
    return OLE_E_ADVISENOTSUPPORTED;
  }
  HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override { return OLE_E_ADVISENOTSUPPORTED; }
  HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override { return OLE_E_ADVISENOTSUPPORTED; }

 private:
  std::vector<std::byte> m_block;
};

}  // namespace

std::vector<std::wstring> read_DropList(IDataObject* data_object) {
  FORMATETC format = drop_list_format;
  STGMEDIUM medium{};
  if (FAILED(data_object->GetData(&format, &medium)))
    return {};
  const auto drop = static_cast<HDROP>(medium.hGlobal);
  std::vector<std::wstring> paths(DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0));
  for (UINT i = 0; i < paths.size(); ++i) {
    const auto length = DragQueryFileW(drop, i, nullptr, 0);
    paths[i].resize(length);
    DragQueryFileW(drop, i, paths[i].data(), length + 1);
  }
  ReleaseStgMedium(&medium);
  return paths;
}

ComPtr<IDataObject> create_DropListObject(std::span<const std::wstring> paths) {
  return new DropListObject(compose_DropList(paths));
}

}  // namespace host
