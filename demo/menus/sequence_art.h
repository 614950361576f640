// The demo's opening and staff roll: the pictures "bg6300.bmp" to "bg6690.bmp" that the host's
// sequences show, made of the game's landscape and pattern with captions in its capitals, in the
// sizes the sequences place them at (bands of 640 by 380, the halves, the small squares composed
// into a band, the tall picture that scrolls, the full screens of the staff roll).
#pragma once

#include <string>
#include <vector>

#include "tools/screen_art/art_set.h"

namespace demo_menus {

constexpr int32_t kBandWidth = 640, kBandHeight = 380, kHalfWidth = 336, kSmallSize = 200, kScrollHeight = 1920;
constexpr int kFirstSequencePicture = 6300, kFirstRollPicture = 6460, kLastSequencePicture = 6690;

// The staff roll's lines, one for each of its pictures from "bg6460.bmp" to "bg6680.bmp".
std::vector<std::string> rollLines();
void drawSequences(screen_art::ArtSet& set);

}  // namespace demo_menus
