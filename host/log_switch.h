// The diagnostic log from the command line: switched on and off, and its last lines. No state.
#pragma once

#include <string>
#include <vector>

namespace host {

// Carries out "on" (with a folder for the log file, if one is named), "off" or "show" and returns what there
// is to tell; throws a Failure for other words, for a folder that is none, and when a setting may not be
// written.
std::wstring switch_Log(const std::vector<std::wstring>& words);

}  // namespace host
