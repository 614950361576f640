// The demo's picture generator: the landscape's layers lie where its skyline says, each band
// of the palette is a ramp, and the title plate carries its border and letters.
#include <gtest/gtest.h>

#include <cstring>

#include "demo/art/demo_art.h"

namespace {

using demo_art::Band;

uint8_t indexAt(const Picture& picture, int32_t x, int32_t y) {
  return picture.pixels[size_t(picture.height - 1 - y) * picture.pitch() + size_t(x)];
}

int32_t brightness(const RGBQUAD& c) { return c.rgbRed + c.rgbGreen + c.rgbBlue; }

class LandscapeTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { landscape_ = new Picture(demo_art::drawLandscape()); }
  static void TearDownTestSuite() { delete landscape_; }
  static Picture* landscape_;
};
Picture* LandscapeTest::landscape_ = nullptr;

// The map scene's places lie in the ground their names promise: the lake in the water, the
// peaks on the near range, the meadow in the grass.
TEST_F(LandscapeTest, PlacesLieInTheirGround) {
  const Band grounds[DEMO_PLACE_COUNT] = {demo_art::kWater, demo_art::kNearMountains, demo_art::kMeadow};
  for (int place = 0; place < DEMO_PLACE_COUNT; ++place) {
    const int32_t x = kDemoPlaces[2 * place], y = kDemoPlaces[2 * place + 1];
    for (auto [dx, dy] : {std::pair{0, 0}, {-20, -20}, {20, 20}}) {
      EXPECT_TRUE(demo_art::inBand(indexAt(*landscape_, x + dx, y + dy), grounds[place]))
          << kDemoPlaceNames[place] << " at " << x + dx << ", " << y + dy;
    }
  }
}

TEST_F(LandscapeTest, PlaceLabelsAreWrittenInTheLandscapesMarks) {
  for (int place = 0; place < DEMO_PLACE_COUNT; ++place) {
    Picture label = demo_art::drawPlaceLabel(kDemoPlaceNames[place], *landscape_);
    const int32_t letters = int32_t(std::strlen(kDemoPlaceNames[place]));
    ASSERT_EQ(label.width, (letters * 6 - 1) * 2 + 8);
    ASSERT_EQ(label.height, demo_art::kLabelHeight);
    ASSERT_EQ(label.bits, 8u);
    EXPECT_EQ(std::memcmp(label.palette.data(), landscape_->palette.data(), 256 * sizeof(RGBQUAD)), 0);
    int32_t ink = 0;
    for (int32_t y = 0; y < label.height; ++y) {
      for (int32_t x = 0; x < label.width; ++x) {
        ASSERT_TRUE(demo_art::inBand(indexAt(label, x, y), demo_art::kMarks)) << x << ", " << y;
        ink += demo_art::colourAt(label, x, y) == demo_art::kLabelInk;
      }
    }
    EXPECT_EQ(demo_art::colourAt(label, 0, 0), demo_art::kLabelBorder);
    EXPECT_EQ(demo_art::colourAt(label, label.width - 1, label.height - 1), demo_art::kLabelBorder);
    EXPECT_EQ(demo_art::colourAt(label, 2, 2), demo_art::kLabelGround);
    EXPECT_GT(ink, letters * 40);  // every letter has at least ten glyph pixels of 2 by 2
  }
  EXPECT_EQ(demo_art::drawPlaceLabel("lake", *landscape_).width, 0);  // no glyphs for small letters
}

TEST_F(LandscapeTest, IsABigPalettePicture) {
  EXPECT_EQ(landscape_->width, demo_art::kBigWidth);
  EXPECT_EQ(landscape_->height, demo_art::kBigHeight);
  EXPECT_EQ(landscape_->bits, 8u);
  ASSERT_EQ(landscape_->palette.size(), 256u);
  EXPECT_EQ(landscape_->pixels.size(), size_t(landscape_->pitch()) * landscape_->height);
}

TEST_F(LandscapeTest, LayersFollowTheSkylineFromTopToBottom) {
  for (int32_t x = 0; x < landscape_->width; x += 37) {
    demo_art::Skyline s = demo_art::skylineAt(x);
    ASSERT_LT(0, s.farMountains) << x;
    ASSERT_LT(s.farMountains, s.nearMountains) << x;
    ASSERT_LT(s.nearMountains, s.meadow) << x;
    ASSERT_LT(s.meadow, s.lake) << x;
    ASSERT_LT(s.lake, landscape_->height) << x;
    for (int32_t y = 0; y < landscape_->height; ++y) {
      uint8_t index = indexAt(*landscape_, x, y);
      bool right;
      if (y < s.farMountains) {
        right = inBand(index, demo_art::kSky) || inBand(index, demo_art::kSun);
      } else if (y < s.nearMountains) {
        right = inBand(index, demo_art::kFarMountains);
      } else if (y < s.meadow) {
        right = inBand(index, demo_art::kNearMountains);
      } else if (y < s.lake) {
        right = inBand(index, demo_art::kMeadow) || inBand(index, demo_art::kMarks);
      } else {
        right = inBand(index, demo_art::kWater);
      }
      ASSERT_TRUE(right) << "index " << int(index) << " at (" << x << ", " << y << ")";
    }
  }
}

TEST_F(LandscapeTest, SkyBrightensTowardsTheHorizonAndTheSunSetsBehindTheMountains) {
  EXPECT_LT(indexAt(*landscape_, 10, 0), indexAt(*landscape_, 10, 300));
  EXPECT_TRUE(inBand(indexAt(*landscape_, 100, 250), demo_art::kSky));
  // The sun's disc, 60 pixels around its centre, is at full brightness wherever the sky shows.
  int32_t discInSky = 0;
  for (int32_t y = demo_art::kSunCentreY - 60; y <= demo_art::kSunCentreY + 60; y += 3) {
    for (int32_t x = demo_art::kSunCentreX - 60; x <= demo_art::kSunCentreX + 60; x += 3) {
      int32_t dx = x - demo_art::kSunCentreX, dy = y - demo_art::kSunCentreY;
      if (dx * dx + dy * dy >= 60 * 60 || y >= demo_art::skylineAt(x).farMountains) continue;
      ++discInSky;
      ASSERT_EQ(indexAt(*landscape_, x, y), demo_art::kSun.first + demo_art::kSun.count - 1) << x << ", " << y;
    }
  }
  EXPECT_GT(discInSky, 100);
}

TEST_F(LandscapeTest, FencePostsStandEvery160Columns) {
  for (int32_t x = 0; x < landscape_->width; x += 160) {
    int32_t meadow = demo_art::skylineAt(x).meadow;
    EXPECT_TRUE(inBand(indexAt(*landscape_, x, meadow + 5), demo_art::kMarks)) << x;
    EXPECT_FALSE(inBand(indexAt(*landscape_, x + 20, meadow + 5), demo_art::kMarks)) << x;
  }
}

TEST_F(LandscapeTest, EveryPaletteBandIsARampFromDarkToLight) {
  for (Band band : {demo_art::kSky, demo_art::kSun, demo_art::kFarMountains, demo_art::kNearMountains,
                    demo_art::kMeadow, demo_art::kWater}) {
    for (int32_t i = band.first + 1; i < band.first + band.count; ++i) {
      EXPECT_LE(brightness(landscape_->palette[i - 1]), brightness(landscape_->palette[i])) << i;
    }
    EXPECT_LT(brightness(landscape_->palette[band.first]), brightness(landscape_->palette[band.first + band.count - 1]));
  }
}

TEST(DemoTextTest, GlyphsCoverLettersDigitsAndPunctuationOnly) {
  const std::string known = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789 .-!:";
  for (size_t i = 0; i < known.size(); ++i) {
    ASSERT_NE(demo_art::glyphRows(known[i]), nullptr) << known[i];
    for (size_t j = 0; j < i; ++j) {
      EXPECT_NE(std::memcmp(demo_art::glyphRows(known[i]), demo_art::glyphRows(known[j]), 7), 0)
          << known[i] << " looks like " << known[j];
    }
  }
  for (char c : {'a', 'z', '@', '\0', '\xA0'}) EXPECT_EQ(demo_art::glyphRows(c), nullptr) << int(c);
}

TEST(DemoTextTest, DrawsScaledGlyphsAtTheirPlace) {
  Picture picture = demo_art::blankPicture(40, 20, 24);
  ASSERT_TRUE(demo_art::drawText(&picture, 3, 2, "L", 2, 0xFF0000));
  // L at scale 2: the left column two pixels wide and 14 high, the foot 10 wide.
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) {
      bool stroke = (x >= 3 && x < 5 && y >= 2 && y < 16) || (x >= 3 && x < 13 && y >= 14 && y < 16);
      ASSERT_EQ(demo_art::colourAt(picture, x, y), stroke ? 0xFF0000u : 0u) << x << ", " << y;
    }
  }
}

TEST(DemoTextTest, RefusesUnknownCharactersAndTextOutsideThePictureWithoutDrawing) {
  Picture picture = demo_art::blankPicture(40, 20, 24);
  const std::vector<uint8_t> before = picture.pixels;
  EXPECT_FALSE(demo_art::drawText(&picture, 0, 0, "Aa", 1, 0xFFFFFF));
  EXPECT_FALSE(demo_art::drawText(&picture, 0, 0, "ABCDEFG", 1, 0xFFFFFF));  // 41 pixels wide
  EXPECT_FALSE(demo_art::drawText(&picture, 0, 14, "A", 1, 0xFFFFFF));  // rows 14 to 20
  EXPECT_FALSE(demo_art::drawText(&picture, -1, 0, "A", 1, 0xFFFFFF));
  EXPECT_FALSE(demo_art::drawText(&picture, 0, 0, "A", 0, 0xFFFFFF));
  EXPECT_FALSE(demo_art::drawText(&picture, 0, 0, "", 1, 0xFFFFFF));
  EXPECT_EQ(picture.pixels, before);
  EXPECT_TRUE(demo_art::drawText(&picture, 0, 13, "ABCDEF", 1, 0xFFFFFF));  // exactly fits
}

TEST(DemoTitleTest, LensFrameIsGoldBetweenDarkLines) {
  Picture frame = demo_art::drawLensFrame();
  ASSERT_EQ(frame.width, DEMO_LENS_WIDTH + 2 * DEMO_LENS_BORDER);
  ASSERT_EQ(frame.height, DEMO_LENS_HEIGHT + 2 * DEMO_LENS_BORDER);
  const uint32_t across[DEMO_LENS_BORDER] = {0x201030, 0xE0B040, 0xE0B040, 0x201030};
  for (int32_t i = 0; i < DEMO_LENS_BORDER; ++i) {
    EXPECT_EQ(demo_art::colourAt(frame, i, 50), across[i]) << i;
    EXPECT_EQ(demo_art::colourAt(frame, frame.width - 1 - i, 50), across[i]) << i;
    EXPECT_EQ(demo_art::colourAt(frame, 70, i), across[i]) << i;
    EXPECT_EQ(demo_art::colourAt(frame, 70, frame.height - 1 - i), across[i]) << i;
  }
}

TEST(DemoEndingTest, FillsTheClientAreaWithTheEndInWhite) {
  Picture ending = demo_art::drawEnding();
  ASSERT_EQ(ending.width, DEMO_CLIENT_WIDTH);
  ASSERT_EQ(ending.height, DEMO_CLIENT_HEIGHT);
  // "THE END" at scale 8 is 328 pixels wide, centred from column 156, row 150: the T's bar
  // is white and the sky above and below it is dark.
  EXPECT_EQ(demo_art::colourAt(ending, 156, 150), 0xFFFFFFu);
  EXPECT_EQ(demo_art::colourAt(ending, 156 + 39, 150), 0xFFFFFFu);
  EXPECT_NE(demo_art::colourAt(ending, 156, 149), 0xFFFFFFu);
  EXPECT_LT(demo_art::colourAt(ending, 5, 5) >> 16, 0x20u);
}

TEST(DemoTitleTest, PlateHasAGoldBorderAndWhiteLettersWithAShadow) {
  Picture plate = demo_art::drawTitlePlate();
  ASSERT_EQ(plate.width, demo_art::kTitleWidth);
  ASSERT_EQ(plate.height, demo_art::kTitleHeight);
  ASSERT_EQ(plate.bits, 24u);
  for (auto [x, y] : {std::pair{0, 0}, {plate.width - 1, 0}, {2, plate.height - 1}, {plate.width - 3, 50}}) {
    EXPECT_EQ(demo_art::colourAt(plate, x, y), 0xE0B040u) << x << ", " << y;
  }
  // "RUNA1 DEMO" at scale 6 is 354 pixels wide, centred: it starts at column 47, row 12. The
  // R's stem is white, the shadow shows 3 pixels right of and below its foot, and the gap
  // between R and U is background.
  EXPECT_EQ(demo_art::colourAt(plate, 47, 12), 0xFFFFFFu);
  EXPECT_EQ(demo_art::colourAt(plate, 47, 53), 0xFFFFFFu);
  EXPECT_EQ(demo_art::colourAt(plate, 47 + 3, 53 + 3), 0x201030u);
  uint32_t gap = demo_art::colourAt(plate, 47 + 31, 20);
  EXPECT_NE(gap, 0xFFFFFFu);
  EXPECT_NE(gap, 0x201030u);
}

}  // namespace
