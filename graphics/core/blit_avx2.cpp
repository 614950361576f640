// AVX2 rows of the 24-bit blits: the arithmetic of the SSE2 rows on 16 channels per register.
// A blend takes 16 pixels (48 bytes) per step: their alphas become 16 weights at once, which
// byte shuffles spread over the 48 channels; each 16 bytes of a row widen to 16-bit lanes
// without interleaving, so the results pack back in order. Each row gives the same bytes as
// the per-pixel operation it replaces.
#include <immintrin.h>

#include "graphics/core/blit.h"

namespace {

__m128i load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// 16 bytes as 16-bit lanes, and back with unsigned saturation.
__m256i widen(const uint8_t* p) { return _mm256_cvtepu8_epi16(load(p)); }
__m128i narrow(__m256i v) {
  return _mm_packus_epi16(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
}

// (v * factor) >> 8 on the 16-bit lanes; products stay below 65536.
__m256i scale(__m256i v, __m256i factor) { return _mm256_srli_epi16(_mm256_mullo_epi16(v, factor), 8); }

// A[a] = min(256, (0xff00 - (256 - t) * a) / 255) for 16 alphas, the division as in the SSE2 row.
__m256i alphaWeights(__m128i alpha, __m256i take) {
  __m256i a = _mm256_cvtepu8_epi16(alpha);
  __m256i numerator = _mm256_sub_epi16(_mm256_set1_epi16(static_cast<short>(0xff00)), _mm256_mullo_epi16(a, take));
  __m256i weight = _mm256_srli_epi16(_mm256_mulhi_epu16(numerator, _mm256_set1_epi16(static_cast<short>(0x8081))), 7);
  return _mm256_min_epi16(weight, _mm256_set1_epi16(256));
}

// Byte shuffles that give channel c of the 48 the weight of pixel c / 3. A shuffle stays within
// its 128-bit half, so the first third draws both halves from pixels 0-7, the middle one its
// low half from pixels 0-7 and its high half from 8-15, the last both from 8-15; the indices
// count bytes within the half they read.
struct SpreadShuffles {
  alignas(32) int8_t index[3][32];
  constexpr SpreadShuffles() : index{} {
    for (int c = 0; c < 48; ++c) {
      int firstPixel = c < 24 ? 0 : 8;
      int at = 2 * (c / 3 - firstPixel);
      index[c / 16][2 * (c % 16)] = static_cast<int8_t>(at);
      index[c / 16][2 * (c % 16) + 1] = static_cast<int8_t>(at + 1);
    }
  }
};
constexpr SpreadShuffles kSpread;

// Byte shuffle and bit of each of the 48 channels of 16 pixels in a mask group's two bytes: the
// low byte holds pixels 8-15, the high one pixels 0-7, each first in its top bit.
struct MaskShuffles {
  alignas(16) int8_t byte[48], bit[48];
  constexpr MaskShuffles() : byte{}, bit{} {
    for (int c = 0; c < 48; ++c) {
      byte[c] = static_cast<int8_t>(c / 3 < 8 ? 1 : 0);
      bit[c] = static_cast<int8_t>(0x80 >> (c / 3 % 8));
    }
  }
};
constexpr MaskShuffles kMask;

__m256i shuffleOf(int i) { return _mm256_load_si256(reinterpret_cast<const __m256i*>(kSpread.index[i])); }

// The weights of the 48 channels of 16 pixels, 16 per register.
void spreadOverChannels(__m256i w, __m256i out[3]) {
  out[0] = _mm256_shuffle_epi8(_mm256_permute2x128_si256(w, w, 0x00), shuffleOf(0));
  out[1] = _mm256_shuffle_epi8(w, shuffleOf(1));
  out[2] = _mm256_shuffle_epi8(_mm256_permute2x128_si256(w, w, 0x11), shuffleOf(2));
}

// Blends 48 bytes (16 pixels) with their spread weights; where a weight is 256 (alpha 0) the
// source is masked out and the destination stays.
template <bool kToned, bool kMasked>
void blendGroup(uint8_t* dst, const uint8_t* src, const __m256i weight[3], __m256i take) {
  const __m256i full = _mm256_set1_epi16(256);
  for (int i = 0; i < 3; ++i) {
    __m256i s = widen(src + 16 * i);
    if (kToned) s = scale(s, take);
    if (kMasked) s = _mm256_andnot_si256(_mm256_cmpeq_epi16(weight[i], full), s);
    store(dst + 16 * i, narrow(_mm256_add_epi16(scale(widen(dst + 16 * i), weight[i]), s)));
  }
}

template <bool kToned>
int32_t blendRow(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels, uint32_t t) {
  const __m128i zero = _mm_setzero_si128();
  const __m256i take = _mm256_set1_epi16(static_cast<short>(256 - t));
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48) {
    __m128i a = load(alpha + x);
    int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(a, zero));
    if (zeros == 0xffff) continue;  // all invisible
    if (!kToned && _mm_movemask_epi8(_mm_cmpeq_epi8(a, _mm_set1_epi8(-1))) == 0xffff) {
      for (int i = 0; i < 48; i += 16) store(dst + i, load(src + i));  // weight 0: the source
      continue;
    }
    __m256i weight[3];
    spreadOverChannels(alphaWeights(a, take), weight);
    if (zeros) blendGroup<kToned, true>(dst, src, weight, take);
    else blendGroup<kToned, false>(dst, src, weight, take);
  }
  return x;
}

}  // namespace

int32_t toneRowAVX2(uint8_t* dst, const uint8_t* src, int32_t pixels, uint32_t t) {
  const __m256i keep = _mm256_set1_epi16(static_cast<short>(t));
  const __m256i take = _mm256_set1_epi16(static_cast<short>(256 - t));
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48) {
    for (int i = 0; i < 48; i += 16) {
      __m256i sum = _mm256_add_epi16(scale(widen(dst + i), keep), scale(widen(src + i), take));
      store(dst + i, narrow(sum));
    }
  }
  return x;
}

int32_t blendRowAVX2(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels, uint32_t t) {
  return t == 0 ? blendRow<false>(dst, src, alpha, pixels, t) : blendRow<true>(dst, src, alpha, pixels, t);
}

int32_t maskedCopyRow24AVX2(uint8_t* dst, const uint8_t* src, const uint8_t* mask, int32_t column,
                            int32_t pixels) {
  const uint8_t* byteOf = reinterpret_cast<const uint8_t*>(kMask.byte);
  const uint8_t* bitOf = reinterpret_cast<const uint8_t*>(kMask.bit);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48) {
    uint32_t bits = blit::maskBits16(mask, column + x);
    if (bits == 0) continue;
    if (bits == 0xffff) {
      for (int i = 0; i < 48; i += 16) store(dst + i, load(src + i));
      continue;
    }
    __m128i word = _mm_cvtsi32_si128(static_cast<int>(bits));
    for (int i = 0; i < 3; ++i) {
      __m128i bit = load(bitOf + 16 * i);
      __m128i set = _mm_cmpeq_epi8(_mm_and_si128(_mm_shuffle_epi8(word, load(byteOf + 16 * i)), bit), bit);
      store(dst + 16 * i, _mm_blendv_epi8(load(dst + 16 * i), load(src + 16 * i), set));
    }
  }
  return x;
}
