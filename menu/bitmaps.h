// The bitmaps of the menu: pictures of the DLL's resources, copied for the screen. Each thread keeps the
// picture that it loaded last, and a context of the display.
#pragma once

#include <optional>

#include "base/handles.h"

// The check-mark picture of "Create PDF Signature", 64 x 64 pixels.
constexpr UINT check_mark_bitmap = 101;

// The resource as a bitmap: ids below 200 are bitmaps, others icons; each kind is tried where the first
// fails. Null when there is none. It is the module's own, and ends with the next call for another one.
HBITMAP load_Picture(UINT id);

// A copy of the bitmap in that size, with 32 bits a pixel. What has the colour of its upper left corner is
// transparent (premultiplied alpha), or shows the background where one is given. Null when it cannot be made.
unique_hbitmap scale_CheckBitmap(HBITMAP source, SIZE size, std::optional<COLORREF> background);

// A copy of the bitmap in its own size, for the display. Null when it cannot be made.
unique_hbitmap copy_Bitmap(HBITMAP source);

// A picture scaled for the place of a check mark, a character cell of the display font, with what it was made
// for.
class CheckBitmap {
 public:
  // The resource's; made again only if the size of a character cell, the background or the id are others than
  // before. Null when it cannot be made.
  HBITMAP renew(UINT id);

  struct Form {
    UINT Id;
    LONG Width;
    LONG Height;
    std::optional<COLORREF> Background;  // none where menus show transparency
    bool operator==(const Form&) const = default;
  };

 private:
  std::optional<Form> m_form;
  unique_hbitmap m_bitmap;
};
