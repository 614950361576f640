// Arbitrary bytes as a BMP stream: the reader must refuse or make an image that the object's
// own operations can walk without leaving its buffers.
#include <cstddef>
#include <cstdint>
#include <string>

#include "host/exports/graphic.h"
#include "tests/graphics/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryFile file(std::string(reinterpret_cast<const char*>(data), size));
  Graphic* image = graphic_ReadBitmap(&file);
  if (!image) return 0;
  ImageInfo info;
  graphic_GetImageInfo(image, &info);
  graphic_SetPaletteTone(image, 40, -40, 300);
  graphic_UpdatePalette(image);
  graphic_IsPointHit(image, info.width - 1, info.height - 1);
  MemoryFile out;
  graphic_WriteBitmap(image, &out);
  graphic_DeleteBitmap(image);
  return 0;
}
