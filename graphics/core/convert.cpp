// The plain colour conversions: YCbCr planes to 24-bit pixels or to the fixed palette, and
// 8- or 24-bit pixels to the fixed palette or to grey.
#include <algorithm>

#include "graphics/core/conversion.h"

namespace molaq {

void paletteToYCC(const RGBQUAD* palette, uint32_t table[256]) {
  const MOLAQTables& t = mqTables();
  for (int i = 0; i < 256; ++i) {
    const RGBQUAD& c = palette[i];
    int32_t y = t.red[c.rgbRed].y + t.green[c.rgbGreen].y + t.blue[c.rgbBlue].y;
    int32_t cb = t.red[c.rgbRed].cb + t.green[c.rgbGreen].cb + t.blue[c.rgbBlue].cb;
    int32_t cr = t.red[c.rgbRed].cr + t.green[c.rgbGreen].cr + t.blue[c.rgbBlue].cr;
    uint32_t luma = std::clamp((y >> 8) + ((y >> 7) & 1), 0, 255);
    uint32_t blue = std::clamp(((cb + 0x80) >> 8) + 128, 0, 255);
    uint32_t red = std::clamp(((cr + 0x80) >> 8) + 128, 0, 255);
    table[i] = luma | blue << 8 | red << 16;
  }
}

void convertToGrey(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                   int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette) {
  const MOLAQTables& t = mqTables();
  if (bits == 8) {
    uint32_t table[256];
    paletteToYCC(palette, table);
    for (int32_t row = 0; row < height; ++row, dst += dstPitch, src += srcPitch)
      for (int32_t x = 0; x < width; ++x) dst[x] = static_cast<uint8_t>(table[src[x]]);
    return;
  }
  // The red byte is weighted with the green coefficient, which makes this grey brighter than
  // true luminance; images converted so depend on that.
  for (int32_t row = 0; row < height; ++row, dst += dstPitch, src += srcPitch) {
    const uint8_t* pixel = src;
    for (int32_t x = 0; x < width; ++x, pixel += 3) {
      int32_t sum = t.blue[pixel[0]].y + t.green[pixel[1]].y + t.green[pixel[2]].y;
      dst[x] = sum >= 0x10000 ? 255 : static_cast<uint8_t>(sum >> 8);
    }
  }
}

}  // namespace molaq

using molaq::ditherLevel;
using molaq::fixedIndex;

void mqYCCToIndexedPlain(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                         uint32_t count) {
  uint32_t seed = molaq::loadPlainSeed();
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t wy = y[i] < 0 ? 0 : y[i] >= 256 ? 3 * 594 : 3 * (2 * y[i] + 84);
    uint32_t s = 3 * seed + 0x16465413;
    uint32_t yLevel = ditherLevel(wy, (s >> 8) & 255);
    uint32_t wu = 5 * std::clamp(cb[i] + 162, 0, 290);
    uint32_t wv = 5 * std::clamp(cr[i] + 162, 0, 290);
    s = 5 * s + 0x15768163;
    uint32_t vLevel = ditherLevel(wv, (s >> 8) & 255);
    s = 9 * s + 0x15730163;
    uint32_t uLevel = ditherLevel(wu, (s >> 8) & 255);
    seed = s;
    dst[i] = fixedIndex(yLevel, uLevel, vLevel);
  }
  molaq::storePlainSeed(seed);
}

void mqYCCToRGBPlain(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                     uint32_t count) {
  const MOLAQTables& t = mqTables();
  auto channel = [](int64_t value) -> uint8_t {
    return value < 0 ? 0 : value >= 0x10000 ? 255 : static_cast<uint8_t>(value >> 8);
  };
  for (uint32_t i = 0; i < count; ++i, dst += 3) {
    const ChromaTerms& b = t.cb[std::clamp(cb[i] + 128, 0, 255)];
    const ChromaTerms& r = t.cr[std::clamp(cr[i] + 128, 0, 255)];
    int64_t luma = int64_t{y[i]} * 256;
    dst[0] = channel(luma + b.second);
    dst[1] = channel(luma + b.first + r.second);
    dst[2] = channel(luma + r.first);
  }
}

namespace {

// Dithers rows to the fixed palette; `weights(row, x, wy, wu, wv)` gives the three level
// weights of a pixel, so that each source depth gets a loop of its own.
template <typename Weights>
void ditherRows(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                int32_t width, int32_t height, Weights weights) {
  uint32_t seed = molaq::loadPlainSeed();
  for (int32_t row = 0; row < height; ++row, dst += dstPitch, src += srcPitch) {
    for (int32_t x = 0; x < width; ++x) {
      uint32_t wy, wu, wv;
      weights(src, x, wy, wu, wv);
      uint32_t s = 5 * seed + 0x15768163;
      uint32_t uLevel = ditherLevel(wu, s & 255);
      uint32_t vLevel = ditherLevel(wv, (s >> 8) & 255);
      s = 3 * s + 0x69813827;
      uint32_t yLevel = ditherLevel(wy, (s >> 8) & 255);
      seed = s;
      dst[x] = fixedIndex(yLevel, uLevel, vLevel);
    }
  }
  molaq::storePlainSeed(seed);
}

}  // namespace

void mqConvertTo8BitPlain(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                          int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                          bool grey) {
  if (grey) {
    molaq::convertToGrey(dst, dstPitch, src, srcPitch, width, height, bits, palette);
    return;
  }
  if (bits == 8) {
    uint32_t table[256];
    molaq::paletteToYCC(palette, table);
    ditherRows(dst, dstPitch, src, srcPitch, width, height,
               [&table](const uint8_t* row, int32_t x, uint32_t& wy, uint32_t& wu, uint32_t& wv) {
                 uint32_t word = table[row[x]];
                 wy = 6 * ((word & 255) + 42);
                 wu = 5 * (((word >> 8) & 255) + 34);
                 wv = 5 * (((word >> 16) & 255) + 34);
               });
    return;
  }
  const MOLAQTables& t = mqTables();
  ditherRows(dst, dstPitch, src, srcPitch, width, height,
             [&t](const uint8_t* row, int32_t x, uint32_t& wy, uint32_t& wu, uint32_t& wv) {
               const uint8_t* pixel = row + 3 * x;
               const YCCTerms &b = t.blue[pixel[0]], &g = t.green[pixel[1]], &r = t.red[pixel[2]];
               int32_t luma = (b.y + g.y + r.y) >> 8;
               wy = luma >= 256 ? 3 * 594 : 3 * (2 * luma + 84);
               wu = 5 * std::clamp((b.cb + g.cb + r.cb + 0x9999) >> 8, 0, 280);
               wv = 5 * std::clamp((b.cr + g.cr + r.cr + 0x9999) >> 8, 0, 280);
             });
}
