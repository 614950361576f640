// SSE2 rows of the blits and fills: 16 bytes per step, channels in unsigned 16-bit lanes for
// the arithmetic (multiply, shift right by 8, saturating add, pack). Each row gives the same
// bytes as the per-pixel operation it replaces; the rows that work in groups of pixels leave
// the rest of a row to that operation.
#include <emmintrin.h>

#include "graphics/core/blit.h"

namespace {

__m128i load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
void store(uint8_t* p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// (v * factor) >> 8 on the 16-bit lanes; products stay below 65536.
__m128i scale(__m128i v, __m128i factor) { return _mm_srli_epi16(_mm_mullo_epi16(v, factor), 8); }

// 16 bytes of dst * t + src * (256 - t), each term shifted down by 8 on its own.
__m128i toneBytes(__m128i d, __m128i s, __m128i keep, __m128i take) {
  __m128i zero = _mm_setzero_si128();
  __m128i low = _mm_add_epi16(scale(_mm_unpacklo_epi8(d, zero), keep),
                              scale(_mm_unpacklo_epi8(s, zero), take));
  __m128i high = _mm_add_epi16(scale(_mm_unpackhi_epi8(d, zero), keep),
                               scale(_mm_unpackhi_epi8(s, zero), take));
  return _mm_packus_epi16(low, high);
}

// 16 bytes of dst * t >> 8, plus `toned` (already scaled): the toned fill.
__m128i toneOver(__m128i d, __m128i toned, __m128i keep) {
  __m128i zero = _mm_setzero_si128();
  __m128i low = scale(_mm_unpacklo_epi8(d, zero), keep);
  __m128i high = scale(_mm_unpackhi_epi8(d, zero), keep);
  return _mm_add_epi8(_mm_packus_epi16(low, high), toned);
}

// The 48 bytes of 16 pixels of one colour.
struct Pattern {
  __m128i part[3];
  explicit Pattern(const uint8_t colour[3]) {
    uint8_t bytes[48];
    for (int i = 0; i < 48; ++i) bytes[i] = colour[i % 3];
    for (int i = 0; i < 3; ++i) part[i] = load(bytes + 16 * i);
  }
};

// A[a] = min(256, (0xff00 - (256 - t) * a) / 255) for eight alphas in 16-bit lanes; the
// division by 255 is exact as a multiply-high by 0x8081 and a shift by 7 for every 16-bit
// numerator.
__m128i alphaWeights(__m128i a, __m128i take) {
  __m128i numerator = _mm_sub_epi16(_mm_set1_epi16(static_cast<short>(0xff00)), _mm_mullo_epi16(a, take));
  __m128i weight = _mm_srli_epi16(_mm_mulhi_epu16(numerator, _mm_set1_epi16(static_cast<short>(0x8081))), 7);
  return _mm_min_epi16(weight, _mm_set1_epi16(256));
}

// Spreads eight weights over the 24 channel lanes of their pixels: w0 w0 w0 w1 w1 w1 w2 w2 | ...
void spreadOverChannels(__m128i w, __m128i out[3]) {
  __m128i lowHalves = _mm_unpacklo_epi64(w, w), highHalves = _mm_unpackhi_epi64(w, w);
  out[0] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(lowHalves, _MM_SHUFFLE(1, 0, 0, 0)),
                               _MM_SHUFFLE(2, 2, 1, 1));
  out[1] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(w, _MM_SHUFFLE(3, 3, 3, 2)),
                               _MM_SHUFFLE(1, 0, 0, 0));
  out[2] = _mm_shufflehi_epi16(_mm_shufflelo_epi16(highHalves, _MM_SHUFFLE(2, 2, 1, 1)),
                               _MM_SHUFFLE(3, 3, 3, 2));
}

// Blends 48 bytes (16 pixels) with their six spread weights. Where a group has an alpha of 0
// (a weight of 256), the source of those pixels is masked out: the destination stays.
template <bool kToned, bool kMasked>
void blendGroup(uint8_t* dst, const uint8_t* src, const __m128i weight[6], __m128i take) {
  const __m128i zero = _mm_setzero_si128(), full = _mm_set1_epi16(256);
  for (int i = 0; i < 3; ++i) {
    __m128i d = load(dst + 16 * i), s = load(src + 16 * i);
    __m128i lowWeight = weight[2 * i], highWeight = weight[2 * i + 1];
    __m128i low = _mm_unpacklo_epi8(s, zero), high = _mm_unpackhi_epi8(s, zero);
    if (kToned) {
      low = scale(low, take);
      high = scale(high, take);
    }
    if (kMasked) {
      low = _mm_andnot_si128(_mm_cmpeq_epi16(lowWeight, full), low);
      high = _mm_andnot_si128(_mm_cmpeq_epi16(highWeight, full), high);
    }
    low = _mm_add_epi16(scale(_mm_unpacklo_epi8(d, zero), lowWeight), low);
    high = _mm_add_epi16(scale(_mm_unpackhi_epi8(d, zero), highWeight), high);
    store(dst + 16 * i, _mm_packus_epi16(low, high));
  }
}

// 16 pixels per step. Untoned sources are added as they are.
template <bool kToned>
int32_t blendRow(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels,
                 uint32_t t) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i take = _mm_set1_epi16(static_cast<short>(256 - t));
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48) {
    __m128i a = load(alpha + x);
    int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(a, zero));
    if (zeros == 0xffff) continue;  // all invisible
    if (!kToned && _mm_movemask_epi8(_mm_cmpeq_epi8(a, _mm_set1_epi8(-1))) == 0xffff) {
      for (int i = 0; i < 48; i += 16) store(dst + i, load(src + i));  // weight 0: the source
      continue;
    }
    __m128i weight[6];
    spreadOverChannels(alphaWeights(_mm_unpacklo_epi8(a, zero), take), weight);
    spreadOverChannels(alphaWeights(_mm_unpackhi_epi8(a, zero), take), weight + 3);
    if (zeros) blendGroup<kToned, true>(dst, src, weight, take);
    else blendGroup<kToned, false>(dst, src, weight, take);
  }
  return x;
}

}  // namespace

int32_t toneRowSSE2(uint8_t* dst, const uint8_t* src, int32_t pixels, uint32_t t) {
  __m128i keep = _mm_set1_epi16(static_cast<short>(t));
  __m128i take = _mm_set1_epi16(static_cast<short>(256 - t));
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48)
    for (int i = 0; i < 48; i += 16) store(dst + i, toneBytes(load(dst + i), load(src + i), keep, take));
  return x;
}

int32_t blendRowSSE2(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels,
                     uint32_t t) {
  return t == 0 ? blendRow<false>(dst, src, alpha, pixels, t) : blendRow<true>(dst, src, alpha, pixels, t);
}

int32_t fillRow24SSE2(uint8_t* dst, int32_t pixels, const uint8_t colour[3]) {
  Pattern pattern(colour);
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48)
    for (int i = 0; i < 3; ++i) store(dst + 16 * i, pattern.part[i]);
  return x;
}

int32_t toneFillRow24SSE2(uint8_t* dst, int32_t pixels, uint32_t t, const uint8_t toned[3]) {
  Pattern pattern(toned);
  __m128i keep = _mm_set1_epi16(static_cast<short>(t));
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48)
    for (int i = 0; i < 3; ++i) store(dst + 16 * i, toneOver(load(dst + 16 * i), pattern.part[i], keep));
  return x;
}

int32_t maskedCopyRow24SSE2(uint8_t* dst, const uint8_t* src, const uint8_t* mask, int32_t column,
                            int32_t pixels) {
  int32_t x = 0;
  for (; x + 16 <= pixels; x += 16, dst += 48, src += 48) {
    uint32_t bits = blit::maskBits16(mask, column + x);
    if (bits == 0xffff) {
      for (int i = 0; i < 48; i += 16) store(dst + i, load(src + i));
      continue;
    }
    for (int k = 0; bits != 0; ++k, bits = (bits << 1) & 0xffff) {
      if (bits & 0x8000) {
        for (int c = 0; c < 3; ++c) dst[3 * k + c] = src[3 * k + c];
      }
    }
  }
  return x;
}
