// The compressor of eight frames.
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "graphics/core/coded_record.h"
#include "graphics/core/frame_coder.h"
#include "graphics/core/molaq.h"
#include "graphics/core/phrase_coder.h"

namespace {

constexpr uint32_t kShortRun = 15;
constexpr uint32_t kPhraseLimit = 4096;

}  // namespace

uint8_t* mqCompressFrames(const FramesHeader* header, const uint8_t* const frames[kCubeFrames],
                          int32_t pitch, uint32_t threshold, uint32_t* byteCount) {
  if (!mqFramesHeaderInRange(*header)) return nullptr;
  const int32_t b = static_cast<int32_t>(header->blockSize), n = 1 << b, macro = 2 * n;
  const int32_t plane = n * n, macroPlane = macro * macro;
  const int32_t width = static_cast<int32_t>(header->width),
                height = static_cast<int32_t>(header->height);
  const CubeQuantisers quantisers(*header);
  const uint16_t* scan = mqScanOrder(n);
  std::vector<float> rgb(3 * macroPlane), luma(kCubeFrames * macroPlane),
      chroma(2 * kCubeFrames * plane);
  std::vector<int32_t> cube(kCubeFrames * plane), symbols;
  const int32_t columns = (width + macro - 1) / macro, rowsOfBlocks = (height + macro - 1) / macro;
  symbols.reserve(static_cast<size_t>(columns) * rowsOfBlocks * 6 * kCubeFrames * plane);

  auto emit = [&](const float* src, int32_t rowLength, int32_t framePitch) {
    mqForwardCube(cube.data(), src, rowLength, framePitch, quantisers.space, quantisers.time, b);
    for (int32_t w = 0; w < kCubeFrames; ++w) {
      for (int32_t p = 0; p < plane; ++p) {
        int32_t c = cube[w * plane + scan[p]];
        bool first = w == 0 && p == 0;
        symbols.push_back(!first && std::abs(c) <= static_cast<int32_t>(threshold) ? 0 : c);
      }
    }
  };
  for (int32_t top = 0; top < height; top += macro) {
    for (int32_t left = 0; left < width; left += macro) {
      for (int32_t t = 0; t < kCubeFrames; ++t) {
        float* y = rgb.data();
        float* cb = y + macroPlane;
        float* cr = cb + macroPlane;
        mqLoadMacroblock(y, cb, cr, frames[t], pitch, width, height, left, top, macro);
        mqRGBToYCC(y, cb, cr, static_cast<uint32_t>(macroPlane));
        std::copy(y, y + macroPlane, luma.begin() + t * macroPlane);
        // Chroma halved both ways: the mean of each 2 by 2 group.
        for (int32_t c = 0; c < 2; ++c) {
          const float* full = c == 0 ? cb : cr;
          float* half = chroma.data() + (c * kCubeFrames + t) * plane;
          for (int32_t r = 0; r < n; ++r) {
            for (int32_t x = 0; x < n; ++x) {
              const float* p = full + 2 * r * macro + 2 * x;
              half[r * n + x] = (p[0] + p[1] + p[macro] + p[macro + 1]) / 4;
            }
          }
        }
      }
      for (int32_t i = 0; i < 4; ++i) {
        emit(luma.data() + (i / 2) * n * macro + (i % 2) * n, macro, macroPlane);
      }
      for (int32_t c = 0; c < 2; ++c) emit(chroma.data() + c * kCubeFrames * plane, n, plane);
    }
  }
  std::vector<uint8_t> stream =
      mqEncodeSymbols(symbols.data(), static_cast<uint32_t>(symbols.size()), kMQUnit32 | kMQSigned,
                      kShortRun, kPhraseLimit);
  return mqPackCodedRecord(*header, kFramesVersion, stream, byteCount);
}

void mqFreeFrames(uint8_t* data) { std::free(data); }
