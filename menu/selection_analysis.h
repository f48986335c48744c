// Classifies a new selection once, so that composing the menu only reads flags. No state of its own.
#pragma once

#include <span>

#include "support/selection_state.h"

// Sets the selection flags for the entries and for `selected_files()`, which hold the same selection. A
// folder selection of one drive gets a missing backslash in `selected_files()`. The flags must have been
// reset before. Takes time in proportion to the number of entries.
void analyze_Selection(std::span<const FileEntry> files);
