#include "support/processes.h"

#include <windows.h>

#include <tlhelp32.h>

#include "support/handles.h"
#include "support/process_values.h"
#include "support/text.h"

namespace {

bool create_Process(const std::wstring& command_line, STARTUPINFOA startup,
                    const std::wstring& program = {}) {
  assert_Unlocked();
  auto text = to_Ansi(command_line);
  const auto file = to_Ansi(program);
  startup.cb = sizeof startup;
  PROCESS_INFORMATION started{};
  if (!CreateProcessA(file.empty() ? nullptr : file.c_str(), text.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &startup, &started))
    return false;
  const unique_kernel_handle process(started.hProcess);
  const unique_kernel_handle thread(started.hThread);
  return true;
}

}  // namespace

bool launch_Program(const std::wstring& command_line, const std::wstring& program) {
  return create_Process(command_line, {}, program);
}

bool start_Program(const std::wstring& command_line) {
  STARTUPINFOA startup{};
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_SHOWNORMAL;
  return create_Process(command_line, startup);
}

bool is_ProcessRunning(std::wstring_view executable_name) {
  const auto snapshot = own_File(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W process{};
  process.dwSize = sizeof process;
  for (BOOL found = Process32FirstW(snapshot.get(), &process); found;
       found = Process32NextW(snapshot.get(), &process)) {
    if (equals_IgnoringCase(process.szExeFile, executable_name))
      return true;
  }
  return false;
}
