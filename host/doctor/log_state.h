// Whether the diagnostic log is on, where its lines go, and whether one can be written. No state.
#pragma once

#include <string>

namespace host {

struct LogState {
  bool IsOn = false;
  std::wstring File;      // empty: no folder for it is known
  bool IsTraced = false;  // lines go to the root of a drive instead, without the component
  bool HasComponent = false;
  bool IsFileWritable = false;  // by this account
};

// The state by the settings as they are, or as it will be when the log has this folder, which ends with a
// backslash.
LogState find_LogState(const std::wstring& folder = {});

// Why no line can be written, in a sentence; empty where one can.
std::wstring describe_LogFault(const LogState& state);

}  // namespace host
