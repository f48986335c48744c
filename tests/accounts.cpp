#include "tests/accounts.h"

#include <aclapi.h>
#include <sddl.h>

#include <filesystem>

#include "base/handles.h"
#include "tests/machine.h"

namespace {

// This program's own calls may be redirected.
template <auto function>
auto platform_Function(const wchar_t* library, const char* name) {
  return reinterpret_cast<decltype(function)>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(library), name)));
}

bool elevation;
std::wstring account;
AccessLists access_lists;

// The identifier stands behind the structure, as the system has it.
BOOL WINAPI tell_Token(HANDLE token, TOKEN_INFORMATION_CLASS what, void* answer, DWORD room, DWORD* size) {
  if (what == TokenElevation) {
    static_cast<TOKEN_ELEVATION*>(answer)->TokenIsElevated = elevation;
    return TRUE;
  }
  PSID sid = nullptr;
  if (what != TokenUser || account.empty() || !ConvertStringSidToSidW(account.c_str(), &sid))
    return platform_Function<GetTokenInformation>(L"advapi32", "GetTokenInformation")(token, what, answer,
                                                                                      room, size);
  const unique_local_memory owner(sid);
  auto* user = static_cast<TOKEN_USER*>(answer);
  user->User.Sid = user + 1;
  return CopySid(room - static_cast<DWORD>(sizeof *user), user + 1, sid);
}

std::wstring list_Of(HANDLE file) {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetFinalPathNameByHandleW(file, path.data(), MAX_PATH, 0));
  path.erase(0, 4);  // "\\?\"
  path.replace(0, 1, L"c");
  if (path.ends_with(L'\\'))
    path.pop_back();
  const auto known = access_lists.find(path);
  return known == access_lists.end() ? closed_list : known->second;
}

DWORD WINAPI tell_AccessList(HANDLE file, SE_OBJECT_TYPE, SECURITY_INFORMATION, PSID* owner, PSID*,
                             PACL* list, PACL*, PSECURITY_DESCRIPTOR* descriptor) {
  const auto text = list_Of(file);
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW((text == L"link" ? closed_list : text).c_str(),
                                                            SDDL_REVISION_1, descriptor, nullptr))
    return GetLastError();
  BOOL is_there = FALSE, is_default = FALSE;
  *list = nullptr;
  GetSecurityDescriptorOwner(*descriptor, owner, &is_default);
  GetSecurityDescriptorDacl(*descriptor, &is_there, list, &is_default);
  return ERROR_SUCCESS;
}

BOOL WINAPI tell_Links(HANDLE file, BY_HANDLE_FILE_INFORMATION* about) {
  const auto answer =
      platform_Function<GetFileInformationByHandle>(L"kernel32", "GetFileInformationByHandle")(file, about);
  if (list_Of(file) == L"link")
    about->dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
  return answer;
}

}  // namespace

void pretend_Account(bool is_elevated, const std::wstring& sid, HMODULE module) {
  elevation = is_elevated;
  account = sid;
  EXPECT_TRUE(patch_Import("GetTokenInformation", reinterpret_cast<void*>(tell_Token), module));
}

void pretend_AccessLists(const AccessLists& lists, HMODULE module) {
  access_lists = lists;
  EXPECT_TRUE(patch_Import("GetSecurityInfo", reinterpret_cast<void*>(tell_AccessList), module));
  EXPECT_TRUE(patch_Import("GetFileInformationByHandle", reinterpret_cast<void*>(tell_Links), module));
}
