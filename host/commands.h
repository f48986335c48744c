// The commands of the host, one row of a table each, and the usage text made from it. No state.
#pragma once

#include <string>

#include "host/arguments.h"

namespace host {

// Carries out the command that the arguments name and returns the exit status; throws a Failure where that
// cannot be done.
int run_Command(const Arguments& arguments);

// The text of --help.
std::wstring describe_Usage();

}  // namespace host
