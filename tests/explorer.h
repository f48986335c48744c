// A small Explorer: it loads the extension's DLL as it was built, hands it selections and has it fill menus.
#pragma once

#include <windows.h>

#include <ole2.h>
#include <shlobj.h>

#include <wrl/client.h>

#include <functional>
#include <string>

#include "tests/machine.h"

using Microsoft::WRL::ComPtr;

// The path of a built file in the folder of the test program.
std::wstring built_File(const std::wstring& name);

// A DLL that stays loaded as long as this object lives.
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

// The bytes of a drop list, with its names in UTF-16 or in the code page; and a block of memory with these
// bytes.
std::string drop_List(const Lines& names, bool is_utf16 = true);
HGLOBAL make_Block(std::string_view bytes);

// A selection. It hands out what `fill` gives, or lends out a drop list of the paths. When it is destroyed,
// every reference must have been given back, that of a lent list too.
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

// Picks a command by its offset or by a text. The record has the long form, as Explorer's has, unless `size`
// is that of the short one.
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

// The lines that the extension puts into an empty menu; and those for a folder.
Lines offered(const ComPtr<IContextMenu>& object, UINT first_id = 1, UINT flags = CMF_NORMAL);
const Lines folder_menu{L"1 &Sign PDFs in Folder", L"-"};

// Installs the suite's programs for files and drives with their settings, and returns their folder.
std::wstring install_Suite();
// The command line that opens a file with one of these programs.
std::wstring opening(const std::wstring& program, const std::wstring& file);
// The recorded starts of these programs, as soon as there are `count`.
Lines recorded_Starts(std::size_t count);

// Records the programs that a module would start instead of starting them. Each recorded start gives handles,
// and may be the call that has to fail.
BOOL WINAPI record_Start(const wchar_t* program, wchar_t* command, SECURITY_ATTRIBUTES*, SECURITY_ATTRIBUTES*,
                         BOOL, DWORD, void*, const wchar_t*, STARTUPINFOW*, PROCESS_INFORMATION* started);
void record_Starts(HMODULE module = GetModuleHandleW(nullptr));
// The command lines that were recorded since the last call. Where the program was named separately, its name
// and a TAB come first.
Lines take_Starts();

// A machine on which folders can be signed, with the DLL loaded.
class Explorer : public Machine {
 protected:
  void SetUp() override;
  const Library m_library;
};
