// The whole program but for its entry: words in, printed text and an exit status out. Keeps no state.
#pragma once

#include <span>
#include <string_view>

namespace host {

/// Carries out the words after the program name, a failure reported on stderr; gives the exit status.
int run_words(std::span<const std::wstring_view> words);

}  // namespace host
