// JSON values (RFC 8259) as texts. They hold ASCII alone, so that no console and no pipe can change them. No
// state.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <ranges>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

// A JSON string.
std::wstring json_Text(std::wstring_view text);

// The same, or null for an empty one.
std::wstring json_TextOrNull(std::wstring_view text);

std::wstring json_Boolean(bool value);

// A JSON array of values that are JSON already.
std::wstring json_Array(const std::vector<std::wstring>& values);

// A JSON array of what the routine makes of each element.
template <std::ranges::range Elements, typename Routine>
std::wstring json_Array(const Elements& elements, Routine routine) {
  std::vector<std::wstring> values;
  std::ranges::transform(elements, std::back_inserter(values), routine);
  return json_Array(values);
}

// A JSON object of names and values that are JSON already.
std::wstring json_Object(const std::vector<std::pair<std::wstring_view, std::wstring>>& members);

// What a command prints with --json: one object in one line, which begins with the version of its form and
// the command's name.
std::wstring json_Answer(std::wstring_view command,
                         std::initializer_list<std::pair<std::wstring_view, std::wstring>> members);

}  // namespace host
