// The SSE2 inverse cube: each axis as sums of basis columns, four outputs at a time in floats,
// skipping the coefficient rows and temporal planes that are all zero (most of them, once a
// scene is quantised).
#include <emmintrin.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "graphics/core/frame_coder.h"

namespace {

// basis[logSize][k * side + x] = cos((2x + 1) k pi / 2 side), side = 2^logSize, logSize 3 to 6.
struct CubeBasis {
  std::vector<float> line[7];
  CubeBasis() {
    for (int logSize = 3; logSize <= 6; ++logSize) {
      const int side = 1 << logSize;
      line[logSize].resize(side * side);
      for (int k = 0; k < side; ++k) {
        for (int x = 0; x < side; ++x) {
          line[logSize][k * side + x] =
              static_cast<float>(std::cos((2 * x + 1) * k * std::numbers::pi / (2.0 * side)));
        }
      }
    }
  }
};

const CubeBasis& cubeBasis() {
  static const CubeBasis basis;
  return basis;
}

}  // namespace

void mqInverseCubeSSE2(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                       int32_t blockSize, int32_t scale) {
  mqCheckCubeSize(blockSize, scale);
  const int32_t n = 1 << blockSize, side = n << scale, plane = n * n, outPlane = side * side;
  const float* space = cubeBasis().line[blockSize + scale].data();
  const float* time = cubeBasis().line[kCubeFramesLog].data();
  thread_local std::vector<float> rows, columns;
  rows.assign(static_cast<size_t>(kCubeFrames) * n * side, 0.0f);
  columns.resize(static_cast<size_t>(kCubeFrames) * outPlane);
  bool planeLive[kCubeFrames] = {};
  bool rowLive[kCubeFrames][32] = {};

  // Rows: coefficient u of row (w, v) adds its scaled basis column to the row's outputs.
  for (int32_t w = 0; w < kCubeFrames; ++w) {
    for (int32_t v = 0; v < n; ++v) {
      const int32_t* in = src + w * plane + v * n;
      float* out = rows.data() + (w * n + v) * side;
      for (int32_t u = 0; u < n; ++u) {
        if (in[u] == 0) continue;
        int shift = static_cast<int>(q[u] + q[v] + qt[w]) - 21;
        __m128 c = _mm_set1_ps(std::ldexp(static_cast<float>(in[u]), shift));
        const float* column = space + u * side;
        for (int32_t x = 0; x < side; x += 4) {
          _mm_storeu_ps(out + x,
                        _mm_add_ps(_mm_loadu_ps(out + x), _mm_mul_ps(c, _mm_loadu_ps(column + x))));
        }
        rowLive[w][v] = planeLive[w] = true;
      }
    }
  }
  // Columns: each output row of a plane is a weighted sum of the plane's live rows.
  for (int32_t w = 0; w < kCubeFrames; ++w) {
    if (!planeLive[w]) continue;
    float* out = columns.data() + w * outPlane;
    for (int32_t y = 0; y < side; ++y) {
      for (int32_t x = 0; x < side; x += 4) {
        __m128 sum = _mm_setzero_ps();
        for (int32_t v = 0; v < n; ++v) {
          if (!rowLive[w][v]) continue;
          __m128 weight = _mm_set1_ps(space[v * side + y]);
          sum = _mm_add_ps(sum,
                           _mm_mul_ps(weight, _mm_loadu_ps(rows.data() + (w * n + v) * side + x)));
        }
        _mm_storeu_ps(out + y * side + x, sum);
      }
    }
  }
  // Time: each frame is a weighted sum of the live planes, rounded to the nearest integer.
  for (int32_t t = 0; t < kCubeFrames; ++t) {
    int32_t* out = dst + t * outPlane;
    for (int32_t i = 0; i < outPlane; i += 4) {
      __m128 sum = _mm_setzero_ps();
      for (int32_t w = 0; w < kCubeFrames; ++w) {
        if (!planeLive[w]) continue;
        sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(time[w * kCubeFrames + t]),
                                         _mm_loadu_ps(columns.data() + w * outPlane + i)));
      }
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_cvtps_epi32(sum));
    }
  }
}
