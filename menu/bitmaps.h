// The bitmaps of the menu: pictures of the DLL's resources, copied for the screen. The picture loaded last is
// kept until the module unloads.
#pragma once

#include "support/handles.h"

// The check-mark picture of "Create PDF Signature", 64 x 64 pixels.
constexpr UINT check_mark_bitmap = 101;

// The resource as a bitmap: ids below 200 are bitmaps, others icons; each kind is tried where the first
// fails. Null when there is none. It is the module's own, and ends with the next call for another one.
HBITMAP load_Picture(UINT id);

// A copy of the bitmap stretched to one character cell of the display font. Null when it cannot be made.
unique_hbitmap scale_CheckBitmap(HBITMAP source);

// A copy of the bitmap in its own size. Null when it cannot be made.
unique_hbitmap copy_Bitmap(HBITMAP source);
