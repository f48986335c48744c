#include "menu/bitmaps.h"

#include <optional>

#include "support/module.h"

namespace {

constexpr UINT first_icon_id = 200;

// Colours of a picture that stand for those of a button face follow the user's colours.
unique_hbitmap load_BitmapResource(UINT id) {
  return unique_hbitmap(static_cast<HBITMAP>(
      LoadImageW(get_Module(), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0, 0, LR_LOADMAP3DCOLORS)));
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

// A bitmap in a memory context, for as long as it is worked on.
class SelectedBitmap {
 public:
  SelectedBitmap(HDC context, HBITMAP bitmap)
      : m_context(context), m_replaced(SelectObject(context, bitmap)) {}
  ~SelectedBitmap() { SelectObject(m_context, m_replaced); }
  SelectedBitmap(const SelectedBitmap&) = delete;
  SelectedBitmap& operator=(const SelectedBitmap&) = delete;

 private:
  HDC m_context;
  HGDIOBJ m_replaced;
};

std::optional<SIZE> character_Cell(HDC context) {
  TEXTMETRICA metrics{};
  if (!GetTextMetricsA(context, &metrics))
    return {};
  return SIZE{metrics.tmMaxCharWidth, metrics.tmHeight};
}

// The description of a bitmap like the given one but of that size; its rows fill whole 16-bit words.
BITMAP resized(BITMAP bitmap, SIZE size) {
  constexpr LONG word_bits = 16;
  constexpr LONG word_bytes = 2;
  bitmap.bmWidth = size.cx;
  bitmap.bmHeight = size.cy;
  bitmap.bmWidthBytes = (size.cx * bitmap.bmBitsPixel + word_bits - 1) / word_bits * word_bytes;
  return bitmap;
}

unique_hbitmap stretch(HDC source_context, HBITMAP source, const BITMAP& from, HDC target_context,
                       const BITMAP& to) {
  unique_hbitmap target(CreateBitmapIndirect(&to));
  if (!target)
    return {};
  const SelectedBitmap selected_source(source_context, source);
  const SelectedBitmap selected_target(target_context, target.get());
  // Without it, shrinking drops whole rows of a thin picture.
  SetStretchBltMode(target_context, HALFTONE);
  SetBrushOrgEx(target_context, 0, 0, nullptr);
  StretchBlt(target_context, 0, 0, to.bmWidth, to.bmHeight, source_context, 0, 0, from.bmWidth, from.bmHeight,
             SRCCOPY);
  return target;
}

enum class Size { Own, CharacterCell };

unique_hbitmap copy(HBITMAP source, Size size) {
  unique_hdc display(CreateICA("DISPLAY", nullptr, nullptr, nullptr));
  const auto cell = size == Size::CharacterCell ? character_Cell(display.get()) : std::nullopt;
  const unique_hdc source_context(CreateCompatibleDC(display.get()));
  const unique_hdc target_context(CreateCompatibleDC(display.get()));
  display.reset();
  BITMAP from{};
  const bool described = GetObjectA(source, sizeof from, &from) != 0;
  if (!described || !source_context || !target_context || (size == Size::CharacterCell && !cell))
    return {};
  return stretch(source_context.get(), source, from, target_context.get(),
                 cell ? resized(from, *cell) : from);
}

}  // namespace

unique_hbitmap load_Picture(UINT id) {
  auto picture = id < first_icon_id ? load_BitmapResource(id) : load_IconResource(id);
  if (!picture)
    picture = load_IconResource(id);
  if (!picture)
    picture = load_BitmapResource(id);
  return picture;
}

unique_hbitmap scale_CheckBitmap(HBITMAP source) {
  return copy(source, Size::CharacterCell);
}

unique_hbitmap copy_Bitmap(HBITMAP source) {
  return copy(source, Size::Own);
}
