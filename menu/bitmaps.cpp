#include "menu/bitmaps.h"

#include <array>
#include <optional>
#include <utility>

#include "support/component_lifetime.h"
#include "support/module.h"

namespace {

constexpr UINT first_icon_id = 200;

// Loading takes longer than all that a menu then does with a picture, so it stays loaded while what it is
// made of stays the same.
struct {
  UINT Id;
  std::array<COLORREF, 3> Colours;
  HBITMAP Picture;
} kept;  // until the module unloads

// Colours of a picture that stand for those of a button face follow the user's colours.
std::array<COLORREF, 3> picture_Colours() {
  return {GetSysColor(COLOR_3DSHADOW), GetSysColor(COLOR_3DFACE), GetSysColor(COLOR_3DLIGHT)};
}

void release_Picture() {
  if (const auto picture = std::exchange(kept.Picture, nullptr))
    DeleteObject(picture);
}

// In the form that it has in the file, which is the same for every display.
unique_hbitmap load_BitmapResource(UINT id) {
  return unique_hbitmap(static_cast<HBITMAP>(LoadImageW(get_Module(), MAKEINTRESOURCEW(id), IMAGE_BITMAP, 0,
                                                        0, LR_LOADMAP3DCOLORS | LR_CREATEDIBSECTION)));
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

// The description of a bitmap of the context's device in that size; its rows fill whole 16-bit words.
BITMAP device_Bitmap(HDC context, SIZE size) {
  constexpr LONG word_bits = 16;
  constexpr LONG word_bytes = 2;
  BITMAP bitmap{};
  bitmap.bmPlanes = static_cast<WORD>(GetDeviceCaps(context, PLANES));
  bitmap.bmBitsPixel = static_cast<WORD>(GetDeviceCaps(context, BITSPIXEL));
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
  // Compatible with the display, and so with its font; a context of the display itself costs ten times as
  // much.
  const unique_hdc source_context(CreateCompatibleDC(nullptr));
  const unique_hdc target_context(CreateCompatibleDC(nullptr));
  const auto cell = size == Size::CharacterCell ? character_Cell(source_context.get()) : std::nullopt;
  BITMAP from{};
  const bool described = GetObjectA(source, sizeof from, &from) != 0;
  if (!described || !source_context || !target_context || (size == Size::CharacterCell && !cell))
    return {};
  const auto to = device_Bitmap(target_context.get(), cell.value_or(SIZE{from.bmWidth, from.bmHeight}));
  return stretch(source_context.get(), source, from, target_context.get(), to);
}

}  // namespace

HBITMAP load_Picture(UINT id) {
  const auto colours = picture_Colours();
  if (kept.Picture == nullptr || kept.Id != id || kept.Colours != colours) {
    release_Picture();
    release_Later(KeptUntil::ModuleUnloads, release_Picture);
    kept = {id, colours, load(id).release()};
  }
  return kept.Picture;
}

unique_hbitmap scale_CheckBitmap(HBITMAP source) {
  return copy(source, Size::CharacterCell);
}

unique_hbitmap copy_Bitmap(HBITMAP source) {
  return copy(source, Size::Own);
}
