// Pictures in the engine's own file format: a record file holding a header, an optional palette,
// the coded image and an optional coded alpha plane. MOLAQImage reads them (or a plain BMP);
// molaq_image_encoder.h writes them.
#pragma once

#include <cstdint>
#include <vector>

#include "graphics/core/image_codec.h"
#include "graphics/graphic.h"

constexpr uint32_t kImageFileType = 0x01000100;

class MOLAQImage : public Graphic {
 public:
  explicit MOLAQImage(int32_t conversionMode = kConversionDefault) : Graphic(conversionMode) {}
  ~MOLAQImage() override;
  uint32_t Release() override;

  // Reads a picture file; `scale` 1 to 3 blows a 24-bit picture up by 2, 4 or 8. If the file is
  // no picture file, reads it as a BMP. 0, or 1 on failure.
  uint32_t ReadImageFile(const char* path, int32_t scale);

 private:
  // 0 if the file was read in this format, 1 otherwise.
  uint32_t ReadPictureFormat(const char* path, int32_t scale);
  std::vector<uint8_t> alphaPlane_;
  ImageInfo alphaInfo_{};
};

// Larger sides than this are damage, not pictures.
constexpr uint32_t kImageMaxSide = 1u << 15;

// The record ids of the coded image and of the palette of a picture of `bits`.
uint64_t mqImageRecordId(uint32_t bits);
uint64_t mqPaletteRecordId(uint32_t bits);
// Bytes of a row of `width` pixels of `bits`, in whole 32-bit words.
uint32_t mqImageRowBytes(uint32_t width, uint32_t bits);
