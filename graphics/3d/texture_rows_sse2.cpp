// The vector rows: two sampled pixels at a time in the two lanes of the double-precision
// registers (the same operations in the same order as the plain rows, so the same roundings),
// and the means of two pairs at a time. The texels are fetched one by one.
#include <emmintrin.h>

#include "graphics/3d/texture_rows.h"

namespace k3d {

namespace {

__m128d splat(double value) { return _mm_set1_pd(value); }
__m128d mul(__m128d a, __m128d b) { return _mm_mul_pd(a, b); }
__m128d sub(__m128d a, __m128d b) { return _mm_sub_pd(a, b); }

// The pairs (u, v) of the pixels at a and a + 2, as u0, v0, u1, v1.
template <MajorAxis axis>
__m128i solveTwo(const TexturePlane& plane, const TextureRow& row, __m128d a) {
  const K3DVector &p = plane.origin, &u = plane.axisU, &v = plane.axisV, &n = plane.normal;
  const __m128d D = _mm_add_pd(mul(splat(n.x), a), splat(row.den));
  __m128d e1, e2, w, su, sv;
  if constexpr (axis == MajorAxis::X) {
    e1 = sub(splat(row.db), mul(splat(p.y), D));
    e2 = sub(splat(plane.df), mul(splat(p.z), D));
    w = _mm_div_pd(splat(1.0), mul(splat(n.x), D));
    su = mul(sub(mul(splat(v.z), e1), mul(splat(v.y), e2)), w);
    sv = mul(sub(mul(splat(u.y), e2), mul(splat(u.z), e1)), w);
  } else if constexpr (axis == MajorAxis::Y) {
    e1 = sub(mul(splat(plane.d), a), mul(splat(p.x), D));
    e2 = sub(splat(plane.df), mul(splat(p.z), D));
    w = _mm_div_pd(splat(1.0), mul(splat(n.y), D));
    su = mul(sub(mul(splat(v.x), e2), mul(splat(v.z), e1)), w);
    sv = mul(sub(mul(splat(u.z), e1), mul(splat(u.x), e2)), w);
  } else {
    e1 = sub(mul(splat(plane.d), a), mul(splat(p.x), D));
    e2 = sub(splat(row.db), mul(splat(p.y), D));
    w = _mm_div_pd(splat(1.0), mul(splat(n.z), D));
    su = mul(sub(mul(splat(v.y), e1), mul(splat(v.x), e2)), w);
    sv = mul(sub(mul(splat(u.x), e2), mul(splat(u.y), e1)), w);
  }
  return _mm_unpacklo_epi32(_mm_cvtpd_epi32(su), _mm_cvtpd_epi32(sv));
}

__m128i meansOf(__m128i a, __m128i b) { return _mm_srai_epi32(_mm_add_epi32(a, b), 1); }
__m128i loadPair(const int32_t* pair) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pair)); }
__m128i loadPairs(const int32_t* pairs) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pairs)); }
void storePairs(int32_t* pairs, __m128i value) { _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs), value); }

// Two samples per step: with s the pairs of pixels x and x + 2 and m the means of pixels x - 1
// and x + 1, the pixels x - 1 to x + 2 are m0, s0, m1, s1.
template <MajorAxis axis>
void textureRow(const TexturePlane& plane, const TextureRow& row) {
  int32_t* pairs = row.current;
  int32_t x = row.xl;
  __m128d a = _mm_set_pd(row.a + 2.0, row.a);
  const __m128d four = splat(4.0);
  for (; x + 2 <= row.xr; x += 4, a = _mm_add_pd(a, four)) {
    const __m128i samples = solveTwo<axis>(plane, row, a);
    const __m128i before = _mm_unpacklo_epi64(loadPair(pairs + 2 * (x - 2)), samples);
    const __m128i means = meansOf(before, samples);
    storePairs(pairs + 2 * (x - 1), _mm_unpacklo_epi64(means, samples));
    storePairs(pairs + 2 * (x + 1), _mm_unpackhi_epi64(means, samples));
    if (x > 0) plot(plane, row.pixels + x - 1, pairs + 2 * (x - 1));
    for (int32_t i = 0; i < 3; ++i) plot(plane, row.pixels + x + i, pairs + 2 * (x + i));
  }
  if (x <= row.xr) {
    const __m128i sample = solveTwo<axis>(plane, row, a);
    const __m128i mean = meansOf(loadPair(pairs + 2 * (x - 2)), sample);
    storePairs(pairs + 2 * (x - 1), _mm_unpacklo_epi64(mean, sample));
    if (x > 0) plot(plane, row.pixels + x - 1, pairs + 2 * (x - 1));
    plot(plane, row.pixels + x, pairs + 2 * x);
  }
  if (!row.previous) return;
  alignas(16) int32_t means[4];
  for (x = row.xl; x + 1 <= row.xr; x += 2) {
    storePairs(means, meansOf(loadPairs(pairs + 2 * x), loadPairs(row.previous + 2 * x)));
    plot(plane, row.between + x, means);
    plot(plane, row.between + x + 1, means + 2);
  }
  if (x <= row.xr) {
    const int32_t mean[2] = {meanOf(pairs[2 * x], row.previous[2 * x]), meanOf(pairs[2 * x + 1], row.previous[2 * x + 1])};
    plot(plane, row.between + x, mean);
  }
}

}  // namespace

TextureRowKernel textureRowSSE2(MajorAxis axis) {
  switch (axis) {
    case MajorAxis::X: return textureRow<MajorAxis::X>;
    case MajorAxis::Y: return textureRow<MajorAxis::Y>;
    default: return textureRow<MajorAxis::Z>;
  }
}

}  // namespace k3d
