// Finds the names of a drop list in its letters. Needs nothing of the platform; no state.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

// The names that end within the letters; they go up to an empty one, which counts only as the first.
template <typename Letter>
std::vector<std::basic_string_view<Letter>> find_Names(std::basic_string_view<Letter> letters) {
  std::vector<std::basic_string_view<Letter>> names;
  for (std::size_t start = 0, end = 0; start < letters.size(); start = end + 1) {
    end = letters.find(Letter{}, start);
    if (end == letters.npos || (end == start && !names.empty()))
      break;
    names.push_back(letters.substr(start, end - start));
  }
  return names;
}
