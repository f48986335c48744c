#include "files/file_names.h"

#include <windows.h>

#include <algorithm>
#include <utility>

#include "base/process_values.h"
#include "base/text.h"

namespace {

constexpr std::wstring_view exact_prefix = LR"(\\?\)";
constexpr std::wstring_view exact_share_prefix = LR"(\\?\UNC\)";
constexpr std::wstring_view share_prefix = LR"(\\)";
constexpr std::wstring_view device_prefix = LR"(\\.\)";

bool is_Drive(std::wstring_view path) {
  return path.size() == 2 && path[1] == L':';
}

// The platform takes the path as it stands.
bool is_TakenAsItIs(const std::wstring& path) {
  std::wstring full(path.size() + 1, L'\0');  // what it makes of the path is compared only where that fits
  const auto room = static_cast<DWORD>(full.size());
  return path.size() < MAX_PATH &&
         GetFullPathNameW(path.c_str(), room, full.data(), nullptr) == path.size() && full.starts_with(path);
}

bool has_OnlyNames(std::wstring_view path) {
  const auto parts = split(path, L'\\');
  return path.find(L'/') == std::wstring_view::npos &&
         std::ranges::none_of(parts, [](const auto& part) { return part == L"." || part == L".."; });
}

// Behind "\\?\" nothing is resolved any more.
std::wstring prefixed(std::wstring_view path) {
  const bool is_share = path.starts_with(share_prefix);
  if (is_share)
    path.remove_prefix(share_prefix.size());
  return std::wstring(is_share ? exact_share_prefix : exact_prefix).append(path);
}

std::wstring without_Prefix(std::wstring path) {
  if (path.starts_with(exact_share_prefix))
    return path.replace(0, exact_share_prefix.size(), share_prefix);
  return path.starts_with(exact_prefix) ? path.substr(exact_prefix.size()) : path;
}

}  // namespace

bool is_FullPath(std::wstring_view path) {
  return path.find(LR"(:\)") == 1 || path.find(L":/") == 1 || path.starts_with(share_prefix);
}

std::wstring exact_Path(std::wstring_view path) {
  std::wstring exact(path);
  if (is_Drive(path))
    return exact + L'\\';
  if (!is_FullPath(path) || path.starts_with(device_prefix))
    return {};
  return path.starts_with(exact_prefix) || is_TakenAsItIs(exact) || !has_OnlyNames(path) ? exact
                                                                                         : prefixed(path);
}

std::wstring argument_Path(std::wstring_view path) {
  auto exact = exact_Path(path);
  if (exact == path && is_InCodePage(path))
    return exact;
  auto shorter = without_Prefix(short_Path(path));
  return !shorter.empty() && is_InCodePage(shorter) && is_TakenAsItIs(shorter) ? shorter : exact;
}

std::wstring short_Path(std::wstring_view path) {
  assert_Unlocked();
  const auto exact = exact_Path(path);
  return exact.empty() ? exact : fetch_Path([&exact](wchar_t* text, DWORD room) {
    return GetShortPathNameW(exact.c_str(), text, room);
  });
}
