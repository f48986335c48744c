#include "support/processes.h"

#include "support/handles.h"
#include "support/text.h"

bool start_Program(const std::wstring& command_line) {
  auto text = to_Ansi(command_line);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESHOWWINDOW;
  startup.wShowWindow = SW_SHOWNORMAL;
  PROCESS_INFORMATION started{};
  if (!CreateProcessA(nullptr, text.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started))
    return false;
  const unique_kernel_handle process(started.hProcess);
  const unique_kernel_handle thread(started.hThread);
  return true;
}
