// What the host prints: UTF-8 on stdout and stderr, plain text helpers and JSON values. Keeps no state.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

/// Prints the text on stdout.
void print_text(std::wstring_view text);

/// Prints the text on stderr as a line that begins with the program's name.
void print_note(std::wstring_view sentence);

/// The text followed by blanks up to `width` characters.
std::wstring pad_right(std::wstring_view text, std::size_t width);

/// A JSON text; everything that JSON or UTF-8 cannot carry plainly is escaped.
std::wstring json_text(std::wstring_view text);

/// A JSON boolean.
std::wstring json_boolean(bool value);

/// A JSON array of values that are JSON already.
std::wstring json_array(const std::vector<std::wstring>& values);

/// A JSON object of names and values that are JSON already.
std::wstring json_object(std::initializer_list<std::pair<std::wstring_view, std::wstring>> members);

}  // namespace host
