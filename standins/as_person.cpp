// Runs a program as Explorer would, without the administrator's rights that every program of the emulation is
// born with, and ends with its exit status.
//   as-person.exe PROGRAM [ARGUMENT...]
#include <windows.h>

#include <cstdio>
#include <string>

#include "base/handles.h"

namespace {

constexpr int not_started = 127;

// The token that a person's programs have who could be an administrator.
unique_kernel_handle find_Token() {
  HANDLE own = nullptr;
  HANDLE token = nullptr;
  TOKEN_LINKED_TOKEN linked{};
  DWORD size = 0;
  OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &own);
  const unique_kernel_handle owner(own);
  if (!GetTokenInformation(own, TokenLinkedToken, &linked, sizeof linked, &size))
    return {};
  const unique_kernel_handle linked_owner(linked.LinkedToken);
  DuplicateTokenEx(linked.LinkedToken, MAXIMUM_ALLOWED, nullptr, SecurityImpersonation, TokenPrimary, &token);
  return unique_kernel_handle(token);
}

// Behind this program's own name, which may be in quotes.
std::wstring find_Command() {
  const std::wstring line = GetCommandLineW();
  const auto name_end = line.starts_with(L'"') ? line.find(L'"', 1) : line.find(L' ');
  const auto begin = name_end == std::wstring::npos ? name_end : line.find_first_not_of(L' ', name_end + 1);
  return begin == std::wstring::npos ? std::wstring() : line.substr(begin);
}

// The program ends with this one, also where that is killed; what it starts goes on.
unique_kernel_handle make_Bond() {
  unique_kernel_handle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags =
      JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK;
  SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);
  return job;
}

}  // namespace

int main() {
  const auto token = find_Token();
  const auto bond = make_Bond();
  auto command = find_Command();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  if (!CreateProcessAsUserW(token.get(), nullptr, command.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                            nullptr, nullptr, &startup, &started)) {
    static_cast<void>(std::fprintf(stderr, "as-person: the program could not be started (%lu): %ls\n",
                                   GetLastError(), command.c_str()));
    return not_started;
  }
  const unique_kernel_handle process(started.hProcess);
  const unique_kernel_handle thread(started.hThread);
  AssignProcessToJobObject(bond.get(), process.get());
  ResumeThread(thread.get());
  WaitForSingleObject(process.get(), INFINITE);
  DWORD status = not_started;
  GetExitCodeProcess(process.get(), &status);
  return static_cast<int>(status);
}
