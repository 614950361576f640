// Pictures in memory for the image tool, and their PNG and BMP files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "base/os/win32_types.h"

// A bottom-up DIB of 1, 4, 8 or 24 bits with an optional 8-bit alpha plane of the same rows.
struct Picture {
  int32_t width = 0;
  int32_t height = 0;
  uint32_t bits = 24;
  std::vector<RGBQUAD> palette;  // 1 << bits entries for palette pictures
  std::vector<uint8_t> pixels;  // rows padded to 4 bytes, bottom row first
  std::vector<uint8_t> alpha;  // empty, or width bytes per row padded to 4, bottom row first
  uint32_t pitch() const { return ((width * bits + 31) >> 5) * 4; }
  uint32_t alphaPitch() const { return (width + 3) & ~3u; }
};

bool pngSupported();
// Reads a PNG or BMP file, told apart by their first bytes. False with a message on failure.
bool readPicture(const std::string& path, Picture* picture, std::string* error);
// Writes a PNG if the name ends in ".png" (any case), a BMP otherwise.
bool writePicture(const std::string& path, const Picture& picture, std::string* error);
