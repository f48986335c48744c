#include "host/doctor/registration_state.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/guid.h"
#include "base/handles.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "host/doctor/registry_views.h"
#include "settings/registry_keys.h"
#include "shellext/class_identifiers.h"
#include "shellext/shell_ext.h"

namespace host {
namespace {

constexpr std::wstring_view shell_extensions =
    LR"(\SOFTWARE\Microsoft\Windows\CurrentVersion\Shell Extensions\)";

std::wstring read_Text(const std::wstring& path) {
  return as_Text(regread_api(path));
}

Entry find_Entry(const EntryKind& kind, const std::wstring& path, std::wstring_view expected) {
  const auto text = read_Text(path);
  const auto state = equals_IgnoringCase(text, expected) ? EntryState::Registered
                     : text.empty()                      ? EntryState::Missing
                                                         : EntryState::Wrong;
  return {&kind, state, path};
}

// A handler key counts whatever its name is: it has the class as its default value or as its own name.
Entry find_Handler(const EntryKind& kind, const wchar_t* type, const std::wstring& clsid) {
  const std::wstring path = std::wstring(LR"(HKCR\)") + type + LR"(\shellex\ContextMenuHandlers\)";
  const auto names = list_Key(find_Place(path), KeyContent::Subkeys).value_or(std::vector<std::wstring>());
  const auto handler = std::ranges::find_if(names, [&](const std::wstring& key) {
    return equals_IgnoringCase(key, clsid) || equals_IgnoringCase(read_Text(path + key + L"\\"), clsid);
  });
  if (handler == names.end())
    return {&kind, EntryState::Missing, path};
  return {&kind, EntryState::Registered, path + *handler};
}

// Explorer reads the view of its own bitness.
Entry find_Approval(const std::wstring& clsid) {
  const auto path = std::wstring(shell_extensions) + LR"(Approved\)" + clsid;
  for (const std::wstring root : {L"HKLM", L"HKCU"})
    if (has_Value(root + path, explorers_View()))
      return {&approval_entry, EntryState::Registered, root + path};
  return {&approval_entry, EntryState::Missing, L"HKLM" + path};
}

std::vector<std::wstring> list_Blocks(const std::wstring& clsid) {
  std::vector<std::wstring> blocks;
  for (const auto* root : {L"HKLM", L"HKCU"}) {
    auto path = std::wstring(root).append(shell_extensions).append(LR"(Blocked\)").append(clsid);
    if (has_Value(path, explorers_View()))
      blocks.push_back(std::move(path));
  }
  return blocks;
}

// What the extension is found by. A user may make such keys without an administrator's rights.
std::vector<std::wstring> list_UsersKeys(const std::wstring& clsid) {
  std::vector<std::wstring> keys{LR"(HKCU\Software\Classes\NorvakContextMenu.ShellExt\)",
                                 LR"(HKCU\Software\Classes\TypeLib\)" + guid_Text(libid_ShellExt) + L'\\',
                                 LR"(HKCU\Software\Classes\CLSID\)" + clsid + L'\\'};
  std::erase_if(keys, [](const std::wstring& key) { return !has_Key(key, explorers_View()); });
  return keys;
}

// The processor that the header of a program or DLL names; 0 where there is none.
WORD read_Processor(const std::wstring& file) {
  const auto opened = own_File(CreateFileW(exact_Path(file).c_str(), GENERIC_READ,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           OPEN_EXISTING, 0, nullptr));
  const auto read_At = [&](LONG offset, auto& header) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    DWORD length = 0;
    return ReadFile(opened.get(), &header, sizeof header, &length, &place) != FALSE &&
           length == sizeof header;
  };
  IMAGE_DOS_HEADER start{};
  struct {
    DWORD Signature;
    IMAGE_FILE_HEADER Header;
  } image{};
  return opened && read_At(0, start) && start.e_magic == IMAGE_DOS_SIGNATURE &&
                 read_At(start.e_lfanew, image) && image.Signature == IMAGE_NT_SIGNATURE
             ? image.Header.Machine
             : WORD{IMAGE_FILE_MACHINE_UNKNOWN};
}

// Nothing redirects it: programs of every bitness find the Windows' own one there.
std::wstring find_Explorer() {
  const auto windows =
      fetch_Path([](wchar_t* buffer, DWORD size) { return GetSystemWindowsDirectoryW(buffer, size); });
  return windows + LR"(\explorer.exe)";
}

bool needs_Approval() {
  const std::wstring value =
      LR"(\SOFTWARE\Microsoft\Windows\CurrentVersion\Policies\Explorer\EnforceShellExtensionSecurity)";
  return std::ranges::any_of(std::array{L"HKLM", L"HKCU"}, [&](const std::wstring& root) {
    return read_Path(root + value, explorers_View()) == L"1";
  });
}

}  // namespace

std::wstring read_Version(const std::wstring& file) {
  DWORD unused = 0;
  std::vector<std::byte> block(GetFileVersionInfoSizeW(file.c_str(), &unused));
  void* text = nullptr;
  UINT length = 0;
  if (block.empty() ||
      !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
      !VerQueryValueW(block.data(), LR"(\StringFileInfo\040904B0\ProductVersion)", &text, &length))
    return {};
  return static_cast<const wchar_t*>(text);
}

Registration find_Registration() {
  const auto clsid = guid_Text(clsid_ShellExt);
  Registration registration;
  registration.ClassPath = LR"(HKCR\CLSID\)" + clsid + LR"(\InprocServer32\)";
  registration.File = read_Path(registration.ClassPath, explorers_View());
  registration.IsFileThere = file_Exists(registration.File);
  registration.IsForExplorer = read_Processor(registration.File) == read_Processor(find_Explorer());
  registration.Version = read_Version(registration.File);
  if (is_64BitWindows())
    registration.OtherFile = read_Path(registration.ClassPath, KEY_WOW64_32KEY);
  registration.Entries = {
      find_Entry(prog_id_entry, LR"(HKCR\NorvakContextMenu.ShellExt\CLSID\)", clsid),
      find_Entry(type_library_entry, LR"(HKCR\CLSID\)" + clsid + LR"(\TypeLib\)", guid_Text(libid_ShellExt)),
      find_Handler(files_entry, L"*", clsid),
      find_Handler(folders_entry, L"Directory", clsid),
      find_Handler(drives_entry, L"Drive", clsid),
      find_Approval(clsid)};
  registration.Blocks = list_Blocks(clsid);
  registration.UsersKeys = list_UsersKeys(clsid);
  registration.NeedsApproval = needs_Approval();
  return registration;
}

std::wstring_view name_Of(EntryState state) {
  constexpr std::array<std::wstring_view, 3> names{L"registered", L"missing", L"wrong"};
  return names[static_cast<std::size_t>(state)];
}

}  // namespace host
