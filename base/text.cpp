// The half of the text helpers that needs nothing of the platform; the other is base/system_text.cpp.
#include "base/text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cwchar>
#include <utility>

std::wstring_view trim(std::wstring_view text) {
  const auto first = text.find_first_not_of(L' ');
  if (first == std::wstring_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

void replace_All(std::wstring& text, std::wstring_view from, std::wstring_view to) {
  for (auto at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

bool contains(std::wstring_view text, std::wstring_view part) {
  return text.find(part) != std::wstring_view::npos;
}

std::vector<std::wstring> split(std::wstring_view text, wchar_t separator) {
  std::vector<std::wstring> pieces;
  for (std::size_t start = 0;;) {
    const auto end = text.find(separator, start);
    pieces.emplace_back(text.substr(start, end - start));
    if (end == std::wstring_view::npos)
      return pieces;
    start = end + 1;
  }
}

std::wstring join(const std::vector<std::wstring>& pieces, std::wstring_view separator) {
  std::wstring joined;
  for (const auto& piece : pieces)
    joined.append(joined.empty() ? std::wstring_view() : separator).append(piece);
  return joined;
}

std::wstring_view after_Last(std::wstring_view text, wchar_t mark) {
  return text.substr(text.rfind(mark) + 1);
}

std::wstring_view through_Last(std::wstring_view text, wchar_t mark) {
  return text.substr(0, text.rfind(mark) + 1);
}

std::wstring with_Backslash(std::wstring_view folder) {
  std::wstring result(folder);
  if (!result.empty() && !result.ends_with(L'\\'))
    result += L'\\';
  return result;
}

std::wstring quoted(std::wstring_view text) {
  std::wstring result(1, L'"');
  result += text;
  result += L'"';
  return result;
}

std::wstring decimal(long long number) {
  std::array<char, 20> digits;
  return std::wstring(digits.begin(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

std::optional<long> to_Number(std::wstring_view text) {
  const std::wstring digits(trim(text));
  wchar_t* end = nullptr;
  errno = 0;
  const long number = std::wcstol(digits.c_str(), &end, 10);
  // Neither may it skip tabs and line breaks at the front, nor take the digits of other scripts.
  const bool is_whole = !digits.empty() && digits.find_first_not_of(L"+-0123456789") == std::wstring::npos &&
                        end == digits.c_str() + digits.size();
  if (!is_whole || errno == ERANGE || !std::in_range<std::int32_t>(number))
    return {};
  return number;
}
