// The selection list: the selected paths joined by "|". No state of its own.
#pragma once

#include <string>
#include <string_view>
#include <utility>

constexpr wchar_t path_separator = L'|';

// Builds the list path by path. Every append closes doubled separators of the whole list once from left to
// right and drops a leading one, which shows only where names hold separators themselves or are empty; to
// stay linear, what is known to be closed already is not looked at again.
class PathList {
 public:
  void append(std::wstring_view path, bool may_have_separators = true);

  // Room for that many letters, so that a large list is not moved while it grows.
  void reserve(std::size_t letters) { m_text.reserve(letters); }

  const std::wstring& text() const { return m_text; }
  // Takes the text out; the list ends with it.
  std::wstring take() { return std::move(m_text); }

 private:
  std::wstring m_text;
  std::size_t m_closed = 0;  // no doubled separator starts before this index
};

// Whether the list has more than separators and blanks.
bool names_Anything(std::wstring_view list);
