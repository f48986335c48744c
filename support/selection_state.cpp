#include "support/selection_state.h"

#include "support/text.h"

namespace {

struct {
  SelectionFlags Flags;
  SelectedFiles Files;
} selection_state;  // lives as long as the module

}  // namespace

SelectionFlags& selection_flags() {
  return selection_state.Flags;
}

SelectedFiles& selected_files() {
  return selection_state.Files;
}

void SelectedFiles::assign(std::wstring_view list, wchar_t separator) {
  m_paths.clear();  // they end with the text that they are parts of, whatever fails here
  m_list = list;
  m_paths = split_Views(m_list, separator);
}

void SelectedFiles::replace_First(std::wstring_view path) {
  std::wstring first(path);
  m_first.swap(first);
  m_paths.front() = m_first;
}
