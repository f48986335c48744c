#include "launcher/secure_drive.h"

#include <string_view>

#include "base/account.h"
#include "base/text.h"
#include "files/files.h"
#include "files/processes.h"
#include "launcher/messages.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/feature_probes.h"
#include "suite/value_cache.h"

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
  regwrite_dw(stick_mounted.Path, mounted);
}

void note_LastDrive(const std::wstring& root) {
  regwrite_sz(last_crypt_drive.Path, root);
}

// The program reads these notes, so they are written before it starts.
struct DriveNotes {
  std::wstring Mounted = regread_Text(stick_mounted.Path);
  std::wstring LastDrive = regread_Text(last_crypt_drive.Path);

  void write_Back() const {
    if (const auto mounted = to_Number(Mounted))
      note_Mounted(*mounted);
    else
      deletevalue(stick_mounted.Path);
    if (LastDrive.empty())
      deletevalue(last_crypt_drive.Path);
    else
      note_LastDrive(LastDrive);
  }
};

// False when the program is there and could not be started; the person has been told then.
bool launch_Vaultware(const std::wstring& command_line, const std::wstring& program) {
  const bool is_quoted = command_line.starts_with(L'"');
  if (!file_Exists(program) || launch_Program(command_line, is_quoted ? std::wstring() : program))
    return true;
  tell_Failure(L"The secure drive program could not be started.", {program});
  return false;
}

bool launch_Installed(std::wstring_view command) {
  const auto program = get_InstallFolder() + L"Vaultware.exe";
  return launch_Vaultware(quoted(program).append(command), program);
}

// The drive or folder of the portable program, noted by different programs of the suite in different places.
std::wstring find_StickFolder() {
  if (auto folder = is_Elevated() ? std::wstring() : regread_Text(users_stick_drive.Path); !folder.empty())
    return folder;
  if (auto folder = regread_Text(machines_stick_drive.Path); !folder.empty())
    return folder;
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
bool launch_Portable() {
  const auto folder = find_StickFolder();
  const auto program = complete_Root(folder) + LR"(Norvak\Vaultware.exe)";
  return launch_Vaultware(program + L" stop", program);
}

}  // namespace

void mount_Drive(const std::wstring& selected_path) {
  const DriveNotes before;
  note_Mounted(1);
  note_LastDrive(drive_Root(selected_path));
  if (!launch_Installed(L" mountdrive")) {
    before.write_Back();
    return;
  }
  if (selected_path.empty())
    return;
  replace_File(marker_File(selected_path), to_Ansi(selected_path));
  set_PermanentCache(stick_drive_key, L"true");
}

void unmount_Drive(const std::wstring& selected_path) {
  if (!(regread_Text(stick_mounted.Path) == L"1" ? launch_Installed(L" unmountdrive") : launch_Portable()))
    return;
  note_Mounted(0);
  if (selected_path.empty() || !file_Exists(marker_File(selected_path)))
    return;
  delete_File(marker_File(selected_path));
  set_PermanentCache(stick_drive_key, L"");
}

void create_Drive() {
  const auto panel = find_ConfigurationTool();
  if (panel.empty())
    tell_Failure(L"The configuration program was not found.");
  else if (!start_Program(quoted(panel).append(secure_drive_tab)))
    tell_Failure(L"The configuration program could not be started.", {panel});
}
