// Classifies a new selection once, so that composing the menu only reads flags. No state.
#pragma once

#include <span>

#include "selection/selection.h"

// What the entries are. Asks the file system about folders, images and drives, and takes time in proportion
// to the number of entries.
SelectionFlags analyze_Selection(std::span<const FileEntry> files);
