// The floor of the benchmark: a context-menu handler that does only what every handler has to do. It walks
// the drop list, keeps the paths, asks for the attributes of the first one and inserts five items.
#include "bench/floor_handler.h"

#include <ole2.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <array>
#include <new>
#include <string>
#include <vector>

#include "base/handles.h"
#include "base/unknown.h"

namespace {

constexpr std::array captions{L"Open with Floor", L"Sign with Floor", L"Create Floor Signature",
                              L"Create Floor Envelope", L"Validate Floor Signature"};
LONG objects = 0;

class Handler final : public Unknown<IContextMenu, IShellExtInit> {
 public:
  Handler() { InterlockedIncrement(&objects); }

  STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE, IDataObject* selection, HKEY) override {
    FORMATETC format{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    unique_stg_medium medium;
    if (FAILED(selection->GetData(&format, &medium)))
      return E_INVALIDARG;
    m_paths.clear();
    const auto* header = static_cast<const DROPFILES*>(GlobalLock(medium.hGlobal));
    const auto* name =
        reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(header) + header->pFiles);
    for (; *name != L'\0'; name += m_paths.back().size() + 1)
      m_paths.emplace_back(name);
    GlobalUnlock(medium.hGlobal);
    m_isFolder =
        !m_paths.empty() && (GetFileAttributesW(m_paths.front().c_str()) & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return S_OK;
  }

  STDMETHODIMP QueryContextMenu(HMENU menu, UINT position, UINT first, UINT, UINT) override {
    for (const auto* caption : captions)
      InsertMenuW(menu, position++, MF_BYPOSITION, first++, caption);
    return static_cast<HRESULT>(captions.size());
  }

  STDMETHODIMP GetCommandString(UINT_PTR command, UINT, UINT*, CHAR* text, UINT size) override {
    if (command >= captions.size())
      return E_INVALIDARG;
    lstrcpynW(reinterpret_cast<wchar_t*>(text), captions[command], static_cast<int>(size));
    return S_OK;
  }

  STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO*) override { return m_isFolder ? E_FAIL : S_OK; }

 private:
  ~Handler() override { InterlockedDecrement(&objects); }

  std::vector<std::wstring> m_paths;
  bool m_isFolder = false;
};

class Factory final : public Unknown<IClassFactory> {
 public:
  Factory() { InterlockedIncrement(&objects); }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override {
    return Microsoft::WRL::ComPtr<Handler>(new Handler)->QueryInterface(iid, object);
  }
  STDMETHODIMP LockServer(BOOL) override { return S_OK; }

 private:
  ~Factory() override { InterlockedDecrement(&objects); }
};

}  // namespace

STDAPI DllGetClassObject(REFCLSID, REFIID iid, void** factory) {
  return Microsoft::WRL::ComPtr<Factory>(new Factory)->QueryInterface(iid, factory);
}

STDAPI DllCanUnloadNow() {
  return objects == 0 ? S_OK : S_FALSE;
}
