// The half of the text helpers that asks the system: for its code page, and for the case of its letters.
#include <windows.h>

#include <algorithm>

#include "base/text.h"

namespace {

constexpr wchar_t first_letter_outside_ascii = 0x80;

}  // namespace

bool is_Ascii(std::wstring_view text) {
  return std::ranges::all_of(text, [](wchar_t letter) { return letter < first_letter_outside_ascii; });
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

bool equals_IgnoringCase(std::wstring_view left, std::wstring_view right) {
  return std::ranges::equal(left, right,
                            [](wchar_t a, wchar_t b) { return a == b || to_Lower(a) == to_Lower(b); });
}

std::string to_Ansi(std::wstring_view text) {
  if (is_Ascii(text))
    return std::string(text.begin(), text.end());
  const DWORD exactly = GetACP() == CP_UTF8 ? 0 : WC_NO_BEST_FIT_CHARS;  // UTF-8 takes no such flag
  const int size = static_cast<int>(text.size());
  const auto convert = [&](char* bytes, std::size_t room) {
    return static_cast<std::size_t>(WideCharToMultiByte(CP_ACP, exactly, text.data(), size, bytes,
                                                        static_cast<int>(room), nullptr, nullptr));
  };
  std::string bytes(convert(nullptr, 0), '\0');
  convert(bytes.data(), bytes.size());
  return bytes;
}

std::wstring from_Ansi(std::string_view text) {
  const int size = static_cast<int>(text.size());
  if (size == 0)
    return {};
  std::wstring letters(
      static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text.data(), size, nullptr, 0)), L'\0');
  const auto room = static_cast<int>(letters.size());
  return MultiByteToWideChar(CP_ACP, 0, text.data(), size, letters.data(), room) == room ? letters
                                                                                         : std::wstring();
}

bool is_InCodePage(std::wstring_view text) {
  return is_Ascii(text) || from_Ansi(to_Ansi(text)) == text;
}
