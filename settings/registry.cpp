#include "settings/registry.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <optional>
#include <utility>
#include <vector>

#include "base/account.h"
#include "base/apartment.h"
#include "base/boundary.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/files.h"
#include "settings/fixed_folders.h"
#include "settings/ini_settings.h"
#include "settings/registry_path.h"
#include "settings/registry_view.h"
#include "settings/registry_watch.h"
#include "settings/registry_ways.h"
#include "settings/script_host.h"
#include "settings/settings.h"
#include "settings/users_branch.h"

namespace {

struct Reads {
  bool IsAtWork = false;  // what a read brings about itself, a message of the log for example, reads plainly
  bool LoadsSwitch = false;
  bool FindsIniFiles = false;
  bool IsQuiet = false;
  std::wstring LastPath;
  RegistryValue LastValue;
  bool Remembers = false;
  std::vector<std::pair<std::wstring, std::wstring>> Remembered;  // paths as asked for, and texts
  RegistryWatch Watch;
  bool IsFresh = false;     // the watch was asked for the right-click that is under way
  bool IsDoubtful = false;  // some read has failed, which the next right-click must not take for an answer
};

constinit PerApartment<Reads> reads_state;
constinit Guarded<std::optional<std::wstring>>
    found_folder;  // the install folder that was found last by its files
constinit std::atomic<bool> is_ReadOnly = false;

// What the first of the places has that has something.
template <typename... Places>
FoundValue first_Of(Places... places) {
  FoundValue found;
  const bool is_found = (... || !is_Empty((found = places()).Value));
  return is_found ? std::move(found) : FoundValue();
}

FoundValue read_FromIni(const SettingPath& path) {
  if (!is_KeptInIni(path))
    return {};
  auto [text, file] = read_Ini(path);
  return {std::move(text), std::move(file)};
}

FoundValue read_Value(const SettingPath& path) {
  bool is_missing = false;
  return first_Of([&] { return read_FromIni(path); },
                  [&] {
                    auto answer = ask_Registry(path);
                    is_missing = answer.IsMissing;
                    reads_state->IsDoubtful |= is_Empty(answer.Value) && !is_missing;
                    return FoundValue{std::move(answer.Value), path.Text};
                  },
                  [&] {
                    // What is certainly not there costs a working script host two reads to find out.
                    if (is_missing && has_ScriptHost())
                      return FoundValue();
                    ensure_ScriptHost(L"regread");
                    return FoundValue{read_ByScriptHost(path.Text), path.Text};
                  });
}

FoundValue read_Redirected(const SettingPath& path) {
  return first_Of(
      [&] {
        auto users = users_Path(path.Text);
        return users.empty() ? FoundValue() : read_Value(SettingPath(std::move(users)));
      },
      [&] { return read_Value(path); });
}

bool is_InstallFolder(std::wstring_view folder) {
  return !folder.empty() && file_Exists(std::wstring(folder) + L"norvak.ico");
}

std::wstring find_InstallFolder() {
  if (const auto folder = found_folder.with([](const auto& found) { return found; });
      folder && is_InstallFolder(*folder))
    return *folder;
  for (const auto fixed : {FixedFolder::GermanPrograms, FixedFolder::Programs}) {
    const auto* folder = path_Of(fixed);
    if (is_InstallFolder(folder) && counts(fixed)) {
      found_folder.with([folder](auto& found) { found = folder; });
      return folder;
    }
  }
  return {};
}

// NOLINTBEGIN(misc-no-recursion): a read needs the switch, the INI files and the install folder, which are
// read themselves; the marks of `Reads` end that.
void repair_InstallFolder(const std::wstring& folder) {
  if (!is_Empty(regread_api(install_folder.Path)))
    return;
  for (const auto* path : {install_folder.Path, users_install_folder.Path})
    regwrite_sz(path, folder);
}

bool is_LastPath(const Reads& reads, std::wstring_view path) {
  return !path.empty() && path == reads.LastPath && !is_Empty(reads.LastValue) && !contains(path, L"doexit");
}

// A doubled folder name in this one value came from an installer that appended its own folder twice.
void repair_InstallFolderValue(std::wstring_view path, std::wstring& value) {
  constexpr std::size_t shortest_folder = 5;
  if (!equals_IgnoringCase(path, joined_install_folder))
    return;
  replace_All(value, LR"(\pdf\pdf\)", LR"(\pdf\)");
  found_folder.with([](auto& folder) {
    if (folder && folder->size() > shortest_folder && folder->ends_with(LR"(\\)"))
      folder->pop_back();
  });
}

FoundValue read_Full(const SettingPath& path) {
  const auto folder =
      equals_IgnoringCase(path.Text, install_folder.Path) ? find_InstallFolder() : std::wstring();
  if (folder.empty())
    return read_Redirected(path);
  if (path.Text == install_folder.Path)
    repair_InstallFolder(folder);
  return {folder, folder};
}

}  // namespace

void load_ForceHKLM() {
  if (is_ForceHKLMSettled())
    return;
  if (const UnderWay loading(reads_state->LoadsSwitch); !loading.is_Nested())
    settle_ForceHKLM(regread_Text(force_hklm.Path));
}

void find_IniFiles() {
  if (!are_IniFilesWanted())
    return;
  if (const UnderWay search(reads_state->FindsIniFiles); !search.is_Nested())
    settle_IniFiles(get_InstallFolder());
}

std::wstring get_InstallFolder() {
  auto folder = full_Folder(regread_Text(install_folder.Path));
  return folder.empty() ? full_Folder(regread_Text(second_install_folder.Path)) : folder;
}

RegistryValue regread(std::wstring_view asked_path) {
  auto& reads = *reads_state;
  if (reads.IsAtWork) {
    load_ForceHKLM();
    return regread_api(normalised_ForRead(asked_path));
  }
  if (is_Quiet())
    return std::wstring();
  find_IniFiles();
  const UnderWay work(reads_state->IsAtWork);
  load_ForceHKLM();
  auto path = normalised_ForRead(asked_path);
  if (is_LastPath(reads, path))
    return copy_Of(reads.LastValue);
  auto value = read_Full(SettingPath(path)).Value;
  // Both or neither: copied first, since memory may run out in between.
  auto last_value = copy_Of(value);
  reads.LastPath.swap(path);
  reads.LastValue.swap(last_value);
  return value;
}

FoundValue find_Value(std::wstring_view path) {
  if (reads_state->IsAtWork || is_Quiet())
    return {};
  find_IniFiles();
  const UnderWay work(reads_state->IsAtWork);
  load_ForceHKLM();
  auto found = read_Full(SettingPath(normalised_ForRead(path)));
  if (std::wstring place(in_SuiteView(found.Place)); !is_Empty(regread_api(place)))
    found.Place = std::move(place);
  return found;
}

void forbid_Writes() {
  is_ReadOnly = true;
}

std::wstring regread_Text(std::wstring_view path) {
  auto& reads = *reads_state;
  const bool remembers = reads.Remembers && !reads.IsAtWork && !is_Quiet();
  if (remembers) {
    const auto known = std::ranges::find(reads.Remembered, path,
                                         [](const auto& entry) { return std::wstring_view(entry.first); });
    if (known != reads.Remembered.end())
      return known->second;
  }
  auto text = as_Text(regread(path));
  if (remembers)
    reads.Remembered.emplace_back(path, text);
  return text;
}

RememberedReads::RememberedReads(For purpose) {
  auto& reads = *reads_state;
  const bool is_checked = purpose == For::Menu && reads.IsFresh;
  if (!is_checked && (!reads.Watch.is_Unchanged() || is_IniMode() || reads.IsDoubtful)) {
    reads.Remembered.clear();
    reads.IsDoubtful = false;
  }
  reads.IsFresh = purpose == For::Selection;
  reads.Remembers = true;
}

RememberedReads::~RememberedReads() {
  reads_state->Remembers = false;
}

bool regwrite_sz(std::wstring_view path, std::wstring value) {
  if (is_Quiet() || is_ReadOnly)
    return false;
  reads_state->Remembered.clear();
  load_ForceHKLM();
  const SettingPath target(written_Path(normalised_ForWrite(path)));
  find_IniFiles();
  const bool in_ini = is_KeptInIni(target) && !contains(to_Lower(target.Text), L"penetwork");
  repair_InstallFolderValue(target.Text, value);
  ensure_ScriptHost(L"regwrite_sz");
  if (!in_ini)
    return write_ByScriptHost(target.Text, value.c_str(), L"REG_SZ");
  if (!write_Ini(target, value))
    return false;
  if (!is_Empty(ask_Registry(target).Value))
    delete_FromRegistry(find_Place(in_SuiteView(target.Text)), target.Text);
  return true;
}

bool regwrite_dw(std::wstring_view path, long value) {
  if (is_Quiet() || is_ReadOnly)
    return false;
  reads_state->Remembered.clear();
  load_ForceHKLM();
  const SettingPath target(written_Path(normalised_ForWrite(path)));
  find_IniFiles();
  ensure_ScriptHost(L"regwrite_dw");
  return is_KeptInIni(target) ? write_Ini(target, decimal(value))
                              : write_ByScriptHost(target.Text, value, L"REG_DWORD");
}

bool deletevalue(std::wstring_view path) noexcept {
  return run_Guarded(false, [path] {
    // The platform's functions would take the text before a NUL for the whole.
    if (is_Quiet() || is_ReadOnly || contains(path, {L"\0", 1}))
      return false;
    reads_state->Remembered.clear();
    load_ForceHKLM();
    const SettingPath target(written_Path(normalised_ForWrite(path)));
    find_IniFiles();
    const auto place = find_Place(in_SuiteView(target.Text));
    if (place.Root == nullptr)
      return false;
    const bool was_in_ini = is_KeptInIni(target) && delete_FromIni(target);
    return delete_FromRegistry(place, target.Text) || was_in_ini;
  });
}

void set_QuietState(bool quiet) noexcept {
  run_Guarded([quiet] { reads_state->IsQuiet = quiet; });
}

bool is_Quiet() {
  return reads_state->IsQuiet || is_ServiceAccount();
}
// NOLINTEND(misc-no-recursion)
