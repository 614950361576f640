#include "host/exports/font.h"

FontGrph* RUNA1_API FontGrph_Create(int32_t width, int32_t height) {
  auto* image = new FontGrph(kConversionDefault);
  if (image->Create(width, height) != 0) {
    delete image;
    return nullptr;
  }
  return image;
}

HFONT RUNA1_API FontGrph_SelectFont(FontGrph* image, HFONT font, int32_t lineHeight) {
  return image->SelectFont(font, lineHeight);
}

int32_t RUNA1_API FontGrph_DrawText(FontGrph* image, const char* text) { return image->DrawText(text); }

uint32_t RUNA1_API FontGrph_LocateText(FontGrph* image, int32_t x, int32_t y) {
  image->LocateText(x, y);
  return 0;
}

uint32_t RUNA1_API FontGrph_GetTextLocation(FontGrph* image, POINT* location) {
  *location = image->TextLocation();
  return 0;
}

uint32_t RUNA1_API FontGrph_SetTextClip(FontGrph* image, int32_t left, int32_t top, int32_t right,
                                        int32_t bottom) {
  image->SetTextClip(left, top, right, bottom);
  return 0;
}

uint32_t RUNA1_API FontGrph_SetProbitChars(FontGrph* image, const char* text) {
  image->SetProbitChars(text);
  return 0;
}
