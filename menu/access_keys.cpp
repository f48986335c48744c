#include "menu/access_keys.h"

#include <algorithm>

#include "base/text.h"

namespace {

constexpr wchar_t mark = L'&';

// From here on, Unicode has scripts that menus do without access keys in, or with Latin letters.
constexpr wchar_t behind_Alphabets = 0x0590;

bool is_Key(wchar_t letter) {
  return letter < behind_Alphabets && IsCharAlphaNumericW(letter);
}

std::size_t find_FreeLetter(std::wstring_view text, std::wstring_view taken) {
  for (const bool is_for_initials : {true, false})
    for (std::size_t index = 0; index < text.size(); ++index)
      if (is_Key(text[index]) && taken.find(to_Lower(text[index])) == std::wstring_view::npos &&
          !(is_for_initials && index > 0 && is_Key(text[index - 1])))
        return index;
  return std::wstring_view::npos;
}

// Longer ones are cut, which may only hide a mark.
std::wstring_view read_Text(HMENU menu, UINT position, std::wstring& buffer) {
  const auto length =
      GetMenuStringW(menu, position, buffer.data(), static_cast<int>(buffer.size()), MF_BYPOSITION);
  return std::wstring_view(buffer).substr(0, static_cast<std::size_t>(std::max(length, 0)));
}

}  // namespace

wchar_t access_Key(std::wstring_view caption) {
  for (auto at = caption.find(mark); at < caption.size() - 1; at = caption.find(mark, at + 2))
    if (const auto letter = caption[at + 1]; letter != mark && letter != L' ')
      return to_Lower(letter);
  return L'\0';
}

void mark_AccessKey(std::wstring& caption, std::wstring& taken) {
  if (access_Key(caption) != L'\0')
    return;
  replace_All(caption, L"&&", L"&");
  replace_All(caption, L"&", L"&&");
  if (const auto at = find_FreeLetter(caption, taken); at != std::wstring::npos) {
    taken += to_Lower(caption[at]);
    caption.insert(at, 1, mark);
  }
}

std::wstring access_Keys(HMENU menu) {
  constexpr std::size_t longest_text = 128;
  std::wstring buffer(longest_text, L'\0');
  std::wstring keys;
  const auto count = GetMenuItemCount(menu);
  for (int position = 0; position < count; ++position)
    if (const auto key = access_Key(read_Text(menu, static_cast<UINT>(position), buffer)); key != L'\0')
      keys += key;
  return keys;
}
