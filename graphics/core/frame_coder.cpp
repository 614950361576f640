// The moving-picture coder: cube transforms and the decompressor of eight frames.
#include "graphics/core/frame_coder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "graphics/core/coded_record.h"
#include "graphics/core/dct.h"
#include "graphics/core/image_codec.h"
#include "graphics/core/molaq.h"

namespace {

constexpr int kCubeShift = 21;  // 3 axes of the neutral quantiser shift 7

int32_t roundToInt32(double value) {
  return static_cast<int32_t>(std::clamp(std::nearbyint(value), -0x1p30, 0x1p30));
}

}  // namespace

void mqForwardCube(int32_t* dst, const float* src, int32_t pitch, int32_t framePitch,
                   const uint32_t* q, const uint32_t* qt, int32_t blockSize) {
  mqCheckCubeSize(blockSize, 0);
  const int32_t n = 1 << blockSize, plane = n * n;
  std::vector<double> samples(kCubeFrames * plane), rows(kCubeFrames * plane);
  for (int32_t t = 0; t < kCubeFrames; ++t) {
    for (int32_t y = 0; y < n; ++y) {
      const float* line =
          src + static_cast<ptrdiff_t>(t) * framePitch + static_cast<ptrdiff_t>(y) * pitch;
      std::copy(line, line + n, samples.begin() + t * plane + y * n);
    }
  }
  for (int32_t line = 0; line < kCubeFrames * n; ++line) {
    mqForwardDCT(rows.data() + line * n, samples.data() + line * n, 1, blockSize);
  }
  double column[32], time[kCubeFrames];
  for (int32_t t = 0; t < kCubeFrames; ++t) {
    for (int32_t u = 0; u < n; ++u) {
      mqForwardDCT(column, rows.data() + t * plane + u, n, blockSize);
      for (int32_t v = 0; v < n; ++v) samples[t * plane + v * n + u] = column[v];
    }
  }
  // Each axis's forward and inverse transforms multiply by half the axis's length.
  const double norm = std::ldexp(1.0, 2 * (1 - blockSize) + 1 - kCubeFramesLog);
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t u = 0; u < n; ++u) {
      mqForwardDCT(time, samples.data() + v * n + u, plane, kCubeFramesLog);
      for (int32_t w = 0; w < kCubeFrames; ++w) {
        int shift = kCubeShift - static_cast<int>(q[u] + q[v] + qt[w]);
        dst[w * plane + v * n + u] = roundToInt32(std::ldexp(time[w] * norm, shift));
      }
    }
  }
}

void mqInverseCubePlain(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                        int32_t blockSize, int32_t scale) {
  mqCheckCubeSize(blockSize, scale);
  const int32_t n = 1 << blockSize, side = n << scale, logSide = blockSize + scale;
  const int32_t plane = n * n, outPlane = side * side;
  // A line of n coefficients read `stride` apart, padded with zeros to `1 << logSize`.
  double padded[64] = {}, line[64];
  auto inverseLine = [&](const double* in, int32_t stride, int32_t count, int32_t logSize) {
    for (int32_t k = 0; k < count; ++k) padded[k] = in[k * stride];
    mqInverseDCT(line, padded, 1, logSize);
  };
  std::vector<double> coefficients(kCubeFrames * plane), rows(kCubeFrames * n * side),
      columns(kCubeFrames * outPlane);
  for (int32_t w = 0; w < kCubeFrames; ++w) {
    for (int32_t v = 0; v < n; ++v) {
      for (int32_t u = 0; u < n; ++u) {
        int shift = static_cast<int>(q[u] + q[v] + qt[w]) - kCubeShift;
        coefficients[w * plane + v * n + u] = std::ldexp(double(src[w * plane + v * n + u]), shift);
      }
    }
  }
  for (int32_t r = 0; r < kCubeFrames * n; ++r) {
    inverseLine(coefficients.data() + r * n, 1, n, logSide);
    std::copy(line, line + side, rows.begin() + r * side);
  }
  for (int32_t w = 0; w < kCubeFrames; ++w) {
    for (int32_t x = 0; x < side; ++x) {
      inverseLine(rows.data() + w * n * side + x, side, n, logSide);
      for (int32_t y = 0; y < side; ++y) columns[w * outPlane + y * side + x] = line[y];
    }
  }
  for (int32_t i = 0; i < outPlane; ++i) {
    inverseLine(columns.data() + i, outPlane, kCubeFrames, kCubeFramesLog);
    for (int32_t t = 0; t < kCubeFrames; ++t) dst[t * outPlane + i] = roundToInt32(line[t]);
  }
}

bool mqFramesHeaderInRange(const FramesHeader& h) {
  return h.width >= 1 && h.width <= kFramesMaxSide && h.height >= 1 && h.height <= kFramesMaxSide &&
         h.blockSize >= 3 && h.blockSize <= 5;
}

CubeQuantisers::CubeQuantisers(const FramesHeader& h) {
  mqMakeQuantTable(space, static_cast<int32_t>(h.blockSize), h.curveA, h.curveB, h.curveC);
  mqMakeQuantTable(time, kCubeFramesLog, h.timeA, h.timeB, h.timeC);
}

uint32_t mqReadFramesHeader(const void* data, size_t size, FramesHeader* header) {
  bool valid = mqUnpackCodedRecord(data, size, kFramesVersion, header) && mqFramesHeaderInRange(*header);
  return valid ? kFramesDone : kFramesBadHeader;
}

namespace {

using InverseCubeFn = void (*)(int32_t*, const int32_t*, const uint32_t*, const uint32_t*, int32_t,
                               int32_t);

uint32_t decompressFrames(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                          int32_t pitch, InverseCubeFn inverseCube, YCCToRGBFn toRGB) {
  FramesHeader header;
  if (uint32_t result = mqReadFramesHeader(data, size, &header)) return result;
  MQDecoderState state;
  MQDecoderHandle decoder = mqOpenCodedRecord(data, header, &state);
  if (!decoder) return kFramesBadStream;

  const int32_t b = static_cast<int32_t>(header.blockSize), n = 1 << b, macro = 2 * n;
  const int32_t plane = n * n, macroPlane = macro * macro;
  const int32_t width = static_cast<int32_t>(header.width),
                height = static_cast<int32_t>(header.height);
  const CubeQuantisers quantisers(header);
  const uint16_t* scan = mqScanOrder(n);
  std::vector<int32_t> symbols(kCubeFrames * plane), coefficients(kCubeFrames * plane);
  std::vector<int32_t> luma(4 * kCubeFrames * plane), chroma(2 * kCubeFrames * macroPlane);
  std::vector<uint8_t> pixels(static_cast<size_t>(macro) * 3);
  for (int32_t top = 0; top < height; top += macro) {
    for (int32_t left = 0; left < width; left += macro) {
      for (int32_t i = 0; i < 6; ++i) {
        mqDecode(decoder.get(), &state, symbols.data(), static_cast<uint32_t>(symbols.size()));
        for (int32_t w = 0; w < kCubeFrames; ++w) {
          for (int32_t p = 0; p < plane; ++p) {
            coefficients[w * plane + scan[p]] = symbols[w * plane + p];
          }
        }
        int32_t* out = i < 4 ? luma.data() + i * kCubeFrames * plane
                             : chroma.data() + (i - 4) * kCubeFrames * macroPlane;
        inverseCube(out, coefficients.data(), quantisers.space, quantisers.time, b, i < 4 ? 0 : 1);
      }
      const int32_t rows = std::min(macro, height - top),
                    copyBytes = std::min(macro, width - left) * 3;
      for (int32_t t = 0; t < kCubeFrames; ++t) {
        const int32_t* cb = chroma.data() + t * macroPlane;
        const int32_t* cr = cb + kCubeFrames * macroPlane;
        for (int32_t r = 0; r < rows; ++r) {
          // The luminance of this row lies in the left and the right cube of its half.
          const int32_t* lumaRow =
              luma.data() + ((r / n) * 2 * kCubeFrames + t) * plane + (r % n) * n;
          for (int32_t half = 0; half < 2; ++half) {
            toRGB(pixels.data() + half * n * 3, lumaRow + half * kCubeFrames * plane,
                  cb + r * macro + half * n, cr + r * macro + half * n, static_cast<uint32_t>(n));
          }
          std::memcpy(frames[t] + static_cast<ptrdiff_t>(top + r) * pitch +
                          static_cast<ptrdiff_t>(left) * 3,
                      pixels.data(), copyBytes);
        }
      }
    }
  }
  return kFramesDone;
}

}  // namespace

uint32_t mqDecompressFramesPlain(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                                 int32_t pitch) {
  return decompressFrames(data, size, frames, pitch, mqInverseCubePlain, mqYCCToRGBPlain);
}

uint32_t mqDecompressFramesSSE2(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                                int32_t pitch) {
  return decompressFrames(data, size, frames, pitch, mqInverseCubeSSE2, mqYCCToRGBSSE2);
}
