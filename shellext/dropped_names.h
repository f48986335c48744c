// Takes the names of a drop list off its bytes. Needs nothing of the platform; no state.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

// The text up to the next terminator, cut to 499 letters; `bytes` is moved behind the terminator. Nothing
// when the bytes have no more.
template <typename Letter>
std::optional<std::basic_string<Letter>> take_Name(std::span<const char>& bytes) {
  constexpr std::size_t longest_name = 499;
  // The names may start at an odd address.
  const auto letter_at = [&bytes](std::size_t index) {
    Letter letter;
    std::memcpy(&letter, bytes.data() + index * sizeof letter, sizeof letter);
    return letter;
  };
  const std::size_t available = bytes.size() / sizeof(Letter);
  std::size_t length = 0;
  while (length < available && letter_at(length) != Letter{})
    ++length;
  if (length == available)
    return {};
  std::basic_string<Letter> name(std::min(length, longest_name), Letter{});
  std::memcpy(name.data(), bytes.data(), name.size() * sizeof(Letter));
  bytes = bytes.subspan((length + 1) * sizeof(Letter));
  return name;
}

// The names up to an empty one, which counts only as the first; each as `to_path` makes it.
template <typename Letter, typename Conversion>
std::vector<std::wstring> take_Names(std::span<const char> bytes, Conversion to_path) {
  std::vector<std::wstring> names;
  for (auto name = take_Name<Letter>(bytes); name && (!name->empty() || names.empty());
       name = take_Name<Letter>(bytes))
    names.push_back(to_path(std::move(*name)));
  return names;
}
