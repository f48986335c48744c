#include "shellext/registration.h"

#include <comutil.h>
#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/boundary.h"
#include "base/guid.h"
#include "base/handles.h"
#include "base/module.h"
#include "shellext/class_identifiers.h"
#include "shellext/interface_redirection.h"
#include "shellext/shell_ext.h"
#include "shellext/type_library.h"

namespace {

constexpr const wchar_t* progid = L"NorvakContextMenu.ShellExt";
constexpr const wchar_t* description = L"Norvak - IContextMenu Shell Extension";
constexpr WORD library_major = LIBRARY_MAJOR;
constexpr WORD library_minor = LIBRARY_MINOR;
constexpr SYSKIND library_kind = sizeof(void*) == 4 ? SYS_WIN32 : SYS_WIN64;

struct Row {
  std::wstring Key;   // below HKEY_CLASSES_ROOT
  std::wstring Name;  // empty for the default value
  std::wstring Value;
};

// Parents stand before their subkeys, so that no row makes more than one key.
std::vector<Row> registration_Rows() {
  const auto clsid = guid_Text(clsid_ShellExt);
  const auto class_key = LR"(CLSID\)" + clsid;
  return {
      {progid, L"", description},
      {std::wstring(progid) + LR"(\CLSID)", L"", clsid},
      {class_key, L"", description},
      {class_key + LR"(\InprocServer32)", L"", get_ModulePath()},
      {class_key + LR"(\InprocServer32)", L"ThreadingModel", L"Apartment"},
      {class_key + LR"(\ProgID)", L"", progid},
      {class_key + LR"(\TypeLib)", L"", guid_Text(libid_ShellExt)},
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
  return RegSetValueExW(key, row.Name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(row.Value.c_str()),
                        static_cast<DWORD>((row.Value.size() + 1) * sizeof(wchar_t)));
}

void undo(const Undo& step) {
  if (step.KeyIsNew) {
    RegDeleteKeyW(HKEY_CLASSES_ROOT, step.Written.Key.c_str());
    return;
  }
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, step.Written.Key.c_str(), 0, KEY_SET_VALUE, &opened) != ERROR_SUCCESS)
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
        RegCreateKeyExW(HKEY_CLASSES_ROOT, row.Key.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
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

bool is_TypeLibraryRegistered() {
  _bstr_t path;
  return SUCCEEDED(
      QueryPathOfRegTypeLib(libid_ShellExt, library_major, library_minor, LOCALE_NEUTRAL, path.GetAddress()));
}

HRESULT remove_TypeLibrary() {
  if (!is_TypeLibraryRegistered())
    return S_OK;
  return UnRegisterTypeLib(libid_ShellExt, library_major, library_minor, LOCALE_NEUTRAL, library_kind);
}

bool is_KeyMissing(const std::wstring& path) {
  HKEY opened = nullptr;
  const LSTATUS status = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &opened);
  const unique_hkey key(opened);
  return status != ERROR_SUCCESS;
}

HRESULT write_TypeLibrary() {
  Microsoft::WRL::ComPtr<ITypeLib> library;
  const HRESULT loaded = load_TypeLibrary(&library);
  if (FAILED(loaded))
    return loaded;
  std::vector<std::wstring> new_keys{LR"(TypeLib\)" + guid_Text(libid_ShellExt),
                                     LR"(Interface\)" + guid_Text(iid_ShellExt)};
  if constexpr (library_kind == SYS_WIN64)  // the platform writes what 32-bit callers need too
    new_keys.push_back(LR"(Wow6432Node\)" + new_keys.back());
  std::erase_if(new_keys, [](const std::wstring& key) { return !is_KeyMissing(key); });
  const HRESULT outcome = RegisterTypeLib(library.Get(), get_ModulePath().data(), nullptr);
  // The platform leaves what it wrote before it failed, and can remove only a registration that is whole.
  for (const auto& key : new_keys)
    if (FAILED(outcome))
      RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
  return outcome;
}

HRESULT write_Registration() {
  RowWriter writer;
  for (const auto& row : registration_Rows()) {
    const LSTATUS status = writer.write(row);
    if (status != ERROR_SUCCESS)
      return HRESULT_FROM_WIN32(static_cast<unsigned long>(status));
  }
  const HRESULT outcome = write_TypeLibrary();
  if (SUCCEEDED(outcome))
    writer.keep();
  return outcome;
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
      RegOpenKeyExW(HKEY_CLASSES_ROOT, row.Key.c_str(), 0, KEY_READ | KEY_SET_VALUE, &opened);
  if (status != ERROR_SUCCESS)
    return status;
  unique_hkey key(opened);
  const LSTATUS removed = RegDeleteValueW(key.get(), row.Name.c_str());
  if (removed != ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND)
    return removed;
  const bool empty = is_KeyEmpty(key.get());
  key.reset();
  return empty ? RegDeleteKeyW(HKEY_CLASSES_ROOT, row.Key.c_str()) : ERROR_SUCCESS;
}

// Whether the DLL of either bitness is registered. The two have a class each and share the ProgID.
bool is_ClassThere() {
  const auto server = LR"(CLSID\)" + guid_Text(clsid_ShellExt) + LR"(\InprocServer32)";
  return std::ranges::any_of(std::array{KEY_WOW64_32KEY, KEY_WOW64_64KEY}, [&](REGSAM view) {
    HKEY opened = nullptr;
    RegOpenKeyExW(HKEY_CLASSES_ROOT, server.c_str(), 0, KEY_READ | view, &opened);
    const unique_hkey key(opened);
    return RegQueryValueExW(opened, L"", nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
  });
}

HRESULT remove_Registration() {
  HRESULT result = remove_TypeLibrary();
  auto rows = registration_Rows();
  std::ranges::reverse(rows);
  for (const auto& row : rows) {
    if (row.Key.starts_with(progid) && is_ClassThere())
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
