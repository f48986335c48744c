// The letters that pick the items from the keyboard: in the text of a menu, the one behind a single "&". No
// state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

// The letter that a caption marks itself, in lower case; 0 when it marks none.
wchar_t access_Key(std::wstring_view caption);

// Marks a letter or digit of the caption that is not among those taken, and now is: the first of a word where
// one is left. A caption that marks one itself stays as it is; in another one, ampersands are text, and
// shown.
void mark_AccessKey(std::wstring& caption, std::wstring& taken);

// The letters that the items of a menu have already, the shell's too: where two items share one, it only
// moves between them.
std::wstring access_Keys(HMENU menu);
