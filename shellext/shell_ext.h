// The extension's COM class. Explorer makes an object for a menu, hands it the selection, has the menu
// filled, asks for help texts and reports what was picked; the object hands each of these on to the module
// that does it. Every method answers S_OK whatever failed, since Explorer could do nothing about it.
#pragma once

#include <windows.h>

#include <ole2.h>
#include <shlobj.h>

#include <memory>
#include <string>

#include "selection/selection.h"
#include "shellext/certificate_cache.h"
#include "shellext/module_locks.h"

// The class's default interface, as the type library has it.
struct DefaultInterface : IDispatch {
  virtual HRESULT STDMETHODCALLTYPE info(long* value) = 0;  // always 1
  virtual HRESULT STDMETHODCALLTYPE install() = 0;          // does nothing
  virtual HRESULT STDMETHODCALLTYPE remove() = 0;           // does nothing
};

class ShellExt final : public IShellExtInit, public IContextMenu, public DefaultInterface {
 public:
  // A new object without references yet; null when memory ran out.
  static ShellExt* create() noexcept;

  // The window that messages belong to; setting 0 changes nothing, and the getter falls back to the handle
  // that the module knows.
  void set_WindowHandle(HWND hwnd);
  HWND get_WindowHandle();

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE, IDataObject* lpdobj, HKEY) override {
    return IShellExtInit_Initialize(lpdobj);
  }
  STDMETHODIMP QueryContextMenu(HMENU, UINT, UINT, UINT, UINT) override {
    return IContextMenu_QueryContextMenu();
  }
  STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO* lpcmi) override {
    return IContextMenu_InvokeCommand(lpcmi);
  }
  STDMETHODIMP GetCommandString(UINT_PTR idCmd, UINT uFlags, UINT*, CHAR* pszName, UINT cchMax) override {
    return IContextMenu_GetCommandString(idCmd, uFlags, pszName, cchMax);
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT* argument) override;
  STDMETHODIMP info(long* value) override;
  STDMETHODIMP install() override { return S_OK; }
  STDMETHODIMP remove() override { return S_OK; }

 private:
  ShellExt();
  ~ShellExt() = default;

  void Class_Initialize() noexcept;
  void Class_Terminate() noexcept;
  HRESULT IShellExtInit_Initialize(IDataObject* lpdobj) noexcept;
  HRESULT IContextMenu_QueryContextMenu() noexcept;
  HRESULT IContextMenu_InvokeCommand(const CMINVOKECOMMANDINFO* lpcmi) noexcept;
  HRESULT IContextMenu_GetCommandString(UINT_PTR idCmd, UINT uFlags, char* pszName, UINT cchMax) noexcept;

  void run_Command(const CMINVOKECOMMANDINFO& command);

  const ModuleLock m_lock;
  SharedSelection m_Files;     // null before there is one
  std::wstring m_szShortFile;  // the short paths joined by blanks; grows over the life of the object
  CertificateCache m_Cache;
  HWND m_hWnd = nullptr;
  LONG m_references = 0;
};
