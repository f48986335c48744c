#include "support/selection_state.h"

namespace {

struct {
  SelectionFlags Flags;
  std::vector<std::wstring> SelectedFiles;
} state;  // lives as long as the module

}  // namespace

SelectionFlags& selection_flags() {
  return state.Flags;
}

std::vector<std::wstring>& selected_files() {
  return state.SelectedFiles;
}
