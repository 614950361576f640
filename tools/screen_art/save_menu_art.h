// The bitmaps of the save and load screens ("SaveMenu.arc"), drawn in the plain look of
// save_menu_look.h: a background per page with the frames of the ten slots, a lit slot, marks
// of the two kinds, eleven glyphs, the chapter pictures, the page and back buttons and the
// confirmation boxes.
#pragma once

#include "tools/screen_art/art_set.h"

namespace screen_art {

void drawSaveMenu(ArtSet& set);

}  // namespace screen_art
