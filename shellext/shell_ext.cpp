#include "shellext/shell_ext.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "launcher/action_table.h"
#include "launcher/actions.h"
#include "menu/insertion.h"
#include "menu/selection_analysis.h"
#include "shellext/drop_list.h"
#include "shellext/interface_redirection.h"
#include "shellext/module_locks.h"
#include "shellext/path_list.h"
#include "shellext/type_library.h"
#include "support/boundary.h"
#include "support/component_lifetime.h"
#include "support/diagnostic_log.h"
#include "support/handles.h"
#include "support/module.h"
#include "support/registry.h"
#include "support/text.h"

namespace {

constexpr DWORD path_buffer_size = 500;

// A verb with any of these bits is the address of a text. In a 32-bit process the top four bits do not count.
constexpr ULONG_PTR text_verb_bits = sizeof(void*) == 4 ? 0x0FFFF000 : ~ULONG_PTR{0xFFF};

// The short form of the path in its 8.3 names; empty when there is none or it is longer than a path may be.
std::wstring short_Path(std::wstring_view path) {
  std::array<char, path_buffer_size> buffer{};
  const DWORD length = GetShortPathNameA(to_Ansi(path).c_str(), buffer.data(), path_buffer_size);
  return length < path_buffer_size ? from_Ansi({buffer.data(), length}) : std::wstring();
}

// Nothing when the object refuses the drop list or hands it over in another medium than memory.
DroppedNames dropped_Names(IDataObject* lpdobj) {
  Microsoft::WRL::ComPtr<IDataObject> data;
  if (lpdobj == nullptr || FAILED(lpdobj->QueryInterface(IID_PPV_ARGS(&data))) || !data)
    return {};
  FORMATETC format{CF_HDROP, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
  unique_stg_medium medium;
  if (FAILED(data->GetData(&format, &medium))) {
    static_cast<STGMEDIUM&>(medium) = {};  // what a failed call left there is not ours to release
    return {};
  }
  return medium.tymed == TYMED_HGLOBAL ? read_DropList(medium.hGlobal) : DroppedNames();
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
  auto* object = new (std::nothrow) ShellExt;
  if (object != nullptr)
    object->Class_Initialize();
  return object;
}

void ShellExt::Class_Initialize() noexcept {
  lock_Module();
  redirect_QueryContextMenu(this);
  set_QuietState(false);
  ensure_Cache();
}

void ShellExt::Class_Terminate() noexcept {
  restore_QueryContextMenu(this);
  free_MenuBitmaps();
  set_QuietState(false);
  m_Cache.Reset();
  // The cache is gone, so this reaches nobody: its own last release decides when its session ends.
  call_Member(m_Cache.Get(), L"DisableSessionUnloading");
  clear_ActionTable();
  run_Guarded(clean_up_Process);
  unlock_Module();
}

long ShellExt::ensure_Cache() noexcept {
  if (!is_Alive(m_Cache.Get())) {
    m_Cache = create_Object(L"NorvakCertInstaller.icache");
    call_Member(m_Cache.Get(), L"DisableSessionUnloading");
  }
  return read_Number(m_Cache.Get(), L"info").value_or(0);
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
  clear_ActionTable();
  run_Guarded([&] { capture_Selection(lpdobj); });
  ensure_Cache();
  return S_OK;
}

void ShellExt::capture_Selection(IDataObject* lpdobj) {
  read_Paths(dropped_Names(lpdobj));
  // The short paths of an earlier selection must not stand in for an empty one.
  const bool named = m_Files.empty() || names_Anything(m_szFile);
  const RememberedReads reads(RememberedReads::For::Selection);
  selected_files().assign(named ? m_szFile : m_szShortFile, path_separator);
  analyze_Selection(m_Files);
}

void ShellExt::read_Paths(DroppedNames&& dropped) {
  m_Files.clear();
  m_short_names.clear();
  m_names = std::move(dropped);
  const auto& names = m_names.Names;
  m_Files.resize(names.size());
  if (names.empty())
    debug_Log(L"Subscript out of range");
  debug_Log(L"ifiles: ", static_cast<long>(names.size()));

  PathList list;
  list.reserve(m_names.Letters.size());
  // The short paths are by far the dearest part of a large selection; only the log and entries without a long
  // path read them.
  const bool logged = is_LogOn();
  for (std::size_t index = 0; index < names.size(); ++index) {
    const auto name = names[index];
    if (name.empty())
      continue;
    const auto long_name = trim(name);
    if (long_name.empty())
      debug_Log(L"sztemp empty");
    list.append(long_name, m_names.HasBar);
    if (logged || long_name.empty())
      read_ShortPath(name, m_Files[index]);
    m_Files[index].LongName = long_name;
  }
  m_szShortFile = std::wstring(trim(m_szShortFile));
  m_szFile = list.take();
  if (const auto trimmed = trim(m_szFile); trimmed.size() != m_szFile.size())
    m_szFile = std::wstring(trimmed);
  debug_Log(m_szShortFile);
  debug_Log(m_szFile);
  if (!m_Files.empty())
    debug_Log(L"Files: ", static_cast<long>(m_Files.size()));
}

void ShellExt::read_ShortPath(std::wstring_view path, FileEntry& entry) {
  auto found = short_Path(path);
  if (found.empty())
    return;
  const std::wstring_view short_path = m_short_names.emplace_front(std::move(found));
  entry.ShortName = trim(short_path);
  if (entry.ShortName.empty())
    debug_Log(L"sztemp empty");
  m_szShortFile.append(L" ").append(short_path);
}

// Reached only while no object lives that redirects the shell to the menu composition.
HRESULT ShellExt::IContextMenu_QueryContextMenu() noexcept {
  ensure_Cache();
  return S_OK;
}

HRESULT ShellExt::IContextMenu_GetCommandString(UINT_PTR idCmd, UINT uFlags, char* pszName,
                                                UINT cchMax) noexcept {
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
  ensure_Cache();
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
  if (!action.empty())
    run_Action(action, m_Files);
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
  Microsoft::WRL::ComPtr<ITypeInfo> type_info;
  const HRESULT outcome = load_TypeInfo(&type_info);
  return FAILED(outcome) ? outcome : DispGetIDsOfNames(type_info.Get(), names, count, ids);
}

STDMETHODIMP ShellExt::Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                              VARIANT* result, EXCEPINFO* exception, UINT* argument) {
  Microsoft::WRL::ComPtr<ITypeInfo> type_info;
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
