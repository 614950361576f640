// The AVX2 inverse block transform: the two passes of the SSE2 kernel with eight lanes and fused
// multiply-adds, for outputs at least 16 wide (narrower blocks, empty blocks and lone DC
// coefficients go to the SSE2 kernel). Fused products round once instead of twice, so the
// results stay within 1 of the plain kernel's like the SSE2 ones.
#include <immintrin.h>

#include "graphics/core/inverse_block.h"

namespace {

__m256i floorToInt(__m256 value) { return _mm256_cvttps_epi32(_mm256_floor_ps(value)); }

__m256 reversed(__m256 value) {
  return _mm256_permutevar8x32_ps(value, _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0));
}

// 2^(q[i] - 7), or 1 without q, as in the SSE2 kernel.
float scaleOf(const uint32_t* q, int32_t i) {
  if (q == nullptr) return 1.0f;
  return _mm_cvtss_f32(_mm_castsi128_ps(_mm_cvtsi32_si128((127 + static_cast<int32_t>(q[i]) - 7) << 23)));
}

// Columns: eight coefficient columns `x` (the extent's rows) down four output rows j to j + 3
// and their mirrors, into `columns`. The sums of the four rows and of the even and odd
// coefficients are independent chains, which keeps the multiply-adds in flight.
void fourColumnOutputs(const __m256* x, int32_t rows, const float* spread, int32_t j, int32_t h,
                       float* columns, int32_t rowLength) {
  __m256 even[4], odd[4];
#pragma GCC unroll 4
  for (int t = 0; t < 4; ++t) {
    even[t] = _mm256_mul_ps(x[0], _mm256_broadcast_ss(spread + (j + t) * 128));
    odd[t] = _mm256_setzero_ps();
  }
  for (int32_t v = 1; v < rows; v += 2) {
#pragma GCC unroll 4
    for (int t = 0; t < 4; ++t) odd[t] = _mm256_fmadd_ps(x[v], _mm256_broadcast_ss(spread + (j + t) * 128 + 4 * v), odd[t]);
  }
  for (int32_t v = 2; v < rows; v += 2) {
#pragma GCC unroll 4
    for (int t = 0; t < 4; ++t) even[t] = _mm256_fmadd_ps(x[v], _mm256_broadcast_ss(spread + (j + t) * 128 + 4 * v), even[t]);
  }
#pragma GCC unroll 4
  for (int t = 0; t < 4; ++t) {
    _mm256_store_ps(columns + (j + t) * rowLength, _mm256_add_ps(even[t], odd[t]));
    _mm256_store_ps(columns + (h - 1 - j - t) * rowLength, _mm256_sub_ps(even[t], odd[t]));
  }
}

// Rows: kRows rows of `columns` from row j, each onto kGroups groups of eight outputs of the
// first half from output i and their mirrors in the second half.
template <int kRows, int kGroups>
void rowOutputs(const float* columns, int32_t rowLength, int32_t count, const float* across, int32_t half,
                int32_t j, int32_t i, __m256 bias, int32_t* dst, ptrdiff_t stride) {
  __m256 even[kRows][kGroups], odd[kRows][kGroups];
  for (int r = 0; r < kRows; ++r) {
    __m256 first = _mm256_set1_ps(columns[(j + r) * rowLength]);
    for (int g = 0; g < kGroups; ++g) {
      even[r][g] = _mm256_mul_ps(first, _mm256_loadu_ps(across + i + 8 * g));
      odd[r][g] = _mm256_setzero_ps();
    }
  }
  for (int32_t u = 1; u < count; u += 2) {
#pragma GCC unroll 4
    for (int r = 0; r < kRows; ++r) {
      __m256 c = _mm256_set1_ps(columns[(j + r) * rowLength + u]);
#pragma GCC unroll 2
      for (int g = 0; g < kGroups; ++g) odd[r][g] = _mm256_fmadd_ps(c, _mm256_loadu_ps(across + u * half + i + 8 * g), odd[r][g]);
    }
  }
  for (int32_t u = 2; u < count; u += 2) {
#pragma GCC unroll 4
    for (int r = 0; r < kRows; ++r) {
      __m256 c = _mm256_set1_ps(columns[(j + r) * rowLength + u]);
#pragma GCC unroll 2
      for (int g = 0; g < kGroups; ++g) even[r][g] = _mm256_fmadd_ps(c, _mm256_loadu_ps(across + u * half + i + 8 * g), even[r][g]);
    }
  }
  const int32_t w = 2 * half;
  for (int r = 0; r < kRows; ++r) {
    int32_t* out = dst + (j + r) * stride;
    for (int g = 0; g < kGroups; ++g) {
      int32_t at = i + 8 * g;
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + at), floorToInt(_mm256_add_ps(_mm256_add_ps(even[r][g], odd[r][g]), bias)));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + w - 8 - at),
                          floorToInt(_mm256_add_ps(reversed(_mm256_sub_ps(even[r][g], odd[r][g])), bias)));
    }
  }
}

}  // namespace

void mqInverseBlockKernelAVX2(int32_t* dst, ptrdiff_t stride, const int32_t* coefficients,
                              const uint32_t* q, int32_t blockSize, int32_t sx, int32_t sy,
                              BlockExtent extent) {
  const int32_t n = 1 << blockSize, logWidth = blockSize + sx, logHeight = blockSize + sy;
  const int32_t w = 1 << logWidth, h = 1 << logHeight;
  if (w < 16 || extent.rows == 0 || (extent.rows == 1 && extent.columns == 1)) {
    return mqInverseBlockKernelSSE2(dst, stride, coefficients, q, blockSize, sx, sy, extent);
  }
  const __m256 bias = _mm256_set1_ps(q ? 0x1p-15f : 0.5f);
  alignas(32) float scale[32];
  for (int32_t i = 0; i < n; ++i) scale[i] = scaleOf(q, i);

  // Columns: eight coefficient columns at a time down all h outputs.
  const int32_t groups = (extent.columns + 7) / 8, rowLength = groups * 8;
  alignas(32) float columns[256 * 32];
  const float* spread = mqSpreadBasis(logHeight);
  for (int32_t g = 0; g < groups; ++g) {
    __m256 x[32];
    const __m256 columnScale = _mm256_load_ps(scale + 8 * g);
    for (int32_t v = 0; v < extent.rows; ++v) {
      __m256 c = _mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(coefficients + v * n + 8 * g)));
      x[v] = _mm256_mul_ps(c, _mm256_mul_ps(columnScale, _mm256_set1_ps(scale[v])));
    }
    for (int32_t j = 0; j < h / 2; j += 4) {
      fourColumnOutputs(x, extent.rows, spread, j, h, columns + 8 * g, rowLength);
    }
  }

  // Rows: four rows at a time onto eight outputs where the half is 8 wide, else two rows onto
  // sixteen.
  const float* across = mqAcrossBasis(logWidth);
  const int32_t half = w / 2;
  for (int32_t j = 0; j < h; j += half == 8 ? 4 : 2) {
    if (half == 8) {
      rowOutputs<4, 1>(columns, rowLength, extent.columns, across, half, j, 0, bias, dst, stride);
    } else {
      for (int32_t i = 0; i < half; i += 16) {
        rowOutputs<2, 2>(columns, rowLength, extent.columns, across, half, j, i, bias, dst, stride);
      }
    }
  }
}
