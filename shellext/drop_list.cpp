#include "shellext/drop_list.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "shellext/dropped_names.h"
#include "support/boundary.h"
#include "support/text.h"

std::vector<std::wstring> read_DropNames(std::span<const char> block) {
  DROPFILES header{};
  if (block.size() < sizeof header)
    return {};
  std::memcpy(&header, block.data(), sizeof header);
  const auto names = block.subspan(std::min<std::size_t>(header.pFiles, block.size()));
  return header.fWide ? take_Names<wchar_t>(names, through_Ansi) : take_Names<char>(names, from_Ansi);
}

std::vector<std::wstring> read_DropList(HGLOBAL block) {
  const auto size = block == nullptr ? 0 : GlobalSize(block);
  const auto* bytes = size == 0 ? nullptr : static_cast<const char*>(GlobalLock(block));
  if (bytes == nullptr)
    return {};
  const ScopeExit unlock([block] { GlobalUnlock(block); });
  return read_DropNames({bytes, size});
}
