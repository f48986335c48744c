#include "files/trust.h"

#include <windows.h>

#include <aclapi.h>
#include <shlobj.h>

#include <algorithm>
#include <array>
#include <utility>

#include "base/account.h"
#include "base/handles.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"

namespace {

// The rights by which a folder or file is put out of the way, or opened to oneself. Who may only add
// something to a folder further up, as everybody may at the root of the system's drive, cannot reach what is
// in it already.
constexpr DWORD replacing_rights = DELETE | FILE_DELETE_CHILD | WRITE_DAC | WRITE_OWNER | GENERIC_ALL;
constexpr DWORD changing_rights = replacing_rights | GENERIC_WRITE | FILE_WRITE_DATA | FILE_APPEND_DATA |
                                  FILE_WRITE_EA | FILE_WRITE_ATTRIBUTES;

// The system, administrators, and whoever owns the file, who is asked about by name.
constexpr std::array<std::wstring_view, 3> trusted_accounts{L"S-1-5-18", L"S-1-5-32-544", L"S-1-3-4"};

constinit Settled<std::wstring> system_owner;

struct Access {
  unique_local_memory Memory;
  PSID Owner = nullptr;
  PACL List = nullptr;
};

// Without an owner where it cannot be looked at or is a link.
Access look_At(const std::wstring& path) {
  const auto held =
      own_File(CreateFileW(exact_Path(path).c_str(), READ_CONTROL | FILE_READ_ATTRIBUTES,
                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                           FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
  BY_HANDLE_FILE_INFORMATION about{};
  Access found;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (held && GetFileInformationByHandle(held.get(), &about) &&
      (about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0 &&
      GetSecurityInfo(held.get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                      &found.Owner, nullptr, &found.List, nullptr, &descriptor) == ERROR_SUCCESS)
    found.Memory.reset(descriptor);
  return found;
}

// The system's installer. Whoever owns its programs can do everything anyway.
std::wstring find_SystemOwner() {
  if (auto known = system_owner.get())
    return *std::move(known);
  auto owner = sid_Text(look_At(get_SystemFolder(CSIDL_SYSTEM)).Owner);
  return owner.empty() ? owner : system_owner.settle(std::move(owner));
}

bool is_Trusted(PSID account) {
  const auto sid = sid_Text(account);
  return std::ranges::find(trusted_accounts, sid) != trusted_accounts.end() ||
         (!sid.empty() && (sid == find_SystemOwner() || (!is_Elevated() && sid == get_UserSid())));
}

// Refusals may only take more away. Of entries of other kinds it is not known where they keep the account.
bool is_Harmless(const ACE_HEADER* entry, DWORD rights) {
  if ((entry->AceFlags & INHERIT_ONLY_ACE) != 0 || entry->AceType == ACCESS_DENIED_ACE_TYPE)
    return true;
  if (entry->AceType != ACCESS_ALLOWED_ACE_TYPE)
    return false;
  const auto* allowed = reinterpret_cast<const ACCESS_ALLOWED_ACE*>(entry);
  return (allowed->Mask & rights) == 0 || is_Trusted(const_cast<DWORD*>(&allowed->SidStart));
}

// A missing list lets everybody in.
bool is_Closed(PACL list, DWORD rights) {
  if (list == nullptr)
    return false;
  for (DWORD index = 0; index < list->AceCount; ++index)
    if (void* entry = nullptr;
        !GetAce(list, index, &entry) || !is_Harmless(static_cast<const ACE_HEADER*>(entry), rights))
      return false;
  return true;
}

bool is_Closed(const std::wstring& path, DWORD rights) {
  const auto access = look_At(path);
  return access.Owner != nullptr && is_Trusted(access.Owner) && is_Closed(access.List, rights);
}

}  // namespace

std::wstring find_OpenPart(const std::wstring& path) {
  assert_Unlocked();
  constexpr std::size_t drive_end = 2;
  if (!is_FullPath(path) || path.find(LR"(:\)") != drive_end - 1 || contains(path, L"/"))
    return path;
  const auto whole = path.ends_with(L'\\') ? path.substr(0, path.size() - 1) : path;
  // What lies in the last folder counts too: a program takes its DLLs from beside it.
  const auto folder_end = file_Exists(whole) ? whole.rfind(L'\\') : whole.size();
  for (auto end = drive_end;; end = whole.find(L'\\', end + 1)) {
    auto part = whole.substr(0, end);
    if (!is_Closed(part, part.size() < folder_end ? replacing_rights : changing_rights))
      return part;
    if (part.size() == whole.size())
      return {};
  }
}

bool may_Obey(const std::wstring& path) {
  return !is_Elevated() || (!path.empty() && find_OpenPart(path).empty());
}
