// The commands of the host, one row of a table each, and the usage text made from it. No state.
#pragma once

#include <string>

#include "host/arguments.h"

namespace host {

// Carries out the command that the arguments name and returns the exit status; throws a Failure where that
// cannot be done.
int run_Command(const Arguments& arguments);

// The help text for a command, or the one for all where none is named; throws a Failure where there is no
// such command.
std::wstring describe_Usage(const std::wstring& command);

}  // namespace host
