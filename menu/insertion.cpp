#include "menu/insertion.h"

#include <algorithm>
#include <vector>

#include "base/apartment.h"
#include "base/process_values.h"
#include "base/text.h"
#include "menu/bitmaps.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "suite/value_cache.h"

namespace {

constexpr UINT text_item = MF_BYPOSITION | MF_USECHECKBITMAPS;
constexpr UINT picture_item = MF_BYPOSITION | MF_USECHECKBITMAPS | MF_BITMAP;
constexpr const wchar_t* menu_mode_key = L"MenuMode";
constexpr long highest_mode = 3;
constexpr UINT freed_positions = 100;

struct Bitmaps {
  UINT Position;
  unique_hbitmap Item;
  CheckBitmap Check;
};

struct MenuState {
  std::wstring MenuMode;
  std::vector<Bitmaps> Positions;
};

constinit PerApartment<MenuState> menu_state;

Bitmaps& bitmaps_At(UINT position) {
  auto& all = menu_state->Positions;
  const auto found = std::ranges::find(all, position, &Bitmaps::Position);
  if (found != all.end())
    return *found;
  all.push_back({position, {}, {}});
  return all.back();
}

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

std::wstring number_Text(std::wstring_view text) {
  const auto number = to_Number(text);
  return number ? decimal(*number) : std::wstring();
}

std::wstring read_ConfiguredMode() {
  auto mode = std::wstring(trim(regread_Text(menu_mode.Path)));
  if (mode.empty()) {
    regwrite_dw(menu_mode.Path, 0);
    return L"0";
  }
  set_PermanentCache(menu_mode_key, mode);
  return mode;
}

std::wstring find_MenuMode() {
  auto mode = number_Text(menu_state->MenuMode);
  if (mode.empty())
    mode = get_PermanentCache(menu_mode_key);
  if (mode.empty())
    mode = read_ConfiguredMode();
  return mode;
}

}  // namespace

int get_MenuMode() {
  auto& known = menu_state->MenuMode;
  // The usual case: a mode that was found before, asked for some ten times an item.
  if (known.size() == 1 && known[0] >= L'0' && known[0] <= L'0' + highest_mode)
    return known[0] - L'0';
  const auto number = to_Number(find_MenuMode()).value_or(0);
  const int mode = number < 0 || number > highest_mode ? 0 : static_cast<int>(number);
  known = decimal(mode);
  return mode;
}

void insert_MenuItem(UINT position, UINT command, UINT check_bitmap_id, UINT item_bitmap_id, HMENU hmenu,
                     const std::wstring& caption) {
  if (hmenu == nullptr)
    return;
  assert_Unlocked();
  // The ids alone decide, so that the configured mode is never asked for during a right-click.
  menu_state->MenuMode = mode_Of(check_bitmap_id, item_bitmap_id);
  if (shows_Text())
    InsertMenuW(hmenu, position, text_item, command, caption.c_str());
  if (shows_Picture()) {
    auto& bitmap = bitmaps_At(position).Item;
    bitmap.reset();  // it goes before the next is made
    bitmap = copy_Bitmap(item_bitmap_id != 0 ? load_Picture(item_bitmap_id) : nullptr);
    InsertMenuW(hmenu, position, picture_item, command, reinterpret_cast<LPCWSTR>(bitmap.get()));
  }
  if (shows_CheckBitmap()) {
    const auto bitmap = bitmaps_At(position).Check.renew(check_bitmap_id);
    SetMenuItemBitmaps(hmenu, position, picture_item, bitmap, bitmap);
  }
}

void free_MenuBitmaps() {
  std::erase_if(menu_state->Positions,
                [](const auto& entry) { return entry.Position < freed_positions && entry.Item != nullptr; });
}
