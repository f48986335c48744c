// Text in lines of at most 120 columns, without blanks at their ends. No state.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host {

constexpr std::size_t line_width = 120;

using Row = std::vector<std::wstring>;

// The text followed by blanks up to `width` characters.
std::wstring pad_Right(std::wstring_view text, std::size_t width);

// The text, broken at blanks and, where there are none, behind a backslash or anywhere; each line but the
// first begins with `indent` blanks, and the first is thought to begin behind `column` characters. Ends with
// a line break.
std::wstring wrap_Text(std::wstring_view text, std::size_t column, std::size_t indent);

// The lines of the text, each wrapped under its own beginning.
std::wstring wrap_Lines(std::wstring_view text);

// The rows as lines, each column as wide as its longest cell, as far as the line allows, and two blanks
// between them. The last cell of a row is wrapped in its column. Columns without text are left out; with
// `has_headings`, the text of the first row does not count.
std::wstring align_Rows(std::vector<Row> rows, bool has_headings = false);

}  // namespace host
