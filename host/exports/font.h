// FontGrph_* exports: font images for the module. The handle is a FontGrph, an image like any
// other to graphic_* (its pixels are a 1-bit mask); FontGrph_Delete is graphic_DeleteBitmap.
#pragma once

#include <cstdint>

#include "graphics/font/font_graphic.h"

extern "C" {
// A font image with a cleared mask of `width` by `height`; null on failure.
FontGrph* RUNA1_API FontGrph_Create(int32_t width, int32_t height);
// Sets the font (not owned) and the line height (0: the font's); gives the former font.
HFONT RUNA1_API FontGrph_SelectFont(FontGrph* image, HFONT font, int32_t lineHeight);
// -1 when the text fitted; the bytes drawn when it ran below the clip; 1 on failure.
int32_t RUNA1_API FontGrph_DrawText(FontGrph* image, const char* text);
uint32_t RUNA1_API FontGrph_LocateText(FontGrph* image, int32_t x, int32_t y);
uint32_t RUNA1_API FontGrph_GetTextLocation(FontGrph* image, POINT* location);
uint32_t RUNA1_API FontGrph_SetTextClip(FontGrph* image, int32_t left, int32_t top, int32_t right,
                                        int32_t bottom);
uint32_t RUNA1_API FontGrph_SetProbitChars(FontGrph* image, const char* text);
}
