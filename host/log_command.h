// The diagnostic log from the command line: switched on and off, and its last lines. No state.
#pragma once

#include "host/arguments.h"

namespace host {

// Carries out "log on" (with a folder for the log file, if one is named), "log off" or "log show", prints
// what there is to tell and returns the exit status. Throws a Failure for other words, for a folder that is
// none, where no line could be written, and where a setting may not be.
int run_Log(const Arguments& arguments);

}  // namespace host
