#include "host/exports/molaq_image.h"

#include "graphics/molaq_image.h"

MOLAQImage* RUNA1_API MOLAQImage_ReadImageFile(const char* path, int32_t scale) {
  auto* image = new MOLAQImage(kConversionDefault);
  if (image->ReadImageFile(path, scale) != 0) {
    delete image;
    return nullptr;
  }
  return image;
}
