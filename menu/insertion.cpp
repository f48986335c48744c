#include "menu/insertion.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "menu/bitmaps.h"
#include "support/boundary.h"
#include "support/component_lifetime.h"
#include "support/registry.h"
#include "support/settings.h"
#include "support/text.h"
#include "support/value_cache.h"

namespace {

constexpr UINT text_item = MF_BYPOSITION | MF_USECHECKBITMAPS;
constexpr UINT picture_item = MF_BYPOSITION | MF_USECHECKBITMAPS | MF_BITMAP;
constexpr const wchar_t* menu_mode_key = L"MenuMode";
constexpr long highest_mode = 3;

using BitmapTable = std::vector<std::pair<UINT, HBITMAP>>;  // by menu position; the table owns the bitmaps

struct {
  std::wstring MenuMode;
  BitmapTable ItemBitmaps;
  BitmapTable CheckBitmaps;
} state;  // lives as long as the module

bool shows_Text() {
  return get_MenuMode() == 0 || get_MenuMode() == 1;
}

bool shows_Picture() {
  return get_MenuMode() == 2 || get_MenuMode() == 3;
}

bool shows_CheckBitmap() {
  return get_MenuMode() == 1 || get_MenuMode() == 3;
}

const wchar_t* mode_Of(UINT check_bitmap_id, UINT item_bitmap_id) {
  if (item_bitmap_id != 0)
    return check_bitmap_id != 0 ? L"3" : L"2";
  return check_bitmap_id != 0 ? L"1" : L"0";
}

void release_AllBitmaps() {
  for (auto* table : {&state.ItemBitmaps, &state.CheckBitmaps}) {
    for (const auto& [position, bitmap] : *table)
      DeleteObject(bitmap);
    table->clear();
  }
}

// The bitmap at the position; null where none was made yet.
HBITMAP& bitmap_At(BitmapTable& table, UINT position) {
  const auto found = std::ranges::find(table, position, &BitmapTable::value_type::first);
  return found != table.end() ? found->second : table.emplace_back(position, nullptr).second;
}

// Makes the position's bitmap anew from the resource; null when it could not be made.
HBITMAP renew_Bitmap(BitmapTable& table, UINT position, UINT id, unique_hbitmap (*make_Copy)(HBITMAP)) {
  release_Later(KeptUntil::ModuleUnloads, release_AllBitmaps);
  auto& entry = bitmap_At(table, position);
  if (entry != nullptr)
    DeleteObject(std::exchange(entry, nullptr));
  const auto picture = id != 0 ? load_Picture(id) : nullptr;
  entry = make_Copy(picture).release();
  return entry;
}

std::wstring number_Text(std::wstring_view text) {
  const auto number = to_Number(text);
  return number ? decimal(*number) : std::wstring();
}

std::wstring read_ConfiguredMode() {
  auto mode = std::wstring(trim(regread_Text(menu_mode.Path)));
  if (mode.empty()) {
    std::wstring path(menu_mode.Path);
    regwrite_dw(path, 0);
    return L"0";
  }
  set_PermanentCache(menu_mode_key, mode);
  return mode;
}

std::wstring find_MenuMode() {
  auto mode = number_Text(state.MenuMode);
  if (mode.empty())
    mode = get_PermanentCache(menu_mode_key);
  if (mode.empty())
    mode = read_ConfiguredMode();
  return mode;
}

}  // namespace

int get_MenuMode() {
  // The usual case: a mode that was found before, asked for some ten times an item.
  if (state.MenuMode.size() == 1 && state.MenuMode[0] >= L'0' && state.MenuMode[0] <= L'0' + highest_mode)
    return state.MenuMode[0] - L'0';
  const auto number = to_Number(find_MenuMode()).value_or(0);
  const int mode = number < 0 || number > highest_mode ? 0 : static_cast<int>(number);
  state.MenuMode = decimal(mode);
  return mode;
}

void insert_MenuItem(UINT position, UINT command, UINT check_bitmap_id, UINT item_bitmap_id, HMENU hmenu,
                     const std::wstring& caption) {
  if (hmenu == nullptr)
    return;
  // The ids alone decide, so that the configured mode is never asked for on the way of a right-click.
  state.MenuMode = mode_Of(check_bitmap_id, item_bitmap_id);
  if (shows_Text())
    InsertMenuA(hmenu, position, text_item, command, to_Ansi(caption).c_str());
  if (shows_Picture()) {
    const auto bitmap = renew_Bitmap(state.ItemBitmaps, position, item_bitmap_id, copy_Bitmap);
    InsertMenuA(hmenu, position, picture_item, command, reinterpret_cast<LPCSTR>(bitmap));
  }
  if (shows_CheckBitmap()) {
    const auto bitmap = renew_Bitmap(state.CheckBitmaps, position, check_bitmap_id, scale_CheckBitmap);
    SetMenuItemBitmaps(hmenu, position, picture_item, bitmap, bitmap);
  }
}

// The entries keep their values: none of the items shows a picture, so nothing is deleted twice.
void free_MenuBitmaps() {
  constexpr UINT freed_positions = 100;
  for (const auto& [position, bitmap] : state.ItemBitmaps) {
    if (position >= freed_positions || bitmap == nullptr)
      continue;
    DeleteObject(bitmap);
    const auto check = std::ranges::find(state.CheckBitmaps, position, &BitmapTable::value_type::first);
    if (check != state.CheckBitmaps.end())
      DeleteObject(check->second);
  }
}
