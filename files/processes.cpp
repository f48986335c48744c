#include "files/processes.h"

#include <windows.h>

#include <tlhelp32.h>

#include "base/handles.h"
#include "base/process_values.h"
#include "base/text.h"

namespace {

bool create_Process(std::wstring command_line, STARTUPINFOW startup, const std::wstring& program = {}) {
  assert_Unlocked();
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  if (!CreateProcessW(program.empty() ? nullptr : program.c_str(), command_line.data(), nullptr, nullptr,
                      FALSE, 0, nullptr, nullptr, &startup, &started))
    return false;
  const unique_kernel_handle process(started.hProcess);
  const unique_kernel_handle thread(started.hThread);
  return true;
}

// Also where the system does not tell.
bool is_InOwnSession(DWORD process) {
  DWORD own = 0;
  DWORD others = 0;
  return !ProcessIdToSessionId(GetCurrentProcessId(), &own) || !ProcessIdToSessionId(process, &others) ||
         own == others;
}

}  // namespace

bool launch_Program(const std::wstring& command_line, const std::wstring& program) {
  return create_Process(command_line, {}, program);
}

bool start_Program(const std::wstring& command_line) {
  STARTUPINFOW startup{};
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_SHOWNORMAL;
  return create_Process(command_line, startup);
}

bool is_ProcessRunning(std::wstring_view executable_name) {
  const auto snapshot = own_File(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W process{};
  process.dwSize = sizeof process;
  BOOL found = Process32FirstW(snapshot.get(), &process);
  if (!found)
    return true;  // this process is in every list that can be read
  for (; found; found = Process32NextW(snapshot.get(), &process)) {
    if (equals_IgnoringCase(process.szExeFile, executable_name) && is_InOwnSession(process.th32ProcessID))
      return true;
  }
  return false;
}
