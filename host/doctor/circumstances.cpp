#include "host/doctor/circumstances.h"

#include <array>

#define SECURITY_WIN32  // which the header asks for
#include <security.h>

#include "base/account.h"
#include "files/user.h"
#include "host/doctor/registry_views.h"

namespace host {
namespace {

// What a program asks for its version by name is told what the program was made for.
void find_WindowsVersion(Circumstances& found) {
  OSVERSIONINFOW version{};
  version.dwOSVersionInfoSize = sizeof version;
  using Ask = LONG(WINAPI*)(OSVERSIONINFOW*);
  const auto ask = reinterpret_cast<Ask>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll"), "RtlGetVersion")));
  if (ask == nullptr || ask(&version) != 0)
    return;
  found.WindowsBuild = version.dwBuildNumber;
  found.Windows = std::to_wstring(version.dwMajorVersion) + L"." + std::to_wstring(version.dwMinorVersion) +
                  L"." + std::to_wstring(version.dwBuildNumber);
}

std::wstring find_Account() {
  std::array<wchar_t, 512> name{};
  ULONG size = name.size();
  return GetUserNameExW(NameSamCompatible, name.data(), &size) ? name.data() : get_UserName();
}

}  // namespace

Circumstances find_Circumstances() {
  Circumstances found;
  find_WindowsVersion(found);
  found.WindowsBits = is_64BitWindows() ? 64 : 32;
  found.Account = find_Account();
  found.IsElevated = is_Elevated();
  GetSystemTime(&found.Time);
  return found;
}

}  // namespace host
