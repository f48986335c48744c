#include "support/user.h"

#include <windows.h>

#include <lmcons.h>
#include <shlobj.h>

#include "support/files.h"

std::wstring get_UserName() {
  std::wstring name(UNLEN + 1, L'\0');
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) ? name.c_str() : L"";
}

std::wstring get_DocumentsFolder() {
  auto folder = get_SystemFolder(CSIDL_PERSONAL);
  return folder.substr(0, folder.rfind(L'\\'));
}
