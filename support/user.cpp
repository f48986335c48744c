#include "support/user.h"

#include <windows.h>

#include <lmcons.h>
#include <sddl.h>
#include <shlobj.h>

#include "support/files.h"
#include "support/handles.h"

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
  wchar_t* text = nullptr;
  if (!GetTokenInformation(token, TokenUser, &user, size, &size) ||
      !ConvertSidToStringSidW(user.User.User.Sid, &text))
    return {};
  const unique_local_memory owner(text);
  return text;
}

std::wstring get_DocumentsFolder() {
  auto folder = get_SystemFolder(CSIDL_PERSONAL);
  return folder.substr(0, folder.rfind(L'\\'));
}
