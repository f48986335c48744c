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

// What takes longer to get than a picture takes to scale: the contexts that it goes from and to, and the form
// of the display's bitmaps.
struct {
  HDC Source;
  HDC Target;
  WORD Planes;
  WORD PixelBits;
} display;  // until the module unloads

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

  bool succeeded() const { return m_replaced != nullptr; }

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

void release_Display() {
  for (auto* context : {&display.Source, &display.Target})
    if (const auto made = std::exchange(*context, nullptr))
      DeleteDC(made);
}

// Made from a context of the display, the two belong to no thread.
bool open_Display() {
  if (display.Target != nullptr)
    return true;
  release_Later(KeptUntil::ModuleUnloads, release_Display);
  const unique_hdc screen(CreateICA("DISPLAY", nullptr, nullptr, nullptr));
  if (!screen)
    return false;
  display = {CreateCompatibleDC(screen.get()), CreateCompatibleDC(screen.get()),
             static_cast<WORD>(GetDeviceCaps(screen.get(), PLANES)),
             static_cast<WORD>(GetDeviceCaps(screen.get(), BITSPIXEL))};
  if (display.Source == nullptr || display.Target == nullptr) {
    release_Display();
    return false;
  }
  // Without it, shrinking drops whole rows of a thin picture.
  SetStretchBltMode(display.Target, HALFTONE);
  SetBrushOrgEx(display.Target, 0, 0, nullptr);
  return true;
}

// The description of a bitmap of the display in that size; its rows fill whole 16-bit words.
BITMAP display_Bitmap(SIZE size) {
  constexpr LONG word_bits = 16;
  constexpr LONG word_bytes = 2;
  BITMAP bitmap{};
  bitmap.bmPlanes = display.Planes;
  bitmap.bmBitsPixel = display.PixelBits;
  bitmap.bmWidth = size.cx;
  bitmap.bmHeight = size.cy;
  bitmap.bmWidthBytes = (size.cx * bitmap.bmBitsPixel + word_bits - 1) / word_bits * word_bytes;
  return bitmap;
}

enum class Size { Own, CharacterCell };

unique_hbitmap copy_OnDisplay(HBITMAP source, const BITMAP& from, Size size) {
  if (!open_Display())
    return {};
  const auto cell = size == Size::CharacterCell ? character_Cell(display.Target) : std::nullopt;
  if (size == Size::CharacterCell && !cell)
    return {};
  const auto to = display_Bitmap(cell.value_or(SIZE{from.bmWidth, from.bmHeight}));
  unique_hbitmap target(CreateBitmapIndirect(&to));
  const SelectedBitmap selected_source(display.Source, source);
  const SelectedBitmap selected_target(display.Target, target.get());
  if (!selected_target.succeeded())
    return {};
  StretchBlt(display.Target, 0, 0, to.bmWidth, to.bmHeight, display.Source, 0, 0, from.bmWidth, from.bmHeight,
             SRCCOPY);
  return target;
}

unique_hbitmap copy(HBITMAP source, Size size) {
  BITMAP from{};
  if (GetObjectA(source, sizeof from, &from) == 0)
    return {};
  auto made = copy_OnDisplay(source, from, size);
  if (!made) {  // a display that has become another one does not take a bitmap of the earlier form
    release_Display();
    made = copy_OnDisplay(source, from, size);
  }
  return made;
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
