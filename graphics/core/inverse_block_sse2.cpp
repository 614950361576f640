// The vector inverse block transform (SSE2, single precision). Columns first with four
// coefficient columns per vector, then rows with four outputs per vector; both halves of a line
// come from one even and one odd sum. The results lie within 1 of the plain kernel's: a float
// carries 24 bits, which leaves the sums of a picture's blocks a few thousandths of a step from
// the double ones, and only a value that close to a step lands on the other side.
#include <emmintrin.h>

#include <bit>
#include <vector>

#include "graphics/core/inverse_block.h"

namespace {

// The cosines of mqHalfBasis in two shapes (on the heap, so not aligned to 16 bytes on every
// system: loaded unaligned): `spread` holds each (output, coefficient) entry four
// times, to multiply a vector of four columns; `across` holds for each coefficient the outputs
// of the first half in a row, to multiply four outputs at once.
struct VectorBases {
  std::vector<float> spread[9], across[9];
  VectorBases() {
    for (int n = 3; n <= 8; ++n) {
      const int half = 1 << (n - 1);
      const double* basis = mqHalfBasis(n);
      spread[n].resize(half * 32 * 4);
      across[n].resize(32 * half);
      for (int i = 0; i < half; ++i) {
        for (int k = 0; k < 32; ++k) {
          auto value = static_cast<float>(basis[i * 32 + k]);
          for (int lane = 0; lane < 4; ++lane) spread[n][(i * 32 + k) * 4 + lane] = value;
          across[n][k * half + i] = value;
        }
      }
    }
  }
};

const VectorBases& vectorBases() {
  static const VectorBases bases;
  return bases;
}

}  // namespace

const float* mqSpreadBasis(int32_t logSize) { return vectorBases().spread[logSize].data(); }
const float* mqAcrossBasis(int32_t logSize) { return vectorBases().across[logSize].data(); }

namespace {

__m128i floorToInt(__m128 value) {
  __m128i truncated = _mm_cvttps_epi32(value);
  // Truncation went up for negative fractions: take one off there.
  return _mm_add_epi32(truncated, _mm_castps_si128(_mm_cmpgt_ps(_mm_cvtepi32_ps(truncated), value)));
}

__m128 reversed(__m128 value) { return _mm_shuffle_ps(value, value, _MM_SHUFFLE(0, 1, 2, 3)); }

// 2^(q[i] - 7), or 1 without q: the scale splits into a row and a column factor, whose product
// with the shift by 14 left out is exact.
float scaleOf(const uint32_t* q, int32_t i) {
  return q ? std::bit_cast<float>(static_cast<uint32_t>(127 + static_cast<int32_t>(q[i]) - 7) << 23) : 1.0f;
}

void fill(int32_t* dst, ptrdiff_t stride, int32_t w, int32_t h, int32_t value) {
  const __m128i v = _mm_set1_epi32(value);
  for (int32_t j = 0; j < h; ++j) {
    for (int32_t i = 0; i < w; i += 4) _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + j * stride + i), v);
  }
}

// The two passes for outputs of `width` by `height`; `Width` and `Height` fix them at compile
// time for the common small blocks (0: given at run time), so that their loops unroll.
template <int32_t Width, int32_t Height>
void columnsThenRows(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients, int32_t blockSize,
                     int32_t logWidth, int32_t logHeight, const float* rowScale, const float* columnScale,
                     __m128 bias, BlockExtent extent) {
  const int32_t n = 1 << blockSize;
  const int32_t w = Width ? Width : 1 << logWidth, h = Height ? Height : 1 << logHeight;
  const VectorBases& bases = vectorBases();
  const int32_t groups = (extent.columns + 3) / 4, rowLength = groups * 4;
  alignas(16) float columns[256 * 32];

  // Columns: four coefficient columns at a time down all h outputs.
  const float* spread = bases.spread[logHeight].data();
  for (int32_t g = 0; g < groups; ++g) {
    __m128 x[32];
    const __m128 scale = _mm_load_ps(columnScale + 4 * g);
    for (int32_t v = 0; v < extent.rows; ++v) {
      __m128 c = _mm_cvtepi32_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(coefficients + v * n + 4 * g)));
      x[v] = _mm_mul_ps(c, _mm_mul_ps(scale, _mm_set1_ps(rowScale[v])));
    }
    for (int32_t j = 0; j < h / 2; ++j) {
      const float* cosines = spread + j * 32 * 4;
      __m128 even = _mm_mul_ps(x[0], _mm_loadu_ps(cosines));
      __m128 odd = _mm_setzero_ps();
      for (int32_t v = 1; v < extent.rows; v += 2) {
        odd = _mm_add_ps(odd, _mm_mul_ps(x[v], _mm_loadu_ps(cosines + 4 * v)));
        if (v + 1 < extent.rows) even = _mm_add_ps(even, _mm_mul_ps(x[v + 1], _mm_loadu_ps(cosines + 4 * v + 4)));
      }
      _mm_store_ps(columns + j * rowLength + 4 * g, _mm_add_ps(even, odd));
      _mm_store_ps(columns + (h - 1 - j) * rowLength + 4 * g, _mm_sub_ps(even, odd));
    }
  }

  // Rows: four outputs of the first half at a time, and the mirrored four of the second.
  const float* across = bases.across[logWidth].data();
  const int32_t half = w / 2;
  for (int32_t j = 0; j < h; ++j) {
    const float* row = columns + j * rowLength;
    int32_t* out = dst + j * stride;
    for (int32_t i = 0; i < half; i += 4) {
      __m128 even = _mm_mul_ps(_mm_set1_ps(row[0]), _mm_loadu_ps(across + i));
      __m128 odd = _mm_setzero_ps();
      for (int32_t u = 1; u < extent.columns; u += 2) {
        odd = _mm_add_ps(odd, _mm_mul_ps(_mm_set1_ps(row[u]), _mm_loadu_ps(across + u * half + i)));
        if (u + 1 < extent.columns) {
          even = _mm_add_ps(even, _mm_mul_ps(_mm_set1_ps(row[u + 1]), _mm_loadu_ps(across + (u + 1) * half + i)));
        }
      }
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), floorToInt(_mm_add_ps(_mm_add_ps(even, odd), bias)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + w - 4 - i),
                       floorToInt(_mm_add_ps(reversed(_mm_sub_ps(even, odd)), bias)));
    }
  }
}

}  // namespace

void mqInverseBlockKernelSSE2(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                              const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                              BlockExtent extent) {
  const int32_t n = 1 << blockSize, w = n << sx, h = n << sy;
  if (extent.rows == 0) return fill(dst, stride, w, h, 0);
  // With q the results are the sums scaled by 2^-14 rounded and then floored; adding 2^-15
  // before the floor stands for that rounding. Without q they are rounded to nearest.
  const __m128 bias = _mm_set1_ps(q ? 0x1p-15f : 0.5f);
  if (extent.rows == 1 && extent.columns == 1) {
    float scale = scaleOf(q, 0);
    __m128 dc = _mm_set1_ps(static_cast<float>(coefficients[0]) * scale * scale);
    return fill(dst, stride, w, h, _mm_cvtsi128_si32(floorToInt(_mm_add_ps(dc, bias))));
  }
  alignas(16) float rowScale[32], columnScale[32];
  for (int32_t i = 0; i < n; ++i) rowScale[i] = columnScale[i] = scaleOf(q, i);
  const int32_t logWidth = blockSize + sx, logHeight = blockSize + sy;
  auto run = [&](auto transform) {
    transform(dst, stride, coefficients, blockSize, logWidth, logHeight, rowScale, columnScale, bias, extent);
  };
  switch (w * 1000 + h) {
    case 8008: return run(columnsThenRows<8, 8>);
    case 8016: return run(columnsThenRows<8, 16>);
    case 16016: return run(columnsThenRows<16, 16>);
    default: return run(columnsThenRows<0, 0>);
  }
}
