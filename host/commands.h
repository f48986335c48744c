// The commands of the host, one row of a table each, and the usage text made from it. Keeps no state.
#pragma once

#include <string>

#include "host/arguments.h"

namespace host {

/// Carries out the command that the arguments name and gives the exit status; throws a Failure where it
/// cannot.
int run_command(const Arguments& arguments);

/// The text of --help.
std::wstring describe_usage();

}  // namespace host
