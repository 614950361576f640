// The AVX2 conversion of Y, Cb, Cr to 24-bit pixels: the SSE2 variant's fixed-point steps on 16
// pixels at a time, whose three channels byte shuffles interleave into 48 bytes. The same bytes
// as the SSE2 variant, which finishes the last pixels of a row.
#include <immintrin.h>

#include "graphics/core/molaq.h"

namespace {

// 16 int32 as 16-bit lanes, saturated, in the order the in-lane pack leaves them: values 0-3,
// 8-11, 4-7, 12-15. The interleaving shuffles put them back in order.
__m256i loadPacked(const int32_t* values) {
  return _mm256_packs_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(values)),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values + 8)));
}

// Where pixel `i` of 16 stands in a channel's bytes after loadPacked and channelBytes.
constexpr int packedPosition(int i) {
  constexpr int kGroupAt[4] = {0, 2, 1, 3};
  return kGroupAt[i / 4] * 4 + i % 4;
}

__m256i clamp16(__m256i v, int low, int high) {
  return _mm256_min_epi16(_mm256_max_epi16(v, _mm256_set1_epi16(static_cast<short>(low))),
                          _mm256_set1_epi16(static_cast<short>(high)));
}

// The contribution of a chroma value (-128..127, shifted left by 8) to a channel, in 10.6.
__m256i chromaTerm(__m256i chroma, short factor14) {
  return _mm256_mulhi_epi16(chroma, _mm256_set1_epi16(factor14));
}

// A channel in 10.6 as 16 bytes, saturated.
__m128i channelBytes(__m256i v) {
  __m256i shifted = _mm256_srai_epi16(v, 6);
  return _mm_packus_epi16(_mm256_castsi256_si128(shifted), _mm256_extracti128_si256(shifted, 1));
}

// For each 16 bytes of the 48 output bytes and each channel: the byte of that channel's 16
// that goes there, or -1 (zero) where another channel's byte goes.
struct Interleave {
  alignas(16) int8_t index[3][3][16];
  constexpr Interleave() : index{} {
    for (int out = 0; out < 48; ++out) {
      for (int channel = 0; channel < 3; ++channel) {
        index[out / 16][channel][out % 16] = static_cast<int8_t>(out % 3 == channel ? packedPosition(out / 3) : -1);
      }
    }
  }
};
constexpr Interleave kInterleave;

__m128i pick(__m128i bytes, int part, int channel) {
  return _mm_shuffle_epi8(bytes, _mm_load_si128(reinterpret_cast<const __m128i*>(kInterleave.index[part][channel])));
}

}  // namespace

void mqYCCToRGBAVX2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr, uint32_t count) {
  uint32_t i = 0;
  for (; i + 16 <= count; i += 16, dst += 48) {
    __m256i luma = _mm256_slli_epi16(clamp16(loadPacked(y + i), -256, 511), 6);
    __m256i blueDiff = _mm256_slli_epi16(clamp16(loadPacked(cb + i), -128, 127), 8);
    __m256i redDiff = _mm256_slli_epi16(clamp16(loadPacked(cr + i), -128, 127), 8);
    __m128i channels[3] = {
        channelBytes(_mm256_adds_epi16(luma, chromaTerm(blueDiff, 29032))),
        channelBytes(_mm256_adds_epi16(_mm256_adds_epi16(luma, chromaTerm(blueDiff, -5638)),
                                       chromaTerm(redDiff, -11700))),
        channelBytes(_mm256_adds_epi16(luma, chromaTerm(redDiff, 22970))),
    };
    for (int part = 0; part < 3; ++part) {
      __m128i bytes = _mm_or_si128(_mm_or_si128(pick(channels[0], part, 0), pick(channels[1], part, 1)),
                                   pick(channels[2], part, 2));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 16 * part), bytes);
    }
  }
  if (i < count) mqYCCToRGBSSE2(dst, y + i, cb + i, cr + i, count - i);
}
