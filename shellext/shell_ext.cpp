#include "shellext/shell_ext.h"
#include "shellext/class_identifiers.h"

#include <shlwapi.h>

#include <new>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/log.h"
#include "base/owner_window.h"
#include "base/process_values.h"
#include "base/text.h"
#include "components/patience.h"
#include "launcher/action_table.h"
#include "launcher/actions.h"
#include "launcher/translation.h"
#include "menu/insertion.h"
#include "selection/selection_capture.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "shellext/command_strings.h"
#include "shellext/interface_redirection.h"
#include "shellext/type_library.h"

using Microsoft::WRL::ComPtr;

namespace {

// A verb with any of these bits is the address of a text. In a 32-bit process the top four bits do not count.
constexpr ULONG_PTR text_verb_bits = sizeof(void*) == 4 ? 0x0FFFF000 : ~ULONG_PTR{0xFFF};

constinit Settled<bool> skips_AutoUnload;

// The end-of-use clean-up.
void clean_up_Process() {
  if (!skips_AutoUnload.get_Or([] { return trim(regread_Text(skip_auto_unload.Path)) == L"1"; }))
    release_Translator();
}

}  // namespace

ShellExt* ShellExt::create() noexcept {
  return run_Guarded(static_cast<ShellExt*>(nullptr), [] {
    auto* object = new (std::nothrow) ShellExt;
    if (object != nullptr)
      object->Class_Initialize();
    return object;
  });
}

ShellExt::ShellExt() {
  use_WritableMethodTable(this);
}

void ShellExt::Class_Initialize() noexcept {
  redirect_QueryContextMenu(this);
  set_QuietState(false);
  m_Cache.ensure_Cache();
}

// What belongs to a thread that has left its apartment is gone already.
void ShellExt::Class_Terminate() noexcept {
  restore_QueryContextMenu(this);
  if (has_Apartment()) {
    run_Guarded(free_MenuBitmaps);
    set_QuietState(false);
    m_Cache.let_Go();
    run_Guarded(clear_ActionTable);
    run_Guarded(clean_up_Process);
  }
}

void ShellExt::set_WindowHandle(HWND hwnd) {
  if (hwnd == nullptr)
    return;
  m_hWnd = hwnd;
  set_hwnd(hwnd);
}

HWND ShellExt::get_WindowHandle() {
  if (m_hWnd == nullptr)
    m_hWnd = get_hwnd();
  return m_hWnd;
}

HRESULT ShellExt::IShellExtInit_Initialize(IDataObject* lpdobj) noexcept {
  const ComPtr<IContextMenu> own(this);
  begin_MenuPatience();
  run_Guarded(clear_ActionTable);
  m_Files.reset();
  run_Guarded([&] {
    m_Files = std::make_shared<const Selection>(capture_Selection(lpdobj, m_szShortFile));
    keep_Selection(m_Files);
  });
  m_Cache.ensure_Cache();
  return S_OK;
}

// Reached only while no object lives that redirects the shell to the menu composition.
HRESULT ShellExt::IContextMenu_QueryContextMenu() noexcept {
  const ComPtr<IContextMenu> own(this);
  m_Cache.ensure_Cache();
  return S_OK;
}

HRESULT ShellExt::IContextMenu_GetCommandString(UINT_PTR idCmd, UINT uFlags, char* pszName,
                                                UINT cchMax) noexcept {
  const ComPtr<IContextMenu> own(this);
  m_Cache.ensure_Cache();
  run_Guarded([&] { answer_CommandString(idCmd, uFlags, pszName, cchMax); });
  return S_OK;
}

HRESULT ShellExt::IContextMenu_InvokeCommand(const CMINVOKECOMMANDINFO* lpcmi) noexcept {
  const ComPtr<IContextMenu> own(this);
  m_Cache.ensure_Cache();
  if (lpcmi == nullptr)
    return S_OK;
  const ActionPatience patience;
  const OwnerWindow owner(lpcmi->hwnd);
  run_Guarded([&] { run_Command(*lpcmi); });
  return S_OK;
}

void ShellExt::run_Command(const CMINVOKECOMMANDINFO& command) {
  if (is_LogOn() && command.lpDirectory != nullptr) {
    const auto directory = from_Ansi(command.lpDirectory);
    if (!trim(directory).empty())
      debug_Log(L"InvokeCommand: ", directory);
  }
  const auto verb = reinterpret_cast<ULONG_PTR>(command.lpVerb);
  if ((verb & text_verb_bits) != 0)
    return;
  const auto action = get_ActionString(static_cast<long>(verb));
  debug_Log(L"ActionString: ", action);
  const auto* const row = find_Action(action);
  const auto selected = m_Files;
  if (row != nullptr && selected)
    run_Action(*row, selected->Files, current_Selection()->Flags);
}

STDMETHODIMP ShellExt::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr)
    return E_POINTER;
  static const QITAB interfaces[] = {
      {&__uuidof(IContextMenu), static_cast<int>(OFFSETOFCLASS(IContextMenu, ShellExt))},
      {&__uuidof(IShellExtInit), static_cast<int>(OFFSETOFCLASS(IShellExtInit, ShellExt))},
      {&__uuidof(IDispatch), static_cast<int>(OFFSETOFCLASS(DefaultInterface, ShellExt))},
      {&iid_ShellExt, static_cast<int>(OFFSETOFCLASS(DefaultInterface, ShellExt))},
      {},
  };
  return QISearch(this, interfaces, iid, object);
}

STDMETHODIMP_(ULONG) ShellExt::AddRef() {
  return static_cast<ULONG>(InterlockedIncrement(&m_references));
}

STDMETHODIMP_(ULONG) ShellExt::Release() {
  const LONG left = InterlockedDecrement(&m_references);
  if (left == 0) {
    m_references = 1;  // a component that is told of the end may still take and give back a reference
    Class_Terminate();
    delete this;
  }
  return static_cast<ULONG>(left);
}

STDMETHODIMP ShellExt::GetTypeInfoCount(UINT* count) {
  if (count == nullptr)
    return E_POINTER;
  *count = 1;
  return S_OK;
}

STDMETHODIMP ShellExt::GetTypeInfo(UINT index, LCID, ITypeInfo** type_info) {
  if (type_info == nullptr)
    return E_POINTER;
  *type_info = nullptr;
  if (index != 0)
    return DISP_E_BADINDEX;
  return load_TypeInfo(type_info);
}

STDMETHODIMP ShellExt::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  ComPtr<ITypeInfo> type_info;
  const HRESULT outcome = load_TypeInfo(&type_info);
  return FAILED(outcome) ? outcome : DispGetIDsOfNames(type_info.Get(), names, count, ids);
}

STDMETHODIMP ShellExt::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                              VARIANT* result, EXCEPINFO* exception, UINT* argument) {
  ComPtr<ITypeInfo> type_info;
  const HRESULT outcome = load_TypeInfo(&type_info);
  if (FAILED(outcome))
    return outcome;
  return DispInvoke(static_cast<DefaultInterface*>(this), type_info.Get(), member, flags, parameters, result,
                    exception, argument);
}

STDMETHODIMP ShellExt::info(long* value) {
  if (value == nullptr)
    return E_POINTER;
  *value = 1;
  return S_OK;
}
