#include "files/user.h"

#include <windows.h>

#include <aclapi.h>
#include <lmcons.h>
#include <shlobj.h>

#include "base/account.h"
#include "base/handles.h"
#include "files/files.h"

std::wstring get_UserName() {
  std::wstring name(UNLEN + 1, L'\0');
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) ? name.c_str() : L"";
}

bool is_OwnedByUser(HANDLE file) {
  const auto user = get_UserSid();
  PSID owner = nullptr;
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (GetSecurityInfo(file, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                      &descriptor) != ERROR_SUCCESS)
    return false;
  const unique_local_memory memory(descriptor);
  return !user.empty() && sid_Text(owner) == user;
}

std::wstring get_DocumentsFolder() {
  auto folder = get_SystemFolder(CSIDL_PERSONAL);
  return folder.substr(0, folder.rfind(L'\\'));
}
