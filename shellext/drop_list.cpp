#include "shellext/drop_list.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "support/boundary.h"
#include "support/text.h"

namespace {

constexpr std::size_t longest_name = 499;

// The text up to the next terminator, which `bytes` is moved behind; nothing when the block has no more.
template <typename Letter>
std::optional<std::basic_string<Letter>> take_Name(std::span<const char>& bytes) {
  std::basic_string<Letter> name;
  while (bytes.size() >= sizeof(Letter)) {
    Letter letter;
    // The names may start at an odd address.
    std::memcpy(&letter, bytes.data(), sizeof letter);
    bytes = bytes.subspan(sizeof letter);
    if (letter == Letter{})
      return name;
    if (name.size() < longest_name)
      name += letter;
  }
  return {};
}

std::wstring to_Path(std::string&& name) {
  return from_Ansi(name);
}

std::wstring to_Path(std::wstring&& name) {
  return through_Ansi(name);
}

template <typename Letter>
std::vector<std::wstring> read_Names(std::span<const char> bytes) {
  std::vector<std::wstring> names;
  for (auto name = take_Name<Letter>(bytes); name && (!name->empty() || names.empty());
       name = take_Name<Letter>(bytes))
    names.push_back(to_Path(std::move(*name)));
  return names;
}

}  // namespace

std::vector<std::wstring> read_DropList(HGLOBAL block) {
  const auto size = block == nullptr ? 0 : GlobalSize(block);
  if (size < sizeof(DROPFILES))
    return {};
  const auto* bytes = static_cast<const char*>(GlobalLock(block));
  if (bytes == nullptr)
    return {};
  const ScopeExit unlock([block] { GlobalUnlock(block); });
  DROPFILES header{};
  std::memcpy(&header, bytes, sizeof header);
  const auto names = std::span(bytes, size).subspan(std::min<std::size_t>(header.pFiles, size));
  return header.fWide ? read_Names<wchar_t>(names) : read_Names<char>(names);
}
