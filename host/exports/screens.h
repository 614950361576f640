// Nodali_* exports: the ready-made menu screens. Each runs on the calling thread (the module's)
// until the player has chosen, drawing into `target`, the image that the module shows in the
// main window, and gives the choice, or -1.
#pragma once

#include <cstdint>

#include "graphics/graphic.h"

class ScreenHost;

// The screens' host of the product, for the screen exports of every family.
ScreenHost& mainWindowScreenHost();

extern "C" {
// page * 10 + slot of the chosen save slot, or -1; `page` is 1 to 5.
int32_t RUNA1_API Nodali_SaveContextMenu(Graphic* target, int32_t page);
int32_t RUNA1_API Nodali_LoadContextMenu(Graphic* target, int32_t page);
}
