// A bitmap that a test owns: header, 256 colours and pixels, in the layout of a BITMAPINFO.
#pragma once

#include <cstdint>
#include <vector>

#include "graphics/graphic.h"

struct TestBitmap {
  BITMAPINFOHEADER header{};
  RGBQUAD colours[256]{};
  std::vector<uint8_t> pixels;

  TestBitmap(int32_t width, int32_t height, uint16_t bits) {
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bits;
    pixels.resize(dibPitch(width, bits) * height);
  }
  // Fills pixels and colours with a pattern in which neighbouring bytes differ.
  TestBitmap& patterned() {
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 37 + 11);
    for (int i = 0; i < 256; ++i) colours[i] = {uint8_t(i), uint8_t(255 - i), uint8_t(i * 3), 0};
    return *this;
  }
  const BITMAPINFO* info() const { return reinterpret_cast<const BITMAPINFO*>(this); }
};
