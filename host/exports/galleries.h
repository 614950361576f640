// Nodali_* exports of the galleries: the music mode and the CG mode. Each runs on the calling
// thread (the module's) until the player leaves it, drawing into `target`, the image that the
// module shows in the main window.
#pragma once

#include <cstdint>

#include "files/koral_archive.h"
#include "graphics/graphic.h"

extern "C" {
// Plays "m01" to "m14" (".wav" or ".mid") of `music`; the id of the last button pressed, or -1.
int32_t RUNA1_API Nodali_MusicMode(Graphic* target, KArcFileExp* music);
// Shows the pictures of `pictures` that `flags` (`count` words) unlock; the id of the last button
// pressed, or -1.
int32_t RUNA1_API Nodali_CGMode(Graphic* target, KArcFileExp* pictures, const uint32_t* flags, uint32_t count);
}
