// The AVX2 inverse block transform, for outputs at least 16 wide (narrower blocks, empty blocks
// and lone DC coefficients go to the SSE2 kernel). It transforms eight lines at once, one in each
// lane: eight rows of coefficients, turned by 8x8 transposes so that a vector holds one
// coefficient of each row, onto the w samples of a row; then, after another transpose, eight
// columns of that onto the h samples of the output, which leaves each vector eight neighbouring
// samples of an output row. A line is either summed over its coefficients (the few of a small
// extent) or run through a fast factorisation, whichever takes fewer operations. Fused products
// round once instead of twice, so the results stay within 1 of the plain kernel's like the SSE2
// ones.
#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "graphics/core/inverse_block.h"

namespace {

__m256i floorToInt(__m256 value) { return _mm256_cvttps_epi32(_mm256_floor_ps(value)); }

// 2^(q[i] - 7), or 1 without q, as in the SSE2 kernel.
float scaleOf(const uint32_t* q, int32_t i) {
  if (q == nullptr) return 1.0f;
  return _mm_cvtss_f32(_mm_castsi128_ps(_mm_cvtsi32_si128((127 + static_cast<int32_t>(q[i]) - 7) << 23)));
}

// The 8x8 block of rows `in` transposed into the rows `out`: pairs of rows interleaved, then
// pairs of those, then the halves exchanged.
[[gnu::always_inline]] inline void transpose(const __m256* in, __m256* out) {
  const __m256 ab0 = _mm256_unpacklo_ps(in[0], in[1]), ab1 = _mm256_unpackhi_ps(in[0], in[1]);
  const __m256 cd0 = _mm256_unpacklo_ps(in[2], in[3]), cd1 = _mm256_unpackhi_ps(in[2], in[3]);
  const __m256 ef0 = _mm256_unpacklo_ps(in[4], in[5]), ef1 = _mm256_unpackhi_ps(in[4], in[5]);
  const __m256 gh0 = _mm256_unpacklo_ps(in[6], in[7]), gh1 = _mm256_unpackhi_ps(in[6], in[7]);
  constexpr int kLow = _MM_SHUFFLE(1, 0, 1, 0), kHigh = _MM_SHUFFLE(3, 2, 3, 2);
  const __m256 abcd0 = _mm256_shuffle_ps(ab0, cd0, kLow), abcd1 = _mm256_shuffle_ps(ab0, cd0, kHigh);
  const __m256 abcd2 = _mm256_shuffle_ps(ab1, cd1, kLow), abcd3 = _mm256_shuffle_ps(ab1, cd1, kHigh);
  const __m256 efgh0 = _mm256_shuffle_ps(ef0, gh0, kLow), efgh1 = _mm256_shuffle_ps(ef0, gh0, kHigh);
  const __m256 efgh2 = _mm256_shuffle_ps(ef1, gh1, kLow), efgh3 = _mm256_shuffle_ps(ef1, gh1, kHigh);
  out[0] = _mm256_permute2f128_ps(abcd0, efgh0, 0x20);
  out[1] = _mm256_permute2f128_ps(abcd1, efgh1, 0x20);
  out[2] = _mm256_permute2f128_ps(abcd2, efgh2, 0x20);
  out[3] = _mm256_permute2f128_ps(abcd3, efgh3, 0x20);
  out[4] = _mm256_permute2f128_ps(abcd0, efgh0, 0x31);
  out[5] = _mm256_permute2f128_ps(abcd1, efgh1, 0x31);
  out[6] = _mm256_permute2f128_ps(abcd2, efgh2, 0x31);
  out[7] = _mm256_permute2f128_ps(abcd3, efgh3, 0x31);
}

// Lines of n samples from `count` coefficients as sums over the coefficients: output i and its
// mirror n - 1 - i, handed to put(i, samples), for i from `first` to `last` (multiples of 4 in
// the first half) from x[k] for k below count, four outputs and their mirrors at a time, with
// the sums of the even and the odd coefficients apart. `spread` is mqSpreadBasis of n.
template <typename Put>
void summedLines(const __m256* x, int32_t count, int32_t n, const float* spread, int32_t first, int32_t last,
                 Put put) {
  for (int32_t i = first; i < last; i += 4) {
    __m256 even[4], odd[4];
#pragma GCC unroll 4
    for (int t = 0; t < 4; ++t) {
      even[t] = _mm256_mul_ps(x[0], _mm256_broadcast_ss(spread + (i + t) * 128));
      odd[t] = _mm256_setzero_ps();
    }
    for (int32_t k = 1; k < count; k += 2) {
#pragma GCC unroll 4
      for (int t = 0; t < 4; ++t) odd[t] = _mm256_fmadd_ps(x[k], _mm256_broadcast_ss(spread + (i + t) * 128 + 4 * k), odd[t]);
    }
    for (int32_t k = 2; k < count; k += 2) {
#pragma GCC unroll 4
      for (int t = 0; t < 4; ++t) even[t] = _mm256_fmadd_ps(x[k], _mm256_broadcast_ss(spread + (i + t) * 128 + 4 * k), even[t]);
    }
#pragma GCC unroll 4
    for (int t = 0; t < 4; ++t) {
      put(i + t, _mm256_add_ps(even[t], odd[t]));
      put(n - 1 - i - t, _mm256_sub_ps(even[t], odd[t]));
    }
  }
}

// cos and sin of t pi / 128 for t below 128: the angles of the fast factorisation of lines up
// to 32 long are multiples of pi / 128.
struct Rotations {
  float cosine[128], sine[128];
  Rotations() {
    for (int t = 0; t < 128; ++t) {
      cosine[t] = static_cast<float>(std::cos(t * std::numbers::pi / 128));
      sine[t] = static_cast<float>(std::sin(t * std::numbers::pi / 128));
    }
  }
};

struct Complex {
  __m256 re, im;
};

Complex operator+(Complex a, Complex b) { return {_mm256_add_ps(a.re, b.re), _mm256_add_ps(a.im, b.im)}; }
Complex operator-(Complex a, Complex b) { return {_mm256_sub_ps(a.re, b.re), _mm256_sub_ps(a.im, b.im)}; }

// z * e^(-i t pi / 128); a quarter turn only swaps the parts.
[[gnu::always_inline]] inline Complex rotated(Complex z, int t, const Rotations& r) {
  if (t == 0) return z;
  if (t == 64) return {z.im, _mm256_sub_ps(_mm256_setzero_ps(), z.re)};
  const __m256 c = _mm256_set1_ps(r.cosine[t]), s = _mm256_set1_ps(r.sine[t]);
  return {_mm256_fmadd_ps(z.re, c, _mm256_mul_ps(z.im, s)), _mm256_fmsub_ps(z.im, c, _mm256_mul_ps(z.re, s))};
}

// X[f] = sum over p below K of x[p * S] e^(-2 pi i f p / K), radix 2 with decimation in time.
template <int K, int S>
[[gnu::always_inline]] inline void dft(const Complex* x, Complex* X, const Rotations& r) {
  if constexpr (K == 1) {
    X[0] = x[0];
  } else if constexpr (K == 2) {
    X[0] = x[0] + x[S];
    X[1] = x[0] - x[S];
  } else {
    dft<K / 2, 2 * S>(x, X, r);
    dft<K / 2, 2 * S>(x + S, X + K / 2, r);
#pragma GCC unroll 16
    for (int f = 0; f < K / 2; ++f) {
      Complex odd = rotated(X[K / 2 + f], 256 * f / K, r);
      X[K / 2 + f] = X[f] - odd;
      X[f] = X[f] + odd;
    }
  }
}

// o[i] = sum over m below M of x[m * S] cos((2i + 1)(2m + 1) pi / 4M), i below M (a DCT-IV).
// With K = M / 2 and z[p] = x[2p] + i x[M - 1 - 2p], o[2f] - i o[M - 1 - 2f] is the sum over p
// of z[p] e^(-i (4f + 1)(4p + 1) pi / 8K): z turned by (4p) pi / 8K, a DFT of K points, and
// its results turned by (4f + 1) pi / 8K.
template <int M, int S>
[[gnu::always_inline]] inline void oddPart(const __m256* x, __m256* o, const Rotations& r) {
  if constexpr (M == 1) {
    o[0] = _mm256_mul_ps(x[0], _mm256_set1_ps(r.cosine[32]));
  } else {
    constexpr int K = M / 2, unit = 32 / M;  // pi / 8K in steps of pi / 128
    Complex z[K], Z[K];
#pragma GCC unroll 16
    for (int p = 0; p < K; ++p) z[p] = rotated({x[2 * p * S], x[(M - 1 - 2 * p) * S]}, 4 * p * unit, r);
    dft<K, 1>(z, Z, r);
#pragma GCC unroll 16
    for (int f = 0; f < K; ++f) {
      Complex y = rotated(Z[f], (4 * f + 1) * unit, r);
      o[2 * f] = y.re;
      o[M - 1 - 2 * f] = _mm256_sub_ps(_mm256_setzero_ps(), y.im);
    }
  }
}

// y[i] = sum over k below N of x[k * S] cos((2i + 1) k pi / 2N), handed to put(i, y[i]) for i
// below N: the even coefficients make the transform of half the size, the odd ones the part
// that the first half of the outputs adds and the mirrored half subtracts.
template <int N, int S, typename Put>
[[gnu::always_inline]] inline void factorised(const __m256* x, const Rotations& r, Put put) {
  if constexpr (N == 1) {
    put(0, x[0]);
  } else {
    __m256 even[N / 2], odd[N / 2];
    factorised<N / 2, 2 * S>(x, r, [&even](int i, __m256 v) { even[i] = v; });
    oddPart<N / 2, 2 * S>(x + S, odd, r);
#pragma GCC unroll 16
    for (int i = 0; i < N / 2; ++i) {
      put(i, _mm256_add_ps(even[i], odd[i]));
      put(N - 1 - i, _mm256_sub_ps(even[i], odd[i]));
    }
  }
}

// Vector operations of `factorised` for N samples (a rotation takes 4, a quarter turn none), and
// of summedLines for all the outputs from `count` coefficients.
constexpr int dftOperations(int k) {
  return k == 1 ? 0 : 2 * dftOperations(k / 2) + 4 * (k / 2) + 4 * (k / 2 - 1 - (k >= 4));
}
constexpr int oddPartOperations(int m) {
  return m == 1 ? 1 : 4 * (m / 2 - 1) + dftOperations(m / 2) + 4 * (m / 2);
}
constexpr int factorisedOperations(int n) {
  return n == 1 ? 0 : factorisedOperations(n / 2) + oddPartOperations(n / 2) + n;
}
constexpr int summedOperations(int count, int n) { return count * n / 2 + n; }

// Whether lines of n samples from `count` coefficients take fewer operations factorised.
bool factorisedIsFaster(int32_t count, int32_t n) {
  return (n == 16 && summedOperations(count, 16) > factorisedOperations(16)) ||
         (n == 32 && summedOperations(count, 32) > factorisedOperations(32));
}

// Output i of n (16 or 32) from the coefficients x[k], k below count, factorised and handed to
// put(i, samples). x holds zeros from count up to the next multiple of 8 (the lanes of
// coefficients outside the extent), and room for n: the rest is cleared here.
template <typename Put>
void factorisedLines(__m256* x, int32_t count, int32_t n, const Rotations& r, Put put) {
  for (int32_t k = (count + 7) & ~7; k < n; ++k) x[k] = _mm256_setzero_ps();
  if (n == 16) return factorised<16, 1>(x, r, put);
  factorised<32, 1>(x, r, put);
}

// Output samples, rounded as the plain kernel does: with q the results are the sums scaled by
// 2^-14 rounded and then floored, and adding 2^-15 (`bias`) before the floor stands for that
// rounding; without q they are rounded to nearest.
void storeSamples(int32_t* at, __m256 samples, __m256 bias) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(at), floorToInt(_mm256_add_ps(samples, bias)));
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
  static const Rotations rotations;
  alignas(32) float scale[32];
  for (int32_t i = 0; i < n; ++i) scale[i] = scaleOf(q, i);
  const int32_t rowGroups = (extent.rows + 7) / 8, columnGroups = (extent.columns + 7) / 8;

  // Rows, eight at a time onto w samples. `columns` holds for each run of eight output columns
  // the rows' samples there, a vector for each row.
  alignas(32) __m256 columns[32 * 32];
  const bool factorisedRows = factorisedIsFaster(extent.columns, w);
  for (int32_t g = 0; g < rowGroups; ++g) {
    __m256 x[32], y[256];
    for (int32_t c = 0; c < columnGroups; ++c) {
      const __m256 columnScale = _mm256_load_ps(scale + 8 * c);
      __m256 block[8];
#pragma GCC unroll 8
      for (int32_t r = 0; r < 8; ++r) {
        const int32_t* from = coefficients + (8 * g + r) * n + 8 * c;
        block[r] = _mm256_mul_ps(_mm256_cvtepi32_ps(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from))),
                                 _mm256_mul_ps(columnScale, _mm256_set1_ps(scale[8 * g + r])));
      }
      transpose(block, x + 8 * c);
    }
    if (factorisedRows) {
      factorisedLines(x, extent.columns, w, rotations, [&y](int32_t i, __m256 v) { y[i] = v; });
    } else {
      summedLines(x, extent.columns, w, mqSpreadBasis(logWidth), 0, w / 2, [&y](int32_t i, __m256 v) { y[i] = v; });
    }
    for (int32_t c = 0; c < w / 8; ++c) transpose(y + 8 * c, columns + 32 * c + 8 * g);
  }

  // Columns, eight at a time onto h samples: each result is a run of eight output samples. Sums
  // go by bands of eight rows and their mirrors across all columns, so that tall outputs are
  // written a few rows at a time rather than in strips of all their rows.
  const __m256 bias = _mm256_set1_ps(q ? 0x1p-15f : 0.5f);
  if (factorisedIsFaster(extent.rows, h)) {
    for (int32_t c = 0; c < w / 8; ++c) {
      factorisedLines(columns + 32 * c, extent.rows, h, rotations,
                      [&](int32_t j, __m256 v) { storeSamples(dst + j * stride + 8 * c, v, bias); });
    }
    return;
  }
  const float* spread = mqSpreadBasis(logHeight);
  const int32_t band = std::min(h / 2, 8);
  for (int32_t first = 0; first < h / 2; first += band) {
    for (int32_t c = 0; c < w / 8; ++c) {
      summedLines(columns + 32 * c, extent.rows, h, spread, first, first + band,
                  [&](int32_t j, __m256 v) { storeSamples(dst + j * stride + 8 * c, v, bias); });
    }
  }
}
