#include "files/user.h"

#include <windows.h>

#include <aclapi.h>
#include <lmcons.h>
#include <sddl.h>
#include <shlobj.h>

#include "base/handles.h"
#include "files/files.h"

namespace {

// Empty when there is no memory.
std::wstring sid_Text(PSID sid) {
  wchar_t* text = nullptr;
  if (!ConvertSidToStringSidW(sid, &text))
    return {};
  const unique_local_memory owner(text);
  return text;
}

}  // namespace

std::wstring get_UserName() {
  std::wstring name(UNLEN + 1, L'\0');
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) ? name.c_str() : L"";
}

std::wstring get_UserSid() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token))
    return {};
  const unique_kernel_handle own(token);
  struct {
    TOKEN_USER User;
    BYTE Sid[SECURITY_MAX_SID_SIZE];
  } user{};
  DWORD size = sizeof user;
  return GetTokenInformation(token, TokenUser, &user, size, &size) ? sid_Text(user.User.User.Sid)
                                                                   : std::wstring();
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
