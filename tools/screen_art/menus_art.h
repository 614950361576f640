// The bitmaps of the plain menus and the sound configuration, drawn in the plain look of
// menus_look.h: "MainMenu.arc" (main menu), "Startup.arc" (title screens and bonus menu) and
// "SoundCfg.arc" (sound configuration).
#pragma once

#include "tools/screen_art/art_set.h"

namespace screen_art {

void drawMainMenu(ArtSet& set);
void drawStartup(ArtSet& set);
void drawSoundConfig(ArtSet& set);

}  // namespace screen_art
