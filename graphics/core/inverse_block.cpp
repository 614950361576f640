// The plain inverse block transform: separable, rows first, each line by an even/odd split
// (partial butterflies) in double precision, and only over the rows and columns that hold
// non-zero coefficients.
#include "graphics/core/inverse_block.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <vector>

#include "graphics/core/image_codec.h"
#include "graphics/core/molaq.h"

namespace {

struct HalfBases {
  std::vector<double> line[9];
  HalfBases() {
    for (int n = 1; n <= 8; ++n) {
      int half = 1 << (n - 1);
      line[n].resize(half * 32);
      for (int i = 0; i < half; ++i) {
        for (int k = 0; k < 32; ++k) {
          line[n][i * 32 + k] = std::cos((2 * i + 1) * k * std::numbers::pi / (2.0 * (1 << n)));
        }
      }
    }
  }
};

// Extents of the first p positions of each zig-zag order, p from 0 to n * n.
struct ScanExtents {
  std::vector<BlockExtent> bySize[6];
  ScanExtents() {
    for (int b = 3; b <= 5; ++b) {
      int n = 1 << b;
      const uint16_t* scan = mqScanOrder(n);
      std::vector<BlockExtent>& e = bySize[b];
      e.resize(n * n + 1);
      e[0] = {0, 0};
      for (int p = 0; p < n * n; ++p) {
        e[p + 1] = {std::max(e[p].rows, scan[p] / n + 1), std::max(e[p].columns, scan[p] % n + 1)};
      }
    }
  }
};

// y[i] = sum over k below `count` of x[k] cos((2i + 1) k pi / 2L), for the L outputs. The even
// coefficients make a transform of half the size; the odd ones give the part that the mirrored
// output subtracts.
template <int L>
void inverseLine(const double* x, int32_t count, double* y) {
  if constexpr (L == 1) {
    y[0] = count > 0 ? x[0] : 0.0;
  } else {
    constexpr int half = L / 2;
    double even[half < 16 ? half : 16] = {};
    const int32_t evenCount = (count + 1) / 2, oddCount = count / 2;
    for (int32_t m = 0; m < evenCount; ++m) even[m] = x[2 * m];
    double e[half];
    inverseLine<half>(even, evenCount, e);
    const double* basis = mqHalfBasis(std::countr_zero(static_cast<unsigned>(L)));
    for (int i = 0; i < half; ++i) {
      const double* row = basis + i * 32;
      double odd = 0;
      for (int32_t m = 0; m < oddCount; ++m) odd += x[2 * m + 1] * row[2 * m + 1];
      y[i] = e[i] + odd;
      y[L - 1 - i] = e[i] - odd;
    }
  }
}

void inverseLineOfSize(int32_t logSize, const double* x, int32_t count, double* y) {
  switch (logSize) {
    case 3: return inverseLine<8>(x, count, y);
    case 4: return inverseLine<16>(x, count, y);
    case 5: return inverseLine<32>(x, count, y);
    case 6: return inverseLine<64>(x, count, y);
    case 7: return inverseLine<128>(x, count, y);
    default: return inverseLine<256>(x, count, y);
  }
}

// Rounds to the nearest integer (ties to even) by the double's own rounding: adding 1.5 * 2^52
// leaves the integer in the low bits of the mantissa. Exact for magnitudes below 2^51.
int64_t roundToInt64(double value) {
  if (!(std::abs(value) < 0x1p50)) return value < 0 ? INT32_MIN : INT32_MAX;
  double shifted = value + 0x1.8p52;
  int64_t bits;
  std::memcpy(&bits, &shifted, sizeof bits);
  return (bits & ((int64_t{1} << 52) - 1)) - (int64_t{1} << 51);
}

// The checks and the copy that both public variants make before their kernel runs.
void runInverseBlock(InverseBlockKernel kernel, int32_t* dst, const int32_t* src,
                     const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy) {
  if (blockSize < 3 || blockSize > 5 || sx < 0 || sy < 0 || sx > 3 || sy > 3 ||
      blockSize + sx > 8 || blockSize + sy > 8) {
    std::abort();
  }
  const int32_t n = 1 << blockSize, w = n << sx;
  int32_t coefficients[32 * 32];
  for (int32_t v = 0; v < n; ++v) std::memcpy(coefficients + v * n, src + v * w, n * sizeof(int32_t));
  kernel(dst, w, coefficients, q, blockSize, sx, sy, mqFindBlockExtent(coefficients, n, n));
}

}  // namespace

const double* mqHalfBasis(int32_t logSize) {
  static const HalfBases bases;
  return bases.line[logSize].data();
}

BlockExtent mqFindBlockExtent(const int32_t* coefficients, int32_t rowLength, int32_t n) {
  BlockExtent extent{0, 0};
  for (int32_t v = 0; v < n; ++v) {
    const int32_t* row = coefficients + v * rowLength;
    int32_t last = n;
    while (last > 0 && row[last - 1] == 0) --last;
    if (last > 0) extent = {v + 1, std::max(extent.columns, last)};
  }
  return extent;
}

BlockExtent mqScanExtent(int32_t n, uint32_t end) {
  static const ScanExtents extents;
  return extents.bySize[std::countr_zero(static_cast<unsigned>(n))][end];
}

void mqInverseBlockKernelPlain(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                               const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                               BlockExtent extent) {
  const int32_t n = 1 << blockSize, w = n << sx, h = n << sy;
  double power[29];
  for (int i = 0; i < 29; ++i) power[i] = static_cast<double>(int64_t{1} << i);
  double rows[32 * 256];
  double line[256], column[256], out[256];
  for (int32_t v = 0; v < extent.rows; ++v) {
    for (int32_t u = 0; u < extent.columns; ++u) {
      int32_t c = coefficients[v * n + u];
      line[u] = q ? c * power[q[v] + q[u]] : c;
    }
    inverseLineOfSize(blockSize + sx, line, extent.columns, rows + v * w);
  }
  const int shift = q ? 14 : 0;
  for (int32_t i = 0; i < w; ++i) {
    for (int32_t v = 0; v < extent.rows; ++v) column[v] = rows[v * w + i];
    inverseLineOfSize(blockSize + sy, column, extent.rows, out);
    for (int32_t j = 0; j < h; ++j) dst[j * stride + i] = static_cast<int32_t>(roundToInt64(out[j]) >> shift);
  }
}

void mqInverseBlockPlain(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                         int32_t sx, int32_t sy, double* /*work*/) {
  runInverseBlock(mqInverseBlockKernelPlain, dst, src, q, blockSize, sx, sy);
}

void mqInverseBlockSSE2(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                        int32_t sx, int32_t sy, double* /*work*/) {
  runInverseBlock(mqInverseBlockKernelSSE2, dst, src, q, blockSize, sx, sy);
}

void mqInverseBlockAVX2(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                        int32_t sx, int32_t sy, double* /*work*/) {
  runInverseBlock(mqInverseBlockKernelAVX2, dst, src, q, blockSize, sx, sy);
}
