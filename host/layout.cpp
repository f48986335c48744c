#include "host/layout.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace host {
namespace {

// A column before the last is no wider; a longer cell has the rest of its row on the next line.
constexpr std::size_t widest_column = 56;

std::wstring_view trim_End(std::wstring_view text) {
  return text.substr(0, text.find_last_not_of(L' ') + 1);
}

// How many characters of the text the line takes: up to a blank, else behind a backslash, else as many as
// fit.
std::size_t find_Break(std::wstring_view text, std::size_t room) {
  if (text.size() <= room)
    return text.size();
  if (const auto blank = text.rfind(L' ', room); blank != std::wstring_view::npos && blank != 0)
    return blank;
  const auto backslash = text.rfind(L'\\', room - 1);
  return backslash != std::wstring_view::npos && backslash != 0 ? backslash + 1 : room;
}

bool is_EmptyColumn(const std::vector<Row>& rows, std::size_t column, bool has_headings) {
  return std::all_of(rows.begin() + (has_headings ? 1 : 0), rows.end(),
                     [column](const Row& row) { return column >= row.size() || row[column].empty(); });
}

void erase_Column(std::vector<Row>& rows, std::size_t column) {
  for (Row& row : rows)
    if (column < row.size())
      row.erase(row.begin() + static_cast<std::ptrdiff_t>(column));
}

struct Column {
  std::size_t Start = 0;
  std::size_t Width = 0;
};

std::vector<Column> measure_Columns(const std::vector<Row>& rows) {
  constexpr std::size_t least_room = 20;
  constexpr std::size_t next_line = 4;  // where the columns begin that no longer stand beside the others
  std::vector<Column> columns;
  for (const Row& row : rows) {
    columns.resize(std::max(columns.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i)
      columns[i].Width = std::max(columns[i].Width, std::min(row[i].size(), widest_column));
  }
  for (std::size_t i = 1; i < columns.size(); ++i) {
    const auto start = columns[i - 1].Start + columns[i - 1].Width + 2;
    columns[i].Start = start + least_room > line_width ? next_line : start;
  }
  return columns;
}

std::wstring compose_Row(const Row& row, const std::vector<Column>& columns) {
  std::wstring lines;
  std::wstring line;
  const auto end_Line = [&] {
    if (const auto text = trim_End(line); !text.empty())
      lines.append(text).append(L"\n");
    line.clear();
  };
  for (std::size_t i = 0; i < row.size(); ++i) {
    const auto [start, width] = columns[i];
    if (line.size() > start)
      end_Line();
    line = pad_Right(line, start);
    if (i + 1 == row.size() && !row[i].empty())
      return lines + line + wrap_Text(row[i], start, start);
    if (start + row[i].size() <= line_width) {
      line += pad_Right(row[i], width + 2);
      continue;
    }
    lines += line + wrap_Text(row[i], start, start);
    line.clear();
  }
  end_Line();
  return lines;
}

}  // namespace

std::wstring pad_Right(std::wstring_view text, std::size_t width) {
  std::wstring padded(text);
  padded.resize(std::max(width, padded.size()), L' ');
  return padded;
}

std::wstring wrap_Text(std::wstring_view text, std::size_t column, std::size_t indent) {
  std::wstring lines;
  for (;;) {
    const auto length = find_Break(text, line_width - column);
    lines.append(trim_End(text.substr(0, length))).append(L"\n");
    text = trim(text.substr(length));
    if (text.empty())
      return lines;
    lines.append(indent, L' ');
    column = indent;
  }
}

std::wstring wrap_Lines(std::wstring_view text) {
  std::wstring lines;
  for (const std::wstring& line : split(text, L'\n'))
    lines += wrap_Text(line, 0, std::min(line.find_first_not_of(L' '), line.size()));
  return lines;
}

std::wstring align_Rows(std::vector<Row> rows, bool has_headings) {
  std::size_t columns = 0;
  for (const Row& row : rows)
    columns = std::max(columns, row.size());
  for (std::size_t column = columns; column-- > 0;)
    if (is_EmptyColumn(rows, column, has_headings))
      erase_Column(rows, column);
  const auto measured = measure_Columns(rows);
  std::wstring lines;
  for (const Row& row : rows)
    lines += compose_Row(row, measured);
  return lines;
}

}  // namespace host
