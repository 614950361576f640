// The vector colour conversions (SSE2), eight pixels at a time. They dither with four 16-bit
// generators held in the 64-bit seed, so their pattern differs from the plain variants'; the
// levels they dither between are the same.
#include <emmintrin.h>

#include <algorithm>
#include <cstring>

#include "graphics/core/conversion.h"

namespace {

// Multiplier and increment of the four 16-bit generators: Y, Cb, Cr, and a fourth that only
// keeps its place in the seed.
constexpr uint16_t kMultiplier[4] = {3, 7, 5, 9};
constexpr uint16_t kIncrement[4] = {0x3254, 0x0423, 0x0241, 0x6403};

// Eight steps of a generator s -> a s + c at once: s -> a^8 s + c (1 + a + ... + a^7).
struct EightSteps {
  uint16_t multiplier = 1, increment = 0;
  EightSteps(uint16_t a, uint16_t c) {
    for (int j = 0; j < 8; ++j) {
      increment = static_cast<uint16_t>(increment + uint32_t{c} * multiplier);
      multiplier = static_cast<uint16_t>(uint32_t{multiplier} * a);
    }
  }
};

// One generator spread over eight lanes: lane j holds the state j + 1 steps ahead, and each
// advance moves all lanes eight steps on.
struct LaneGenerator {
  __m128i lanes, multiplier8, increment8;

  LaneGenerator(uint16_t state, uint16_t a, uint16_t c) {
    alignas(16) uint16_t start[8];
    for (int j = 0; j < 8; ++j) start[j] = state = static_cast<uint16_t>(uint32_t{a} * state + c);
    EightSteps eight(a, c);
    lanes = _mm_load_si128(reinterpret_cast<const __m128i*>(start));
    multiplier8 = _mm_set1_epi16(static_cast<short>(eight.multiplier));
    increment8 = _mm_set1_epi16(static_cast<short>(eight.increment));
  }
  // The random bytes of the next eight pixels.
  __m128i next() {
    __m128i bytes = _mm_srli_epi16(lanes, 8);
    lanes = _mm_add_epi16(_mm_mullo_epi16(lanes, multiplier8), increment8);
    return bytes;
  }
  uint16_t lastState() const { return static_cast<uint16_t>(_mm_extract_epi16(lanes, 7)); }
};

class Dither {
 public:
  Dither()
      : seed_(mqLoadDitherSeed()),
        y_(word(0), kMultiplier[0], kIncrement[0]),
        cb_(word(1), kMultiplier[1], kIncrement[1]),
        cr_(word(2), kMultiplier[2], kIncrement[2]),
        fourth_(word(3)) {}
  ~Dither() {
    mqStoreDitherSeed(uint64_t{y_.lastState()} | uint64_t{cb_.lastState()} << 16 |
                      uint64_t{cr_.lastState()} << 32 | uint64_t{fourth_} << 48);
  }
  Dither(const Dither&) = delete;
  Dither& operator=(const Dither&) = delete;

  // Fixed-palette indices of eight pixels, as 16-bit lanes, from their level weights.
  __m128i indices(__m128i wy, __m128i wu, __m128i wv) {
    fourth_ = static_cast<uint16_t>(uint32_t{fourthSteps_.multiplier} * fourth_ + fourthSteps_.increment);
    __m128i yLevel = level(wy, y_.next());
    __m128i uLevel = level(wu, cb_.next());
    __m128i vLevel = level(wv, cr_.next());
    // group(l) = round(l * 31 / 48) = (62 l + 48) / 96, by a multiply-high that is exact for l <= 48.
    __m128i l = _mm_add_epi16(uLevel, _mm_mullo_epi16(vLevel, _mm_set1_epi16(7)));
    __m128i group = _mm_mulhi_epu16(_mm_add_epi16(_mm_mullo_epi16(l, _mm_set1_epi16(62)), _mm_set1_epi16(48)),
                                    _mm_set1_epi16(683));
    return _mm_or_si128(yLevel, _mm_slli_epi16(group, 3));
  }

 private:
  static __m128i level(__m128i weight, __m128i random) {
    __m128i fraction = _mm_and_si128(weight, _mm_set1_epi16(255));
    return _mm_sub_epi16(_mm_srli_epi16(weight, 8), _mm_cmplt_epi16(random, fraction));
  }
  uint16_t word(int i) const { return static_cast<uint16_t>(seed_ >> (16 * i)); }

  uint64_t seed_;
  LaneGenerator y_, cb_, cr_;
  uint16_t fourth_;
  EightSteps fourthSteps_{kMultiplier[3], kIncrement[3]};
};

__m128i loadPacked(const int32_t* values) {
  return _mm_packs_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(values)),
                         _mm_loadu_si128(reinterpret_cast<const __m128i*>(values + 4)));
}

__m128i clamp16(__m128i v, int low, int high) {
  return _mm_min_epi16(_mm_max_epi16(v, _mm_set1_epi16(static_cast<short>(low))),
                       _mm_set1_epi16(static_cast<short>(high)));
}

void storeIndices(uint8_t* dst, __m128i indices, uint32_t count) {
  alignas(16) uint8_t bytes[16];
  _mm_store_si128(reinterpret_cast<__m128i*>(bytes), _mm_packus_epi16(indices, indices));
  std::memcpy(dst, bytes, count);
}

// Runs `block(y, cb, cr, n)` over the planes eight samples at a time, the last block from a
// zero-padded copy.
template <typename Block>
void forEachBlock(const int32_t* y, const int32_t* cb, const int32_t* cr, uint32_t count,
                  Block block) {
  uint32_t i = 0;
  for (; i + 8 <= count; i += 8) block(i, y + i, cb + i, cr + i, 8u);
  if (i == count) return;
  int32_t tail[3][8] = {};
  uint32_t rest = count - i;
  std::copy_n(y + i, rest, tail[0]);
  std::copy_n(cb + i, rest, tail[1]);
  std::copy_n(cr + i, rest, tail[2]);
  block(i, tail[0], tail[1], tail[2], rest);
}

// Writes eight pixels from the low eight bytes of each channel as 24 bytes, blue, green, red,
// by overlapping stores that end exactly at the 24th byte.
void storeEightPixels(uint8_t* out, __m128i blue, __m128i green, __m128i red) {
  __m128i blueGreen = _mm_unpacklo_epi8(blue, green);
  __m128i redZero = _mm_unpacklo_epi8(red, _mm_setzero_si128());
  // Per 64-bit lane two pixels of 32 bits, pushed together into 48.
  const __m128i low24 = _mm_set1_epi64x(0xffffff);
  auto squeeze = [&](__m128i pixels) {
    return _mm_or_si128(_mm_and_si128(pixels, low24), _mm_andnot_si128(low24, _mm_srli_epi64(pixels, 8)));
  };
  __m128i first = squeeze(_mm_unpacklo_epi16(blueGreen, redZero));
  __m128i second = squeeze(_mm_unpackhi_epi16(blueGreen, redZero));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out), first);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 6), _mm_unpackhi_epi64(first, first));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 12), second);
  __m128i last = _mm_unpackhi_epi64(second, second);
  uint32_t lastFour = static_cast<uint32_t>(_mm_cvtsi128_si32(last));
  uint16_t lastTwo = static_cast<uint16_t>(_mm_extract_epi16(last, 2));
  std::memcpy(out + 18, &lastFour, 4);
  std::memcpy(out + 22, &lastTwo, 2);
}

// Y, Cb and Cr of eight 24-bit pixels given as 16-bit channel lanes, by the conversion
// coefficients in 2.14 fixed point; Cb and Cr come out offset as the fixed palette wants them.
struct Weights {
  __m128i y, u, v;
};

__m128i weightedSum(__m128i blueGreenLo, __m128i blueGreenHi, __m128i redLo, __m128i redHi,
                    short toBlue, short toGreen, short toRed, int32_t offset, int shift) {
  __m128i bg = _mm_set_epi16(toGreen, toBlue, toGreen, toBlue, toGreen, toBlue, toGreen, toBlue);
  __m128i r = _mm_set_epi16(0, toRed, 0, toRed, 0, toRed, 0, toRed);
  __m128i bias = _mm_set1_epi32(offset);
  __m128i lo = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(blueGreenLo, bg), _mm_madd_epi16(redLo, r)), bias);
  __m128i hi = _mm_add_epi32(_mm_add_epi32(_mm_madd_epi16(blueGreenHi, bg), _mm_madd_epi16(redHi, r)), bias);
  return _mm_packs_epi32(_mm_srai_epi32(lo, shift), _mm_srai_epi32(hi, shift));
}

Weights rgbWeights(__m128i blue, __m128i green, __m128i red) {
  __m128i zero = _mm_setzero_si128();
  __m128i bgLo = _mm_unpacklo_epi16(blue, green), bgHi = _mm_unpackhi_epi16(blue, green);
  __m128i rLo = _mm_unpacklo_epi16(red, zero), rHi = _mm_unpackhi_epi16(red, zero);
  // The chroma offset 0x9999 of the 8.8 sums, in 2.14.
  __m128i y = weightedSum(bgLo, bgHi, rLo, rHi, 1868, 9617, 4899, 0, 14);
  __m128i u = weightedSum(bgLo, bgHi, rLo, rHi, 8192, -5428, -2764, 0x9999 << 6, 14);
  __m128i v = weightedSum(bgLo, bgHi, rLo, rHi, -1332, -6860, 8192, 0x9999 << 6, 14);
  return {_mm_mullo_epi16(_mm_add_epi16(y, _mm_set1_epi16(42)), _mm_set1_epi16(6)),
          _mm_mullo_epi16(clamp16(u, 0, 280), _mm_set1_epi16(5)),
          _mm_mullo_epi16(clamp16(v, 0, 280), _mm_set1_epi16(5))};
}

// The contribution of a chroma value (-128..127, shifted left by 8) to a channel, in 10.6.
__m128i chromaTerm(__m128i chroma, short factor14) {
  return _mm_mulhi_epi16(chroma, _mm_set1_epi16(factor14));
}

}  // namespace

void mqYCCToIndexedSSE2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                        uint32_t count) {
  Dither dither;
  forEachBlock(y, cb, cr, count,
               [&](uint32_t at, const int32_t* ys, const int32_t* cbs, const int32_t* crs, uint32_t n) {
                 __m128i y16 = loadPacked(ys);
                 __m128i negative = _mm_cmplt_epi16(y16, _mm_setzero_si128());
                 __m128i wy = _mm_mullo_epi16(_mm_add_epi16(_mm_min_epi16(y16, _mm_set1_epi16(255)),
                                                            _mm_set1_epi16(42)),
                                              _mm_set1_epi16(6));
                 wy = _mm_andnot_si128(negative, wy);
                 __m128i wu = _mm_mullo_epi16(clamp16(_mm_adds_epi16(loadPacked(cbs), _mm_set1_epi16(162)), 0, 290),
                                              _mm_set1_epi16(5));
                 __m128i wv = _mm_mullo_epi16(clamp16(_mm_adds_epi16(loadPacked(crs), _mm_set1_epi16(162)), 0, 290),
                                              _mm_set1_epi16(5));
                 storeIndices(dst + at, dither.indices(wy, wu, wv), n);
               });
}

void mqYCCToRGBSSE2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                    uint32_t count) {
  forEachBlock(y, cb, cr, count,
               [&](uint32_t at, const int32_t* ys, const int32_t* cbs, const int32_t* crs, uint32_t n) {
                 // Y in 10.6 and chroma scaled so that a multiply-high gives 10.6 terms; outside
                 // these ranges every channel saturates anyway.
                 __m128i luma = _mm_slli_epi16(clamp16(loadPacked(ys), -256, 511), 6);
                 __m128i blueDiff = _mm_slli_epi16(clamp16(loadPacked(cbs), -128, 127), 8);
                 __m128i redDiff = _mm_slli_epi16(clamp16(loadPacked(crs), -128, 127), 8);
                 __m128i blue = _mm_adds_epi16(luma, chromaTerm(blueDiff, 29032));
                 __m128i green = _mm_adds_epi16(_mm_adds_epi16(luma, chromaTerm(blueDiff, -5638)),
                                                chromaTerm(redDiff, -11700));
                 __m128i red = _mm_adds_epi16(luma, chromaTerm(redDiff, 22970));
                 __m128i blueBytes = _mm_packus_epi16(_mm_srai_epi16(blue, 6), _mm_setzero_si128());
                 __m128i greenBytes = _mm_packus_epi16(_mm_srai_epi16(green, 6), _mm_setzero_si128());
                 __m128i redBytes = _mm_packus_epi16(_mm_srai_epi16(red, 6), _mm_setzero_si128());
                 uint8_t* out = dst + 3 * at;
                 if (n == 8) return storeEightPixels(out, blueBytes, greenBytes, redBytes);
                 alignas(16) uint8_t channels[3][16];
                 _mm_store_si128(reinterpret_cast<__m128i*>(channels[0]), blueBytes);
                 _mm_store_si128(reinterpret_cast<__m128i*>(channels[1]), greenBytes);
                 _mm_store_si128(reinterpret_cast<__m128i*>(channels[2]), redBytes);
                 for (uint32_t j = 0; j < n; ++j, out += 3) {
                   out[0] = channels[0][j];
                   out[1] = channels[1][j];
                   out[2] = channels[2][j];
                 }
               });
}

void mqConvertTo8BitSSE2(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                         int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                         bool grey) {
  if (grey) {
    molaq::convertToGrey(dst, dstPitch, src, srcPitch, width, height, bits, palette);
    return;
  }
  Dither dither;
  // Walks the rows eight pixels at a time; `weightsOf(pixels, n)` gives the level weights of
  // the n (at most 8) pixels starting at `pixels`, so that each depth has a loop of its own.
  auto rows = [&](int32_t bytesPerPixel, auto weightsOf) {
    for (int32_t row = 0; row < height; ++row, dst += dstPitch, src += srcPitch) {
      for (int32_t x = 0; x < width; x += 8) {
        int32_t n = std::min(8, width - x);
        storeIndices(dst + x, weightsOf(src + x * bytesPerPixel, n), static_cast<uint32_t>(n));
      }
    }
  };
  // Gathers three byte channels of n pixels into zero-padded 16-bit lanes.
  auto gather = [](int32_t n, auto channelOf, __m128i lanes[3]) {
    alignas(16) uint16_t channels[3][8] = {};
    for (int32_t j = 0; j < n; ++j)
      for (int c = 0; c < 3; ++c) channels[c][j] = channelOf(j, c);
    for (int c = 0; c < 3; ++c) lanes[c] = _mm_load_si128(reinterpret_cast<const __m128i*>(channels[c]));
  };
  if (bits == 8) {
    uint32_t table[256];
    molaq::paletteToYCC(palette, table);
    rows(1, [&](const uint8_t* pixels, int32_t n) {
      __m128i ycc[3];  // Y, Cb + 128, Cr + 128
      gather(n, [&](int32_t j, int c) { return (table[pixels[j]] >> (8 * c)) & 255; }, ycc);
      return dither.indices(_mm_mullo_epi16(_mm_add_epi16(ycc[0], _mm_set1_epi16(42)), _mm_set1_epi16(6)),
                            _mm_mullo_epi16(_mm_add_epi16(ycc[1], _mm_set1_epi16(34)), _mm_set1_epi16(5)),
                            _mm_mullo_epi16(_mm_add_epi16(ycc[2], _mm_set1_epi16(34)), _mm_set1_epi16(5)));
    });
    return;
  }
  rows(3, [&](const uint8_t* pixels, int32_t n) {
    __m128i bgr[3];
    gather(n, [&](int32_t j, int c) { return pixels[3 * j + c]; }, bgr);
    Weights w = rgbWeights(bgr[0], bgr[1], bgr[2]);
    return dither.indices(w.y, w.u, w.v);
  });
}
