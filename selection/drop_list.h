// Reads the selection that the shell hands over as a drop list. No state.
#pragma once

#include <windows.h>

#include <span>
#include <string_view>
#include <vector>

// The names as parts of one text, which may be moved, but not copied.
struct DroppedNames {
  DroppedNames() = default;
  ~DroppedNames() = default;
  DroppedNames(DroppedNames&&) = default;
  DroppedNames& operator=(DroppedNames&&) = default;
  DroppedNames(const DroppedNames&) = delete;
  DroppedNames& operator=(const DroppedNames&) = delete;

  std::vector<wchar_t> Letters;
  std::vector<std::wstring_view> Names;
};

// The names of a drop list (CF_HDROP) in its order, as the file system has them. An empty first name counts
// as an item, as the shell counts it. A code-page list may cut names that are longer than 499 bytes, so these
// are empty: what is left of one is the name of another file. The list is read in one pass and never beyond
// its block: a name that the block cuts off is left out, and a block that is too small, cannot be locked or
// starts its names behind its end gives no names.
DroppedNames read_DropList(HGLOBAL block);

// The same for the bytes of a block.
DroppedNames read_DropNames(std::span<const char> block);
