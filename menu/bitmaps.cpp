#include "menu/bitmaps.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "base/apartment.h"
#include "base/module.h"

namespace {

constexpr UINT first_icon_id = 200;
constexpr WORD pixel_bits = 32;
constexpr std::uint8_t opaque = 0xFF;

// Loading takes longer than all that a menu then does with a picture, so it stays loaded.
struct LoadedPicture {
  UINT Id = 0;
  unique_hbitmap Picture;
};

constinit PerApartment<LoadedPicture> loaded;

// What takes longer to get than a picture takes to scale.
struct Display {
  unique_hdc Context;
  bool ShowsTransparency = false;
};

constinit PerApartment<Display> display;

// In the form that it has in the file, which is the same for every display.
unique_hbitmap load_BitmapResource(UINT id) {
  return unique_hbitmap(static_cast<HBITMAP>(
      LoadImageW(get_Module(), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_CREATEDIBSECTION)));
}

unique_hbitmap load_IconResource(UINT id) {
  const unique_hicon icon(
      static_cast<HICON>(LoadImageW(get_Module(), MAKEINTRESOURCEW(id), IMAGE_ICON, 0, 0, LR_DEFAULTCOLOR)));
  ICONINFO parts{};
  if (!icon || !GetIconInfo(icon.get(), &parts))
    return {};
  const unique_hbitmap mask(parts.hbmMask);
  return unique_hbitmap(parts.hbmColor);
}

unique_hbitmap load(UINT id) {
  auto picture = id < first_icon_id ? load_BitmapResource(id) : load_IconResource(id);
  if (!picture)
    picture = load_IconResource(id);
  if (!picture)
    picture = load_BitmapResource(id);
  return picture;
}

// A composed desktop has 32 bits a pixel, and its menus blend pictures that have an alpha channel; others
// copy them. Whoever shows windows on it has the library already.
bool is_DesktopComposed() {
  HMODULE found = nullptr;
  if (!GetModuleHandleExW(0, L"dwmapi.dll", &found))
    return false;
  const unique_hmodule library(found);
  const auto entry = GetProcAddress(found, "DwmIsCompositionEnabled");
  if (entry == nullptr)
    return false;
  BOOL is_composed = FALSE;
  const auto ask = reinterpret_cast<HRESULT(WINAPI*)(BOOL*)>(reinterpret_cast<void (*)()>(entry));
  return SUCCEEDED(ask(&is_composed)) && is_composed;
}

// The context is null when the display gives none.
const Display& open_Display() {
  auto& own = *display;
  if (own.Context)
    return own;
  const unique_hdc screen(CreateICA("DISPLAY", nullptr, nullptr, nullptr));
  if (screen)
    own = {unique_hdc(CreateCompatibleDC(screen.get())), is_DesktopComposed()};
  return own;
}

using Pixel = std::array<std::uint8_t, 4>;  // blue, green, red, alpha: as a bitmap has them in memory

struct Image {
  SIZE Size{};
  std::vector<Pixel> Pixels;  // row by row from the top
};

BITMAPINFO describe_Bitmap(SIZE size) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = size.cx;
  info.bmiHeader.biHeight = -size.cy;  // from the top
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = pixel_bits;
  return info;
}

// Without pixels when they cannot be read.
Image read_Image(HBITMAP bitmap) {
  BITMAP form{};
  const auto context = open_Display().Context.get();
  if (context == nullptr || GetObjectA(bitmap, sizeof form, &form) == 0)
    return {};
  Image image{{form.bmWidth, form.bmHeight}, {}};
  image.Pixels.resize(static_cast<std::size_t>(form.bmWidth) * static_cast<std::size_t>(form.bmHeight));
  auto info = describe_Bitmap(image.Size);
  const auto rows = GetDIBits(context, bitmap, 0, static_cast<UINT>(form.bmHeight), image.Pixels.data(),
                              &info, DIB_RGB_COLORS);
  return rows == form.bmHeight ? image : Image();
}

void make_BackgroundTransparent(Image& image) {
  const auto background = image.Pixels.front();
  for (auto& pixel : image.Pixels)
    pixel = pixel == background ? Pixel() : Pixel{pixel[0], pixel[1], pixel[2], opaque};
}

// Where one row (or column) of pixels is drawn over another one: the length that a pixel of each have in
// common. Either row is `count` times `other_count` long.
LONG common_Length(LONG index, LONG count, LONG other, LONG other_count) {
  return std::min((index + 1) * other_count, (other + 1) * count) -
         std::max(index * other_count, other * count);
}

// What the image has below the pixel of another size, each of its pixels by its share: with premultiplied
// alpha, what is transparent lends an edge none of its colour.
Pixel average(const Image& image, SIZE size, LONG column, LONG row) {
  const auto [width, height] = image.Size;
  std::array<LONG, 4> sums{};
  for (LONG y = row * height / size.cy; y * size.cy < (row + 1) * height; ++y)
    for (LONG x = column * width / size.cx; x * size.cx < (column + 1) * width; ++x) {
      const auto& pixel = image.Pixels[static_cast<std::size_t>(y * width + x)];
      const auto share = common_Length(row, size.cy, y, height) * common_Length(column, size.cx, x, width);
      for (std::size_t part = 0; part < pixel.size(); ++part)
        sums[part] += share * pixel[part];
    }
  const auto whole = width * height;
  Pixel result{};
  std::ranges::transform(sums, result.begin(),
                         [whole](LONG sum) { return static_cast<std::uint8_t>((sum + whole / 2) / whole); });
  return result;
}

Pixel show_On(COLORREF background, Pixel pixel) {
  const std::array behind{GetBValue(background), GetGValue(background), GetRValue(background), opaque};
  const int rest = opaque - pixel.back();
  std::ranges::transform(pixel, behind, pixel.begin(), [rest](int part, int part_behind) {
    return static_cast<std::uint8_t>(part + (part_behind * rest + opaque / 2) / opaque);
  });
  return pixel;
}

// Nothing when the display does not tell.
std::optional<CheckBitmap::Form> present_Form(UINT id) {
  const auto& own = open_Display();
  TEXTMETRICA metrics{};
  if (!own.Context || !GetTextMetricsA(own.Context.get(), &metrics))
    return {};
  CheckBitmap::Form form{id, metrics.tmMaxCharWidth, metrics.tmHeight, {}};
  if (!own.ShowsTransparency)
    form.Background = GetSysColor(COLOR_MENU);
  return form;
}

}  // namespace

HBITMAP load_Picture(UINT id) {
  auto& kept = *loaded;
  if (!kept.Picture || kept.Id != id)
    kept = {id, load(id)};
  return kept.Picture.get();
}

unique_hbitmap scale_CheckBitmap(HBITMAP source, SIZE size, std::optional<COLORREF> background) {
  auto image = read_Image(source);
  if (image.Pixels.empty())
    return {};
  make_BackgroundTransparent(image);
  const auto info = describe_Bitmap(size);
  void* bits = nullptr;
  unique_hbitmap scaled(CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0));
  if (!scaled)
    return {};
  auto* target = static_cast<Pixel*>(bits);
  for (LONG row = 0; row < size.cy; ++row)
    for (LONG column = 0; column < size.cx; ++column, ++target) {
      const auto pixel = average(image, size, column, row);
      *target = background ? show_On(*background, pixel) : pixel;
    }
  return scaled;
}

unique_hbitmap copy_Bitmap(HBITMAP source) {
  return unique_hbitmap(static_cast<HBITMAP>(CopyImage(source, IMAGE_BITMAP, 0, 0, 0)));
}

HBITMAP CheckBitmap::renew(UINT id) {
  const auto form = present_Form(id);
  if (!m_bitmap || !form || form != m_form) {
    m_bitmap.reset();  // it goes before the next is made
    if (form && id != 0)
      m_bitmap = scale_CheckBitmap(load_Picture(id), {form->Width, form->Height}, form->Background);
    m_form = form;
  }
  return m_bitmap.get();
}
