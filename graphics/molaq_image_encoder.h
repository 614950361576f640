// Coding and writing picture files: what the image tool and the demo's generator use. These
// live in the encoder library (runa1_encoders), which the host does not link.
#pragma once

#include <cstdint>
#include <vector>

#include "graphics/molaq_image.h"

// What a picture file holds, ready to write.
struct MOLAQImageFile {
  ImageHeader header{};
  RGBQUAD palette[256]{};
  std::vector<uint8_t> image;  // coded stream
  uint32_t alphaBits = 0;  // 0 (none), 1 or 8
  std::vector<uint8_t> alpha;  // coded stream
};

// How a 24-bit picture is coded. The defaults are those of quality 75.
struct MOLAQEncodeOptions {
  uint32_t chromaFormat = kChroma420;
  uint32_t blockSize = 5;
  double curve[3] = {6, 6, 7};  // quantiser shifts at the lowest, middle and highest frequency
  uint32_t threshold = 1;  // coefficients up to this magnitude become 0
};

// The options of a quality from 1 (smallest files) to 100 (finest pictures); out-of-range
// qualities are clamped. Files at quality Q are about as large as baseline JPEG files of the
// same quality or smaller, and come back with a higher PSNR.
MOLAQEncodeOptions mqEncodeOptionsForQuality(int32_t quality);

// Codes a bottom-up DIB of 1, 4, 8 (lossless) or 24 bits (by `options`), and, if `alpha` is
// given, its 1- or 8-bit plane. 0, or 1 for a depth or a plane it cannot code.
uint32_t mqEncodeImageFile(const BITMAPINFO* info, const uint8_t* pixels, const ImageInfo* alpha,
                           const MOLAQEncodeOptions& options, MOLAQImageFile* out);
// 0, or 1 if the file cannot be written.
uint32_t mqWriteImageFile(const char* path, const MOLAQImageFile& file);
