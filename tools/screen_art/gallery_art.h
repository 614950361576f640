// The files of the music and CG modes ("musicmod.arc", "cgmode.arc") in the plain look of
// gallery_look.h, and sample archives of what a module hands them: the tracks ("tracks.arc")
// and the full pictures ("pictures.arc").
#pragma once

#include "tools/screen_art/art_set.h"

namespace screen_art {

void drawMusicMode(ArtSet& set);
void writeMusicTracks(ArtSet& set);
void drawCGMode(ArtSet& set);
void drawCGPictures(ArtSet& set);

}  // namespace screen_art
