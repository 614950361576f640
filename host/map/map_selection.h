// The map selection: takes over the main window's picture and input, flies a camera over the
// map from place to place on keys and mouse, and returns the place and the height chosen.
#pragma once

#include <cstdint>

#include "graphics/graphic.h"

// `rect` (inclusive) is where the scene shows in the client area; `places` and `labelOffsets`
// are pairs (x, z on the map; the label's point that goes to the centre of the view), one per
// place, with a label image each. `*place` and `*height` (0 to 6; negative means 3) go in and
// come out. At a decision the listener's slot 1, if there is one, is called with two zeros.
// Runs on the module thread until the decision; the message loop must run meanwhile.
void selectPlaceOnMap(const int32_t rect[4], Graphic* map, const int32_t* places, Graphic** labels,
                      const int32_t* labelOffsets, int32_t placeCount, int32_t* place, int32_t* height,
                      void* listener);
