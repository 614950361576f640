// The picture of an emulated display mode on a larger monitor: stretched by the largest whole
// factor that fits, or, when not even the picture itself fits, by the largest fraction, with the
// aspect kept and the picture centred between black bars.
#pragma once

#include "base/os/win32_types.h"

struct PictureScale {
  SIZE picture;      // the game's client size
  RECT destination;  // where the picture stands in the window, exclusive right and bottom

  // The placement of `picture` in `area` (exclusive).
  static PictureScale Fit(SIZE picture, const RECT& area);
  // A window point as the game sees it: in picture pixels, held to the picture.
  POINT ToPicture(POINT window) const;
  // The window area that shows `area` (exclusive) of the picture, rounded outwards.
  RECT ToWindow(const RECT& area) const;
};
