// Cursor files (.cur), as LoadCursorFromFile reads them: one image of 32-bit colours with alpha
// and the AND mask behind them, and the hot spot in the directory entry.
#pragma once

#include <cstdint>
#include <string>

#include "tools/screen_art/art_canvas.h"

namespace screen_art {

// The bytes of a cursor file showing `canvas` (at most 256 by 256), with the hot spot at
// (hotX, hotY). Pixels of alpha 0 are transparent in the AND mask too.
std::string cursorFileBytes(const Canvas& canvas, uint16_t hotX, uint16_t hotY);
bool writeCursorFile(const Canvas& canvas, uint16_t hotX, uint16_t hotY, const std::string& path,
                     std::string* error);

}  // namespace screen_art
