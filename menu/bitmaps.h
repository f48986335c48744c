// The bitmaps of the menu: pictures of the DLL's resources, copied for the screen. Each thread keeps the
// picture that it loaded last, and the contexts that copy.
#pragma once

#include <array>
#include <optional>

#include "base/handles.h"

// The check-mark picture of "Create PDF Signature", 64 x 64 pixels.
constexpr UINT check_mark_bitmap = 101;

// The resource as a bitmap: ids below 200 are bitmaps, others icons; each kind is tried where the first
// fails. Null when there is none. It is the module's own, and ends with the next call for another one.
HBITMAP load_Picture(UINT id);

// A copy of the bitmap stretched to one character cell of the display font. Null when it cannot be made.
unique_hbitmap scale_CheckBitmap(HBITMAP source);

// A copy of the bitmap in its own size. Null when it cannot be made.
unique_hbitmap copy_Bitmap(HBITMAP source);

using PictureColours = std::array<COLORREF, 3>;

// A picture scaled for the place of a check mark, with what it was made for.
class CheckBitmap {
 public:
  // The resource's; made again only if the size of a character cell, the user's colours or the id are others
  // than before. Null when it cannot be made.
  HBITMAP renew(UINT id);

  struct Form {
    UINT Id;
    PictureColours Colours;
    LONG Width;
    LONG Height;
    bool operator==(const Form&) const = default;
  };

 private:
  std::optional<Form> m_form;
  unique_hbitmap m_bitmap;
};
