// Puts one item into the shell's menu, as text or as a picture, with or without a bitmap in the place of the
// check mark. Each thread keeps the menu mode, and the bitmaps of each menu position, which the shell's menu
// still shows after we have returned.
#pragma once

#include <windows.h>

#include <string>

// Inserts an item at the position; a bitmap id of 0 means none. A menu of 0 is left alone, and whatever part
// of an item cannot be made is left out.
void insert_MenuItem(UINT position, UINT command, UINT check_bitmap_id, UINT item_bitmap_id, HMENU hmenu,
                     const std::wstring& caption);

// The menu mode: 0 text, 1 text with bitmap, 2 picture, 3 picture with bitmap. Kept once it is known; else
// the shared value "MenuMode", else "HKLM\Software\Norvak\MenuMode", where a missing value is written as 0.
int get_MenuMode();

// Deletes the bitmaps of the first 100 positions, where they show a picture.
void free_MenuBitmaps();
