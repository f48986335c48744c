#include "shellext/registration.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/boundary.h"
#include "base/classes.h"
#include "base/guid.h"
#include "base/handles.h"
#include "base/module.h"
#include "shellext/class_identifiers.h"
#include "shellext/interface_redirection.h"

namespace {

constexpr const wchar_t* progid = L"NorvakContextMenu.ShellExt";
constexpr const wchar_t* description = L"Norvak - IContextMenu Shell Extension";
constexpr const wchar_t* library_version = LIBRARY_VERSION;
constexpr const wchar_t* library_description = L"Norvak - IContextMenu Shell Extension...";
constexpr const wchar_t* library_flags = L"8";  // the file has it as a resource
constexpr const wchar_t* library_platform = sizeof(void*) == 4 ? L"win32" : L"win64";
constexpr const wchar_t* automation_marshaller = L"{00020424-0000-0000-C000-000000000046}";

struct Row {
  std::wstring Key;   // below HKEY_LOCAL_MACHINE
  std::wstring Name;  // empty for the default value
  std::optional<std::wstring> Value;
  bool IsShared = false;  // with the DLL of the other bitness
};

// Parents stand before their subkeys, so that no row makes more than one key, and what is shared before the
// class, which tells whether somebody shares it. The platform's own registration of a type library goes
// through the merged root.
std::vector<Row> registration_Rows() {
  const auto clsid = guid_Text(clsid_ShellExt);
  const auto libid = guid_Text(libid_ShellExt);
  const std::wstring classes = machines_classes;
  const auto progid_key = classes + progid;
  const auto class_key = classes + LR"(CLSID\)" + clsid;
  const auto library_key = classes + LR"(TypeLib\)" + libid;
  const auto version_key = library_key + L'\\' + library_version;
  const auto interface_key = classes + LR"(Interface\)" + guid_Text(iid_ShellExt);
  const auto file = get_ModulePath();
  return {
      {progid_key, L"", description, true},
      {progid_key + LR"(\CLSID)", L"", clsid, true},
      {library_key, L"", {}, true},
      {version_key, L"", library_description, true},
      {version_key + LR"(\FLAGS)", L"", library_flags, true},
      {version_key + LR"(\HELPDIR)", L"", file.substr(0, file.rfind(L'\\')), true},
      {version_key + LR"(\0)", L"", {}, true},
      {version_key + LR"(\0\)" + library_platform, L"", file},
      {interface_key, L"", L"_ShellExt"},
      {interface_key + LR"(\ProxyStubClsid)", L"", automation_marshaller},
      {interface_key + LR"(\ProxyStubClsid32)", L"", automation_marshaller},
      {interface_key + LR"(\TypeLib)", L"", libid},
      {interface_key + LR"(\TypeLib)", L"Version", library_version},
      {class_key, L"", description},
      {class_key + LR"(\InprocServer32)", L"", file},
      {class_key + LR"(\InprocServer32)", L"ThreadingModel", L"Apartment"},
      {class_key + LR"(\ProgID)", L"", progid},
      {class_key + LR"(\TypeLib)", L"", libid},
  };
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
