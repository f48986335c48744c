#include "launcher/secure_drive.h"

#include <string_view>

#include "support/feature_probes.h"
#include "support/file_names.h"
#include "support/files.h"
#include "support/processes.h"
#include "support/registry.h"
#include "support/settings.h"
#include "support/suite_folders.h"
#include "support/text.h"
#include "support/value_cache.h"

namespace {

constexpr std::wstring_view secure_drive_tab = L" 3";
constexpr const wchar_t* stick_drive_key = L"StickDrive";

std::wstring drive_Root(const std::wstring& path) {
  return path.substr(0, 1) + LR"(:\)";
}

std::wstring marker_File(const std::wstring& selected_path) {
  return drive_Root(selected_path) + L"mounted.txt";
}

void note_Mounted(long mounted) {
  std::wstring path(stick_mounted.Path);
  regwrite_dw(path, mounted);
}

void launch_Installed(const std::wstring& folder, std::wstring_view command) {
  if (!folder.empty())
    launch_Program(quoted(folder + L"Vaultware.exe").append(command));
}

// The drive or folder of the portable program, noted by different programs of the suite in different places.
std::wstring find_StickFolder() {
  for (const auto* path : {users_stick_drive.Path, machines_stick_drive.Path}) {
    auto folder = regread_Text(path);
    if (!folder.empty())
      return folder;
  }
  return get_PermanentCache(stick_drive_key);
}

std::wstring complete_Root(const std::wstring& folder) {
  switch (folder.size()) {
    case 1:
      return folder + LR"(:\)";
    case 2:
      return folder + LR"(\)";
    default:
      return folder;
  }
}

// The shared value may be the mere mark "true": what is no full path would be looked up in the current
// folder.
void launch_Portable() {
  const auto folder = find_StickFolder();
  const auto program = complete_Root(folder) + LR"(Norvak\Vaultware.exe)";
  if (is_FullPath(program) && file_Exists(program))
    launch_Program(program + L" stop", program);
}

}  // namespace

void mount_Drive(const std::wstring& selected_path) {
  const auto folder = get_InstallFolder();
  note_Mounted(1);
  std::wstring path(last_crypt_drive.Path);
  regwrite_sz(path, drive_Root(selected_path));
  launch_Installed(folder, L" mountdrive");
  if (selected_path.empty())
    return;
  write_TextFile(marker_File(selected_path), selected_path);
  set_PermanentCache(stick_drive_key, L"true");
}

void unmount_Drive(const std::wstring& selected_path) {
  if (regread_Text(stick_mounted.Path) == L"1")
    launch_Installed(get_InstallFolder(), L" unmountdrive");
  else
    launch_Portable();
  note_Mounted(0);
  if (selected_path.empty() || !file_Exists(marker_File(selected_path)))
    return;
  delete_File(marker_File(selected_path));
  set_PermanentCache(stick_drive_key, L"");
}

void create_Drive() {
  const auto panel = find_ConfigurationTool();
  if (!panel.empty())
    start_Program(quoted(panel).append(secure_drive_tab));
}
