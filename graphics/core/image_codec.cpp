// Block transforms and the decompressor of 24-bit pictures.
#include "graphics/core/image_codec.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <vector>

#include "graphics/core/inverse_block.h"
#include "graphics/core/molaq.h"
#include "graphics/core/phrase_coder.h"

namespace {

// basis[logSize][i * 32 + k] = cos((2i + 1) k pi / 2^(logSize + 1)) for the 2^logSize samples
// and the at most 32 coefficients of a block.
struct Basis {
  std::vector<double> line[9];
  Basis() {
    for (int n = 3; n <= 8; ++n) {
      int size = 1 << n;
      line[n].resize(size * 32);
      for (int i = 0; i < size; ++i) {
        for (int k = 0; k < 32; ++k) {
          line[n][i * 32 + k] = std::cos((2 * i + 1) * k * std::numbers::pi / (2.0 * size));
        }
      }
    }
  }
};

const Basis& basis() {
  static const Basis b;
  return b;
}

int32_t toInt32(double value) {
  return static_cast<int32_t>(std::clamp(value, -2147483648.0, 2147483647.0));
}

}  // namespace

void mqMakeBitmapHeader(BITMAPINFOHEADER* out, const ImageHeader* header, int32_t scale) {
  std::memset(out, 0, sizeof(*out));
  out->biSize = sizeof(BITMAPINFOHEADER);
  out->biWidth = static_cast<int32_t>(header->width << scale);
  out->biHeight = static_cast<int32_t>(header->height << scale);
  out->biPlanes = 1;
  out->biBitCount = static_cast<uint16_t>(header->bits);
  out->biSizeImage = ((out->biWidth * header->bits + 31) & ~31u) * out->biHeight / 8;
}

void mqFitQuantCurve(int32_t blockSize, double p0, double p1, double p2, int32_t* a, int32_t* b,
                     int32_t* c) {
  // Through (0, y0), (m / 2, y1), (m, y2), half a step up so that the shift's floor lands on them.
  double m = (1 << blockSize) - 1;
  double y0 = p0 - 7 + 0.5, y1 = p1 - 7 + 0.5, y2 = p2 - 7 + 0.5;
  double qa = 2 * (y0 - 2 * y1 + y2) / (m * m);
  double qb = (4 * y1 - 3 * y0 - y2) / m;
  *a = static_cast<int32_t>(std::lround(qa * 65536));
  *b = static_cast<int32_t>(std::lround(qb * 65536));
  *c = static_cast<int32_t>(std::lround(y0 * 65536));
}

void mqMakeQuantTable(uint32_t* q, int32_t blockSize, int32_t a, int32_t b, int32_t c) {
  for (int64_t i = 0; i < (int64_t{1} << blockSize); ++i) {
    int64_t sum = i * i * a + i * b + c;
    int32_t shifted = static_cast<int32_t>(static_cast<uint64_t>(sum >> 16));
    q[i] = static_cast<uint32_t>(std::clamp(shifted + 7, 0, 14));
  }
}

bool mqChromaLayout(uint32_t format, ChromaLayout* layout) {
  switch (format) {
    case kChroma444: *layout = {4, 0, 0}; return true;
    case kChroma422: *layout = {2, 0, 1}; return true;
    case kChroma420: *layout = {1, 1, 1}; return true;
    default: return false;
  }
}

void mqInverseLine(double* dst, int32_t dstStride, const double* src, int32_t srcStride,
                   int32_t count, int32_t logSize) {
  const double* m = basis().line[logSize].data();
  for (int32_t i = 0; i < (1 << logSize); ++i) {
    double sum = 0;
    for (int32_t k = 0; k < count; ++k) sum += src[k * srcStride] * m[i * 32 + k];
    dst[i * dstStride] = sum;
  }
}

void mqForwardBlock(int32_t* dst, const float* src, int32_t pitch, const uint32_t* q,
                    int32_t blockSize) {
  const int32_t n = 1 << blockSize;
  const double* m = basis().line[blockSize].data();
  double rows[32 * 32];
  for (int32_t y = 0; y < n; ++y) {
    for (int32_t u = 0; u < n; ++u) {
      double sum = 0;
      for (int32_t x = 0; x < n; ++x) sum += src[y * pitch + x] * m[x * 32 + u];
      rows[y * n + u] = u == 0 ? sum / 2 : sum;
    }
  }
  const double blockScale = std::ldexp(1.0, 2 - 2 * blockSize);
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t u = 0; u < n; ++u) {
      double sum = 0;
      for (int32_t y = 0; y < n; ++y) sum += rows[y * n + u] * m[y * 32 + v];
      if (v == 0) sum /= 2;
      int shift = 14 - static_cast<int>(q[u] + q[v]);
      dst[v * n + u] = toInt32(std::nearbyint(std::ldexp(sum * blockScale, shift)));
    }
  }
}

void mqLoadMacroblock(float* red, float* green, float* blue, const uint8_t* pixels, int32_t pitch,
                      int32_t width, int32_t height, int32_t x, int32_t y, int32_t side) {
  int32_t columns = std::min(side, width - x), rows = std::min(side, height - y);
  float* planes[3] = {blue, green, red};
  for (int32_t r = 0; r < rows; ++r) {
    const uint8_t* line = pixels + static_cast<size_t>(y + r) * pitch + static_cast<size_t>(x) * 3;
    for (int p = 0; p < 3; ++p) {
      float* out = planes[p] + r * side;
      float sum = 0;
      for (int32_t cIndex = 0; cIndex < columns; ++cIndex) sum += out[cIndex] = line[cIndex * 3 + p];
      std::fill(out + columns, out + side, sum / columns);
    }
  }
  for (int p = 0; p < 3; ++p) {
    for (int32_t cIndex = 0; cIndex < side; ++cIndex) {
      float sum = 0;
      for (int32_t r = 0; r < rows; ++r) sum += planes[p][r * side + cIndex];
      for (int32_t r = rows; r < side; ++r) planes[p][r * side + cIndex] = sum / rows;
    }
  }
}

void mqRGBToYCC(float* first, float* second, float* third, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    float r = first[i], g = second[i], b = third[i];
    first[i] = 0.299f * r + 0.587f * g + 0.114f * b;
    second[i] = -0.1687f * r - 0.3313f * g + 0.5f * b;
    third[i] = 0.5f * r - 0.4187f * g - 0.0813f * b;
  }
}

namespace {

// The kernels a decompressor variant runs: its own, not those of the interface record.
struct DecompressKernels {
  InverseBlockKernel inverse;
  YCCToRGBFn toRGB;
  YCCToIndexedFn toIndexed;
};

uint32_t decompressImage(const DecompressKernels& kernels, const ImageHeader* header, uint8_t* dst,
                         int32_t bits, int32_t pitch, const void* data, int32_t scale, bool grey,
                         uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  ChromaLayout chroma;
  if (header->version != kImageVersion || header->coder != kImageCoder || scale < 0 ||
      scale > 3 || (bits != 8 && bits != 24) || header->blockSize < 3 || header->blockSize > 5 ||
      !mqChromaLayout(header->chromaFormat, &chroma)) {
    return kDecompressUnsupported;
  }
  if (header->width == 0 || header->height == 0) return kDecompressEmpty;
  if (scale > 2 && header->chromaFormat != kChroma444) return kDecompressUnsupported;

  const int32_t b = static_cast<int32_t>(header->blockSize);
  const int32_t n = 1 << b, side = n << scale, macro = 2 * side;
  const int64_t outW = int64_t{header->width} << scale, outH = int64_t{header->height} << scale;
  const int32_t sxChroma = scale + chroma.doubleX, syChroma = scale + chroma.doubleY;
  const int32_t chromaW = n << sxChroma, chromaH = n << syChroma;
  uint32_t q[32];
  mqMakeQuantTable(q, b, header->curveA, header->curveB, header->curveC);
  const uint16_t* scan = mqScanOrder(n);

  MQDecoderState state;
  MQDecoder* decoder = mqOpenDecoder(&state, sizeof(state), data, kMQUnit32 | kMQSigned,
                                     tableLimit, tableMemory, dataSize);
  if (decoder == nullptr) return kDecompressUnsupported;

  // Once per picture: the three planes of a macroblock as rasters of `macro` square, the
  // coefficients of one block (kept zero between blocks) and the converted pixels of the 8-bit
  // output.
  const size_t planeSize = static_cast<size_t>(macro) * macro;
  std::vector<int32_t> planes(planeSize * 3), coefficients(n * n, 0);
  int32_t* luma = planes.data();
  int32_t* cbPlane = luma + planeSize;
  int32_t* crPlane = cbPlane + planeSize;
  std::vector<uint8_t> converted(bits == 8 && !grey ? planeSize : 0);

  // Block number `index` of a plane whose blocks are `width` by `height`: decoded, transformed
  // into its place of the raster, and its coefficients cleared again.
  auto decodeBlock = [&](int32_t* plane, int32_t index, int32_t width, int32_t height, int32_t sx,
                         int32_t sy, bool transform) {
    uint32_t end = mqDecodeScattered(decoder, &state, coefficients.data(), scan, static_cast<uint32_t>(n * n));
    BlockExtent extent = mqScanExtent(n, end);
    if (transform) {
      kernels.inverse(plane + (index / 2) * height * macro + (index % 2) * width, macro,
                      coefficients.data(), q, b, sx, sy, extent);
    }
    for (int32_t v = 0; v < extent.rows; ++v) {
      std::memset(&coefficients[v * n], 0, extent.columns * sizeof(int32_t));
    }
  };

  for (int64_t top = 0; top < outH; top += macro) {
    const int32_t rows = static_cast<int32_t>(std::min<int64_t>(macro, outH - top));
    for (int64_t left = 0; left < outW; left += macro) {
      for (int32_t block = 0; block < 4; ++block) decodeBlock(luma, block, side, side, scale, scale, true);
      for (int32_t* plane : {cbPlane, crPlane}) {
        for (int32_t block = 0; block < chroma.blocks; ++block) {
          decodeBlock(plane, block, chromaW, chromaH, sxChroma, syChroma, !grey);
        }
      }
      const int32_t columns = static_cast<int32_t>(std::min<int64_t>(macro, outW - left));
      uint8_t* out = dst + top * pitch + left * (bits / 8);
      if (grey) {
        for (int32_t r = 0; r < rows; ++r) {
          uint8_t* line = out + static_cast<ptrdiff_t>(r) * pitch;
          for (int32_t i = 0; i < columns; ++i) {
            std::memset(line + i * (bits / 8), std::clamp(luma[r * macro + i], 0, 255), bits / 8);
          }
        }
      } else if (bits == 24) {
        for (int32_t r = 0; r < rows; ++r) {
          kernels.toRGB(out + static_cast<ptrdiff_t>(r) * pitch, luma + r * macro, cbPlane + r * macro,
                        crPlane + r * macro, static_cast<uint32_t>(columns));
        }
      } else {
        // The dither runs on through the whole macroblock, a column of blocks after the other
        // (all of it at once in the half-chroma format), so that its pattern does not depend on
        // the picture's edges.
        const int32_t columnWidth = header->chromaFormat == kChroma420 ? macro : side;
        for (int32_t x = 0; x < macro; x += columnWidth) {
          uint8_t* to = converted.data() + static_cast<size_t>(x) * macro;
          for (int32_t r = 0; r < macro; ++r) {
            size_t at = static_cast<size_t>(r) * macro + x;
            kernels.toIndexed(to + r * columnWidth, luma + at, cbPlane + at, crPlane + at,
                              static_cast<uint32_t>(columnWidth));
          }
          for (int32_t r = 0; r < rows && x < columns; ++r) {
            std::memcpy(out + static_cast<ptrdiff_t>(r) * pitch + x, to + r * columnWidth,
                        static_cast<size_t>(std::min(columnWidth, columns - x)));
          }
        }
      }
    }
  }
  mqCloseDecoder(decoder);
  return kDecompressDone;
}

}  // namespace

uint32_t mqDecompressImagePlain(const ImageHeader* header, uint8_t* dst, int32_t bits,
                                int32_t pitch, const void* data, int32_t scale, bool grey,
                                uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  static constexpr DecompressKernels kPlain{mqInverseBlockKernelPlain, mqYCCToRGBPlain, mqYCCToIndexedPlain};
  return decompressImage(kPlain, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}

uint32_t mqDecompressImageSSE2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  static constexpr DecompressKernels kVector{mqInverseBlockKernelSSE2, mqYCCToRGBSSE2, mqYCCToIndexedSSE2};
  return decompressImage(kVector, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}

uint32_t mqDecompressImageAVX2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  static constexpr DecompressKernels kWide{mqInverseBlockKernelAVX2, mqYCCToRGBSSE2, mqYCCToIndexedSSE2};
  return decompressImage(kWide, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}
