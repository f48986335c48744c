#include "menu/insertion.h"

#include "base/apartment.h"
#include "base/text.h"
#include "menu/bitmaps.h"
#include "suite/value_cache.h"
#include "tests/components.h"
#include "tests/explorer.h"
#include "tests/holdings.h"

namespace {

class Insertion : public Machine {};

SIZE size_Of(HBITMAP bitmap) {
  BITMAP description{};
  GetObjectW(bitmap, sizeof description, &description);
  return {description.bmWidth, description.bmHeight};
}

std::string bits_Of(HBITMAP bitmap) {
  std::string bits(static_cast<std::size_t>(GetBitmapBits(bitmap, 0, nullptr)), '\0');
  GetBitmapBits(bitmap, static_cast<LONG>(bits.size()), bits.data());
  return bits;
}

long count_GdiObjects() {
  return count_Holdings().Counts[Holdings::GdiObjects];
}

TEST_F(Insertion, ShowsTextOrPictureWithOrWithoutACheckBitmap) {
  const std::tuple<UINT, UINT, int, const wchar_t*> rows[] = {{0, 0, 0, L"70 Tr\u00E4ger \u6F22"},
                                                              {101, 0, 1, L"70 Tr\u00E4ger \u6F22 *"},
                                                              {0, 101, 2, L"70 "},
                                                              {101, 101, 3, L"70  *"},
                                                              {199, 0, 1, L"70 Tr\u00E4ger \u6F22"}};
  const Menu menu;
  for (const auto& [check, picture, mode, line] : rows) {
    insert_MenuItem(0, 70, check, picture, menu.Handle, L"Tr\u00E4ger \u6F22");
    EXPECT_EQ(get_MenuMode(), mode);
    EXPECT_EQ(menu.lines().front(), line);
    EXPECT_EQ(menu.item(0).hbmpChecked, menu.item(0).hbmpUnchecked);
  }
  insert_MenuItem(1, 71, 101, 0, nullptr, L"nowhere");
  EXPECT_EQ(GetMenuItemCount(menu.Handle), 5);
}

TEST_F(Insertion, KeepsTheBitmapsOfEachPosition) {
  const auto insert = [](std::initializer_list<UINT> positions, UINT check_bitmap, UINT picture) {
    const Menu menu;
    for (const UINT position : positions)
      insert_MenuItem(position, 1, check_bitmap, picture, menu.Handle, L"");
    return count_GdiObjects();
  };
  const auto before = count_GdiObjects();
  const auto none = before + 2, picture = 1L;  // two device contexts and the loaded picture are kept
  EXPECT_EQ(insert({0, 3, 250}, 101, 101), none + 6 + picture);
  EXPECT_EQ(insert({0, 3, 250}, 101, 101), none + 6 + picture);
  EXPECT_EQ(insert({0, 3, 250}, 199, 101), none + 3) << "a missing resource leaves no bitmap";
  EXPECT_EQ(insert({0, 3, 250, 5}, 101, 0), none + 7 + picture);
  free_MenuBitmaps();  // frees those that were shown at positions below 100
  EXPECT_EQ(count_GdiObjects(), none + 3 + picture);
  leave_Apartment();
  EXPECT_EQ(count_GdiObjects(), before);
}

TEST_F(Insertion, ScalesThePictureToACharacterCell) {
  const auto picture = load_Picture(check_mark_bitmap);
  EXPECT_TRUE(size_Of(picture).cx == 64 && size_Of(picture).cy == 64);
  TEXTMETRICW metrics{};
  const unique_hdc display(CreateICW(L"DISPLAY", nullptr, nullptr, nullptr));
  GetTextMetricsW(display.get(), &metrics);
  const auto scaled = scale_CheckBitmap(picture);
  EXPECT_EQ(size_Of(scaled.get()).cx, metrics.tmMaxCharWidth);
  EXPECT_EQ(size_Of(scaled.get()).cy, metrics.tmHeight);
  EXPECT_NE(bits_Of(scaled.get()).find_first_not_of('\0'), std::string::npos);
  const unique_hbitmap display_bitmap(
      static_cast<HBITMAP>(LoadImageW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(check_mark_bitmap),
                                      IMAGE_BITMAP, 0, 0, LR_LOADMAP3DCOLORS)));
  EXPECT_TRUE(bits_Of(copy_Bitmap(picture).get()) == bits_Of(display_bitmap.get()));
  EXPECT_FALSE(load_Picture(199) || scale_CheckBitmap(nullptr) || copy_Bitmap(nullptr));
}

class MenuMode : public Machine, public testing::WithParamInterface<const wchar_t*> {};

// Each row: the shared value, the registry's, the mode, and both values afterwards.
INSTANTIATE_TEST_SUITE_P(Sources, MenuMode,
                         testing::Values(L"||0||dword:0", L"2|1|2|2|1", L"| 3 |3|3| 3 ", L"|4|0|4|4",
                                         L"|-1|0|-1|-1", L"word|1|0|word|1"));

TEST_P(MenuMode, IsSettledFromTheSharedValueThenTheRegistry) {
  const auto row = split(GetParam(), L'|');
  ValueStore store;
  store.Values[L"MenuMode"] = row[0];
  set_Value(norvak + L"MenuMode", row[1]);
  EXPECT_EQ(std::to_wstring(get_MenuMode()), row[2]);
  EXPECT_EQ(store.Values[L"MenuMode"], row[3]);
  EXPECT_EQ(value_At(norvak + L"MenuMode"), row[4]);
  get_PermanentCache(L"another key");
  store.Values[L"MenuMode"] = L"1";
  EXPECT_EQ(std::to_wstring(get_MenuMode()), row[2]);
}

}  // namespace
