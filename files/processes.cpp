#include "files/processes.h"

#include <windows.h>

#include <shlobj.h>
#include <tlhelp32.h>

#include "base/account.h"
#include "base/handles.h"
#include "base/process_values.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "files/trust.h"

namespace {

// Without quotes, nothing may stand behind the program (processes.h).
std::wstring_view first_Word(std::wstring_view command_line) {
  return command_line.starts_with(L'"') ? command_line.substr(1, command_line.find(L'"', 1) - 1)
                                        : command_line;
}

// The program's own; the system's where the platform takes none of that length.
std::wstring start_Folder(std::wstring_view program) {
  constexpr std::size_t longest_folder = MAX_PATH - 2;
  const auto folder = through_Last(program, L'\\');
  return is_FullPath(folder) && folder.size() <= longest_folder ? std::wstring(folder)
                                                                : get_SystemFolder(CSIDL_SYSTEM);
}

// Nobody is there whom a program of the system's account would ask. The current folder may be the one that
// the person has open, in which a program would look for DLLs and anybody may have put some.
bool create_Process(std::wstring command_line, STARTUPINFOW startup, const std::wstring& program = {}) {
  assert_Unlocked();
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  const std::wstring executable(program.empty() ? first_Word(command_line) : program);
  const auto folder = start_Folder(executable);
  if (is_ServiceAccount() || !may_Obey(executable) ||
      !CreateProcessW(program.empty() ? nullptr : program.c_str(), command_line.data(), nullptr, nullptr,
                      FALSE, 0, nullptr, folder.c_str(), &startup, &started))
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
