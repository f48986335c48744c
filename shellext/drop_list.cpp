#include "shellext/drop_list.h"

#include <shlobj.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "shellext/dropped_names.h"
#include "support/boundary.h"
#include "support/text.h"

namespace {

// Gives each name the form that `convert` makes of it.
template <typename Letter, typename Conversion>
DroppedNames convert_Each(const std::vector<std::basic_string_view<Letter>>& names, Conversion convert) {
  DroppedNames converted;
  std::vector<std::size_t> ends;
  for (const auto& name : names) {
    const auto text = convert(name);
    converted.Letters.insert(converted.Letters.end(), text.begin(), text.end());
    ends.push_back(converted.Letters.size());
  }
  for (std::size_t start = 0; const auto end : ends) {
    converted.Names.emplace_back(converted.Letters.data() + start, end - start);
    start = end;
  }
  return converted;
}

DroppedNames read_WideNames(std::span<const char> bytes) {
  DroppedNames dropped;
  const auto count = bytes.size() / sizeof(wchar_t);
  if (reinterpret_cast<std::uintptr_t>(bytes.data()) % alignof(wchar_t) == 0) {
    const auto* first = reinterpret_cast<const wchar_t*>(bytes.data());
    dropped.Letters.assign(first, first + count);
  } else {
    dropped.Letters.resize(count);
    std::ranges::copy(bytes.first(count * sizeof(wchar_t)), reinterpret_cast<char*>(dropped.Letters.data()));
  }
  const std::wstring_view letters(dropped.Letters.data(), dropped.Letters.size());
  auto found = find_Names(letters);
  dropped.Names = std::move(found.Names);
  if (found.IsAscii)
    return dropped;
  return convert_Each(dropped.Names, [](std::wstring_view name) { return through_Ansi(std::wstring(name)); });
}

}  // namespace

DroppedNames read_DropNames(std::span<const char> block) {
  DROPFILES header{};
  if (block.size() < sizeof header)
    return {};
  std::memcpy(&header, block.data(), sizeof header);
  const auto names = block.subspan(std::min<std::size_t>(header.pFiles, block.size()));
  return header.fWide
             ? read_WideNames(names)
             : convert_Each(find_Names(std::string_view(names.data(), names.size())).Names, from_Ansi);
}

DroppedNames read_DropList(HGLOBAL block) {
  const auto size = block == nullptr ? 0 : GlobalSize(block);
  const auto* bytes = size == 0 ? nullptr : static_cast<const char*>(GlobalLock(block));
  if (bytes == nullptr)
    return {};
  const ScopeExit unlock([block] { GlobalUnlock(block); });
  return read_DropNames({bytes, size});
}
