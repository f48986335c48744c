#include "shellext/shell_ext.h"

#include <shlwapi.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "launcher/action_table.h"
#include "launcher/actions.h"
#include "launcher/translation.h"
#include "menu/insertion.h"
#include "shellext/interface_redirection.h"
#include "shellext/module_locks.h"
#include "shellext/selection_capture.h"
#include "shellext/type_library.h"
#include "support/apartment.h"
#include "support/boundary.h"
#include "support/diagnostic_log.h"
#include "support/module.h"
#include "support/patience.h"
#include "support/process_values.h"
#include "support/registry.h"
#include "support/settings.h"
#include "support/text.h"

using Microsoft::WRL::ComPtr;

namespace {

// A verb with any of these bits is the address of a text. In a 32-bit process the top four bits do not count.
constexpr ULONG_PTR text_verb_bits = sizeof(void*) == 4 ? 0x0FFFF000 : ~ULONG_PTR{0xFFF};

// The certificate caches of the thread's objects. An object that outlives its apartment must not keep one.
class Caches {
 public:
  Caches() = default;
  Caches(const Caches&) = delete;
  Caches& operator=(const Caches&) = delete;
  ~Caches() {
    for (const auto& cache : m_caches)
      if (const auto living = cache.lock())
        living->Reset();
  }

  std::shared_ptr<AutomationObject> make() {
    std::erase_if(m_caches, [](const auto& cache) { return cache.expired(); });
    auto made = std::make_shared<AutomationObject>();
    m_caches.push_back(made);
    return made;
  }

 private:
  std::vector<std::weak_ptr<AutomationObject>> m_caches;
};

constinit PerApartment<Caches> caches;

constinit Settled<bool> skips_AutoUnload;

// The end-of-use clean-up.
void clean_up_Process() {
  if (!skips_AutoUnload.get_Or([] { return trim(regread_Text(skip_auto_unload.Path)) == L"1"; }))
    release_Translator();
}

// What a menu host asks for: the verb of an item, its help text, or whether it is there.
enum class Answer { None, Verb, HelpText, Validation };

Answer answer_For(UINT uFlags) {
  switch (uFlags) {
    case GCS_VERBA:
    case GCS_VERBW:
      return Answer::Verb;
    case GCS_HELPTEXTA:
    case GCS_HELPTEXTW:
      return Answer::HelpText;
    case GCS_VALIDATEA:
    case GCS_VALIDATEW:
      return Answer::Validation;
    default:
      return Answer::None;
  }
}

std::wstring compose_Answer(Answer answer, UINT_PTR idCmd, const std::wstring& caption) {
  switch (answer) {
    case Answer::Verb:
      return L"(GCS_VERB)MENUITEM" + decimal(static_cast<long>(idCmd + 1));
    case Answer::HelpText:
      return caption;
    case Answer::Validation:
      return L"(GCS_VALIDATE)" + caption;
    default:
      return {};
  }
}

// Hosts pass the room without the terminator, so a full buffer gets the terminator behind its last character.
template <typename Letter>
void write_Text(std::basic_string_view<Letter> text, void* buffer, UINT room) {
  const auto length = std::min<std::size_t>(text.size(), room);
  auto* bytes = static_cast<char*>(buffer);  // a host's buffer of bytes need not be aligned for wide letters
  std::memcpy(bytes, text.data(), length * sizeof(Letter));
  std::memset(bytes + length * sizeof(Letter), 0, sizeof(Letter));
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

ShellExt::ShellExt() : m_Cache(caches->make()) {
  use_WritableMethodTable(this);
}

void ShellExt::Class_Initialize() noexcept {
  lock_Module();
  redirect_QueryContextMenu(this);
  set_QuietState(false);
  ensure_Cache();
}

// What belongs to a thread that has left its apartment is gone already.
void ShellExt::Class_Terminate() noexcept {
  restore_QueryContextMenu(this);
  if (has_Apartment()) {
    run_Guarded(free_MenuBitmaps);
    set_QuietState(false);
    m_Cache->Reset();
    // The cache is gone, so this reaches nobody: its own last release decides when its session ends.
    send_Member(m_Cache->Get(), L"DisableSessionUnloading");
    run_Guarded(clear_ActionTable);
    run_Guarded(clean_up_Process);
  }
  unlock_Module();
}

long ShellExt::ensure_Cache() noexcept {
  if (!is_Alive(m_Cache->Get())) {
    *m_Cache = create_Object(L"NorvakCertInstaller.icache");
    send_Member(m_Cache->Get(), L"DisableSessionUnloading");
  }
  return read_Number(m_Cache->Get(), L"info").value_or(0);
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
  ensure_Cache();
  return S_OK;
}

// Reached only while no object lives that redirects the shell to the menu composition.
HRESULT ShellExt::IContextMenu_QueryContextMenu() noexcept {
  const ComPtr<IContextMenu> own(this);
  ensure_Cache();
  return S_OK;
}

HRESULT ShellExt::IContextMenu_GetCommandString(UINT_PTR idCmd, UINT uFlags, char* pszName,
                                                UINT cchMax) noexcept {
  const ComPtr<IContextMenu> own(this);
  return run_Guarded(S_OK, [&] {
    ensure_Cache();
    const auto caption = get_MenuName(static_cast<long>(idCmd));
    const auto text = caption.empty() ? caption : compose_Answer(answer_For(uFlags), idCmd, caption);
    if (text.empty() || pszName == nullptr || cchMax == 0)
      return S_OK;
    if ((uFlags & GCS_UNICODE) != 0)
      write_Text<wchar_t>(text, pszName, cchMax);
    else
      write_Text<char>(to_Ansi(text), pszName, cchMax);
    return S_OK;
  });
}

HRESULT ShellExt::IContextMenu_InvokeCommand(const CMINVOKECOMMANDINFO* lpcmi) noexcept {
  const ComPtr<IContextMenu> own(this);
  ensure_Cache();
  const ActionPatience patience;
  if (lpcmi != nullptr)
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
  const auto selected = m_Files;
  if (!action.empty() && selected)
    run_Action(action, selected->Files, current_Selection()->Flags);
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
