// Nodali_PerformOpening and Nodali_PerformEnding: the title sequence and the staff roll, drawn
// into `target` (the image the module shows in the main window) from the pictures of
// `imageArchive`, with music from `musicArchive` and sound from `soundArchive`. Each runs on the
// calling thread until its end and gives 1 when the player cut it short with the right button,
// else 0.
#pragma once

#include <cstdint>

#include "files/koral_archive.h"
#include "graphics/graphic.h"

extern "C" {
int32_t RUNA1_API Nodali_PerformOpening(Graphic* target, KArcFileExp* imageArchive, KArcFileExp* musicArchive,
                                        KArcFileExp* soundArchive);
int32_t RUNA1_API Nodali_PerformEnding(Graphic* target, KArcFileExp* imageArchive, KArcFileExp* musicArchive,
                                       KArcFileExp* soundArchive);
}
