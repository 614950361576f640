// Block transforms and the decompressor of 24-bit pictures.
#include "graphics/core/image_codec.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <vector>

#include "base/os/os.h"
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

constexpr DecompressKernels kPlainKernels{mqInverseBlockKernelPlain, mqYCCToRGBPlain, mqYCCToIndexedPlain};
constexpr DecompressKernels kSSE2Kernels{mqInverseBlockKernelSSE2, mqYCCToRGBSSE2, mqYCCToIndexedSSE2};
constexpr DecompressKernels kAVX2Kernels{mqInverseBlockKernelAVX2, mqYCCToRGBAVX2, mqYCCToIndexedSSE2};

// A picture's decoding in two stages, which may run on two threads: the entropy stage reads
// the coefficients of a macroblock's blocks (in natural order, zero outside their extents), the
// reconstruction stage transforms them into the planes of the macroblock, clears them again and
// converts the planes into the picture.
class PictureDecoder {
 public:
  PictureDecoder(const DecompressKernels& kernels) : kernels_(kernels) {}
  ~PictureDecoder() { mqCloseDecoder(decoder_); }
  PictureDecoder(const PictureDecoder&) = delete;
  PictureDecoder& operator=(const PictureDecoder&) = delete;

  // Checks the parameters and opens the coded stream; kDecompressDone or the refusal.
  uint32_t open(const ImageHeader* header, uint8_t* dst, int32_t bits, int32_t pitch, const void* data,
                int32_t scale, bool grey, uint32_t tableLimit, void* tableMemory, size_t dataSize) {
    if (header->version != kImageVersion || header->coder != kImageCoder || scale < 0 ||
        scale > 3 || (bits != 8 && bits != 24) || header->blockSize < 3 || header->blockSize > 5 ||
        !mqChromaLayout(header->chromaFormat, &chroma_)) {
      return kDecompressUnsupported;
    }
    if (header->width == 0 || header->height == 0) return kDecompressEmpty;
    if (scale > 2 && header->chromaFormat != kChroma444) return kDecompressUnsupported;
    header_ = header;
    dst_ = dst;
    bits_ = bits;
    pitch_ = pitch;
    scale_ = scale;
    grey_ = grey;
    b_ = static_cast<int32_t>(header->blockSize);
    n_ = 1 << b_;
    side_ = n_ << scale;
    macro_ = 2 * side_;
    outW_ = int64_t{header->width} << scale;
    outH_ = int64_t{header->height} << scale;
    sxChroma_ = scale + chroma_.doubleX;
    syChroma_ = scale + chroma_.doubleY;
    mqMakeQuantTable(q_, b_, header->curveA, header->curveB, header->curveC);
    scan_ = mqScanOrder(n_);
    decoder_ = mqOpenDecoder(&state_, sizeof(state_), data, kMQUnit32 | kMQSigned, tableLimit,
                             tableMemory, dataSize);
    if (decoder_ == nullptr) return kDecompressUnsupported;
    // The three planes of a macroblock as rasters of `macro` square, and the converted pixels
    // of the 8-bit output.
    planeSize_ = static_cast<size_t>(macro_) * macro_;
    planes_.assign(planeSize_ * 3, 0);
    converted_.assign(bits == 8 && !grey ? planeSize_ : 0, 0);
    return kDecompressDone;
  }

  int32_t macroblockRows() const { return static_cast<int32_t>((outH_ + macro_ - 1) / macro_); }
  int32_t macroblockColumns() const { return static_cast<int32_t>((outW_ + macro_ - 1) / macro_); }
  int32_t blocksPerMacroblock() const { return 4 + 2 * chroma_.blocks; }
  size_t coefficientsPerMacroblock() const { return static_cast<size_t>(blocksPerMacroblock()) * n_ * n_; }

  // The entropy stage of the next macroblock: its blocks one after the other at `coefficients`
  // (zero on entry), their extents at `extents`.
  void decode(int32_t* coefficients, BlockExtent* extents) {
    const uint32_t count = static_cast<uint32_t>(n_ * n_);
    for (int32_t block = 0; block < blocksPerMacroblock(); ++block, coefficients += count) {
      uint32_t end = mqDecodeScattered(decoder_, &state_, coefficients, scan_, count);
      extents[block] = mqScanExtent(n_, end);
    }
  }

  // The reconstruction stage of the macroblock whose output starts at row `top`, column `left`.
  // Leaves its coefficients zero again.
  void reconstruct(int32_t* coefficients, const BlockExtent* extents, int64_t top, int64_t left) {
    int32_t* luma = planes_.data();
    int32_t* cbPlane = luma + planeSize_;
    int32_t* crPlane = cbPlane + planeSize_;
    const int32_t chromaW = n_ << sxChroma_, chromaH = n_ << syChroma_;
    for (int32_t block = 0; block < blocksPerMacroblock(); ++block) {
      int32_t* c = coefficients + static_cast<size_t>(block) * n_ * n_;
      const BlockExtent extent = extents[block];
      if (block < 4) {
        transform(luma, block, side_, side_, scale_, scale_, c, extent, top, left);
      } else if (!grey_) {
        int32_t index = (block - 4) % chroma_.blocks;
        transform(block - 4 < chroma_.blocks ? cbPlane : crPlane, index, chromaW, chromaH, sxChroma_, syChroma_,
                  c, extent, top, left);
      }
      for (int32_t v = 0; v < extent.rows; ++v) std::memset(c + v * n_, 0, extent.columns * sizeof(int32_t));
    }
    convert(top, left, luma, cbPlane, crPlane);
  }

 private:
  // Block number `index` of a plane whose blocks are `width` by `height`, transformed into its
  // place of the raster of the macroblock at row `top`, column `left`; a block wholly outside
  // the picture is left out, since nothing of it is copied.
  void transform(int32_t* plane, int32_t index, int32_t width, int32_t height, int32_t sx, int32_t sy,
                 const int32_t* coefficients, BlockExtent extent, int64_t top, int64_t left) {
    const int32_t row = (index / 2) * height, column = (index % 2) * width;
    if (top + row >= outH_ || left + column >= outW_) return;
    kernels_.inverse(plane + row * macro_ + column, macro_, coefficients, q_, b_, sx, sy, extent);
  }

  void convert(int64_t top, int64_t left, const int32_t* luma, const int32_t* cbPlane, const int32_t* crPlane) {
    const int32_t macro = macro_, bytes = bits_ / 8;
    const int32_t rows = static_cast<int32_t>(std::min<int64_t>(macro, outH_ - top));
    const int32_t columns = static_cast<int32_t>(std::min<int64_t>(macro, outW_ - left));
    uint8_t* out = dst_ + top * pitch_ + left * bytes;
    if (grey_) {
      for (int32_t r = 0; r < rows; ++r) {
        uint8_t* line = out + static_cast<ptrdiff_t>(r) * pitch_;
        for (int32_t i = 0; i < columns; ++i) {
          std::memset(line + i * bytes, std::clamp(luma[r * macro + i], 0, 255), bytes);
        }
      }
    } else if (bits_ == 24) {
      for (int32_t r = 0; r < rows; ++r) {
        kernels_.toRGB(out + static_cast<ptrdiff_t>(r) * pitch_, luma + r * macro, cbPlane + r * macro,
                       crPlane + r * macro, static_cast<uint32_t>(columns));
      }
    } else {
      // The dither runs on through the whole macroblock, a column of blocks after the other
      // (all of it at once in the half-chroma format), so that its pattern does not depend on
      // the picture's edges.
      const int32_t columnWidth = header_->chromaFormat == kChroma420 ? macro : side_;
      for (int32_t x = 0; x < macro; x += columnWidth) {
        uint8_t* to = converted_.data() + static_cast<size_t>(x) * macro;
        for (int32_t r = 0; r < macro; ++r) {
          size_t at = static_cast<size_t>(r) * macro + x;
          kernels_.toIndexed(to + r * columnWidth, luma + at, cbPlane + at, crPlane + at,
                             static_cast<uint32_t>(columnWidth));
        }
        for (int32_t r = 0; r < rows && x < columns; ++r) {
          std::memcpy(out + static_cast<ptrdiff_t>(r) * pitch_ + x, to + r * columnWidth,
                      static_cast<size_t>(std::min(columnWidth, columns - x)));
        }
      }
    }
  }

  const DecompressKernels& kernels_;
  const ImageHeader* header_ = nullptr;
  uint8_t* dst_ = nullptr;
  int32_t bits_ = 0, pitch_ = 0, scale_ = 0;
  bool grey_ = false;
  ChromaLayout chroma_{};
  int32_t b_ = 0, n_ = 0, side_ = 0, macro_ = 0, sxChroma_ = 0, syChroma_ = 0;
  int64_t outW_ = 0, outH_ = 0;
  uint32_t q_[32] = {};
  const uint16_t* scan_ = nullptr;
  MQDecoderState state_{};
  MQDecoder* decoder_ = nullptr;
  size_t planeSize_ = 0;
  std::vector<int32_t> planes_;
  std::vector<uint8_t> converted_;
};

uint32_t decompressImage(const DecompressKernels& kernels, const ImageHeader* header, uint8_t* dst,
                         int32_t bits, int32_t pitch, const void* data, int32_t scale, bool grey,
                         uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  PictureDecoder picture(kernels);
  uint32_t result = picture.open(header, dst, bits, pitch, data, scale, grey, tableLimit, tableMemory, dataSize);
  if (result != kDecompressDone) return result;
  std::vector<int32_t> coefficients(picture.coefficientsPerMacroblock(), 0);
  BlockExtent extents[12];
  const int64_t macro = int64_t{2} << (header->blockSize + scale);
  for (int32_t row = 0; row < picture.macroblockRows(); ++row) {
    for (int32_t column = 0; column < picture.macroblockColumns(); ++column) {
      picture.decode(coefficients.data(), extents);
      picture.reconstruct(coefficients.data(), extents, row * macro, column * macro);
    }
  }
  return kDecompressDone;
}

// The two stages on two threads: a helper thread runs the entropy stage a row of macroblocks
// at a time into a ring of rows, the caller's thread reconstructs them behind it. Each side
// publishes its count of finished rows and sets its event; the other waits on that event while
// the count does not let it go on.
class TwoThreadDecode {
 public:
  static constexpr int32_t kRingRows = 3;

  explicit TwoThreadDecode(PictureDecoder& picture)
      : picture_(picture),
        rowSize_(picture.coefficientsPerMacroblock() * picture.macroblockColumns()),
        coefficients_(rowSize_ * kRingRows, 0),
        extents_(static_cast<size_t>(picture.blocksPerMacroblock()) * picture.macroblockColumns() * kRingRows) {}

  // False if the helper thread could not start; nothing was decoded then.
  bool run(int64_t macro) {
    decoded_.event = os::createEvent(false, false);
    freed_.event = os::createEvent(false, false);
    os::Thread* helper = os::startThread(&TwoThreadDecode::entropyStage, this);
    if (helper != nullptr) {
      for (int32_t row = 0; row < picture_.macroblockRows(); ++row) {
        decoded_.waitFor(row + 1);
        for (int32_t column = 0; column < picture_.macroblockColumns(); ++column) {
          picture_.reconstruct(coefficientsOf(row, column), extentsOf(row, column), row * macro, column * macro);
        }
        freed_.publish(row + 1);
      }
      os::waitThread(helper, os::kWaitForever);
      os::closeThread(helper);
    }
    os::closeEvent(decoded_.event);
    os::closeEvent(freed_.event);
    return helper != nullptr;
  }

 private:
  struct Progress {
    std::atomic<int32_t> rows{0};
    os::EventHandle event = nullptr;
    void publish(int32_t count) {
      rows.store(count, std::memory_order_release);
      os::setEvent(event);
    }
    void waitFor(int32_t count) {
      while (rows.load(std::memory_order_acquire) < count) os::waitEvent(event);
    }
  };

  static void entropyStage(void* self) {
    auto* decode = static_cast<TwoThreadDecode*>(self);
    PictureDecoder& picture = decode->picture_;
    for (int32_t row = 0; row < picture.macroblockRows(); ++row) {
      decode->freed_.waitFor(row + 1 - kRingRows);
      for (int32_t column = 0; column < picture.macroblockColumns(); ++column) {
        picture.decode(decode->coefficientsOf(row, column), decode->extentsOf(row, column));
      }
      decode->decoded_.publish(row + 1);
    }
  }

  int32_t* coefficientsOf(int32_t row, int32_t column) {
    return coefficients_.data() + rowSize_ * (row % kRingRows) + picture_.coefficientsPerMacroblock() * column;
  }
  BlockExtent* extentsOf(int32_t row, int32_t column) {
    size_t perRow = static_cast<size_t>(picture_.blocksPerMacroblock()) * picture_.macroblockColumns();
    return extents_.data() + perRow * (row % kRingRows) + static_cast<size_t>(picture_.blocksPerMacroblock()) * column;
  }

  PictureDecoder& picture_;
  size_t rowSize_;
  std::vector<int32_t> coefficients_;
  std::vector<BlockExtent> extents_;
  Progress decoded_, freed_;
};

// The kernels of the variant that the live record holds.
const DecompressKernels& liveKernels() {
  auto live = mqGetInterface()->mqDecompressImage;
  if (live == mqDecompressImageAVX2) return kAVX2Kernels;
  if (live == mqDecompressImageSSE2) return kSSE2Kernels;
  return kPlainKernels;
}

}  // namespace

uint32_t mqDecompressImageTwoThreads(const ImageHeader* header, uint8_t* dst, int32_t bits,
                                     int32_t pitch, const void* data, int32_t scale, bool grey,
                                     uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  const DecompressKernels& kernels = liveKernels();
  PictureDecoder picture(kernels);
  uint32_t result = picture.open(header, dst, bits, pitch, data, scale, grey, tableLimit, tableMemory, dataSize);
  if (result != kDecompressDone) return result;
  TwoThreadDecode decode(picture);
  if (decode.run(int64_t{2} << (header->blockSize + scale))) return kDecompressDone;
  return decompressImage(kernels, header, dst, bits, pitch, data, scale, grey, tableLimit, tableMemory, dataSize);
}

uint32_t mqDecompressImagePlain(const ImageHeader* header, uint8_t* dst, int32_t bits,
                                int32_t pitch, const void* data, int32_t scale, bool grey,
                                uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  return decompressImage(kPlainKernels, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}

uint32_t mqDecompressImageSSE2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  return decompressImage(kSSE2Kernels, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}

uint32_t mqDecompressImageAVX2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize) {
  return decompressImage(kAVX2Kernels, header, dst, bits, pitch, data, scale, grey, tableLimit,
                         tableMemory, dataSize);
}
