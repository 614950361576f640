#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

TEST(ToneTableTest, ExtremesAndBothBranches) {
  uint8_t table[256];
  mqMakeToneTable(table, 0);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(table[i], i);
  for (int tone : {-256, -300, -100000}) {
    mqMakeToneTable(table, tone);
    EXPECT_TRUE(std::all_of(table, table + 256, [](uint8_t v) { return v == 0; })) << tone;
  }
  for (int tone : {256, 300, 100000}) {
    mqMakeToneTable(table, tone);
    EXPECT_TRUE(std::all_of(table, table + 256, [](uint8_t v) { return v == 255; })) << tone;
  }
  mqMakeToneTable(table, -128);  // halves
  EXPECT_EQ(table[255], 127);
  EXPECT_EQ(table[1], 0);
  EXPECT_EQ(table[200], 100);
  mqMakeToneTable(table, -1);
  EXPECT_EQ(table[255], 254);
  mqMakeToneTable(table, 128);  // halfway to white
  EXPECT_EQ(table[0], 127);
  EXPECT_EQ(table[255], 255);
  mqMakeToneTable(table, 1);
  EXPECT_EQ(table[0], 0);
  EXPECT_EQ(table[254], 254);
}

TEST(ApplyToneTest, TonesEachChannelAndKeepsRowPadding) {
  // 2 by 2 pixels of 24 bits: rows of 6 bytes padded to 8.
  BITMAPINFOHEADER info{};
  info.biWidth = 2;
  info.biHeight = 2;
  info.biBitCount = 24;
  info.biSizeImage = 16;
  uint8_t src[16], dst[16];
  for (int i = 0; i < 16; ++i) src[i] = static_cast<uint8_t>(100 + i);
  std::memset(dst, 0xAA, sizeof dst);
  EXPECT_EQ(mqApplyTone(&info, dst, src, -256, 0, 256), 0u);
  for (int row = 0; row < 2; ++row) {
    for (int x = 0; x < 2; ++x) {
      const uint8_t* pixel = dst + row * 8 + x * 3;
      EXPECT_EQ(pixel[0], 255) << "blue toned to white";
      EXPECT_EQ(pixel[1], src[row * 8 + x * 3 + 1]) << "green untouched";
      EXPECT_EQ(pixel[2], 0) << "red toned to black";
    }
    EXPECT_EQ(dst[row * 8 + 6], 0xAA) << "padding behind the last pixel stays";
    EXPECT_EQ(dst[row * 8 + 7], 0xAA);
  }
  // Without tone the whole block, padding included, is copied.
  EXPECT_EQ(mqApplyTone(&info, dst, src, 0, 0, 0), 0u);
  EXPECT_EQ(std::memcmp(dst, src, 16), 0);

  // No width, no rows or no pitch: 1, and nothing written.
  for (auto empty : {+[](BITMAPINFOHEADER& h) { h.biWidth = 0; }, +[](BITMAPINFOHEADER& h) { h.biHeight = 0; },
                     +[](BITMAPINFOHEADER& h) { h.biSizeImage = 1; }}) {
    BITMAPINFOHEADER header = info;
    empty(header);
    std::memset(dst, 0xAA, sizeof dst);
    EXPECT_EQ(mqApplyTone(&header, dst, src, 10, 0, 0), 1u);
    EXPECT_TRUE(std::all_of(dst, dst + sizeof dst, [](uint8_t b) { return b == 0xAA; }));
  }
}

struct ClipCase {
  RECT src;
  int32_t x, y;
  int32_t result;
  RECT clippedSrc, dst;
};

TEST(ClipRectanglesTest, EdgesOfSourceAndDestination) {
  const ClipCase cases[] = {
      // Wholly left of the source image.
      {{-5, 0, -1, 3}, 0, 0, 1, {}, {}},
      // Crossing the source's left edge moves the destination right by the same amount.
      {{-2, 0, 3, 3}, 5, 5, 0, {0, 0, 3, 3}, {7, 5, 10, 8}},
      // Beyond the source's right and bottom edges.
      {{2, 1, 20, 30}, 0, 0, 0, {2, 1, 9, 9}, {0, 0, 7, 8}},
      {{10, 0, 20, 5}, 0, 0, 1, {}, {}},
      // Over the destination's right and bottom edges (destination 100 by 100).
      {{0, 0, 9, 9}, 95, 97, 0, {0, 0, 4, 2}, {95, 97, 99, 99}},
      // Negative position: the source loses its left columns.
      {{0, 0, 9, 9}, -3, -4, 0, {3, 4, 9, 9}, {0, 0, 6, 5}},
      // Position beyond the destination, or so far left that nothing is left.
      {{0, 0, 9, 9}, 100, 0, 1, {}, {}},
      {{0, 0, 9, 9}, -20, 0, 1, {}, {}},
      // Inverted source rectangle.
      {{5, 5, 4, 9}, 0, 0, 1, {}, {}},
  };
  for (const ClipCase& c : cases) {
    RECT src = c.src, dst{};
    int32_t result = mqClipRectangles(&dst, 100, 100, c.x, c.y, &src, 10, 10);
    SCOPED_TRACE(testing::Message() << "src " << c.src.left << "," << c.src.top << "," << c.src.right << ","
                                    << c.src.bottom << " at " << c.x << "," << c.y);
    EXPECT_EQ(result != 0, c.result != 0);
    if (c.result) continue;
    EXPECT_EQ(std::memcmp(&src, &c.clippedSrc, sizeof src), 0)
        << src.left << "," << src.top << "," << src.right << "," << src.bottom;
    EXPECT_EQ(std::memcmp(&dst, &c.dst, sizeof dst), 0)
        << dst.left << "," << dst.top << "," << dst.right << "," << dst.bottom;
  }
}

struct Palette {
  BITMAPINFOHEADER header{};
  RGBQUAD colours[256]{};
  const BITMAPINFO* info() const { return reinterpret_cast<const BITMAPINFO*>(this); }
};

TEST(NearestColorTest, SmallestDistanceFirstOfEqualsAndOnlyTheTableOfTheDepth) {
  Palette p;
  p.header.biBitCount = 8;
  p.colours[0] = {10, 10, 10, 0};
  p.colours[3] = {0, 0, 200, 0};  // red 200
  p.colours[4] = {0, 0, 200, 0};  // the same again
  p.colours[9] = {250, 250, 250, 0};
  EXPECT_EQ(mqNearestColor(p.info(), 0xC80000), 3u) << "the first of equals wins";
  EXPECT_EQ(mqNearestColor(p.info(), 0xBE0505), 3u);
  EXPECT_EQ(mqNearestColor(p.info(), 0xFFFFFF), 9u);
  EXPECT_EQ(mqNearestColor(p.info(), 0x0A0A0A), 0u);
  p.header.biBitCount = 1;  // only entries 0 and 1 count: the exact entry 3 is not looked at
  EXPECT_EQ(mqNearestColor(p.info(), 0xC80000), 0u);
  p.header.biBitCount = 24;
  EXPECT_EQ(mqNearestColor(p.info(), 0x123456), 0x123456u);
}

TEST(FixedPaletteTest, EntriesFromTheChromaGrid) {
  RGBQUAD table[256];
  mqMakeFixedPalette(table, false);
  auto expect = [&](int i, int blue, int green, int red) {
    EXPECT_EQ(table[i].rgbBlue, blue) << i;
    EXPECT_EQ(table[i].rgbGreen, green) << i;
    EXPECT_EQ(table[i].rgbRed, red) << i;
    EXPECT_EQ(table[i].rgbReserved, 0) << i;
  };
  expect(0, 0, 134, 0);  // Cb = Cr = -127, Y = 0
  expect(7, 30, 255, 77);  // the same chroma at full brightness
  expect(255, 255, 121, 255);  // Cb = Cr = 127, Y = 255
  expect(131, 109, 109, 109);  // group 16 is the grey axis
  expect(128, 0, 0, 0);
  expect(135, 255, 255, 255);
  mqMakeFixedPalette(table, true);
  for (int i = 0; i < 256; ++i) expect(i, i, i, i);
}

TEST(ChromaGroupTest, RoundsLevelsToThirtyTwoGroups) {
  for (int l = 0; l < 49; ++l) EXPECT_EQ(kChromaGroup[l], (l * 62 + 48) / 96) << l;
  EXPECT_EQ(kChromaGroup[24], 16) << "the centre of the grid is the grey group";
}

TEST(TablesTest, ConversionTermsAreRoundedToNearest) {
  const MOLAQTables& t = mqTables();
  EXPECT_EQ(t.red[255].y, 19519);
  EXPECT_EQ(t.red[255].cb, -11013);
  EXPECT_EQ(t.red[255].cr, 32640);
  EXPECT_EQ(t.green[255].y, 38319);
  EXPECT_EQ(t.blue[255].cr, -5307);
  EXPECT_EQ(t.blue[0].y, 0);
  EXPECT_EQ(t.cb[0].first, 11277);
  EXPECT_EQ(t.cb[0].second, -58065);
  EXPECT_EQ(t.cr[255].first, 45582);
  EXPECT_EQ(t.cr[128].second, 0);
}

TEST(TablesTest, ZigZagOrdersArePermutationsInJpegOrder) {
  const uint16_t expected8[] = {0, 1, 8, 16, 9, 2, 3, 10, 17, 24, 32, 25, 18, 11, 4, 5};
  EXPECT_TRUE(std::equal(std::begin(expected8), std::end(expected8), mqScanOrder(8)));
  EXPECT_EQ(mqScanOrder(8)[62], 62);
  EXPECT_EQ(mqScanOrder(8)[61], 55);
  EXPECT_EQ(mqScanOrder(4), mqScanOrder(8)) << "small blocks use the order of 8";
  const uint16_t expected16[] = {0, 1, 16, 32, 17, 2, 3, 18, 33, 48};
  EXPECT_TRUE(std::equal(std::begin(expected16), std::end(expected16), mqScanOrder(16)));
  for (int n : {8, 16, 32}) {
    std::set<int> seen(mqScanOrder(n), mqScanOrder(n) + n * n);
    EXPECT_EQ(seen.size(), static_cast<size_t>(n * n));
    EXPECT_EQ(*seen.rbegin(), n * n - 1);
    EXPECT_EQ(mqScanOrder(n)[n * n - 1], n * n - 1);
  }
}

TEST(TablesTest, CosinesAndTheirSixteenBitForms) {
  const MOLAQTables& t = mqTables();
  EXPECT_DOUBLE_EQ(t.cosine[1][0], 0.70710678118654757);
  EXPECT_NEAR(t.cosine[3][0], 0.98078528040323043, 1e-15);
  EXPECT_NEAR(t.cosine[10][511], 0.0015339801862847662, 1e-15);
  EXPECT_NEAR(t.twoCosQuarterPi, 1.4142135623730951, 1e-15);
  EXPECT_EQ(t.matrix[3][0], 16384);
  EXPECT_EQ(t.matrix[3][1 * 8 + 1], 13623);  // cos(3 pi / 16)
  EXPECT_EQ(t.matrix[3][7 * 8 + 7], -3196);  // cos(105 pi / 16)
  EXPECT_EQ(t.matrix[8][255 * 32 + 0], 16384) << "rows of 256 entries hold 32 columns";
  EXPECT_EQ(t.matrix[8][1 * 32 + 31], 13788);  // cos(93 pi / 512)
  EXPECT_EQ(t.cosine16[3][0], 16069);
  EXPECT_EQ(t.cosine16[4][7], 1606);
}

}  // namespace
