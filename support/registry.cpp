#include "support/registry.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "support/boundary.h"
#include "support/files.h"
#include "support/ini_settings.h"
#include "support/registry_path.h"
#include "support/registry_redirection.h"
#include "support/registry_view.h"
#include "support/script_host.h"
#include "support/settings.h"
#include "support/text.h"
#include "support/value_deletion.h"

namespace {

constexpr std::array<std::wstring_view, 2> usual_install_folders{LR"(c:\programme\bergstede\)",
                                                                 LR"(c:\program files\bergstede\)"};
constexpr DWORD busy_wait_ms = 100;

struct {
  bool Reading = false;
  bool Busy = false;
  bool Quiet = false;
  bool ReadOnly = false;
  std::wstring LastPath;
  RegistryValue LastValue;
  std::wstring InstallFolder;
  bool Remembers = false;
  std::vector<std::pair<std::wstring, std::wstring>> Remembered;  // paths as first asked for, and texts
} registry_state;                                                 // lives as long as the process

// Another call may be at work on this thread (a read that logs, a log that reads); it gets one short chance
// to finish, never more, since a right-click must not wait.
class BusyMark {
 public:
  BusyMark() {
    if (registry_state.Busy)
      Sleep(busy_wait_ms);
    registry_state.Busy = true;
  }
  ~BusyMark() { registry_state.Busy = false; }
  BusyMark(const BusyMark&) = delete;
  BusyMark& operator=(const BusyMark&) = delete;
};

FoundValue read_Value(std::wstring path) {
  if (is_KeptInIni(path)) {
    auto [text, file] = read_Ini(path);
    if (!text.empty())
      return {std::move(text), std::move(file)};
  }
  auto [value, is_missing] = ask_Registry(path);
  // What is certainly not there costs a working script host two reads to find out.
  if (is_Empty(value) && !(is_missing && has_ScriptHost())) {
    ensure_ScriptHost(L"regread");
    value = read_ByScriptHost(path);
  }
  if (is_Empty(value))
    return {};
  return {std::move(value), std::move(path)};
}

FoundValue read_Redirected(std::wstring path) {
  const bool redirected = redirect_ToUser(path);
  auto found = read_Value(path);
  if (redirected && is_Empty(found.Value))
    found = read_Value(back_ToMachine(path));
  return found;
}

bool is_InstallFolder(std::wstring_view folder) {
  return !folder.empty() && file_Exists(std::wstring(folder) + L"norvak.ico");
}

std::wstring find_InstallFolder() {
  if (is_InstallFolder(registry_state.InstallFolder))
    return registry_state.InstallFolder;
  for (const auto folder : usual_install_folders) {
    if (is_InstallFolder(folder)) {
      registry_state.InstallFolder = folder;
      return registry_state.InstallFolder;
    }
  }
  return {};
}

void repair_InstallFolder(const std::wstring& folder) {
  if (!is_Empty(regread_api(install_folder.Path)))
    return;
  for (std::wstring path : {install_folder.Path, users_install_folder.Path})
    regwrite_sz(path, folder);
}

bool is_Remembered(std::wstring_view path) {
  return !path.empty() && path == registry_state.LastPath && !is_Empty(registry_state.LastValue) &&
         !contains(path, L"doexit");
}

// A doubled folder name in this one value came from an installer that appended its own folder twice.
void repair_InstallFolderValue(std::wstring_view path, std::wstring& value) {
  constexpr std::size_t shortest_folder = 5;
  if (!equals_IgnoringCase(path, joined_install_folder))
    return;
  replace_All(value, LR"(\pdf\pdf\)", LR"(\pdf\)");
  if (registry_state.InstallFolder.size() > shortest_folder &&
      registry_state.InstallFolder.ends_with(LR"(\\)"))
    registry_state.InstallFolder.pop_back();
}

// Redirects the path of a write and tells whether it goes to an INI file. Done before the busy mark is set,
// because finding the files reads settings itself.
bool settle_Target(std::wstring& path) {
  redirect_ToUser(path);
  return is_KeptInIni(path);
}

void forget_Reads() {
  registry_state.Remembered.clear();
  forget_Keys();
}

FoundValue read_Full(std::wstring_view path) {
  const auto folder = equals_IgnoringCase(path, install_folder.Path) ? find_InstallFolder() : std::wstring();
  if (folder.empty()) {
    const BusyMark busy;
    return read_Redirected(std::wstring(path));
  }
  if (path == install_folder.Path)
    repair_InstallFolder(folder);
  return {folder, folder};
}

}  // namespace

RegistryValue regread(std::wstring& path) {
  if (registry_state.Reading) {
    normalise_ForRead(path);
    return regread_api(path);
  }
  if (registry_state.Quiet)
    return std::wstring();
  registry_state.Reading = true;
  const ScopeExit done([] { registry_state.Reading = false; });
  normalise_ForRead(path);
  if (is_Remembered(path))
    return copy_Of(registry_state.LastValue);
  auto value = read_Full(path).Value;
  // Both or neither: copied first, since memory may run out in between.
  auto last_path = path;
  auto last_value = copy_Of(value);
  registry_state.LastPath.swap(last_path);
  registry_state.LastValue.swap(last_value);
  return value;
}

FoundValue find_Value(std::wstring_view path) {
  if (registry_state.Reading || registry_state.Quiet)
    return {};
  registry_state.Reading = true;
  const ScopeExit done([] { registry_state.Reading = false; });
  std::wstring normalised(path);
  normalise_ForRead(normalised);
  auto found = read_Full(normalised);
  if (std::wstring place(in_SuiteView(found.Place)); !is_Empty(regread_api(place)))
    found.Place = std::move(place);
  return found;
}

void forbid_Writes() {
  registry_state.ReadOnly = true;
}

std::wstring regread_Text(std::wstring_view path) {
  const bool remembers = registry_state.Remembers && !registry_state.Reading && !registry_state.Quiet;
  if (remembers) {
    const auto known = std::ranges::find_if(registry_state.Remembered, [path](const auto& entry) {
      return equals_IgnoringCase(entry.first, path);
    });
    if (known != registry_state.Remembered.end())
      return known->second;
  }
  std::wstring normalised(path);
  auto text = as_Text(regread(normalised));
  if (remembers)
    registry_state.Remembered.emplace_back(path, text);
  return text;
}

RememberedReads::RememberedReads(For purpose) noexcept : m_purpose(purpose) {
  if (purpose == For::Selection)
    forget_Reads();
  registry_state.Remembers = true;
  keep_Keys(true);
}

RememberedReads::~RememberedReads() {
  registry_state.Remembers = false;
  keep_Keys(false);
  if (m_purpose == For::Menu)
    forget_Reads();
}

bool regwrite_sz(std::wstring& path, std::wstring value) {
  if (registry_state.Quiet || registry_state.ReadOnly)
    return false;
  registry_state.Remembered.clear();
  normalise_ForTextWrite(path);
  std::wstring target = path;
  const bool in_ini = settle_Target(target) && !contains(to_Lower(target), L"penetwork");
  const BusyMark busy;
  repair_InstallFolderValue(target, value);
  ensure_ScriptHost(L"regwrite_sz");
  if (!in_ini)
    return write_ByScriptHost(target, value.c_str(), L"REG_SZ");
  if (!write_Ini(target, value))
    return false;
  if (!is_Empty(regread_api(target)))
    deletevalue(target, force_registry);
  return true;
}

bool regwrite_dw(std::wstring& path, long value) {
  if (registry_state.Quiet || registry_state.ReadOnly)
    return false;
  registry_state.Remembered.clear();
  normalise_ForWrite(path);
  std::wstring target = path;
  const bool in_ini = settle_Target(target);
  const BusyMark busy;
  ensure_ScriptHost(L"regwrite_dw");
  return in_ini ? write_Ini(target, decimal(value)) : write_ByScriptHost(target, value, L"REG_DWORD");
}

void set_QuietState(bool quiet) {
  registry_state.Quiet = quiet;
}

bool is_Quiet() {
  return registry_state.Quiet;
}
