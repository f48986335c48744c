// The whole program except its entry: words in, printed text and an exit status out. No state.
#pragma once

#include <span>
#include <string_view>

namespace host {

// Carries out the words after the program name and returns the exit status; a failure is told on stderr.
int run_Words(std::span<const std::wstring_view> words);

}  // namespace host
