// The save and load screens natively: their files are drawn by the screens' art generator, the
// screen runs on a thread of its own as on the module's, and the test plays the window, handing
// mouse messages to the screen's hook and reading the target picture.
#include "screens/save_screen.h"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <ctime>
#include <string>
#include <vector>

#include "screens/save_slot.h"
#include "tests/screens/save_file_bytes.h"
#include "tests/screens/screen_test_fixture.h"
#include "tools/screen_art/save_menu_art.h"
#include "tools/screen_art/save_menu_look.h"

namespace {

using namespace screen_message;

constexpr int32_t kLoad = 1, kSave = 0;

POINT slotPlace(int32_t slot) { return POINT{slot < 5 ? 36 : 322, 40 + 74 * (slot % 5)}; }

class SaveScreenTest : public ScreenTest {
 protected:
  SaveScreenTest() : ScreenTest("save_screen_test") {
    MakeArt({});
    ZPK_WriteProfileString("Installed", "SaveDir", folder.file("saves").c_str());
  }

  void MakeArt(std::vector<std::string> leaveOut) {
    ScreenTest::MakeArt("SaveMenu", screen_art::drawSaveMenu, std::move(leaveOut));
  }

  // A save file written at local time 1999-03-07 09:05.
  void Save(int32_t page, int32_t slot, const std::string& bytes) {
    std::string path = folder.write(SaveFilePath("saves\\", page, slot), bytes);
    std::tm local{};
    local.tm_year = 99;
    local.tm_mon = 2;
    local.tm_mday = 7;
    local.tm_hour = 9;
    local.tm_min = 5;
    local.tm_isdst = -1;
    timeval times[2] = {{std::mktime(&local), 0}, {std::mktime(&local), 0}};
    utimes(path.c_str(), times);
  }

  void Start(int mode, int32_t page) {
    StartScreen([this, mode, page] {
      return mode == kLoad ? RunLoadScreen(host, target.get(), page) : RunSaveScreen(host, target.get(), page);
    });
  }
  // The page is drawn before the screen takes input again: wait for the cursor of an active
  // screen.
  bool ShowsPage(int32_t page) { return Shows(5, 5, SAVE_ART_PAGE_COLOUR(page)) && Active(); }
  // The colour at (1, 1) of the glyph whose left edge is `dx` into slot `slot`.
  uint32_t Glyph(int32_t slot, int32_t dx, int32_t dy) {
    POINT at = slotPlace(slot);
    return Pixel(at.x + dx + 1, at.y + dy + 1);
  }
  // A spot of the slot that its data never covers.
  uint32_t SlotGround(int32_t slot) {
    POINT at = slotPlace(slot);
    return Pixel(at.x + 20, at.y + 50);
  }
  void ClickSlot(int32_t slot) {
    POINT at = slotPlace(slot);
    host.Click(at.x + 20, at.y + 50);
  }
};

TEST_F(SaveScreenTest, TheLoadScreenShowsTheSlotsOfItsFilesAndPagesThroughThoseWithSaves) {
  Save(1, 9, saveFileBytes(2, 5, 1, 2));
  Save(2, 0, saveFileBytes(2, 1, 2, 1));
  Save(2, 1, saveFileBytes(2, 3, 6, 0x8002));
  Save(2, 2, saveFileBytes(2, 6, 1, 1));  // damaged: chapter 6
  Save(2, 3, saveFileBytes(2, 1, 1, 1, 100));  // short
  Save(4, 0, saveFileBytes(2, 2, 1, 1));
  Start(kLoad, 2);

  EXPECT_EQ(Pixel(5, 5), SAVE_ART_PAGE_COLOUR(2));
  EXPECT_EQ(Glyph(0, 48, 3), SAVE_ART_KIND_COLOUR(1, 0));
  EXPECT_EQ(Glyph(1, 48, 3), SAVE_ART_KIND_COLOUR(2, 0));
  EXPECT_EQ(Glyph(0, 46, 36), SAVE_ART_PICTURE_COLOUR(1, 2, 0));
  EXPECT_EQ(Glyph(1, 46, 36), SAVE_ART_PICTURE_COLOUR(3, 6, 0));
  // 1999, " 3", " 7" on the first row; " 9" and " 5" on the second.
  EXPECT_EQ(Glyph(0, 140, 3), SAVE_ART_GLYPH_COLOUR(1, 0));
  EXPECT_EQ(Glyph(0, 176, 3), SAVE_ART_GLYPH_COLOUR(9, 0));
  EXPECT_EQ(Glyph(0, 202, 3), SAVE_ART_PAGE_COLOUR(2)) << "a blank draws nothing";
  EXPECT_EQ(Glyph(0, 214, 3), SAVE_ART_GLYPH_COLOUR(3, 0));
  EXPECT_EQ(Glyph(0, 251, 3), SAVE_ART_GLYPH_COLOUR(7, 0));
  EXPECT_EQ(Glyph(0, 200, 19), SAVE_ART_GLYPH_COLOUR(9, 0));
  EXPECT_EQ(Glyph(0, 240, 19), SAVE_ART_GLYPH_COLOUR(5, 0));
  // The edge of a glyph is transparent through its alpha plane.
  POINT first = slotPlace(0);
  EXPECT_EQ(Pixel(first.x + 140, first.y + 3), SAVE_ART_PAGE_COLOUR(2));
  for (int32_t slot : {2, 3, 4}) {
    EXPECT_EQ(Glyph(slot, 46, 36), SAVE_ART_PICTURE_COLOUR(0, 0, 0)) << "no data in slot " << slot;
    EXPECT_EQ(Glyph(slot, 140, 3), SAVE_ART_GLYPH_COLOUR(10, 0));
    EXPECT_EQ(Glyph(slot, 118, 19), SAVE_ART_GLYPH_COLOUR(10, 0)) << "an empty slot's second row starts further left";
    EXPECT_EQ(Glyph(slot, 188, 19), SAVE_ART_PAGE_COLOUR(2));
  }
  EXPECT_EQ(Pixel(8 + 50, 435 + 18), SAVE_ART_PREVIOUS_COLOUR(0)) << "page 1 holds a save";
  EXPECT_EQ(Pixel(527 + 50, 435 + 18), SAVE_ART_NEXT_COLOUR(0)) << "page 4 does";
  EXPECT_EQ(Pixel(278 + 40, 435 + 18), SAVE_ART_PAGE_COLOUR(2)) << "the back button shows only when lit";

  POINT at = slotPlace(1);
  host.MoveTo(at.x + 20, at.y + 50);
  EXPECT_EQ(SlotGround(1), SAVE_ART_HOVER_COLOUR(1));
  EXPECT_EQ(Glyph(1, 48, 3), SAVE_ART_KIND_COLOUR(2, 1)) << "the lit slot shows the 'on' variants";
  EXPECT_EQ(Glyph(1, 140, 3), SAVE_ART_GLYPH_COLOUR(1, 1));
  ClickSlot(2);  // damaged: disabled, neither lit nor clickable
  EXPECT_EQ(SlotGround(2), SAVE_ART_PAGE_COLOUR(2));
  EXPECT_EQ(SlotGround(1), SAVE_ART_PAGE_COLOUR(2));
  EXPECT_TRUE(Running());

  host.Click(527 + 50, 435 + 18);  // next: page 3 holds nothing, page 4
  ASSERT_TRUE(ShowsPage(4));
  EXPECT_EQ(Pixel(527 + 50, 435 + 18), SAVE_ART_PAGE_COLOUR(4)) << "no page after 4 holds a save";
  host.Click(8 + 50, 435 + 18);
  ASSERT_TRUE(ShowsPage(2));
  host.Click(8 + 50, 435 + 18);
  ASSERT_TRUE(ShowsPage(1));
  ClickSlot(9);
  EXPECT_EQ(Result(), 19);
  EXPECT_EQ(host.HookCount(), 0u);
  EXPECT_EQ(host.loadedCursorFiles.size(), 2u);
}

TEST_F(SaveScreenTest, WithoutSavesTheLoadScreenShowsPageOneAndOnlyBackOrTheRightButtonLeave) {
  Start(kLoad, 3);
  EXPECT_EQ(Pixel(5, 5), SAVE_ART_PAGE_COLOUR(1));
  ClickSlot(0);
  host.Click(8 + 50, 435 + 18);
  EXPECT_TRUE(Running());
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), -1);

  Start(kLoad, 1);
  host.MoveTo(278 + 40, 435 + 18);
  EXPECT_EQ(Pixel(278 + 40, 435 + 18), SAVE_ART_BACK_COLOUR);
  host.Click(278 + 40, 435 + 18);
  EXPECT_EQ(Result(), -1);
}

TEST_F(SaveScreenTest, TheSaveScreenTakesAnEmptySlotAtOnceAndAsksBeforeItOverwrites) {
  Save(3, 4, saveFileBytes(2, 2, 3, 1));
  Save(3, 5, saveFileBytes(2, 2, 3, 3));  // kind 3: empty, overwritten without a question
  Start(kSave, 3);
  EXPECT_EQ(Pixel(8 + 50, 435 + 18), SAVE_ART_PAGE_COLOUR(3)) << "no page buttons";
  ClickSlot(5);
  EXPECT_EQ(Result(), 35);

  Start(kSave, 3);
  ClickSlot(4);
  int32_t left = (640 - SAVE_ART_BOX_WIDTH) >> 1, top = (480 - SAVE_ART_BOX_HEIGHT) >> 1;
  ASSERT_TRUE(Shows(left + 10, top + 10, SAVE_ART_BOX_COLOUR));
  host.Press(kRButtonDown);  // nothing while the box is up
  host.Click(left + 0x8B + 10, top + 0x60 + 10);  // no
  EXPECT_TRUE(Shows(left + 10, top + 10, SAVE_ART_PAGE_COLOUR(3)) && Active()) << "the box is gone";
  EXPECT_TRUE(Running());
  ClickSlot(4);
  ASSERT_TRUE(Shows(left + 10, top + 10, SAVE_ART_BOX_COLOUR));
  host.Click(left + 0x23 + 10, top + 0x60 + 10);  // yes
  EXPECT_EQ(Result(), 34);
}

TEST_F(SaveScreenTest, BadPagesAndAMissingArchiveGiveMinusOne) {
  EXPECT_EQ(RunSaveScreen(host, target.get(), 0), -1);
  EXPECT_EQ(RunLoadScreen(host, target.get(), 6), -1);
  ZPK_WriteProfileString("Installed", "BinDir", folder.file("nothing").c_str());
  EXPECT_EQ(RunSaveScreen(host, target.get(), 1), -1);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(SaveScreenTest, MissingBitmapsLeaveTheirPlacesEmptyAndTheScreenCarriesOn) {
  MakeArt({"sl_", "sb", "slmi", "sl01_"});
  Save(1, 0, saveFileBytes(2, 1, 1, 1));
  Start(kSave, 1);
  EXPECT_EQ(Pixel(5, 5), SAVE_ART_PAGE_COLOUR(1));
  EXPECT_EQ(Glyph(0, 140, 3), SAVE_ART_PAGE_COLOUR(1));
  EXPECT_EQ(Glyph(0, 46, 36), SAVE_ART_PAGE_COLOUR(1));
  ClickSlot(1);  // a slot without its lit image is no button at all
  EXPECT_TRUE(Running());
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), -1);
}

}  // namespace
