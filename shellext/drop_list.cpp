#include "shellext/drop_list.h"

#include <shlobj.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <utility>

#include "support/boundary.h"
#include "support/text.h"

namespace {

constexpr std::size_t longest_name = 499;

// The text up to the next terminator, which `bytes` is moved behind; nothing when the block has no more.
template <typename Letter>
std::optional<std::basic_string<Letter>> take_Name(std::span<const char>& bytes) {
  // The names may start at an odd address.
  const auto letter_at = [&bytes](std::size_t index) {
    Letter letter;
    std::memcpy(&letter, bytes.data() + index * sizeof letter, sizeof letter);
    return letter;
  };
  const std::size_t available = bytes.size() / sizeof(Letter);
  std::size_t length = 0;
  while (length < available && letter_at(length) != Letter{})
    ++length;
  if (length == available)
    return {};
  std::basic_string<Letter> name(std::min(length, longest_name), Letter{});
  std::memcpy(name.data(), bytes.data(), name.size() * sizeof(Letter));
  bytes = bytes.subspan((length + 1) * sizeof(Letter));
  return name;
}

std::wstring to_Path(std::string&& name) {
  return from_Ansi(name);
}

std::wstring to_Path(std::wstring&& name) {
  return through_Ansi(std::move(name));
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
