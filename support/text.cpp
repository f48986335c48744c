#include "support/text.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cwchar>
#include <utility>

namespace {

constexpr wchar_t first_letter_outside_ascii = 0x80;

bool is_Ascii(std::wstring_view text) {
  return std::ranges::all_of(text, [](wchar_t letter) { return letter < first_letter_outside_ascii; });
}

}  // namespace

std::wstring_view trim(std::wstring_view text) {
  const auto first = text.find_first_not_of(L' ');
  if (first == std::wstring_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(L' ') - first + 1);
}

wchar_t to_Lower(wchar_t letter) {
  if (letter < first_letter_outside_ascii)
    return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter + (L'a' - L'A')) : letter;
  CharLowerBuffW(&letter, 1);
  return letter;
}

std::wstring to_Lower(std::wstring_view text) {
  std::wstring lower(text);
  std::ranges::transform(lower, lower.begin(), [](wchar_t letter) { return to_Lower(letter); });
  return lower;
}

void replace_All(std::wstring& text, std::wstring_view from, std::wstring_view to) {
  for (auto at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

bool contains(std::wstring_view text, std::wstring_view part) {
  return text.find(part) != std::wstring_view::npos;
}

bool equals_IgnoringCase(std::wstring_view left, std::wstring_view right) {
  return std::ranges::equal(left, right, [](wchar_t a, wchar_t b) { return to_Lower(a) == to_Lower(b); });
}

std::vector<std::wstring> split(std::wstring_view text, wchar_t separator) {
  std::vector<std::wstring> pieces;
  pieces.reserve(static_cast<std::size_t>(std::ranges::count(text, separator)) + 1);
  for (std::size_t start = 0;;) {
    const auto end = text.find(separator, start);
    pieces.emplace_back(text.substr(start, end - start));
    if (end == std::wstring_view::npos)
      return pieces;
    start = end + 1;
  }
}

std::wstring_view after_Last(std::wstring_view text, wchar_t mark) {
  return text.substr(text.rfind(mark) + 1);
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

std::string to_Ansi(std::wstring_view text) {
  if (is_Ascii(text))
    return std::string(text.begin(), text.end());
  const int size = static_cast<int>(text.size());
  std::string bytes(static_cast<std::size_t>(
                        WideCharToMultiByte(CP_ACP, 0, text.data(), size, nullptr, 0, nullptr, nullptr)),
                    '\0');
  WideCharToMultiByte(CP_ACP, 0, text.data(), size, bytes.data(), static_cast<int>(bytes.size()), nullptr,
                      nullptr);
  return bytes;
}

std::wstring from_Ansi(std::string_view text) {
  const int size = static_cast<int>(text.size());
  if (size == 0)
    return {};
  std::wstring letters(
      static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), size, letters.data(), static_cast<int>(letters.size()));
  return letters;
}

std::wstring through_Ansi(std::wstring text) {
  return is_Ascii(text) ? std::move(text) : from_Ansi(to_Ansi(text));
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
  if (digits.empty() || *end != L'\0' || errno == ERANGE)
    return {};
  return number;
}
