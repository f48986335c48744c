// Finds the names of a drop list in its letters. Needs nothing of the platform; no state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <vector>

// The names that end within the letters, each cut to 499; they go up to an empty one, which counts only as
// the first.
template <typename Letter>
std::vector<std::basic_string_view<Letter>> find_Names(std::basic_string_view<Letter> letters) {
  constexpr std::size_t longest_name = 499;
  std::vector<std::basic_string_view<Letter>> names;
  for (std::size_t start = 0, end = 0; start < letters.size(); start = end + 1) {
    for (end = start; end < letters.size() && letters[end] != Letter{};)
      ++end;
    if (end == letters.size() || (end == start && !names.empty()))
      break;
    names.push_back(letters.substr(start, std::min(end - start, longest_name)));
  }
  return names;
}
