// What the host prints: UTF-8 on stdout and stderr, plain text helpers and JSON values. No state.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

// Prints the text on stdout.
void print_Text(std::wstring_view text);

// Prints the text on stderr as a line that begins with the program's name.
void print_Note(std::wstring_view sentence);

// The text followed by blanks up to `width` characters.
std::wstring pad_Right(std::wstring_view text, std::size_t width);

// A JSON text; everything that JSON or UTF-8 cannot carry plainly is escaped.
std::wstring json_Text(std::wstring_view text);

// A JSON boolean.
std::wstring json_Boolean(bool value);

// A JSON array of values that are JSON already.
std::wstring json_Array(const std::vector<std::wstring>& values);

// A JSON object of names and values that are JSON already.
std::wstring json_Object(std::initializer_list<std::pair<std::wstring_view, std::wstring>> members);

}  // namespace host
