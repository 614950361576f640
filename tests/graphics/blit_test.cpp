#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"
#include "tests/graphics/test_bitmap.h"

namespace {

uint32_t pitchOf(int32_t width, uint32_t bits) { return static_cast<uint32_t>(dibPitch(width, bits)); }

// The vector variants this processor runs: SSE2, and AVX2 where it has it.
std::vector<DrawImageFn> vectorVariants() {
  std::vector<DrawImageFn> variants{mqDrawImageSSE2};
  if (mqProcessorHasAVX2()) variants.push_back(mqDrawImageAVX2);
  return variants;
}

TestBitmap makeImage(int32_t width, int32_t height, uint16_t bits, std::mt19937& random) {
  TestBitmap image(width, height, bits);
  for (uint8_t& byte : image.pixels) byte = static_cast<uint8_t>(random());
  for (RGBQUAD& colour : image.colours)
    colour = {uint8_t(random()), uint8_t(random()), uint8_t(random()), uint8_t(random())};
  image.header.biSizeImage = static_cast<uint32_t>(image.pixels.size());
  return image;
}

// A plane of `bits` (1, 8 or 32) with its record; `pitch` 0 takes the plane's natural pitch,
// `extra` adds bytes at the end.
struct Plane {
  std::vector<uint8_t> bytes;
  ImageInfo info{};
  Plane(int32_t width, int32_t height, uint32_t bits, uint32_t pitch = 0, size_t extra = 0) {
    if (pitch == 0) pitch = pitchOf(width, bits);
    bytes.resize(size_t{pitch} * height + extra);
    info = {32, bytes.data(), width, height, bits, static_cast<int32_t>(pitch),
            pitch * static_cast<uint32_t>(height), 0};
  }
  uint32_t cell(size_t byteOffset) const {
    uint32_t value;
    std::memcpy(&value, bytes.data() + byteOffset, 4);
    return value;
  }
};

// ---- The reference: every rule of the blit written out per pixel, slowly and plainly --------
struct Step {
  uint32_t state;
  uint32_t next() {
    state = 5 * state + 0x9273;
    return (state >> 8) & 0xff;
  }
};

uint8_t sat(uint32_t v) { return static_cast<uint8_t>(v > 255 ? 255 : v); }

uint32_t referenceDraw(const TestBitmap& dstImage, uint8_t* dst, const ImageInfo* z, int32_t x,
                       int32_t y, const TestBitmap& srcImage, const ImageInfo* alpha,
                       const RECT* rect, uint32_t t, uint32_t depth) {
  uint32_t sb = srcImage.header.biBitCount, db = dstImage.header.biBitCount;
  bool allowed = (sb == 1 && (db == 8 || db == 24)) || (sb == 8 && (db == 8 || db == 24)) ||
                 (sb == 24 && db == 24);
  if (!allowed) return 1;
  if (alpha && alpha->pixels && alpha->bits != 1 && alpha->bits != 8) return 1;
  int32_t sw = srcImage.header.biWidth, sh = srcImage.header.biHeight;
  int32_t dw = dstImage.header.biWidth, dh = dstImage.header.biHeight;
  RECT from = rect ? *rect : RECT{0, 0, sw - 1, sh - 1}, to;
  if (mqClipRectangles(&to, dw, dh, x, y, &from, sw, sh) != 0) return 0;
  if (t >= 256) return 0;
  uint32_t srcPitch = pitchOf(sw, sb), dstPitch = pitchOf(dw, db);
  const uint8_t* src = srcImage.pixels.data();
  bool useAlpha = sb != 1 && alpha && alpha->pixels;
  uint8_t t1[256], t2[256];
  mqMakeToneTable(t1, static_cast<int32_t>(t) - 256);
  mqMakeToneTable(t2, -static_cast<int32_t>(t));
  Step random{static_cast<uint32_t>(mqLoadDitherSeed())};
  const RGBQUAD& one = srcImage.colours[1];
  for (int32_t row = 0; row <= from.bottom - from.top; ++row) {
    size_t srcRow = size_t(sh - 1 - from.top - row), dstRow = size_t(dh - 1 - to.top - row);
    for (int32_t column = 0; column <= from.right - from.left; ++column) {
      int32_t sx = from.left + column, dx = to.left + column;
      uint32_t a = 255;
      if (sb == 1 && !(src[srcRow * srcPitch + sx / 8] & (0x80 >> (sx % 8)))) continue;
      if (useAlpha) {
        const uint8_t* alphaRow = alpha->pixels + srcRow * alpha->pitch;
        if (alpha->bits == 1) {
          if (!(alphaRow[sx / 8] & (0x80 >> (sx % 8)))) continue;
        } else {
          a = alphaRow[sx];
        }
      }
      if (z && z->pixels) {
        // The row comes from the destination's pitch, the step between rows from the plane's.
        uint8_t* cellBytes = z->pixels + ptrdiff_t(dh - 1 - to.top) * dstPitch + to.left * 4 -
                             ptrdiff_t(row) * z->pitch + column * 4;
        uint32_t cell;
        std::memcpy(&cell, cellBytes, 4);
        if (cell < depth) continue;
        std::memcpy(cellBytes, &depth, 4);
      }
      bool alpha8 = useAlpha && alpha->bits == 8;
      if (db == 8) {
        uint8_t index = sb == 1 ? uint8_t(mqNearestColor(dstImage.info(),
                                                         one.rgbRed << 16 | one.rgbGreen << 8 | one.rgbBlue))
                                : src[srcRow * srcPitch + sx];
        bool draw;
        if (!alpha8) {
          draw = t == 0 || random.next() >= t;
        } else if (t == 0) {
          uint32_t r = random.next();
          draw = a != 0 && r <= a;
        } else {
          draw = random.next() >= t && [&] {
            uint32_t r2 = random.next();
            return a != 0 && r2 <= a;
          }();
        }
        if (draw) dst[dstRow * dstPitch + dx] = index;
        continue;
      }
      uint8_t colour[3];
      if (sb == 1) {
        colour[0] = one.rgbBlue, colour[1] = one.rgbGreen, colour[2] = one.rgbRed;
      } else if (sb == 8) {
        const RGBQUAD& q = srcImage.colours[src[srcRow * srcPitch + sx]];
        colour[0] = q.rgbBlue, colour[1] = q.rgbGreen, colour[2] = q.rgbRed;
      } else {
        std::memcpy(colour, src + srcRow * srcPitch + sx * 3, 3);
      }
      uint8_t* d = dst + dstRow * dstPitch + dx * 3;
      uint32_t weight = std::min(256u, (0xff00 - (256 - t) * a) / 255);
      for (int i = 0; i < 3; ++i) {
        if (!alpha8 || a == 255) d[i] = t == 0 ? colour[i] : uint8_t(t1[d[i]] + t2[colour[i]]);
        else if (a != 0) d[i] = sat(((d[i] * weight) >> 8) + (t == 0 ? colour[i] : t2[colour[i]]));
      }
    }
  }
  return 0;
}

// ---- Random cases: reference, plain and vector must all agree -------------------------------
struct Case {
  uint16_t srcBits, dstBits;
  uint32_t alphaBits;  // 0 none
  bool useZ;
  uint32_t t, z;
  int32_t x, y;
  std::optional<RECT> rect;
};

struct Outcome {
  uint32_t result;
  std::vector<uint8_t> pixels, cells;
  uint64_t seed;
  bool operator==(const Outcome&) const = default;
};

class BlitTest : public ::testing::Test {
 protected:
  void TearDown() override { mqStoreDitherSeed(kDitherSeedStart); }
};

TEST_F(BlitTest, PlainVectorAndReferenceAgreeOnRandomCases) {
  std::mt19937 random(20261122);
  const uint16_t pairs[5][2] = {{1, 8}, {1, 24}, {8, 8}, {8, 24}, {24, 24}};
  int compared = 0;
  for (int n = 0; n < 6000; ++n) {
    const uint16_t* pair = pairs[n % 5];
    int32_t sw = 1 + random() % 70, sh = 1 + random() % 12;
    int32_t dw = 1 + random() % 70, dh = 1 + random() % 12;
    TestBitmap source = makeImage(sw, sh, pair[0], random);
    TestBitmap target = makeImage(dw, dh, pair[1], random);
    Case c{pair[0], pair[1], uint32_t(std::vector<uint32_t>{0, 1, 8}[random() % 3]),
           random() % 2 == 0, 0, uint32_t(random() % 4), int32_t(random() % (dw + 20)) - 10,
           int32_t(random() % (dh + 8)) - 4, std::nullopt};
    uint32_t tChoice = random() % 8;
    c.t = tChoice < 3 ? 0 : tChoice < 7 ? 1 + random() % 255 : 256 + random() % 3;
    if (random() % 2) {
      int32_t left = int32_t(random() % (sw + 8)) - 4, top = int32_t(random() % (sh + 4)) - 2;
      c.rect = RECT{left, top, left + int32_t(random() % (sw + 4)), top + int32_t(random() % (sh + 4))};
    }
    Plane alpha(sw, sh, c.alphaBits ? c.alphaBits : 8);
    // Runs of the two ends as well as values between, so that whole groups of vector lanes
    // are invisible or opaque.
    size_t run = 1 + random() % 24;
    for (size_t i = 0; i < alpha.bytes.size(); i += run) {
      uint32_t kind = random() % 3;
      for (size_t j = i; j < std::min(i + run, alpha.bytes.size()); ++j)
        alpha.bytes[j] = kind == 0 ? 0 : kind == 1 ? 255 : uint8_t(random());
    }
    // Cells at the destination's pitch; rows of 8-bit destinations overlap, which the three
    // walk in the same order.
    uint32_t dstPitch = pitchOf(dw, pair[1]);
    Plane depth(dw, dh, 32, dstPitch, size_t(dw) * 4);
    for (size_t i = 0; i + 4 <= depth.bytes.size(); i += 4) {
      uint32_t value = random() % 4;
      std::memcpy(depth.bytes.data() + i, &value, 4);
    }
    uint64_t seed = (uint64_t(random()) << 32) | random();

    auto runWith = [&](auto draw) {
      Outcome out{0, target.pixels, depth.bytes, 0};
      Plane cells = depth;
      cells.info.pixels = cells.bytes.data();
      Plane mask = alpha;
      mask.info.pixels = mask.bytes.data();
      mqStoreDitherSeed(seed);
      out.result = draw(out.pixels.data(), c.useZ ? &cells.info : nullptr,
                        c.alphaBits ? &mask.info : nullptr, c.rect ? &*c.rect : nullptr);
      out.cells = cells.bytes;
      out.seed = mqLoadDitherSeed();
      return out;
    };
    auto kernel = [&](auto fn) {
      return runWith([&](uint8_t* pixels, const ImageInfo* z, const ImageInfo* a, const RECT* r) {
        return fn(target.info(), pixels, z, c.x, c.y, source.info(), source.pixels.data(), a, r,
                  c.t, c.z);
      });
    };
    Outcome plain = kernel(mqDrawImagePlain);
    for (DrawImageFn variant : vectorVariants()) ASSERT_EQ(plain, kernel(variant)) << "case " << n;
    // The start of a mask's dissolve is the kernel's own choice: only the variants compare.
    if (pair[0] == 1 && pair[1] == 8 && c.t > 0 && c.t < 256) continue;
    Outcome reference = runWith([&](uint8_t* pixels, const ImageInfo* z, const ImageInfo* a, const RECT* r) {
      return referenceDraw(target, pixels, z, c.x, c.y, source, a, r, c.t, c.z);
    });
    reference.seed = plain.seed;  // the reference does not keep the generator's end state
    ASSERT_EQ(plain, reference) << "case " << n << " pair " << pair[0] << "->" << pair[1]
                                << " alpha " << c.alphaBits << " t " << c.t << " z " << c.useZ;
    ++compared;
  }
  EXPECT_GT(compared, 5000);
}

// Every pair of alpha and transparency goes through the vector blend: the division by 255 and
// the weight of alpha 0 must match the plain formula for all of them.
TEST_F(BlitTest, VectorBlendMatchesPlainForEveryAlphaAndTransparency) {
  std::mt19937 random(7);
  TestBitmap source = makeImage(256, 1, 24, random), target = makeImage(256, 1, 24, random);
  Plane alpha(256, 1, 8);
  for (int a = 0; a < 256; ++a) alpha.bytes[a] = uint8_t(a);
  for (uint32_t t = 0; t < 256; ++t) {
    std::vector<uint8_t> plain = target.pixels;
    ASSERT_EQ(mqDrawImagePlain(target.info(), plain.data(), nullptr, 0, 0, source.info(),
                               source.pixels.data(), &alpha.info, nullptr, t, 0), 0u);
    for (DrawImageFn variant : vectorVariants()) {
      std::vector<uint8_t> vector = target.pixels;
      ASSERT_EQ(variant(target.info(), vector.data(), nullptr, 0, 0, source.info(),
                        source.pixels.data(), &alpha.info, nullptr, t, 0), 0u);
      ASSERT_EQ(plain, vector) << "t " << t;
    }
  }
}

// A 1-bit plane read from every bit offset: groups of 16 pixels straddle its bytes and words
// in all ways, and the vector rows must copy exactly the pixels whose bits are set.
TEST_F(BlitTest, VectorMaskedCopyMatchesPlainAtEveryBitOffset) {
  std::mt19937 random(9);
  TestBitmap source = makeImage(120, 3, 24, random), target = makeImage(90, 3, 24, random);
  Plane mask(120, 3, 1);
  for (size_t i = 0; i < mask.bytes.size(); ++i) {
    uint32_t kind = random() % 3;  // whole bytes clear or set, and mixed ones
    mask.bytes[i] = kind == 0 ? 0 : kind == 1 ? 0xff : uint8_t(random());
  }
  for (int32_t left = 0; left < 40; ++left) {
    RECT rect{left, 0, left + 79 - left % 7, 2};
    std::vector<uint8_t> plain = target.pixels;
    ASSERT_EQ(mqDrawImagePlain(target.info(), plain.data(), nullptr, 1, 0, source.info(),
                               source.pixels.data(), &mask.info, &rect, 0, 0), 0u);
    ASSERT_NE(plain, target.pixels);
    for (DrawImageFn variant : vectorVariants()) {
      std::vector<uint8_t> vector = target.pixels;
      ASSERT_EQ(variant(target.info(), vector.data(), nullptr, 1, 0, source.info(),
                        source.pixels.data(), &mask.info, &rect, 0, 0), 0u);
      ASSERT_EQ(plain, vector) << "left " << left;
    }
  }
}

// ---- Edge cases -----------------------------------------------------------------------------
class BlitVariants : public ::testing::TestWithParam<DrawImageFn> {
 protected:
  void TearDown() override { mqStoreDitherSeed(kDitherSeedStart); }
  uint32_t draw(TestBitmap& dst, const TestBitmap& src, int32_t x = 0, int32_t y = 0,
                const ImageInfo* alpha = nullptr, uint32_t t = 0, const ImageInfo* z = nullptr,
                uint32_t depth = 0, const RECT* rect = nullptr) {
    return GetParam()(dst.info(), dst.pixels.data(), z, x, y, src.info(), src.pixels.data(),
                      alpha, rect, t, depth);
  }
};

TEST_P(BlitVariants, PairsWithoutAKernelFail) {
  std::mt19937 random(1);
  TestBitmap rgb = makeImage(4, 4, 24, random), indexed = makeImage(4, 4, 8, random);
  TestBitmap mono = makeImage(4, 4, 1, random), nibbles = makeImage(4, 4, 4, random);
  EXPECT_EQ(draw(indexed, rgb), 1u) << "no way from 24 bits to 8";
  EXPECT_EQ(draw(mono, mono), 1u) << "no 1-bit destination";
  EXPECT_EQ(draw(rgb, nibbles), 1u);
  EXPECT_EQ(draw(nibbles, mono), 1u);
  Plane alpha4(4, 4, 4);
  EXPECT_EQ(draw(rgb, rgb, 0, 0, &alpha4.info), 1u) << "alpha planes have 1 or 8 bits";
  alpha4.info.pixels = nullptr;
  EXPECT_EQ(draw(rgb, rgb, 0, 0, &alpha4.info), 0u) << "a plane without pixels is no plane";
}

TEST_P(BlitVariants, NothingDrawnOutsideOrAtFullTransparency) {
  std::mt19937 random(2);
  TestBitmap src = makeImage(8, 8, 24, random), dst = makeImage(8, 8, 24, random);
  std::vector<uint8_t> before = dst.pixels;
  RECT outside{20, 0, 30, 5};
  EXPECT_EQ(draw(dst, src, 0, 0, nullptr, 0, nullptr, 0, &outside), 0u);
  EXPECT_EQ(draw(dst, src, 8, 0), 0u);
  EXPECT_EQ(draw(dst, src, -8, 0), 0u);
  EXPECT_EQ(draw(dst, src, 0, 0, nullptr, 256), 0u);
  EXPECT_EQ(draw(dst, src, 0, 0, nullptr, 1000), 0u);
  EXPECT_EQ(dst.pixels, before);
}

TEST_P(BlitVariants, NegativeXMovesTheClippedSourceRight) {
  std::mt19937 random(3);
  TestBitmap src = makeImage(6, 1, 8, random), dst(6, 1, 8);
  ASSERT_EQ(draw(dst, src, -2, 0), 0u);
  EXPECT_TRUE(std::equal(src.pixels.begin() + 2, src.pixels.begin() + 6, dst.pixels.begin()));
  EXPECT_EQ(dst.pixels[4], 0);
}

TEST_P(BlitVariants, FullAlphaCopiesZeroAlphaLeavesButClaimsDepth) {
  std::mt19937 random(4);
  TestBitmap src = makeImage(40, 3, 24, random), dst = makeImage(40, 3, 24, random);
  // Cells at the destination's pitch of 120 bytes: the three rows of 160 bytes overlap.
  Plane alpha(40, 3, 8), z(40, 3, 32, 120, 40);
  std::fill(alpha.bytes.begin(), alpha.bytes.end(), 255);
  std::fill(z.bytes.begin(), z.bytes.end(), 0xff);
  ASSERT_EQ(draw(dst, src, 0, 0, &alpha.info, 0, &z.info, 7), 0u);
  EXPECT_EQ(dst.pixels, src.pixels) << "alpha 255 with t 0 is an exact copy";
  TestBitmap other = makeImage(40, 3, 24, random);
  std::vector<uint8_t> before = other.pixels;
  std::fill(alpha.bytes.begin(), alpha.bytes.end(), 0);
  std::fill(z.bytes.begin(), z.bytes.end(), 0xff);
  ASSERT_EQ(draw(other, src, 0, 0, &alpha.info, 0, &z.info, 7), 0u);
  EXPECT_EQ(other.pixels, before) << "alpha 0 draws nothing";
  for (size_t i = 0; i < z.bytes.size(); i += 4) ASSERT_EQ(z.cell(i), 7u) << "but claims depth";
}

TEST_P(BlitVariants, DepthOverdrawsAtEqualDepthOnly) {
  TestBitmap src(3, 1, 8), dst(3, 1, 8);
  src.pixels = {9, 9, 9, 0};
  Plane z(3, 1, 32);
  uint32_t cells[3] = {5, 4, 6};
  std::memcpy(z.bytes.data(), cells, 12);
  ASSERT_EQ(draw(dst, src, 0, 0, nullptr, 0, &z.info, 5), 0u);
  EXPECT_EQ(dst.pixels[0], 9) << "equal depth draws";
  EXPECT_EQ(dst.pixels[1], 0) << "a nearer cell wins";
  EXPECT_EQ(dst.pixels[2], 9);
  EXPECT_EQ(z.cell(0), 5u);
  EXPECT_EQ(z.cell(4), 4u);
  EXPECT_EQ(z.cell(8), 5u);
}

TEST_P(BlitVariants, DepthRowIsFoundWithTheDestinationsPitch) {
  // An 8-bit destination 8 wide has a pitch of 8 bytes; its cells 32 bytes a row.
  TestBitmap src(2, 2, 8), dst(8, 4, 8);
  std::fill(src.pixels.begin(), src.pixels.end(), 1);
  Plane z(8, 4, 32);
  std::fill(z.bytes.begin(), z.bytes.end(), 0xff);
  ASSERT_EQ(draw(dst, src, 2, 0, nullptr, 0, &z.info, 3), 0u);
  // Top screen row 0 is memory row 3: its cells start at 3 * 8 + 2 * 4 = 32 bytes, the next
  // row down 32 bytes earlier, at 0.
  for (size_t offset : {32u, 36u, 0u, 4u}) EXPECT_EQ(z.cell(offset), 3u) << offset;
  size_t claimed = std::count_if(z.bytes.begin(), z.bytes.end(), [](uint8_t b) { return b != 0xff; });
  EXPECT_EQ(claimed, 16u);
}

TEST_P(BlitVariants, FourthByteOfAPixelIsKept) {
  std::mt19937 random(5);
  TestBitmap src = makeImage(5, 1, 24, random), dst(5, 1, 24);
  std::fill(dst.pixels.begin(), dst.pixels.end(), 0xAB);
  RECT firstFour{0, 0, 3, 0};
  ASSERT_EQ(draw(dst, src, 0, 0, nullptr, 0, nullptr, 0, &firstFour), 0u);
  EXPECT_TRUE(std::equal(src.pixels.begin(), src.pixels.begin() + 12, dst.pixels.begin()));
  EXPECT_EQ(dst.pixels[12], 0xAB) << "the byte after the last pixel is not written";
}

TEST_P(BlitVariants, DissolveWithTransparencyOneDropsAboutOneIn256) {
  std::mt19937 random(6);
  TestBitmap src(256, 64, 8), dst(256, 64, 8);
  std::fill(src.pixels.begin(), src.pixels.end(), 1);
  ASSERT_EQ(draw(dst, src, 0, 0, nullptr, 1), 0u);
  size_t skipped = std::count(dst.pixels.begin(), dst.pixels.end(), 0);
  EXPECT_GT(skipped, 16u);
  EXPECT_LT(skipped, 128u) << "64 expected of 16384";
}

TEST_P(BlitVariants, OneBitSourceDrawsItsSetBitsInPaletteEntryOne) {
  TestBitmap mask(40, 1, 1), dst(40, 1, 24);
  mask.colours[0] = {1, 2, 3, 0};
  mask.colours[1] = {10, 20, 30, 0};
  mask.pixels = {0x80, 0x00, 0x00, 0x01, 0xC0, 0, 0, 0};  // bits 0, 31, 32 and 33
  ASSERT_EQ(draw(dst, mask, 0, 0), 0u);
  for (int x = 0; x < 40; ++x) {
    bool set = x == 0 || x == 31 || x == 32 || x == 33;
    EXPECT_EQ(dst.pixels[3 * x], set ? 10 : 0) << x;
    EXPECT_EQ(dst.pixels[3 * x + 2], set ? 30 : 0) << x;
  }
  TestBitmap indexed(40, 1, 8);
  for (int i = 0; i < 256; ++i) indexed.colours[i] = {uint8_t(i), uint8_t(i), uint8_t(i), 0};
  indexed.colours[77] = {11, 19, 29, 0};
  RECT fromBit31{31, 0, 39, 0};
  ASSERT_EQ(draw(indexed, mask, 0, 0, nullptr, 0, nullptr, 0, &fromBit31), 0u);
  EXPECT_EQ(indexed.pixels[0], 77) << "the nearest colour of the destination's palette";
  EXPECT_EQ(indexed.pixels[2], 77);
  EXPECT_EQ(indexed.pixels[3], 0);
}

INSTANTIATE_TEST_SUITE_P(Variants, BlitVariants, ::testing::Values(&mqDrawImagePlain, &mqDrawImageSSE2),
                         [](const auto& info) { return info.index == 0 ? "plain" : "sse2"; });
INSTANTIATE_TEST_SUITE_P(Wide, BlitVariants,
                         ::testing::ValuesIn(mqProcessorHasAVX2() ? std::vector<DrawImageFn>{&mqDrawImageAVX2}
                                                                  : std::vector<DrawImageFn>{}),
                         [](const auto&) { return "avx2"; });
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(BlitVariants);

TEST_F(BlitTest, EightBitBlitStepsTheSharedSeedTheSameInBothVariants) {
  std::mt19937 random(8);
  TestBitmap src = makeImage(33, 5, 8, random), dst = makeImage(33, 5, 8, random);
  Plane alpha(33, 5, 8);
  for (uint8_t& a : alpha.bytes) a = uint8_t(random());
  mqStoreDitherSeed(kDitherSeedStart);
  ASSERT_EQ(mqDrawImagePlain(dst.info(), dst.pixels.data(), nullptr, 0, 0, src.info(),
                             src.pixels.data(), &alpha.info, nullptr, 100, 0), 0u);
  uint64_t after = mqLoadDitherSeed();
  EXPECT_EQ(after >> 32, kDitherSeedStart >> 32) << "the high half is left alone";
  // A pixel that passes the transparency test takes two steps, one that fails takes one.
  Step step{static_cast<uint32_t>(kDitherSeedStart)};
  for (int i = 0; i < 33 * 5; ++i)
    if (step.next() >= 100) step.next();
  EXPECT_EQ(static_cast<uint32_t>(after), step.state);
}

// ---- Fill -----------------------------------------------------------------------------------
TEST(FillTest, NormalisesClipsAndDrawsTheRectangle) {
  TestBitmap image(10, 6, 24);
  std::fill(image.pixels.begin(), image.pixels.end(), 0xEE);
  image.header.biSizeImage = static_cast<uint32_t>(image.pixels.size());
  RECT rect{12, 4, 7, -3};  // swapped and partly outside
  ASSERT_EQ(mqFillRectangle(image.info(), image.pixels.data(), nullptr, &rect, 0x112233, 0, 0), 0u);
  EXPECT_EQ(rect.left, 7);
  EXPECT_EQ(rect.right, 9);
  EXPECT_EQ(rect.top, 0);
  EXPECT_EQ(rect.bottom, 4);
  uint32_t pitch = pitchOf(10, 24);
  for (int row = 0; row < 6; ++row)
    for (int x = 0; x < 10; ++x) {
      const uint8_t* p = image.pixels.data() + (5 - row) * pitch + 3 * x;
      bool inside = x >= 7 && row <= 4;
      EXPECT_EQ(p[0], inside ? 0x33 : 0xEE) << x << "," << row;
      EXPECT_EQ(p[2], inside ? 0x11 : 0xEE) << x << "," << row;
    }
  EXPECT_EQ(image.pixels[pitch - 2], 0xEE) << "row padding stays";
}

TEST(FillTest, MissesAndWrongDepthsLeaveEverythingAlone) {
  TestBitmap image(4, 4, 24), mono(32, 2, 1);
  image.header.biSizeImage = static_cast<uint32_t>(image.pixels.size());
  RECT outside{5, 0, 9, 2};
  EXPECT_EQ(mqFillRectangle(image.info(), image.pixels.data(), nullptr, &outside, 0xffffff, 0, 0), 0u);
  EXPECT_EQ(outside.left, 5) << "a miss changes nothing in the rectangle";
  EXPECT_EQ(outside.right, 9);
  RECT all{0, 0, 3, 3};
  EXPECT_EQ(mqFillRectangle(mono.info(), mono.pixels.data(), nullptr, &all, 1, 0, 0), 1u);
  EXPECT_EQ(mqFillRectangle(image.info(), image.pixels.data(), nullptr, &all, 0xffffff, 256, 0), 0u);
  EXPECT_TRUE(std::all_of(image.pixels.begin(), image.pixels.end(), [](uint8_t b) { return b == 0; }));
}

TEST(FillTest, TransparencyBlendsTrueColourAndFindsTheNearestIndex) {
  TestBitmap rgb(20, 1, 24), indexed(20, 1, 8);
  rgb.header.biSizeImage = pitchOf(20, 24);
  indexed.header.biSizeImage = pitchOf(20, 8);
  for (int x = 0; x < 20; ++x) rgb.pixels[3 * x] = uint8_t(10 * x);
  RECT row{0, 0, 19, 0};
  ASSERT_EQ(mqFillRectangle(rgb.info(), rgb.pixels.data(), nullptr, &row, 0x0000C8, 64, 0), 0u);
  for (int x = 0; x < 20; ++x)
    EXPECT_EQ(rgb.pixels[3 * x], uint8_t(((10 * x) * 64 >> 8) + (200 * 192 >> 8))) << x;
  indexed.colours[5] = {200, 0, 0, 0};
  ASSERT_EQ(mqFillRectangle(indexed.info(), indexed.pixels.data(), nullptr, &row, 0x0000C0, 0, 0), 0u);
  EXPECT_TRUE(std::all_of(indexed.pixels.begin(), indexed.pixels.end(), [](uint8_t b) { return b == 5; }));
}

// The fill written out per pixel: rows from the rectangle's lowest screen row, the depth stored
// one cell ahead.
void referenceFill(TestBitmap& image, ImageInfo* z, RECT rect, uint32_t colour, uint32_t t,
                   uint32_t depth) {
  int32_t width = image.header.biWidth, height = image.header.biHeight;
  uint32_t bits = image.header.biBitCount, pitch = pitchOf(width, bits);
  int32_t left = std::max<int32_t>(std::min(rect.left, rect.right), 0);
  int32_t right = std::min<int32_t>(std::max(rect.left, rect.right), width - 1);
  int32_t top = std::max<int32_t>(std::min(rect.top, rect.bottom), 0);
  int32_t bottom = std::min<int32_t>(std::max(rect.top, rect.bottom), height - 1);
  uint8_t t1[256], t2[256];
  mqMakeToneTable(t1, static_cast<int32_t>(t) - 256);
  mqMakeToneTable(t2, -static_cast<int32_t>(t));
  uint8_t bgr[3] = {uint8_t(colour), uint8_t(colour >> 8), uint8_t(colour >> 16)};
  uint8_t index = uint8_t(mqNearestColor(image.info(), colour));
  for (int32_t y = bottom; y >= top; --y) {
    int32_t memoryRow = height - 1 - y;
    for (int32_t x = left; x <= right; ++x) {
      if (z) {
        uint8_t* cell = z->pixels + memoryRow * z->pitch + x * 4;
        uint32_t value;
        std::memcpy(&value, cell, 4);
        if (value <= depth) continue;
        std::memcpy(cell + 4, &depth, 4);
      }
      uint8_t* p = image.pixels.data() + memoryRow * pitch + x * (bits / 8);
      if (bits == 8) *p = index;
      for (uint32_t i = 0; bits == 24 && i < 3; ++i) p[i] = t == 0 ? bgr[i] : uint8_t(t1[p[i]] + t2[bgr[i]]);
    }
  }
}

TEST(FillTest, AgreesWithTheReferenceOnRandomRectangles) {
  std::mt19937 random(9);
  for (int n = 0; n < 2000; ++n) {
    uint16_t bits = n % 2 ? 24 : 8;
    int32_t width = 1 + random() % 80, height = 1 + random() % 6;
    TestBitmap image = makeImage(width, height, bits, random);
    uint32_t t = bits == 8 || random() % 2 ? 0 : 1 + random() % 255;
    bool useZ = random() % 2;
    uint32_t colour = random() & 0xffffff, depth = random() % 4;
    RECT rect{int32_t(random() % (width + 10)) - 5, int32_t(random() % (height + 4)) - 2,
              int32_t(random() % (width + 10)) - 5, int32_t(random() % (height + 4)) - 2};
    Plane cells(width, height, 32, 0, 4);
    for (uint8_t& byte : cells.bytes) byte = uint8_t(random() % 4);
    TestBitmap expected = image;
    Plane expectedCells = cells;
    expectedCells.info.pixels = expectedCells.bytes.data();
    RECT clipped = rect;
    ASSERT_EQ(mqFillRectangle(image.info(), image.pixels.data(), useZ ? &cells.info : nullptr,
                              &clipped, colour, t, depth), 0u);
    bool hit = std::max(rect.left, rect.right) >= 0 && std::min(rect.left, rect.right) < width &&
               std::max(rect.top, rect.bottom) >= 0 && std::min(rect.top, rect.bottom) < height;
    if (hit) referenceFill(expected, useZ ? &expectedCells.info : nullptr, rect, colour, t, depth);
    ASSERT_EQ(image.pixels, expected.pixels) << "case " << n;
    ASSERT_EQ(cells.bytes, expectedCells.bytes) << "case " << n;
  }
}

TEST(FillTest, TransparencyOnIndicesDissolves) {
  TestBitmap image(256, 16, 8);
  image.header.biSizeImage = static_cast<uint32_t>(image.pixels.size());
  image.colours[1] = {255, 255, 255, 0};
  RECT all{0, 0, 255, 15};
  ASSERT_EQ(mqFillRectangle(image.info(), image.pixels.data(), nullptr, &all, 0xffffff, 128, 0), 0u);
  size_t drawn = std::count(image.pixels.begin(), image.pixels.end(), 1);
  EXPECT_GT(drawn, 1700u);
  EXPECT_LT(drawn, 2400u) << "about half of 4096";
}

TEST(FillTest, DepthRunsOneColumnOutOfStepAndNeedsAFartherCell) {
  TestBitmap image(6, 2, 8);
  image.header.biSizeImage = static_cast<uint32_t>(image.pixels.size());
  Plane z(6, 2, 32, 0, 4);
  uint32_t cells[13] = {9, 9, 9, 9, 5, 9, /* next row */ 9, 9, 9, 9, 9, 9, 1};
  std::memcpy(z.bytes.data(), cells, sizeof cells);
  // Cell 0 (9) draws and writes 5 into cell 1, which then holds pixel 1 back; cell 2 draws and
  // writes cell 3; cell 4 equals the depth and does not draw; cell 5 draws and writes the
  // first cell of the next row.
  image.pixels.assign(image.pixels.size(), 0xff);
  RECT bottomRow{0, 1, 5, 1};
  ASSERT_EQ(mqFillRectangle(image.info(), image.pixels.data(), &z.info, &bottomRow, 0, 0, 5), 0u);
  uint8_t expected[6] = {0, 0xff, 0, 0xff, 0xff, 0};
  EXPECT_TRUE(std::equal(expected, expected + 6, image.pixels.begin()));
  uint32_t expectedCells[7] = {9, 5, 9, 5, 5, 9, 5};
  for (int i = 0; i < 7; ++i) EXPECT_EQ(z.cell(4 * i), expectedCells[i]) << i;
}

}  // namespace
