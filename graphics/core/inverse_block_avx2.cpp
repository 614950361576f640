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
    for (int32_t j = 0; j < h / 2; ++j) {
      const float* cosines = spread + j * 32 * 4;
      __m256 even = _mm256_mul_ps(x[0], _mm256_broadcast_ss(cosines));
      __m256 odd = _mm256_setzero_ps();
      for (int32_t v = 1; v < extent.rows; v += 2) {
        odd = _mm256_fmadd_ps(x[v], _mm256_broadcast_ss(cosines + 4 * v), odd);
        if (v + 1 < extent.rows) even = _mm256_fmadd_ps(x[v + 1], _mm256_broadcast_ss(cosines + 4 * v + 4), even);
      }
      _mm256_store_ps(columns + j * rowLength + 8 * g, _mm256_add_ps(even, odd));
      _mm256_store_ps(columns + (h - 1 - j) * rowLength + 8 * g, _mm256_sub_ps(even, odd));
    }
  }

  // Rows: eight outputs of the first half at a time, and the mirrored eight of the second.
  const float* across = mqAcrossBasis(logWidth);
  const int32_t half = w / 2;
  for (int32_t j = 0; j < h; ++j) {
    const float* row = columns + j * rowLength;
    int32_t* out = dst + j * stride;
    for (int32_t i = 0; i < half; i += 8) {
      __m256 even = _mm256_mul_ps(_mm256_set1_ps(row[0]), _mm256_loadu_ps(across + i));
      __m256 odd = _mm256_setzero_ps();
      for (int32_t u = 1; u < extent.columns; u += 2) {
        odd = _mm256_fmadd_ps(_mm256_set1_ps(row[u]), _mm256_loadu_ps(across + u * half + i), odd);
        if (u + 1 < extent.columns) {
          even = _mm256_fmadd_ps(_mm256_set1_ps(row[u + 1]), _mm256_loadu_ps(across + (u + 1) * half + i), even);
        }
      }
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), floorToInt(_mm256_add_ps(_mm256_add_ps(even, odd), bias)));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + w - 8 - i),
                          floorToInt(_mm256_add_ps(reversed(_mm256_sub_ps(even, odd)), bias)));
    }
  }
}
