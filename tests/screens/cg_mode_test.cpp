// The CG mode natively: its files and the module's pictures are drawn by screen_art; the test
// plays the window through a FakeScreenHost and reads the target picture.
#include "screens/cg_mode.h"

#include <gtest/gtest.h>

#include <vector>

#include "files/koral_archive.h"
#include "host/exports/archive.h"
#include "screens/screen_click_watch.h"
#include "tests/screens/screen_run.h"
#include "tools/screen_art/gallery_art.h"
#include "tools/screen_art/gallery_look.h"

namespace {

using namespace screen_message;

// The centre of the cell in column `column` of the table's row `row`.
POINT cellCentre(int32_t column, int32_t row) { return POINT{8 + 144 * column + 64, 24 + 112 * row + 48}; }
constexpr POINT kPageUp{591 + 16, 20 + 9}, kRowUp{591 + 16, 43 + 7}, kPageDown{591 + 16, 394 + 9},
    kRowDown{591 + 16, 375 + 7}, kExit{579 + 29, 436 + 18};

class CGModeTest : public ScreenRunTest {
 protected:
  CGModeTest() : ScreenRunTest("cg_mode_test") {
    MakeArchive("cgmode.arc", screen_art::drawCGMode, true);
    MakeArchive("pictures.arc", screen_art::drawCGPictures, false);
    pictures = KORALArchive_Open(folder.file("pictures.arc").c_str(), 0);
  }
  ~CGModeTest() override {
    if (result.valid()) Result();
    if (pictures) KORALArchive_Close(pictures);
  }

  void Start(std::vector<uint32_t> unlocked) {
    flags = std::move(unlocked);
    ScreenRunTest::Start([this] {
      return RunCGMode(host, target.get(), pictures, flags.data(), static_cast<int32_t>(flags.size()));
    });
  }
  // The table shows position `position` in the cell at (column, row), lit or not.
  bool ShowsThumbnail(int32_t column, int32_t row, int32_t position) {
    POINT at = cellCentre(column, row);
    return Shows(at.x, at.y, CG_ART_THUMBNAIL_COLOUR(position));
  }
  uint32_t Cell(int32_t column, int32_t row) {
    POINT at = cellCentre(column, row);
    return Pixel(at.x, at.y);
  }
  void ClickCell(int32_t column, int32_t row) {
    POINT at = cellCentre(column, row);
    host.Click(at.x, at.y);
  }

  KArcFileExp* pictures = nullptr;
  std::vector<uint32_t> flags;
};

TEST_F(CGModeTest, TheTableShowsUnlockedPicturesAndScrollsByPagesAndRows) {
  // 22 positions: 6 rows, a slider from 0 to 2; position 2 and 9 locked; 22 and 23 are black.
  std::vector<uint32_t> unlocked(22, 1);
  unlocked[2] = unlocked[9] = 0;
  Start(unlocked);
  EXPECT_EQ(Pixel(5, 5), CG_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(Cell(0, 0), CG_ART_THUMBNAIL_COLOUR(0));
  EXPECT_EQ(Cell(1, 0), CG_ART_THUMBNAIL_COLOUR(1));
  EXPECT_EQ(Cell(2, 0), CG_ART_BACKGROUND_COLOUR) << "a locked position has no cell";
  EXPECT_EQ(Cell(3, 3), CG_ART_THUMBNAIL_COLOUR(15));
  EXPECT_EQ(Pixel(591 + 16, 58 + 10), CG_ART_KNOB_COLOUR) << "the knob at the top";

  host.Click(kPageDown.x, kPageDown.y);  // 4 rows on, held at the last page: rows 2 to 5
  ASSERT_TRUE(ShowsThumbnail(0, 0, 8));
  EXPECT_EQ(Cell(1, 0), CG_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(Cell(1, 3), CG_ART_THUMBNAIL_COLOUR(21));
  EXPECT_EQ(Cell(2, 3), CG_ART_BLACK_COLOUR) << "cells past the count are black";
  EXPECT_EQ(Pixel(591 + 16, 58 + 316 - 10), CG_ART_KNOB_COLOUR) << "the knob at the bottom";
  ClickCell(2, 3);  // a black cell is disabled
  host.Click(kRowUp.x, kRowUp.y);
  ASSERT_TRUE(ShowsThumbnail(0, 0, 4));
  host.Click(kRowDown.x, kRowDown.y);
  ASSERT_TRUE(ShowsThumbnail(0, 0, 8));
  host.Click(kPageUp.x, kPageUp.y);
  ASSERT_TRUE(ShowsThumbnail(0, 0, 0));
  EXPECT_TRUE(Running());
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 0) << "the last button pressed was page up";
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(CGModeTest, TheViewerPansALargePictureAgainstTheMouseAndRingsThroughItsVariants) {
  std::vector<uint32_t> unlocked(16, 1);
  unlocked[0] = 0b101;
  unlocked[2] = 0;
  unlocked[3] = 0xFFFFFFFF;
  Start(unlocked);
  ClickCell(0, 0);
  ASSERT_TRUE(Shows(10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)));
  POINT centre = host.ClientToScreen(POINT{320, 240});
  ASSERT_FALSE(host.pointerPlacements.empty());
  EXPECT_EQ(host.pointerPlacements.back().x, centre.x) << "the pointer is held at the window's centre";
  EXPECT_EQ(host.pointerPlacements.back().y, centre.y);

  host.MoveTo(320 - 100, 240 - 50);  // left and up: the picture moves right and down
  EXPECT_EQ(Pixel(10, 20), CG_ART_PICTURE_COLOUR(0, 110, 70));
  ASSERT_FALSE(host.scrolls.empty());
  EXPECT_EQ(host.scrolls.back().x, -100);
  EXPECT_EQ(host.scrolls.back().y, -50);
  host.MoveTo(320 + 30, 240);
  EXPECT_EQ(Pixel(10, 20), CG_ART_PICTURE_COLOUR(0, 80, 70));
  host.MoveTo(320 - 1000, 240 - 1000);  // held at the picture's far edges
  EXPECT_EQ(Pixel(639, 479), CG_ART_PICTURE_COLOUR(0, CG_ART_LARGE_WIDTH - 1, CG_ART_LARGE_HEIGHT - 1));
  size_t scrolls = host.scrolls.size();
  host.MoveTo(320 - 10, 240 - 10);
  EXPECT_EQ(host.scrolls.size(), scrolls) << "no further at the edge";

  host.Press(kLButtonDown);  // the next variant, from its corner
  ASSERT_TRUE(Shows(10, 20, CG_ART_PICTURE_COLOUR(2, 10, 20)));
  host.Press(kLButtonDown);  // round the ring to variant 0
  ASSERT_TRUE(Shows(10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)));
  host.Press(kRButtonDown);
  ASSERT_TRUE(ShowsThumbnail(0, 0, 0)) << "the table is back";
  EXPECT_EQ(host.pointerPlacements.back().x, cellCentre(0, 0).x + FakeScreenHost::kClientOrigin.x)
      << "the pointer is put back";

  // A picture no larger than the window does not move, and the rest of the window is black.
  ClickCell(1, 0);
  ASSERT_TRUE(Shows(10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)));
  EXPECT_EQ(Pixel(400, 300), 0u);
  host.MoveTo(320 - 100, 240 - 50);
  EXPECT_EQ(Pixel(10, 20), CG_ART_PICTURE_COLOUR(0, 10, 20));
  host.Press(kLButtonDown);  // one variant: the same picture again
  host.Press(kRButtonDown);
  ASSERT_TRUE(ShowsThumbnail(1, 0, 1));

  // Every bit set, but no picture in the archive: the viewer ends at once.
  ClickCell(3, 0);
  ASSERT_TRUE(ShowsThumbnail(3, 0, 3));
  EXPECT_TRUE(Active());
  host.Click(kExit.x, kExit.y);
  EXPECT_EQ(Result(), 10);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(CGModeTest, AShortTableStandsLowerAndMissingOrLockedFilesShowNothing) {
  // 5 positions: 2 rows, a slider from 0 to -2 that holds -2, so the table stands two rows lower.
  Start({1, 0, 1, 1, 1});
  EXPECT_EQ(Cell(0, 0), CG_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(Cell(0, 2), CG_ART_THUMBNAIL_COLOUR(0));
  EXPECT_EQ(Cell(0, 3), CG_ART_THUMBNAIL_COLOUR(4));
  EXPECT_EQ(Cell(3, 3), CG_ART_BLACK_COLOUR);
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), -1) << "no button was pressed";

  Start(std::vector<uint32_t>(16, 0));
  for (int32_t row = 0; row < 4; ++row) EXPECT_EQ(Cell(row, row), CG_ART_BACKGROUND_COLOUR);
  ClickCell(0, 0);
  EXPECT_TRUE(Running());
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), -1);

  MakeArchive("cgmode.arc", screen_art::drawCGMode, true, {"bg5", "black"});
  Start({1, 1, 1, 1, 1});
  EXPECT_EQ(Cell(0, 2), CG_ART_BACKGROUND_COLOUR) << "a missing thumbnail draws nothing";
  ClickCell(0, 2);  // its cell is still there, and the viewer opens
  ASSERT_TRUE(Shows(10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)));
  host.Press(kRButtonDown);
  ASSERT_TRUE(Shows(10, 20, CG_ART_BACKGROUND_COLOUR));
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 500);

  ZPK_WriteProfileString("Installed", "BinDir", folder.file("nothing").c_str());
  EXPECT_EQ(RunCGMode(host, target.get(), pictures, flags.data(), 5), -1);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST(ScreenClickWatchTest, ItHidesThePointerAndQueuesPressesOfBothButtonsInOrder) {
  FakeScreenHost host;
  {
    ScreenClickWatch watch(host);
    ASSERT_EQ(host.HookCount(), 1u);
    EXPECT_EQ(watch.WaitClick(10), -1) << "nothing pressed yet";
    host.cursor = fakeCursor(FakeScreenHost::kArrow);
    host.Deliver(kSetCursor, 0, 0);
    EXPECT_EQ(host.cursor, nullptr);
    host.Deliver(kMouseMove, 0, packPoint(5, 5));
    host.Deliver(kLButtonUp, 0, packPoint(5, 5));
    host.Deliver(kRButtonDown, 0, packPoint(5, 5));
    host.Deliver(kLButtonDown, 0, packPoint(5, 5));
    EXPECT_EQ(watch.WaitClick(os::kWaitForever), static_cast<int32_t>(kRButtonDown));
    EXPECT_EQ(watch.WaitClick(os::kWaitForever), static_cast<int32_t>(kLButtonDown));
    EXPECT_EQ(watch.WaitClick(10), -1) << "moves and releases are not queued";

    auto later = std::async(std::launch::async, [&] { return watch.WaitClick(os::kWaitForever); });
    os::sleep(20);
    host.Deliver(kLButtonDown, 0, 0);
    EXPECT_EQ(later.get(), static_cast<int32_t>(kLButtonDown)) << "a waiting screen wakes";
  }
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(CGModeTest, ATableOfExactlyFourRowsHoldsStillWhenScrolled) {
  // 16 positions: four rows, all shown, a slider from 0 to 0.
  Start(std::vector<uint32_t>(16, 1));
  EXPECT_EQ(Cell(3, 3), CG_ART_THUMBNAIL_COLOUR(15));
  for (POINT at : {kPageDown, kRowDown, kPageUp, kRowUp}) host.Click(at.x, at.y);
  host.MoveTo(591 + 16, 58 + 10);  // the knob, dragged down
  host.Press(kLButtonDown);
  host.MoveTo(591 + 16, 300);
  host.Press(kLButtonUp);
  EXPECT_TRUE(ShowsThumbnail(0, 0, 0));
  EXPECT_EQ(Cell(3, 3), CG_ART_THUMBNAIL_COLOUR(15));
  host.Click(kExit.x, kExit.y);
  EXPECT_EQ(Result(), 10);
}

}  // namespace
