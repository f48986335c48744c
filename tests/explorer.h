// A little Explorer: loads the extension's DLL as it was built, hands it selections and has menus filled.
#pragma once

#include <windows.h>

#include <ole2.h>
#include <shlobj.h>

#include <wrl/client.h>

#include <functional>
#include <string>

#include "tests/machine.h"

using Microsoft::WRL::ComPtr;

// The path of a file that was built into the folder of the test program.
std::wstring built_File(const std::wstring& name);

// A DLL, loaded from here to its end.
class Library {
 public:
  explicit Library(const std::wstring& path = built_File(L"NorvakContextMenu.dll"));
  ~Library() { FreeLibrary(m_module); }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  HMODULE handle() const { return m_module; }
  HRESULT run(const char* entry) const;
  HRESULT get_Class(REFCLSID clsid, REFIID iid, void** factory) const;
  // An object of the extension, made by its factory.
  ComPtr<IContextMenu> create() const;

 private:
  HMODULE m_module;
};

// The bytes of a drop list whose names start `offset` bytes behind its start; and a block of memory with
// them.
std::string drop_List(const Lines& names, bool wide = true, DWORD offset = sizeof(DROPFILES));
HGLOBAL make_Block(std::string_view bytes);

// A selection; `fill` answers for its data, or it lends out a drop list. At its end every reference must have
// been given back, that of a lent list too.
class DataObject : public IDataObject {
 public:
  using Fill = std::function<HRESULT(STGMEDIUM&)>;
  explicit DataObject(Fill fill) : m_fill(std::move(fill)) {}
  explicit DataObject(const Lines& paths);
  virtual ~DataObject();

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++m_references; }
  STDMETHODIMP_(ULONG) Release() override { return --m_references; }
  STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
  STDMETHODIMP QueryGetData(FORMATETC*) override { return E_NOTIMPL; }
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
  STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
  STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

 private:
  Fill m_fill;
  HGLOBAL m_block = nullptr;
  ULONG m_references = 0;
};

void select(const ComPtr<IContextMenu>& object, IDataObject* selection);
void select(const ComPtr<IContextMenu>& object, const Lines& paths);

// Picks a command, by its offset or by a text, with the long form of the record as Explorer does, or the
// short one.
void invoke(const ComPtr<IContextMenu>& object, const char* verb, const char* folder = nullptr,
            DWORD size = sizeof(CMINVOKECOMMANDINFOEX));
inline void invoke(const ComPtr<IContextMenu>& object, ULONG_PTR offset, const char* folder = nullptr) {
  invoke(object, reinterpret_cast<const char*>(offset), folder);
}

struct Menu {
  ~Menu() { DestroyMenu(Handle); }
  // Identifier and caption of each line, a star where a bitmap is shown; a separator is a dash.
  Lines lines() const;
  MENUITEMINFOW item(UINT position) const;

  const HMENU Handle = CreatePopupMenu();
};

// The lines that the extension puts into an empty menu for its selection; for a folder there is one item.
Lines offered(const ComPtr<IContextMenu>& object, UINT first_id = 1, UINT flags = CMF_NORMAL);
inline const Lines folder_menu{L"1 Sign PDFs in Folder", L"-"};

// Lays out the programs of the suite that serve a PDF file, and their settings; returns their folder.
std::wstring install_Suite();
// The command line that opens a file with one of them.
std::wstring opening(const std::wstring& program, const std::wstring& file);
// How these programs were started, once it were so many times.
Lines recorded_Starts(std::size_t count);

// Has a module's starts of programs recorded in place of being made; each hands out handles and may be the
// call that is to fail.
BOOL WINAPI record_Start(const wchar_t* program, wchar_t* command, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
                         BOOL, DWORD, void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION* started);
void record_Starts(HMODULE module = GetModuleHandleW(nullptr));
// The command lines of those since the last question; one that names its program apart has that and a TAB
// before.
Lines take_Starts();

// A machine on which folders can be signed, and the DLL loaded.
class Explorer : public Machine {
 protected:
  void SetUp() override;
  const Library m_library;
};
