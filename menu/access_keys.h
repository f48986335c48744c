// The letters that pick the items from the keyboard: in the text of a menu, the one behind a single "&". No
// state.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <string_view>

struct InsertedItem {
  UINT Position;
  UINT Command;
  std::wstring Caption;
};

// The letter that a caption marks itself, in lower case; 0 when it marks none.
wchar_t access_Key(std::wstring_view caption);

// The caption with a letter or digit marked that is not among those taken, and now is: the first of a word
// where one is left. A caption that marks one itself stays as it is; in another one, ampersands are text, and
// shown.
std::wstring with_AccessKey(std::wstring_view caption, std::wstring& taken);

// Marks a letter in each of our items. Letters that the menu has already, the shell's too, are left to them:
// where two items share one, it only moves between them.
void give_AccessKeys(HMENU menu, std::span<const InsertedItem> own);
