#include "support/user.h"

#include <windows.h>

#include <lmcons.h>
#include <shlobj.h>

#include <array>

std::wstring get_UserName() {
  std::array<wchar_t, UNLEN + 1> name{};
  auto size = static_cast<DWORD>(name.size());
  return GetUserNameW(name.data(), &size) ? name.data() : L"";
}

std::wstring get_DocumentsFolder() {
  std::array<wchar_t, MAX_PATH> folder{};
  if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, folder.data())))
    return {};
  return folder.data();
}
