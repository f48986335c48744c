#include "selection/drop_list.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>

#include "base/boundary.h"
#include "base/text.h"
#include "selection/dropped_names.h"

namespace {

// A list of this kind is made for buffers of 500 bytes, whose last one is the terminator.
constexpr std::size_t longest_ansi_name = 499;

DroppedNames read_AnsiNames(std::span<const char> bytes) {
  DroppedNames dropped;
  std::vector<std::size_t> ends;
  for (const auto name : find_Names(std::string_view(bytes.data(), bytes.size()))) {
    const auto text = name.size() > longest_ansi_name ? std::wstring() : from_Ansi(name);
    dropped.Letters.insert(dropped.Letters.end(), text.begin(), text.end());
    ends.push_back(dropped.Letters.size());
  }
  for (std::size_t start = 0; const auto end : ends) {
    dropped.Names.emplace_back(dropped.Letters.data() + start, end - start);
    start = end;
  }
  return dropped;
}

DroppedNames read_WideNames(std::span<const char> bytes) {
  DroppedNames dropped;
  dropped.Letters.resize(bytes.size() / sizeof(wchar_t));
  std::ranges::copy(bytes.first(dropped.Letters.size() * sizeof(wchar_t)),  // they need not be aligned there
                    reinterpret_cast<char*>(dropped.Letters.data()));
  dropped.Names = find_Names(std::wstring_view(dropped.Letters.data(), dropped.Letters.size()));
  return dropped;
}

}  // namespace

DroppedNames read_DropNames(std::span<const char> block) {
  DROPFILES header{};
  if (block.size() < sizeof header)
    return {};
  std::memcpy(&header, block.data(), sizeof header);
  const auto names = block.subspan(std::min<std::size_t>(header.pFiles, block.size()));
  return header.fWide ? read_WideNames(names) : read_AnsiNames(names);
}

DroppedNames read_DropList(HGLOBAL block) {
  const auto size = block == nullptr ? 0 : GlobalSize(block);
  const auto* bytes = size == 0 ? nullptr : static_cast<const char*>(GlobalLock(block));
  if (bytes == nullptr)
    return {};
  const ScopeExit unlock([block] { GlobalUnlock(block); });
  return read_DropNames({bytes, size});
}
