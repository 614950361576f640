// The compressor of 24-bit pictures.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "graphics/core/image_codec.h"
#include "graphics/core/molaq.h"
#include "graphics/core/phrase_coder.h"

namespace {

// The decoder rounds down twice: the inverse transform's shift by 14 loses half a unit of Y, Cb
// and Cr on average, the colour conversion's shift by 8 half a unit of each channel. One unit
// more of Y and half a unit more of Cb and Cr bring the mean error of every channel back to 0.
constexpr float kLumaLift = 1.0f;
constexpr float kChromaLift = 0.5f;

}  // namespace

uint8_t* mqCompressImage(const ImageHeader* header, const uint8_t* pixels, int32_t pitch,
                         uint32_t* byteCount, uint32_t shortRun, uint32_t phraseLimit,
                         uint32_t threshold) {
  ChromaLayout chroma;
  if (header->blockSize < 3 || header->blockSize > 5 || header->width == 0 ||
      header->height == 0 || !mqChromaLayout(header->chromaFormat, &chroma)) {
    return nullptr;
  }
  const int32_t b = static_cast<int32_t>(header->blockSize);
  const int32_t n = 1 << b, macro = 2 * n;
  const int32_t width = static_cast<int32_t>(header->width), height = static_cast<int32_t>(header->height);
  uint32_t q[32];
  mqMakeQuantTable(q, b, header->curveA, header->curveB, header->curveC);
  const uint16_t* scan = mqScanOrder(n);
  std::vector<float> planes(macro * macro * 3), reduced(macro * macro);
  // Loaded as red, green, blue; the conversion turns them into Y, Cb, Cr in place.
  float* planeY = planes.data();
  float* planeCb = planeY + macro * macro;
  float* planeCr = planeCb + macro * macro;
  std::vector<int32_t> coefficients;
  const int32_t macroColumns = (width + macro - 1) / macro, macroRows = (height + macro - 1) / macro;
  coefficients.reserve(static_cast<size_t>(macroColumns) * macroRows * (4 + 2 * chroma.blocks) * n * n);
  int32_t block[32 * 32];

  auto emit = [&](const float* src, int32_t rowLength) {
    mqForwardBlock(block, src, rowLength, q, b);
    for (int32_t p = 0; p < n * n; ++p) {
      int32_t c = block[scan[p]];
      coefficients.push_back(p > 0 && std::abs(c) <= static_cast<int32_t>(threshold) ? 0 : c);
    }
  };
  for (int32_t my = 0; my < macroRows; ++my) {
    for (int32_t mx = 0; mx < macroColumns; ++mx) {
      mqLoadMacroblock(planeY, planeCb, planeCr, pixels, pitch, width, height, mx * macro,
                       my * macro, macro);
      mqRGBToYCC(planeY, planeCb, planeCr, static_cast<uint32_t>(macro * macro));
      for (int32_t i = 0; i < macro * macro; ++i) {
        planeY[i] += kLumaLift;
        planeCb[i] += kChromaLift;
        planeCr[i] += kChromaLift;
      }
      for (int32_t i = 0; i < 4; ++i) emit(planeY + (i / 2) * n * macro + (i % 2) * n, macro);
      for (const float* plane : {static_cast<const float*>(planeCb), static_cast<const float*>(planeCr)}) {
        // Halve the plane by the chroma format; the result has rows of `macro >> doubleX`.
        int32_t rowLength = macro >> chroma.doubleX, rows = macro >> chroma.doubleY;
        for (int32_t r = 0; r < rows; ++r) {
          for (int32_t c = 0; c < rowLength; ++c) {
            float sum = 0;
            for (int32_t dy = 0; dy <= chroma.doubleY; ++dy) {
              for (int32_t dx = 0; dx <= chroma.doubleX; ++dx) {
                sum += plane[((r << chroma.doubleY) + dy) * macro + (c << chroma.doubleX) + dx];
              }
            }
            reduced[r * rowLength + c] = sum / ((1 + chroma.doubleX) * (1 + chroma.doubleY));
          }
        }
        for (int32_t i = 0; i < chroma.blocks; ++i) {
          emit(reduced.data() + (i / 2) * n * rowLength + (i % 2) * n, rowLength);
        }
      }
    }
  }
  std::vector<uint8_t> stream = mqEncodeSymbols(coefficients.data(), static_cast<uint32_t>(coefficients.size()),
                                                kMQUnit32 | kMQSigned, shortRun, phraseLimit);
  auto* out = static_cast<uint8_t*>(std::malloc(stream.size()));
  std::memcpy(out, stream.data(), stream.size());
  *byteCount = static_cast<uint32_t>(stream.size());
  return out;
}

void mqFreeImage(uint8_t* data) { std::free(data); }
