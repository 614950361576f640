// The demo's bonus screens' files: the gallery's pictures are the game's own views of its places
// and its ending, their thumbnails are those pictures reduced, and the music and CG modes have
// every bitmap the screens read in its size, the game's songs on their tracks.
#include <gtest/gtest.h>

#include "demo/art/demo_art.h"
#include "demo/menus/gallery_art.h"
#include "demo/menus/menu_art.h"
#include "tests/demo/read_bitmap.h"
#include "tests/temp_dir.h"

namespace {

TEST(GalleryPicturesTest, PlacesAreTheLandscapeAroundThemAndTheLastIsTheEnding) {
  const std::vector<Picture> pictures = demo_menus::galleryPictures();
  ASSERT_EQ(pictures.size(), size_t(DEMO_CG_POSITIONS));
  const Picture landscape = demo_art::drawLandscape();
  for (int32_t place = 0; place < DEMO_PLACE_COUNT; ++place) {
    const Picture& view = pictures[place];
    ASSERT_EQ(view.width, demo_menus::kPlacePictureWidth);
    ASSERT_EQ(view.height, demo_menus::kPlacePictureHeight);
    // The place's point lies in the view, at the same colour as in the landscape.
    const int32_t left = demoClamp(kDemoPlaces[2 * place] - view.width / 2, 0, landscape.width - view.width);
    const int32_t top = demoClamp(kDemoPlaces[2 * place + 1] - view.height / 2, 0, landscape.height - view.height);
    for (int32_t dy : {0, 1, -50}) {
      const int32_t x = kDemoPlaces[2 * place], y = kDemoPlaces[2 * place + 1] + dy;
      EXPECT_EQ(demo_art::colourAt(view, x - left, y - top), demo_art::colourAt(landscape, x, y)) << place;
    }
    EXPECT_EQ(demo_art::colourAt(view, 0, 0), demo_art::colourAt(landscape, left, top)) << place;
  }
  const Picture ending = demo_art::drawEnding();
  EXPECT_EQ(pictures.back().width, ending.width);
  EXPECT_EQ(pictures.back().pixels, ending.pixels);
}

TEST(GalleryPicturesTest, AThumbnailAveragesBlocksOfFiveOfTheFirstView) {
  Picture picture = demo_art::blankPicture(700, 500, 24);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) demo_art::setColour(&picture, x, y, (x % 5 == 0 ? 250u : 0u) << 16 | uint32_t(y / 5));
  }
  const Picture small = demo_menus::thumbnail(picture);
  ASSERT_EQ(small.width, demo_menus::kThumbnailWidth);
  ASSERT_EQ(small.height, demo_menus::kThumbnailHeight);
  EXPECT_EQ(demo_art::colourAt(small, 0, 0), 0x320000u);    // one red column of five: 50
  EXPECT_EQ(demo_art::colourAt(small, 127, 95), 0x32005Fu);  // blue is the block's row, 95
}

TEST(BonusScreensArtTest, MusicAndCGModesHaveTheirBitmapsAndTheThumbnailsOfTheGamesPictures) {
  TempDir dir;
  screen_art::ArtSet music(dir.file("music"), {}), cg(dir.file("cg"), {}), gallery(dir.file("gallery"), {});
  std::vector<Picture> pictures = demo_menus::galleryPictures();
  demo_menus::drawMusicMode(music);
  demo_menus::drawCGMode(cg, pictures);
  demo_menus::writeGalleryPictures(gallery, pictures);
  std::string error;
  ASSERT_TRUE(music.Pack(dir.file("musicmod.arc"), &error)) << error;
  ASSERT_TRUE(cg.Pack(dir.file("cgmode.arc"), &error)) << error;
  ASSERT_TRUE(gallery.Pack(dir.file("gallery.arc"), &error)) << error;

  const struct {
    std::string name;
    int32_t width, height;
  } bitmaps[] = {{"music/music.bmp", 640, 480}, {"music/mpcmon.bmp", 105, 36}, {"music/mmidon.bmp", 105, 36},
                 {"music/bralon.bmp", 13, 31},  {"music/braron.bmp", 13, 31},  {"music/m01.bmp", 304, 40},
                 {"music/m14.bmp", 304, 40},    {"cg/cg.bmp", 640, 480},       {"cg/cgboup1.bmp", 32, 18},
                 {"cg/cgboup2.bmp", 32, 14},    {"cg/cgbodw1.bmp", 32, 18},    {"cg/cgbodw2.bmp", 32, 14},
                 {"cg/black.bmp", 128, 96},     {"cg/bg503.bmp", 128, 96},     {"gallery/bg5000.bmp", 960, 720},
                 {"gallery/bg5030.bmp", 640, 480}};
  for (const auto& bitmap : bitmaps) {
    const Picture picture = readBitmap(dir.file(bitmap.name));
    EXPECT_EQ(picture.width, bitmap.width) << bitmap.name;
    EXPECT_EQ(picture.height, bitmap.height) << bitmap.name;
  }
  // The songs' tracks are lit with their captions; a track without a song is a plain plate.
  const Picture ground = readBitmap(dir.file("music/music.bmp"));
  EXPECT_EQ(demo_art::colourAt(ground, 8 + 4, 24 + 4), demo_menus::kPlateColour);      // m01, a song
  EXPECT_EQ(demo_art::colourAt(ground, 8 + 4, 24 + 112 + 4), demo_menus::kGroundColour);  // m05, none
  EXPECT_EQ(demo_art::colourAt(readBitmap(dir.file("music/m01.bmp")), 4, 4), demo_menus::kLitColour);
  for (int32_t position = 0; position < DEMO_CG_POSITIONS; ++position) {
    const Picture small = readBitmap(dir.file("cg/bg50" + std::to_string(position) + ".bmp"));
    const Picture expected = demo_menus::thumbnail(pictures[position]);
    for (int32_t y = 0; y < small.height; y += 7) {
      for (int32_t x = 0; x < small.width; x += 7) {
        ASSERT_EQ(demo_art::colourAt(small, x, y), demo_art::colourAt(expected, x, y)) << position << " at " << x << "," << y;
      }
    }
  }
  const Picture full = readBitmap(dir.file("gallery/bg5010.bmp"));
  EXPECT_EQ(demo_art::colourAt(full, 500, 400), demo_art::colourAt(pictures[1], 500, 400));
}

}  // namespace
