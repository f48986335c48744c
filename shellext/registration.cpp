#include "shellext/registration.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/boundary.h"
#include "base/classes.h"
#include "base/guid.h"
#include "base/handles.h"
#include "base/module.h"
#include "base/text.h"
#include "shellext/class_identifiers.h"
#include "shellext/interface_redirection.h"

namespace {

// A row as it is written here. What stands in angle brackets, which no file's name has, is filled in.
struct Draft {
  const wchar_t* Key;         // below the machine's classes
  const wchar_t* Value;       // null: the key alone
  const wchar_t* Name = L"";  // of the value; empty for the default one
  bool IsShared = false;      // with the DLL of the other bitness
};

constexpr bool is_Shared = true;
constexpr const wchar_t* description = L"Norvak - IContextMenu Shell Extension";
constexpr const wchar_t* automation_marshaller = L"{00020424-0000-0000-C000-000000000046}";

// Parents stand before their subkeys, so that no row makes more than one key, and what is shared before the
// class, which tells whether somebody shares it. The platform's own registration of a type library goes
// through the merged root.
constexpr Draft drafts[] = {
    {L"NorvakContextMenu.ShellExt", description, L"", is_Shared},
    {LR"(NorvakContextMenu.ShellExt\CLSID)", L"<class>", L"", is_Shared},
    {LR"(TypeLib\<library>)", nullptr, L"", is_Shared},
    {LR"(TypeLib\<library>\)" LIBRARY_VERSION, L"Norvak - IContextMenu Shell Extension...", L"", is_Shared},
    // 8: the file has the library as a resource.
    {LR"(TypeLib\<library>\)" LIBRARY_VERSION LR"(\FLAGS)", L"8", L"", is_Shared},
    {LR"(TypeLib\<library>\)" LIBRARY_VERSION LR"(\HELPDIR)", L"<folder>", L"", is_Shared},
    {LR"(TypeLib\<library>\)" LIBRARY_VERSION LR"(\0)", nullptr, L"", is_Shared},
    {sizeof(void*) == 4 ? LR"(TypeLib\<library>\)" LIBRARY_VERSION LR"(\0\win32)"
                        : LR"(TypeLib\<library>\)" LIBRARY_VERSION LR"(\0\win64)",
     L"<file>"},
    {LR"(Interface\<interface>)", L"_ShellExt"},
    {LR"(Interface\<interface>\ProxyStubClsid)", automation_marshaller},
    {LR"(Interface\<interface>\ProxyStubClsid32)", automation_marshaller},
    {LR"(Interface\<interface>\TypeLib)", L"<library>"},
    {LR"(Interface\<interface>\TypeLib)", LIBRARY_VERSION, L"Version"},
    {LR"(CLSID\<class>)", description},
    {LR"(CLSID\<class>\InprocServer32)", L"<file>"},
    {LR"(CLSID\<class>\InprocServer32)", L"Apartment", L"ThreadingModel"},
    {LR"(CLSID\<class>\ProgID)", L"NorvakContextMenu.ShellExt"},
    {LR"(CLSID\<class>\TypeLib)", L"<library>"},
};

struct Row {
  std::wstring Key;   // below HKEY_LOCAL_MACHINE
  std::wstring Name;  // empty for the default value
  std::optional<std::wstring> Value;
  bool IsShared = false;
};

std::vector<Row> registration_Rows() {
  const auto file = get_ModulePath();
  const std::pair<const wchar_t*, std::wstring> meanings[] = {
      {L"<class>", guid_Text(clsid_ShellExt)},
      {L"<library>", guid_Text(libid_ShellExt)},
      {L"<interface>", guid_Text(iid_ShellExt)},
      {L"<file>", file},
      {L"<folder>", file.substr(0, file.rfind(L'\\'))}};
  const auto fill = [&meanings](std::wstring text) {
    for (const auto& [mark, meaning] : meanings)
      replace_All(text, mark, meaning);
    return text;
  };
  std::vector<Row> rows;
  for (const auto& draft : drafts) {
    Row row{fill(std::wstring(machines_classes) + draft.Key), draft.Name, {}, draft.IsShared};
    if (draft.Value != nullptr)
      row.Value = fill(draft.Value);
    rows.push_back(std::move(row));
  }
  return rows;
}

struct OldValue {
  DWORD Type = REG_NONE;
  std::vector<BYTE> Bytes;
};

// What a row replaced.
struct Undo {
  Row Written;
  bool KeyIsNew = false;
  std::optional<OldValue> Old;
};

std::optional<OldValue> read_OldValue(HKEY key, const std::wstring& name) {
  OldValue old;
  DWORD size = 0;
  if (RegQueryValueExW(key, name.c_str(), nullptr, &old.Type, nullptr, &size) != ERROR_SUCCESS)
    return {};
  old.Bytes.resize(size);
  RegQueryValueExW(key, name.c_str(), nullptr, &old.Type, old.Bytes.data(), &size);
  return old;
}

LSTATUS set_Text(HKEY key, const Row& row) {
  if (!row.Value)
    return ERROR_SUCCESS;
  return RegSetValueExW(key, row.Name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(row.Value->c_str()),
                        static_cast<DWORD>((row.Value->size() + 1) * sizeof(wchar_t)));
}

void undo(const Undo& step) {
  if (step.KeyIsNew) {
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, step.Written.Key.c_str());
    return;
  }
  if (!step.Written.Value)
    return;
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, step.Written.Key.c_str(), 0, KEY_SET_VALUE, &opened) != ERROR_SUCCESS)
    return;
  const unique_hkey key(opened);
  if (step.Old)
    RegSetValueExW(key.get(), step.Written.Name.c_str(), 0, step.Old->Type, step.Old->Bytes.data(),
                   static_cast<DWORD>(step.Old->Bytes.size()));
  else
    RegDeleteValueW(key.get(), step.Written.Name.c_str());
}

// Writes rows, and takes them all back unless they are kept.
class RowWriter {
 public:
  RowWriter() = default;
  ~RowWriter() { std::for_each(m_steps.rbegin(), m_steps.rend(), undo); }
  RowWriter(const RowWriter&) = delete;
  RowWriter& operator=(const RowWriter&) = delete;

  LSTATUS write(const Row& row) {
    m_steps.reserve(m_steps.size() + 1);
    HKEY opened = nullptr;
    DWORD disposition = 0;
    const LSTATUS status =
        RegCreateKeyExW(HKEY_LOCAL_MACHINE, row.Key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_READ | KEY_WRITE, nullptr, &opened, &disposition);
    if (status != ERROR_SUCCESS)
      return status;
    const unique_hkey key(opened);
    m_steps.push_back({row, disposition == REG_CREATED_NEW_KEY, read_OldValue(key.get(), row.Name)});
    return set_Text(key.get(), row);
  }

  void keep() { m_steps.clear(); }

 private:
  std::vector<Undo> m_steps;
};

HRESULT write_Registration() {
  RowWriter writer;
  for (const auto& row : registration_Rows()) {
    const LSTATUS status = writer.write(row);
    if (status != ERROR_SUCCESS)
      return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
  }
  writer.keep();
  return S_OK;
}

bool is_KeyEmpty(HKEY key) {
  DWORD subkeys = 0;
  DWORD values = 0;
  return RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values, nullptr,
                          nullptr, nullptr, nullptr) == ERROR_SUCCESS &&
         subkeys == 0 && values == 0;
}

LSTATUS remove_Row(const Row& row) {
  HKEY opened = nullptr;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, row.Key.c_str(), 0, KEY_READ | KEY_SET_VALUE, &opened);
  if (status != ERROR_SUCCESS)
    return status;
  unique_hkey key(opened);
  const LSTATUS removed = row.Value ? RegDeleteValueW(key.get(), row.Name.c_str()) : ERROR_SUCCESS;
  if (removed != ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND)
    return removed;
  const bool empty = is_KeyEmpty(key.get());
  key.reset();
  return empty ? RegDeleteKeyW(HKEY_LOCAL_MACHINE, row.Key.c_str()) : ERROR_SUCCESS;
}

// Whether the DLL of either bitness is registered. Each has a class of its own.
bool is_ClassThere() {
  const auto server =
      machines_classes + std::wstring(LR"(CLSID\)") + guid_Text(clsid_ShellExt) + LR"(\InprocServer32)";
  return std::ranges::any_of(std::array{KEY_WOW64_32KEY, KEY_WOW64_64KEY}, [&](REGSAM view) {
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, server.c_str(), 0, KEY_READ | view, &opened);
    const unique_hkey key(opened);
    return RegQueryValueExW(opened, L"", nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  });
}

HRESULT remove_Registration() {
  HRESULT result = S_OK;
  auto rows = registration_Rows();
  std::ranges::reverse(rows);
  for (const auto& row : rows) {
    if (row.IsShared && is_ClassThere())
      continue;
    const LSTATUS status = remove_Row(row);
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND && SUCCEEDED(result))
      result = HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
  }
  return result;
}

}  // namespace

HRESULT register_Module() noexcept {
  return run_Guarded(E_OUTOFMEMORY, write_Registration);
}

HRESULT unregister_Module() noexcept {
  return run_Guarded(E_OUTOFMEMORY, remove_Registration);
}
