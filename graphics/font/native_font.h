// Fonts of the native build, where there is no GDI to make them: what a LOGFONT asks for, made
// for the FreeType rasteriser the way CreateFontIndirect makes them in the product.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

// `height` as lfHeight (negative: the em in pixels; positive: the cell; 0: a cell of 16),
// `weight` as lfWeight, `face` a family name in UTF-8. Fixed-pitch faces are preferred when
// the face is missing, unless `variablePitch`.
HFONT createNativeFont(int32_t height, int32_t weight, const char* face, bool variablePitch = false);
void deleteNativeFont(HFONT font);
