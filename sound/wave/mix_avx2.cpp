// The AVX2 loop of the 16-bit mix: 16 values per step in 32-bit lanes, with a shift count per
// lane (vpsllvd, vpsravd), so both sides of a stereo frame go through one sequence. Compiled
// for AVX2 per function and called only on processors that have it.
#include <immintrin.h>

#include "sound/wave/mix_kernels.h"

#define RUNA1_AVX2 __attribute__((target("avx2")))
// Helpers pass 256-bit values, which only stay in registers when inlined.
#define RUNA1_AVX2_INLINE inline __attribute__((target("avx2"), always_inline))

namespace {

struct Lanes {
  __m256i left, right, half;
};

RUNA1_AVX2_INLINE __m256i term(__m128i eight, const Lanes& lanes) {
  __m256i s = _mm256_srav_epi32(_mm256_sllv_epi32(_mm256_cvtepi16_epi32(eight), lanes.left), lanes.right);
  return _mm256_add_epi32(s, _mm256_and_si256(_mm256_srai_epi32(s, 1), lanes.half));
}

template <bool Subtract>
RUNA1_AVX2_INLINE __m256i combine(__m128i eight, __m256i s) {
  __m256i d = _mm256_cvtepi16_epi32(eight);
  return Subtract ? _mm256_sub_epi32(d, s) : _mm256_add_epi32(d, s);
}

// Eight lanes alternating between the even and the odd side's value.
RUNA1_AVX2_INLINE __m256i alternate(int32_t even, int32_t odd) {
  return _mm256_setr_epi32(even, odd, even, odd, even, odd, even, odd);
}

template <bool Subtract>
RUNA1_AVX2 void mixLoop(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan) {
  const MixSide &even = plan.side[0], &odd = plan.side[1];
  const Lanes lanes{alternate(even.left, odd.left), alternate(even.right, odd.right),
                    alternate(even.halfMask, odd.halfMask)};
  uint32_t blocks = values / 16;
  for (uint32_t b = 0; b < blocks; ++b) {
    const __m128i* in = reinterpret_cast<const __m128i*>(src + 16 * b);
    __m128i* out = reinterpret_cast<__m128i*>(dst + 16 * b);
    __m256i low = combine<Subtract>(_mm_loadu_si128(out), term(_mm_loadu_si128(in), lanes));
    __m256i high = combine<Subtract>(_mm_loadu_si128(out + 1), term(_mm_loadu_si128(in + 1), lanes));
    // The pack works per 128-bit half: the quadwords come out as low0 high0 low1 high1.
    __m256i packed = _mm256_permute4x64_epi64(_mm256_packs_epi32(low, high), _MM_SHUFFLE(3, 1, 2, 0));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), packed);
  }
  mix16Plain(dst + 16 * blocks, src + 16 * blocks, values - 16 * blocks, plan);
}

}  // namespace

void mix16AVX2(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan) {
  if (plan.subtract) mixLoop<true>(dst, src, values, plan);
  else mixLoop<false>(dst, src, values, plan);
}
