#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <array>
#include <random>
#include <set>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

using YCCToIndexed = void (*)(uint8_t*, const int32_t*, const int32_t*, const int32_t*, uint32_t);

struct Planes {
  std::vector<int32_t> y, cb, cr;
  explicit Planes(size_t n, int32_t yv = 0, int32_t cbv = 0, int32_t crv = 0) : y(n, yv), cb(n, cbv), cr(n, crv) {}
};

TEST(YCCToRGBTest, PlainVariantClampsAndUsesTheChromaTables) {
  Planes p(5);
  p.y = {100, 300, -5, 0, 128};
  p.cb = {0, 0, 0, 127, 127};
  p.cr = {0, 0, 0, 0, 0};
  uint8_t out[15];
  mqYCCToRGBPlain(out, p.y.data(), p.cb.data(), p.cr.data(), 5);
  const uint8_t expected[15] = {100, 100, 100, 255, 255, 255, 0, 0, 0, 225, 0, 0, 255, 84, 128};
  for (int i = 0; i < 15; ++i) EXPECT_EQ(out[i], expected[i]) << i;
  // Chroma beyond -128 .. 127 is clamped before the table lookup.
  int32_t y = 100, cb = 1000, cr = -1000, cbEdge = 127, crEdge = -128;
  uint8_t clamped[3], edge[3];
  mqYCCToRGBPlain(clamped, &y, &cb, &cr, 1);
  mqYCCToRGBPlain(edge, &y, &cbEdge, &crEdge, 1);
  EXPECT_EQ(std::vector<uint8_t>(clamped, clamped + 3), std::vector<uint8_t>(edge, edge + 3));
}

TEST(YCCToRGBTest, VectorVariantIsWithinOneStepOfThePlainOne) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int32_t> luma(-300, 600), chroma(-200, 200);
  for (uint32_t count : {1u, 7u, 8u, 9u, 15u, 1000u}) {
    Planes p(count);
    for (uint32_t i = 0; i < count; ++i) {
      p.y[i] = luma(random);
      p.cb[i] = chroma(random);
      p.cr[i] = chroma(random);
    }
    std::vector<uint8_t> plain(3 * count + 3, 0x5A), vector(3 * count + 3, 0x5A);
    mqYCCToRGBPlain(plain.data(), p.y.data(), p.cb.data(), p.cr.data(), count);
    mqYCCToRGBSSE2(vector.data(), p.y.data(), p.cb.data(), p.cr.data(), count);
    for (uint32_t i = 0; i < 3 * count; ++i)
      ASSERT_LE(std::abs(plain[i] - vector[i]), 1) << "byte " << i << " of " << count;
    EXPECT_EQ(vector[3 * count], 0x5A) << "nothing is written behind the last pixel";
  }
}

TEST(YCCToRGBTest, AVX2VariantGivesTheSSE2Bytes) {
  if (!mqProcessorHasAVX2()) GTEST_SKIP() << "the processor has no AVX2";
  std::mt19937 random(8);
  // Beyond every clamp and saturation of the fixed-point steps, in both directions.
  std::uniform_int_distribution<int32_t> luma(-40000, 40000), chroma(-40000, 40000), moderate(-300, 600);
  for (uint32_t count : {1u, 15u, 16u, 17u, 47u, 1000u}) {
    Planes p(count);
    for (uint32_t i = 0; i < count; ++i) {
      bool wide = random() % 4 == 0;
      p.y[i] = wide ? luma(random) : moderate(random);
      p.cb[i] = wide ? chroma(random) : moderate(random) / 2 - 75;
      p.cr[i] = wide ? chroma(random) : moderate(random) / 2 - 75;
    }
    std::vector<uint8_t> sse2(3 * count + 3, 0x5A), avx2(3 * count + 3, 0x5A);
    mqYCCToRGBSSE2(sse2.data(), p.y.data(), p.cb.data(), p.cr.data(), count);
    mqYCCToRGBAVX2(avx2.data(), p.y.data(), p.cb.data(), p.cr.data(), count);
    ASSERT_EQ(sse2, avx2) << count << " pixels";
  }
}

// The fixed palette's brightness level of an index, and its chroma group.
int yLevelOf(uint8_t index) { return index & 7; }

TEST(YCCToIndexedTest, PlainVariantDithersBetweenNeighbouringLevels) {
  // Weights without a fraction give one level whatever the random bytes: y below 0 is level 0,
  // Cb of -200 is level 0 and Cr of 94 is level 5 (5 * 256 = 1280).
  Planes exact(64, -1, -200, 94);
  std::vector<uint8_t> out(64);
  mqYCCToIndexedPlain(out.data(), exact.y.data(), exact.cb.data(), exact.cr.data(), 64);
  for (uint8_t index : out) EXPECT_EQ(index, kChromaGroup[0 + 7 * 5] << 3);

  // y = 100 weighs 3 * 284 = 852: level 3 or 4, on average 852 / 256.
  const uint32_t n = 1 << 14;
  Planes grey(n, 100, 0, 0);
  std::vector<uint8_t> dithered(n);
  mqYCCToIndexedPlain(dithered.data(), grey.y.data(), grey.cb.data(), grey.cr.data(), n);
  double sum = 0;
  for (uint8_t index : dithered) {
    ASSERT_TRUE(yLevelOf(index) == 3 || yLevelOf(index) == 4);
    sum += yLevelOf(index);
  }
  EXPECT_NEAR(sum / n, 852.0 / 256, 0.03);
}

TEST(YCCToIndexedTest, PlainVariantStepsTheLowWordOfTheSeed) {
  const uint64_t start = 0x1122334455667788ull;
  mqStoreDitherSeed(start);
  int32_t y = 50, cb = 0, cr = 0;
  uint8_t out;
  mqYCCToIndexedPlain(&out, &y, &cb, &cr, 1);
  uint32_t s = 3 * 0x55667788u + 0x16465413;
  s = 5 * s + 0x15768163;
  s = 9 * s + 0x15730163;
  EXPECT_EQ(mqLoadDitherSeed(), (start & ~0xffffffffull) | s) << "the high word belongs to the vector kernels";
  mqStoreDitherSeed(kDitherSeedStart);
}

// Mean colour of the fixed palette over indices.
std::array<double, 3> meanColour(const std::vector<uint8_t>& indices) {
  RGBQUAD palette[256];
  mqMakeFixedPalette(palette, false);
  std::array<double, 3> sum{};
  for (uint8_t i : indices) {
    sum[0] += palette[i].rgbBlue;
    sum[1] += palette[i].rgbGreen;
    sum[2] += palette[i].rgbRed;
  }
  for (double& s : sum) s /= static_cast<double>(indices.size());
  return sum;
}

// Share of pixels whose index shows the upper of two dithered levels. The levels are told
// apart by the brightness bits, or by the chroma group when the other chroma level is exact.
double upperShare(const std::vector<uint8_t>& indices, int lowerGroup, int upperGroup) {
  size_t upper = 0;
  for (uint8_t index : indices) {
    EXPECT_TRUE((index >> 3) == lowerGroup || (index >> 3) == upperGroup) << int(index);
    upper += (index >> 3) == upperGroup;
  }
  return static_cast<double>(upper) / indices.size();
}

double meanYLevel(const std::vector<uint8_t>& indices) {
  double sum = 0;
  for (uint8_t index : indices) sum += yLevelOf(index);
  return sum / indices.size();
}

TEST(YCCToIndexedTest, BothVariantsKeepTheMeanOfEveryLevel) {
  const uint32_t n = 8195;  // not a multiple of 8: the tail goes through the padded block
  for (YCCToIndexed convert : {mqYCCToIndexedPlain, mqYCCToIndexedSSE2}) {
    // Cb of -162 is exactly level 0; Cr of 20 weighs 5 * 182 = 910: level 3 with 142 / 256
    // of the pixels raised to 4. y = 30 weighs 3 * 144 = 432: level 1 + 176 / 256.
    Planes p(n, 30, -162, 20);
    std::vector<uint8_t> out(n + 1, 0xEE);
    convert(out.data(), p.y.data(), p.cb.data(), p.cr.data(), n);
    EXPECT_EQ(out[n], 0xEE) << "nothing is written behind the last pixel";
    out.pop_back();
    EXPECT_NEAR(upperShare(out, kChromaGroup[0 + 7 * 3], kChromaGroup[0 + 7 * 4]), 142.0 / 256, 0.03);
    EXPECT_NEAR(meanYLevel(out), 1 + 176.0 / 256, 0.03);
    // Cr of -162 is exactly level 0; Cb of 20 dithers between 3 and 4.
    Planes q(n, 200, 20, -162);
    convert(out.data(), q.y.data(), q.cb.data(), q.cr.data(), n);
    EXPECT_NEAR(upperShare(out, kChromaGroup[3], kChromaGroup[4]), 142.0 / 256, 0.03);
    EXPECT_NEAR(meanYLevel(out), 3 * 484 / 256.0, 0.03);
  }
}

TEST(ConvertTo8BitTest, GreyFromPaletteAndFromPixels) {
  RGBQUAD palette[256] = {};
  palette[1] = {255, 255, 255, 0};
  palette[2] = {0, 0, 255, 0};  // red
  palette[3] = {255, 0, 0, 0};  // blue
  const uint8_t indices[4] = {0, 1, 2, 3};
  uint8_t out[4];
  for (auto convert : {mqConvertTo8BitPlain, mqConvertTo8BitSSE2}) {
    convert(out, 4, indices, 4, 4, 1, 8, palette, true);
    EXPECT_EQ(out[0], 0);
    EXPECT_EQ(out[1], 255);
    EXPECT_EQ(out[2], 76);
    EXPECT_EQ(out[3], 29);
  }
  // 24 bits: the red byte is weighted like green, so pure red comes out at 149, not 76.
  const uint8_t pixels[12] = {0, 0, 255, 255, 255, 255, 10, 20, 30, 0, 0, 0};
  for (auto convert : {mqConvertTo8BitPlain, mqConvertTo8BitSSE2}) {
    convert(out, 4, pixels, 12, 4, 1, 24, nullptr, true);
    EXPECT_EQ(out[0], 149);
    EXPECT_EQ(out[1], 255);
    EXPECT_EQ(out[2], 30);
    EXPECT_EQ(out[3], 0);
  }
}

// A 24-bit image of one colour, and an 8-bit one whose palette holds the colour.
struct SolidImages {
  static constexpr int kWidth = 61, kHeight = 67, kPitch24 = 184, kPitch8 = 64;
  std::vector<uint8_t> rgb = std::vector<uint8_t>(kPitch24 * kHeight);
  std::vector<uint8_t> indexed = std::vector<uint8_t>(kPitch8 * kHeight, 5);
  RGBQUAD palette[256] = {};
  SolidImages(uint8_t blue, uint8_t green, uint8_t red) {
    for (int row = 0; row < kHeight; ++row)
      for (int x = 0; x < kWidth; ++x) {
        uint8_t* p = &rgb[row * kPitch24 + 3 * x];
        p[0] = blue, p[1] = green, p[2] = red;
      }
    palette[5] = {blue, green, red, 0};
  }
  std::vector<uint8_t> convert(ConvertTo8BitFn fn, int bits) const {
    std::vector<uint8_t> out(kPitch8 * kHeight, 0xEE);
    fn(out.data(), kPitch8, bits == 24 ? rgb.data() : indexed.data(), bits == 24 ? kPitch24 : kPitch8, kWidth,
       kHeight, bits, palette, false);
    std::vector<uint8_t> pixels;
    for (int row = 0; row < kHeight; ++row) {
      EXPECT_EQ(out[row * kPitch8 + kWidth], 0xEE) << "the row padding is not written";
      pixels.insert(pixels.end(), out.begin() + row * kPitch8, out.begin() + row * kPitch8 + kWidth);
    }
    return pixels;
  }
};

TEST(ConvertTo8BitTest, PlainVariantDithersMidGreyAroundTheGreyGroup) {
  // Grey 128 from 24 bits: Y weighs 3 * 340 = 1020 (level 3 or 4), Cb and Cr 5 * 153 = 765
  // (level 2 or 3), so the chroma groups are those of the levels 2 and 3.
  SolidImages grey(128, 128, 128);
  std::set<int> groups;
  double sum = 0;
  std::vector<uint8_t> pixels = grey.convert(mqConvertTo8BitPlain, 24);
  for (uint8_t index : pixels) {
    ASSERT_TRUE(yLevelOf(index) == 3 || yLevelOf(index) == 4);
    sum += yLevelOf(index);
    groups.insert(index >> 3);
  }
  EXPECT_NEAR(sum / pixels.size(), 1020.0 / 256, 0.05);
  std::set<int> allowed;
  for (int u : {2, 3})
    for (int v : {2, 3}) allowed.insert(kChromaGroup[u + 7 * v]);
  for (int g : groups) EXPECT_TRUE(allowed.count(g)) << g;
}

TEST(ConvertTo8BitTest, VectorVariantMatchesThePlainOneOnAverage) {
  // The brightness level is kept on average exactly; the colour of the plain variant carries
  // the correlation of its three random bytes, so colours agree to within a fraction of the
  // distance between two chroma levels (about 42).
  for (auto [b, g, r] : {std::array<uint8_t, 3>{128, 128, 128}, {0, 0, 255}, {200, 40, 10}, {30, 220, 90}, {255, 255, 255}, {0, 0, 0}}) {
    SolidImages images(b, g, r);
    for (int bits : {8, 24}) {
      std::vector<uint8_t> plainIndices = images.convert(mqConvertTo8BitPlain, bits);
      std::vector<uint8_t> vectorIndices = images.convert(mqConvertTo8BitSSE2, bits);
      EXPECT_NEAR(meanYLevel(plainIndices), meanYLevel(vectorIndices), 0.05);
      auto plain = meanColour(plainIndices);
      auto vector = meanColour(vectorIndices);
      for (int c = 0; c < 3; ++c)
        EXPECT_NEAR(plain[c], vector[c], 10.0) << "channel " << c << " of " << int(b) << "," << int(g) << "," << int(r)
                                             << " from " << bits << " bits";
    }
  }
}

}  // namespace
