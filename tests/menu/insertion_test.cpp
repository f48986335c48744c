#include "menu/insertion.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>

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
  const auto none = before + 1, picture = 1L;  // a device context and the loaded picture are kept
  EXPECT_EQ(insert({0, 3, 250}, 101, 101), none + 6 + picture);
  EXPECT_EQ(insert({0, 3, 250}, 101, 101), none + 6 + picture);
  EXPECT_EQ(insert({0, 3, 250}, 199, 101), none + 3) << "a missing resource leaves no bitmap";
  EXPECT_EQ(insert({0, 3, 250, 5}, 101, 0), none + 7 + picture);
  free_MenuBitmaps();  // frees those that were shown at positions below 100
  EXPECT_EQ(count_GdiObjects(), none + 3 + picture);
  leave_Apartment();
  EXPECT_EQ(count_GdiObjects(), before);
}

// Blue, green, red and premultiplied alpha of each pixel.
std::vector<std::array<std::uint8_t, 4>> pixels_Of(HBITMAP bitmap) {
  const auto bits = bits_Of(bitmap);
  std::vector<std::array<std::uint8_t, 4>> pixels(bits.size() / 4);
  std::memcpy(pixels.data(), bits.data(), pixels.size() * 4);
  return pixels;
}

// Of each of the four parts, what all pixels have on average.
std::array<double, 4> averages_Of(const std::vector<std::array<std::uint8_t, 4>>& pixels) {
  std::array<double, 4> sums{};
  for (const auto& pixel : pixels)
    for (std::size_t part = 0; part < sums.size(); ++part)
      sums[part] += pixel[part] / static_cast<double>(pixels.size());
  return sums;
}

TEST_F(Insertion, ScalesThePictureWithItsTransparency) {
  const auto picture = load_Picture(check_mark_bitmap);
  EXPECT_TRUE(size_Of(picture).cx == 64 && size_Of(picture).cy == 64);
  const auto own_size = pixels_Of(scale_CheckBitmap(picture, {64, 64}, {}).get());
  std::map<std::array<std::uint8_t, 4>, int> colours;
  for (const auto& pixel : own_size)
    ++colours[pixel];
  EXPECT_EQ(colours.size(), 5u) << "the drawing's four colours, and nothing";
  EXPECT_EQ(colours[{}], std::ranges::count(pixels_Of(copy_Bitmap(picture).get()),
                                            std::array<std::uint8_t, 4>{192, 192, 192, 0}));
  const auto expected = averages_Of(own_size);
  for (const SIZE size :
       {SIZE{13, 16}, {18, 20}, {23, 24}, {30, 32}, {45, 48}, {75, 80}, {128, 128}, {1, 1}}) {
    const auto scaled = scale_CheckBitmap(picture, size, {});
    EXPECT_TRUE(size_Of(scaled.get()).cx == size.cx && size_Of(scaled.get()).cy == size.cy);
    const auto pixels = pixels_Of(scaled.get());
    EXPECT_TRUE(std::ranges::all_of(pixels, [](const auto& pixel) {
      return *std::ranges::max_element(pixel) == pixel[3];
    })) << "not premultiplied";
    const auto found = averages_Of(pixels);
    for (std::size_t part = 0; part < found.size(); ++part)
      EXPECT_NEAR(found[part], expected[part], 0.5) << size.cx << part;
    auto shown = pixels_Of(scale_CheckBitmap(picture, size, RGB(10, 100, 250)).get());
    for (std::size_t index = 0; index < shown.size(); ++index) {
      EXPECT_EQ(shown[index][3], 255);
      EXPECT_NEAR(shown[index][2], pixels[index][2] + 10 * (255 - pixels[index][3]) / 255.0, 0.51);
      EXPECT_NEAR(shown[index][0], pixels[index][0] + 250 * (255 - pixels[index][3]) / 255.0, 0.51);
    }
  }
  EXPECT_FALSE(load_Picture(199) || scale_CheckBitmap(nullptr, {16, 16}, {}) || copy_Bitmap(nullptr));
}

HRESULT WINAPI tell_Composed(BOOL* is_composed) {
  *is_composed = TRUE;
  return S_OK;
}

FARPROC WINAPI find_Composition(HMODULE, const char* name) {
  EXPECT_STREQ(name, "DwmIsCompositionEnabled");
  return reinterpret_cast<FARPROC>(reinterpret_cast<void (*)()>(tell_Composed));
}

TEST_F(Insertion, ShowsTransparencyOnAComposedDesktopAndElseTheColourOfMenus) {
  TEXTMETRICW metrics{};
  const unique_hdc display(CreateICW(L"DISPLAY", nullptr, nullptr, nullptr));
  GetTextMetricsW(display.get(), &metrics);
  const int index = COLOR_MENU;
  const COLORREF earlier = GetSysColor(index), colour = RGB(10, 100, 250);
  CheckBitmap check;
  const auto last_pixel = [&] {
    const auto bitmap = check.renew(check_mark_bitmap);
    EXPECT_EQ(bitmap, check.renew(check_mark_bitmap)) << "made again";
    EXPECT_EQ(size_Of(bitmap).cx, metrics.tmMaxCharWidth);
    EXPECT_EQ(size_Of(bitmap).cy, metrics.tmHeight);
    return pixels_Of(bitmap).back();
  };
  using Pixel = std::array<std::uint8_t, 4>;
  EXPECT_EQ(last_pixel(), (Pixel{GetBValue(earlier), GetGValue(earlier), GetRValue(earlier), 255}));
  SetSysColors(1, &index, &colour);
  EXPECT_EQ(last_pixel(), (Pixel{250, 100, 10, 255}));
  const unique_hmodule library(LoadLibraryW(L"dwmapi.dll"));
  EXPECT_TRUE(patch_Import("GetProcAddress", reinterpret_cast<void*>(find_Composition)));
  leave_Apartment();  // a thread asks once
  EXPECT_EQ(last_pixel(), Pixel());
  SetSysColors(1, &index, &earlier);
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
