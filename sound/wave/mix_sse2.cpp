// The SSE2 loop of the 16-bit mix: 8 values per step, widened to 32-bit lanes so that every
// step is the plain loop's (no wrap of the left shift, no early saturation of the half step),
// then packed back with signed saturation. SSE2 shifts all lanes by one count, so a stereo
// call whose sides differ shifts twice and keeps each side's lanes.
#include <emmintrin.h>

#include "sound/wave/mix_kernels.h"

namespace {

struct SideLanes {
  __m128i left, right;  // shift counts in the low quadword
  __m128i keep;         // all ones in this side's lanes
  static SideLanes of(const MixSide& side, __m128i keep) {
    return {_mm_cvtsi32_si128(static_cast<int>(side.left)), _mm_cvtsi32_si128(static_cast<int>(side.right)), keep};
  }
  __m128i shift(__m128i s) const { return _mm_sra_epi32(_mm_sll_epi32(s, left), right); }
};

// Four sign-extended values in 32-bit lanes.
__m128i widenLow(__m128i v) { return _mm_srai_epi32(_mm_unpacklo_epi16(v, v), 16); }
__m128i widenHigh(__m128i v) { return _mm_srai_epi32(_mm_unpackhi_epi16(v, v), 16); }

template <bool Subtract, bool PerSide>
void mixLoop(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan) {
  const __m128i evenLanes = _mm_set_epi32(0, -1, 0, -1);
  const SideLanes even = SideLanes::of(plan.side[0], evenLanes);
  const SideLanes odd = SideLanes::of(plan.side[1], _mm_xor_si128(evenLanes, _mm_set1_epi32(-1)));
  const __m128i half = _mm_set_epi32(plan.side[1].halfMask, plan.side[0].halfMask, plan.side[1].halfMask,
                                     plan.side[0].halfMask);
  auto term = [&](__m128i s) {
    if constexpr (PerSide)
      s = _mm_or_si128(_mm_and_si128(even.shift(s), even.keep), _mm_and_si128(odd.shift(s), odd.keep));
    else
      s = even.shift(s);
    return _mm_add_epi32(s, _mm_and_si128(_mm_srai_epi32(s, 1), half));
  };
  auto combine = [](__m128i d, __m128i s) { return Subtract ? _mm_sub_epi32(d, s) : _mm_add_epi32(d, s); };
  uint32_t blocks = values / 8;
  for (uint32_t b = 0; b < blocks; ++b) {
    __m128i* out = reinterpret_cast<__m128i*>(dst + 8 * b);
    __m128i s = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 8 * b));
    __m128i d = _mm_loadu_si128(out);
    __m128i low = combine(widenLow(d), term(widenLow(s)));
    __m128i high = combine(widenHigh(d), term(widenHigh(s)));
    _mm_storeu_si128(out, _mm_packs_epi32(low, high));
  }
  mix16Plain(dst + 8 * blocks, src + 8 * blocks, values - 8 * blocks, plan);
}

bool sidesEqual(const MixPlan& plan) {
  const MixSide &a = plan.side[0], &b = plan.side[1];
  return a.left == b.left && a.right == b.right && a.halfMask == b.halfMask;
}

}  // namespace

void mix16SSE2(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan) {
  bool perSide = !sidesEqual(plan);
  if (plan.subtract) (perSide ? mixLoop<true, true> : mixLoop<true, false>)(dst, src, values, plan);
  else (perSide ? mixLoop<false, true> : mixLoop<false, false>)(dst, src, values, plan);
}
