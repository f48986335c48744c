#include "shellext/path_list.h"

#include <algorithm>

#include "support/text.h"

namespace {

constexpr std::wstring_view doubled_separator = L"||";

}  // namespace

void PathList::append(std::wstring_view path, bool may_have_separators) {
  const bool is_whole = m_closed == m_text.size() && !m_text.starts_with(path_separator);
  const bool is_plain = !may_have_separators || path.find(path_separator) == std::wstring_view::npos;
  if (is_whole && is_plain && !path.empty()) {
    if (!m_text.empty())
      m_text += path_separator;
    m_text += path;
    m_closed = m_text.size();
    return;
  }
  std::wstring open = m_text.substr(m_closed);
  m_text.resize(m_closed);
  open.append(1, path_separator).append(path);
  replace_All(open, doubled_separator, {&path_separator, 1});
  m_text += open;
  if (m_text.starts_with(path_separator))
    m_text.erase(0, 1);
  // A pair may still be open (of three in a row one closing leaves two), or become one with the next append.
  const auto pair = m_text.find(doubled_separator, m_closed == 0 ? 0 : m_closed - 1);
  m_closed = pair != std::wstring::npos ? pair : m_text.size() - (m_text.ends_with(path_separator) ? 1 : 0);
}

bool names_Anything(std::wstring_view list) {
  return std::ranges::any_of(list, [](wchar_t letter) { return letter != path_separator && letter != L' '; });
}
