// The whole program except its entry: words in, printed text and an exit status out. No state.
#pragma once

#include <string_view>

namespace host {

// Carries out the words after the program's name and returns the exit status; a failure is told on stderr.
int run_CommandLine(std::wstring_view command_line);

}  // namespace host
