// The demo's opening and staff roll pictures: every name the sequences load is there in the size
// they place it at, the staff roll has a line for each of its pictures, and the pictures are the
// game's own landscape with their captions.
#include <gtest/gtest.h>

#include "demo/art/demo_art.h"
#include "demo/menus/menu_art.h"
#include "demo/menus/sequence_art.h"
#include "tests/demo/read_bitmap.h"
#include "tests/temp_dir.h"

namespace {

TEST(SequenceArtTest, EveryPictureIsThereInTheSizeTheSequencesPlaceIt) {
  TempDir dir;
  screen_art::ArtSet set(dir.file("tree"), {});
  demo_menus::drawSequences(set);
  std::string error;
  ASSERT_TRUE(set.Pack(dir.file("sequence.arc"), &error)) << error;
  for (int number = demo_menus::kFirstSequencePicture; number <= demo_menus::kLastSequencePicture; number += 10) {
    const Picture picture = readBitmap(dir.file("tree/bg" + std::to_string(number) + ".bmp"));
    int32_t width = 640, height = 480;  // the title card and the staff roll
    if (number == 6330 || number == 6340) width = demo_menus::kHalfWidth, height = demo_menus::kBandHeight;
    else if (number >= 6380 && number <= 6430) width = height = demo_menus::kSmallSize;
    else if (number == 6450) height = demo_menus::kScrollHeight;
    else if (number < demo_menus::kFirstRollPicture) height = demo_menus::kBandHeight;
    EXPECT_EQ(picture.width, width) << number;
    EXPECT_EQ(picture.height, height) << number;
  }
  // The first band is the title's first view of the landscape.
  const Picture band = readBitmap(dir.file("tree/bg6300.bmp"));
  const Picture landscape = demo_art::drawLandscape();
  EXPECT_EQ(demo_art::colourAt(band, 10, 10), demo_art::colourAt(landscape, DEMO_START_X + 10, DEMO_START_Y + 10));
  // Each roll picture carries its line in gold on a dark strip across its middle.
  const Picture roll = readBitmap(dir.file("tree/bg6680.bmp"));
  int32_t gold = 0;
  for (int32_t x = 0; x < roll.width; ++x) gold += demo_art::colourAt(roll, x, 226 + 8) == demo_menus::kLitColour;
  EXPECT_GT(gold, 20);
  EXPECT_EQ(demo_art::colourAt(roll, 2, 226 - 6), demo_menus::kGroundColour);
}

TEST(SequenceArtTest, TheStaffRollHasALineThatFitsForEachPicture) {
  const std::vector<std::string> lines = demo_menus::rollLines();
  EXPECT_EQ(lines.size(), size_t((demo_menus::kLastSequencePicture - 10 - demo_menus::kFirstRollPicture) / 10 + 1));
  for (const std::string& line : lines) {
    EXPECT_LE(demo_menus::captionWidth(line, line.size() > 18 ? 3 : 4), 640) << line;
    for (char c : line) EXPECT_NE(demo_art::glyphRows(c), nullptr) << line;
  }
}

}  // namespace
