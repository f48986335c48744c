// Reads the selection that the shell hands over as a drop list. No state.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

// The names of a drop list (CF_HDROP) in its order, each as a 500-byte `DragQueryFileA` would give it: in the
// code page and cut to 499 characters. An empty first name counts as an item, as the shell counts it. The
// list is read in one pass and never beyond its block: a name that the block cuts off is left out, and a
// block that is too small, cannot be locked or starts its names behind its end gives no names.
std::vector<std::wstring> read_DropList(HGLOBAL block);

// The same for the bytes of a block.
std::vector<std::wstring> read_DropNames(std::span<const char> block);
