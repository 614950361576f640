#include "host/exports/drawing_core.h"

#include "graphics/core/molaq.h"
#include "graphics/molaq_image.h"

uint32_t RUNA1_API MOLAQ_SetDefInterface(uint32_t flags) {
  mqSelectInterface(mqGetInterface(), flags, 0);
  return 0;
}

MOLAQImage* RUNA1_API MOLAQImage_ReadImageFile(const char* path, int32_t scale) {
  auto* image = new MOLAQImage(kConversionDefault);
  if (image->ReadImageFile(path, scale) != 0) {
    delete image;
    return nullptr;
  }
  return image;
}
