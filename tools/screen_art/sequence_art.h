// The pictures of the opening and ending sequences ("bg6300.bmp" to "bg6690.bmp"), drawn in the
// plain look of sequence_look.h.
#pragma once

#include "tools/screen_art/art_set.h"

namespace screen_art {

void drawSequences(ArtSet& set);

}  // namespace screen_art
