// MOLAQImage_* export: the picture reader.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

class MOLAQImage;

extern "C" {
// Reads a picture file (or a BMP) into a new image; `scale` 1 to 3 blows a 24-bit picture up by
// 2, 4 or 8. Null if neither format can be read.
MOLAQImage* RUNA1_API MOLAQImage_ReadImageFile(const char* path, int32_t scale);
}
