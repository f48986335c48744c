#include "host/doctor/log_state.h"

#include <windows.h>

#include "base/handles.h"
#include "base/text.h"
#include "files/file_names.h"
#include "files/files.h"
#include "host/doctor/component_state.h"
#include "host/language.h"
#include "settings/registry_view.h"
#include "settings/settings.h"
#include "suite/component_list.h"
#include "suite/diagnostic_log.h"

namespace host {
namespace {

// The folders of settings may end with a backslash, before which the log's own comes.
std::wstring with_SingleBackslashes(std::wstring_view path) {
  std::wstring tidy(path.substr(0, 1));
  for (const wchar_t letter : path.substr(tidy.size()))
    if (letter != L'\\' || tidy.size() < 2 || !tidy.ends_with(L'\\'))
      tidy += letter;
  return tidy;
}

bool can_Append(const std::wstring& file) {
  constexpr DWORD shared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  if (file_Exists(file)) {
    return own_File(CreateFileW(exact_Path(file).c_str(), FILE_APPEND_DATA, shared, nullptr, OPEN_EXISTING, 0,
                                nullptr)) != nullptr;
  }
  // A file of another name, since another program may write its first line to the log meanwhile.
  const auto trial = exact_Path(file) + L"." + decimal(GetCurrentProcessId());
  return own_File(CreateFileW(trial.c_str(), GENERIC_WRITE | DELETE, shared, nullptr, CREATE_NEW,
                              FILE_FLAG_DELETE_ON_CLOSE, nullptr)) != nullptr;
}

}  // namespace

LogState find_LogState(const std::wstring& folder) {
  LogState state;
  state.File = with_SingleBackslashes(folder.empty() ? find_LogFile() : log_FileIn(folder));
  state.IsOn = !folder.empty() || is_LogWanted();
  state.IsTraced = to_Number(as_Text(regread_api(in_SuiteView(drive_root_trace.Path)))) == 1;
  state.HasComponent = is_Usable(find_ComponentState(log_component));
  state.IsFileWritable = !state.File.empty() && can_Append(state.File);
  return state;
}

std::wstring describe_LogFault(const LogState& state) {
  if (state.IsTraced)
    return {};
  if (state.File.empty())
    return say(TEXT_LOG_WITHOUT_FOLDER);
  if (!state.HasComponent)
    return say(TEXT_LOG_WITHOUT_COMPONENT, {log_component.ProgId});
  return state.IsFileWritable ? std::wstring() : say(TEXT_LOG_NOT_WRITABLE, {state.File});
}

}  // namespace host
