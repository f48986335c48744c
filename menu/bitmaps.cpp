#include "menu/bitmaps.h"

#include <utility>

#include "base/apartment.h"
#include "base/module.h"

namespace {

constexpr UINT first_icon_id = 200;

// Loading takes longer than all that a menu then does with a picture, so it stays loaded while what it is
// made of stays the same.
struct LoadedPicture {
  UINT Id = 0;
  PictureColours Colours{};
  unique_hbitmap Picture;
};

// What takes longer to get than a picture takes to scale: the contexts that it goes from and to.
struct Display {
  unique_hdc Source;
  unique_hdc Target;
};

constinit PerApartment<LoadedPicture> loaded;
constinit PerApartment<Display> display;

// Colours of a picture that stand for those of a button face follow the user's colours.
PictureColours picture_Colours() {
  return {GetSysColor(COLOR_3DSHADOW), GetSysColor(COLOR_3DFACE), GetSysColor(COLOR_3DLIGHT)};
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

bool open_Display(Display& contexts) {
  if (contexts.Target)
    return true;
  const unique_hdc screen(CreateICA("DISPLAY", nullptr, nullptr, nullptr));
  if (!screen)
    return false;
  unique_hdc source(CreateCompatibleDC(screen.get()));
  unique_hdc target(CreateCompatibleDC(screen.get()));
  if (!source || !target)
    return false;
  // Without it, shrinking drops whole rows of a thin picture.
  SetStretchBltMode(target.get(), HALFTONE);
  SetBrushOrgEx(target.get(), 0, 0, nullptr);
  contexts = {std::move(source), std::move(target)};
  return true;
}

// The description of a bitmap of the display in that size; its rows fill whole 16-bit words.
BITMAP display_Bitmap(HDC context, SIZE size) {
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

enum class Size { Own, CharacterCell };

unique_hbitmap copy_OnDisplay(HBITMAP source, const BITMAP& from, Size size) {
  auto& contexts = *display;
  if (!open_Display(contexts))
    return {};
  const auto cell = size == Size::CharacterCell ? character_Cell(contexts.Target.get()) : std::nullopt;
  if (size == Size::CharacterCell && !cell)
    return {};
  const auto to = display_Bitmap(contexts.Target.get(), cell.value_or(SIZE{from.bmWidth, from.bmHeight}));
  unique_hbitmap target(CreateBitmapIndirect(&to));
  const SelectedBitmap selected_source(contexts.Source.get(), source);
  const SelectedBitmap selected_target(contexts.Target.get(), target.get());
  if (!selected_target.succeeded())
    return {};
  StretchBlt(contexts.Target.get(), 0, 0, to.bmWidth, to.bmHeight, contexts.Source.get(), 0, 0, from.bmWidth,
             from.bmHeight, SRCCOPY);
  return target;
}

unique_hbitmap copy(HBITMAP source, Size size) {
  BITMAP from{};
  if (GetObjectA(source, sizeof from, &from) == 0)
    return {};
  auto made = copy_OnDisplay(source, from, size);
  if (!made) {  // a display that has become another one does not take a bitmap of the earlier form
    *display = {};
    made = copy_OnDisplay(source, from, size);
  }
  return made;
}

// Nothing when the display does not tell.
std::optional<CheckBitmap::Form> present_Form(UINT id) {
  auto& contexts = *display;
  const auto cell = open_Display(contexts) ? character_Cell(contexts.Target.get()) : std::nullopt;
  if (!cell)
    return {};
  return CheckBitmap::Form{id, picture_Colours(), cell->cx, cell->cy};
}

}  // namespace

HBITMAP load_Picture(UINT id) {
  const auto colours = picture_Colours();
  auto& kept = *loaded;
  if (!kept.Picture || kept.Id != id || kept.Colours != colours)
    kept = {id, colours, load(id)};
  return kept.Picture.get();
}

unique_hbitmap scale_CheckBitmap(HBITMAP source) {
  return copy(source, Size::CharacterCell);
}

unique_hbitmap copy_Bitmap(HBITMAP source) {
  return copy(source, Size::Own);
}

HBITMAP CheckBitmap::renew(UINT id) {
  const auto form = present_Form(id);
  if (!m_bitmap || !form || form != m_form) {
    m_bitmap.reset();  // it goes before the next is made
    m_bitmap = scale_CheckBitmap(id != 0 ? load_Picture(id) : nullptr);
    m_form = form;
  }
  return m_bitmap.get();
}
