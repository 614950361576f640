// The checks of the demo's tour: a screenshot that shows the story's screen passes; a wrong
// background, a missing rule, text on the wrong lines, stray colours in the window, a wrong
// save slot, a misplaced map label, a missing or misplaced menu over the game's picture fail
// with a message saying so.
#include <gtest/gtest.h>

#include "demo/art/demo_art.h"
#include "demo/check/tour_check.h"
#include "tools/screen_art/save_menu_look.h"

namespace {

constexpr int32_t kLeft = 30, kTop = 20;  // the client area in the test's screenshots

// A landscape whose every pixel tells its place.
Picture codedLandscape() {
  Picture picture = demo_art::blankPicture(1920, 1440, 24);
  for (int32_t y = 0; y < picture.height; ++y) {
    for (int32_t x = 0; x < picture.width; ++x) demo_art::setColour(&picture, x, y, uint32_t(x) << 12 | uint32_t(y));
  }
  return picture;
}

void fill(Picture* picture, int32_t left, int32_t top, int32_t right, int32_t bottom, uint32_t colour) {
  for (int32_t y = top; y <= bottom; ++y) {
    for (int32_t x = left; x <= right; ++x) demo_art::setColour(picture, x, y, colour);
  }
}

// The story's screen as the game draws it, at (kLeft, kTop) of a larger screenshot, with a
// block of ink on each of the first `lines` text lines.
Picture sceneShot(const Picture& landscape, int32_t place, int32_t lines) {
  Picture shot = demo_art::blankPicture(DEMO_CLIENT_WIDTH + 60, DEMO_CLIENT_HEIGHT + 40, 24);
  int32_t cornerX, cornerY;
  demoSceneCorner(place, landscape.width, landscape.height, &cornerX, &cornerY);
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) {
      demo_art::setColour(&shot, kLeft + x, kTop + y, demo_art::colourAt(landscape, cornerX + x, cornerY + y));
    }
  }
  fill(&shot, kLeft + DEMO_WINDOW_LEFT, kTop + DEMO_WINDOW_TOP, kLeft + DEMO_WINDOW_RIGHT, kTop + DEMO_WINDOW_BOTTOM,
       DEMO_WINDOW_COLOUR);
  for (int32_t line = 0; line < DEMO_TEXT_LINES; ++line) {
    const int32_t top = kTop + DEMO_TEXT_TOP + line * DEMO_LINE_HEIGHT;
    if (line < lines) fill(&shot, kLeft + DEMO_TEXT_LEFT, top + 4, kLeft + DEMO_TEXT_LEFT + 40, top + 20, DEMO_INK_COLOUR);
    const int32_t rule = top + DEMO_LINE_HEIGHT - DEMO_RULE_RISE;
    fill(&shot, kLeft + DEMO_TEXT_LEFT - 8, rule, kLeft + DEMO_TEXT_RIGHT + 8, rule, DEMO_RULE_COLOUR);
  }
  return shot;
}

class SceneCheckTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { landscape_ = new Picture(codedLandscape()); }
  static void TearDownTestSuite() { delete landscape_; }
  static Picture* landscape_;
};
Picture* SceneCheckTest::landscape_ = nullptr;

TEST_F(SceneCheckTest, TheDrawnSceneOfEachPlacePasses) {
  for (int32_t place = -1; place < DEMO_PLACE_COUNT; ++place) {
    EXPECT_TRUE(demo_check::checkScene(sceneShot(*landscape_, place, 2), kLeft, kTop, *landscape_, place, 2).empty())
        << place;
  }
}

TEST_F(SceneCheckTest, AnotherPlacesBackgroundFails) {
  std::vector<std::string> problems =
      demo_check::checkScene(sceneShot(*landscape_, 0, 2), kLeft, kTop, *landscape_, 1, 2);
  ASSERT_FALSE(problems.empty());
  EXPECT_NE(problems[0].find("landscape"), std::string::npos) << problems[0];
}

TEST_F(SceneCheckTest, AMissingRuleFails) {
  Picture shot = sceneShot(*landscape_, -1, 2);
  const int32_t rule = kTop + DEMO_TEXT_TOP + 2 * DEMO_LINE_HEIGHT - DEMO_RULE_RISE;
  fill(&shot, kLeft + 200, rule, kLeft + 210, rule, DEMO_WINDOW_COLOUR);
  std::vector<std::string> problems = demo_check::checkScene(shot, kLeft, kTop, *landscape_, -1, 2);
  ASSERT_FALSE(problems.empty());
  EXPECT_NE(problems[0].find("rule"), std::string::npos) << problems[0];
}

TEST_F(SceneCheckTest, TextOnTooFewOrTooManyLinesFails) {
  EXPECT_FALSE(demo_check::checkScene(sceneShot(*landscape_, -1, 1), kLeft, kTop, *landscape_, -1, 2).empty());
  EXPECT_FALSE(demo_check::checkScene(sceneShot(*landscape_, -1, 3), kLeft, kTop, *landscape_, -1, 2).empty());
}

TEST_F(SceneCheckTest, StrayColoursInTheWindowFail) {
  Picture shot = sceneShot(*landscape_, -1, 2);
  demo_art::setColour(&shot, kLeft + 300, kTop + DEMO_TEXT_TOP + 10, 0xFF0000);  // in the text
  demo_art::setColour(&shot, kLeft + DEMO_WINDOW_LEFT + 2, kTop + DEMO_WINDOW_BOTTOM - 2, 0x00FF00);  // the margin
  std::vector<std::string> problems = demo_check::checkScene(shot, kLeft, kTop, *landscape_, -1, 2);
  ASSERT_EQ(problems.size(), 2u);
  EXPECT_NE(problems[0].find("text"), std::string::npos) << problems[0];
  EXPECT_NE(problems[1].find("window"), std::string::npos) << problems[1];
}

TEST_F(SceneCheckTest, AClientAreaOffTheScreenshotFails) {
  EXPECT_FALSE(demo_check::checkScene(sceneShot(*landscape_, -1, 2), 100, kTop, *landscape_, -1, 2).empty());
}

// Page 1 of the save screens with slot 0's mark and picture of the given colours.
Picture savePage(uint32_t mark, uint32_t picture) {
  Picture shot = demo_art::blankPicture(DEMO_CLIENT_WIDTH + 60, DEMO_CLIENT_HEIGHT + 40, 24);
  fill(&shot, kLeft, kTop, kLeft + DEMO_CLIENT_WIDTH - 1, kTop + DEMO_CLIENT_HEIGHT - 1, SAVE_ART_PAGE_COLOUR(1));
  fill(&shot, kLeft + 36 + 48, kTop + 40 + 3, kLeft + 36 + 48 + SAVE_ART_KIND_WIDTH - 1,
       kTop + 40 + 3 + SAVE_ART_KIND_HEIGHT - 1, mark);
  fill(&shot, kLeft + 36 + 46, kTop + 40 + 36, kLeft + 36 + 46 + SAVE_ART_PICTURE_WIDTH - 1,
       kTop + 40 + 36 + SAVE_ART_PICTURE_HEIGHT - 1, picture);
  return shot;
}

TEST(SavePageCheckTest, TellsAnEmptySlotFromTheGamesSave) {
  Picture empty = savePage(SAVE_ART_PAGE_COLOUR(1), SAVE_ART_PICTURE_COLOUR(0, 0, 0));
  Picture saved = savePage(SAVE_ART_KIND_COLOUR(1, 0), SAVE_ART_PICTURE_COLOUR(1, 2, 0));
  EXPECT_TRUE(demo_check::checkSavePage(empty, kLeft, kTop, -1).empty());
  EXPECT_TRUE(demo_check::checkSavePage(saved, kLeft, kTop, 1).empty());
  EXPECT_FALSE(demo_check::checkSavePage(empty, kLeft, kTop, 1).empty());
  EXPECT_FALSE(demo_check::checkSavePage(saved, kLeft, kTop, -1).empty());
  EXPECT_FALSE(demo_check::checkSavePage(saved, kLeft, kTop, 2).empty());  // another place's picture
}

TEST(MapLabelCheckTest, FindsTheLabelInTheMiddleWithinAPixel) {
  Picture label = demo_art::blankPicture(30, 10, 24);
  for (int32_t y = 0; y < label.height; ++y) {
    for (int32_t x = 0; x < label.width; ++x) demo_art::setColour(&label, x, y, 0x101000u * uint32_t(x % 7) + uint32_t(y));
  }
  auto shotWithLabelAt = [&](int32_t x0, int32_t y0) {
    Picture shot = demo_art::blankPicture(DEMO_CLIENT_WIDTH + 60, DEMO_CLIENT_HEIGHT + 40, 24);
    fill(&shot, kLeft, kTop, kLeft + DEMO_CLIENT_WIDTH - 1, kTop + DEMO_CLIENT_HEIGHT - 1, 0x406080);
    for (int32_t y = 0; y < label.height; ++y) {
      for (int32_t x = 0; x < label.width; ++x) {
        demo_art::setColour(&shot, kLeft + x0 + x, kTop + y0 + y, demo_art::colourAt(label, x, y));
      }
    }
    return shot;
  };
  const int32_t x0 = 319 - 15, y0 = 239 - 5;
  EXPECT_TRUE(demo_check::checkMapLabel(shotWithLabelAt(x0, y0), kLeft, kTop, label).empty());
  EXPECT_TRUE(demo_check::checkMapLabel(shotWithLabelAt(x0 + 1, y0 - 1), kLeft, kTop, label).empty());
  EXPECT_FALSE(demo_check::checkMapLabel(shotWithLabelAt(x0 + 3, y0), kLeft, kTop, label).empty());
}

// A screenshot of the client area's size and place filled by `colourOf(x, y)` of client points.
template <typename ColourOf>
Picture clientShot(ColourOf colourOf) {
  Picture shot = demo_art::blankPicture(DEMO_CLIENT_WIDTH + 60, DEMO_CLIENT_HEIGHT + 40, 24);
  for (int32_t y = 0; y < DEMO_CLIENT_HEIGHT; ++y) {
    for (int32_t x = 0; x < DEMO_CLIENT_WIDTH; ++x) demo_art::setColour(&shot, kLeft + x, kTop + y, colourOf(x, y));
  }
  return shot;
}

TEST(OverlayCheckTest, JudgesTheOverlayWhereOpaqueTheGroundWhereClearAndNothingBetween) {
  const Picture ground = clientShot([](int32_t x, int32_t y) { return uint32_t(x) << 12 | uint32_t(y); });
  Picture overlay = demo_art::blankPicture(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  Picture alpha = demo_art::blankPicture(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  fill(&overlay, 100, 100, 299, 199, 0x2040A0);
  fill(&alpha, 100, 100, 299, 199, 0xFFFFFF);
  fill(&alpha, 98, 98, 99, 201, 0x808080);  // a half clear edge
  auto drawn = [&](int32_t x, int32_t y) {
    return x >= 100 && x < 300 && y >= 100 && y < 200 ? 0x2040A0u : uint32_t(x) << 12 | uint32_t(y);
  };
  EXPECT_TRUE(demo_check::checkOverlay(clientShot(drawn), kLeft, kTop, overlay, alpha, ground).empty());
  // Whatever the half clear edge shows passes.
  auto withEdge = [&](int32_t x, int32_t y) { return x == 98 && y == 150 ? 0xFF00FFu : drawn(x, y); };
  EXPECT_TRUE(demo_check::checkOverlay(clientShot(withEdge), kLeft, kTop, overlay, alpha, ground).empty());
  // The overlay missing, or drawn over the whole area.
  EXPECT_FALSE(demo_check::checkOverlay(ground, kLeft, kTop, overlay, alpha, ground).empty());
  EXPECT_FALSE(demo_check::checkOverlay(clientShot([](int32_t, int32_t) { return 0x2040A0u; }), kLeft, kTop, overlay,
                                        alpha, ground)
                   .empty());
  // A control drawn over the overlay is left to the screen.
  auto withControl = [&](int32_t x, int32_t y) { return x >= 120 && x <= 140 && y >= 110 && y <= 130 ? 0xF0F0F0u : drawn(x, y); };
  EXPECT_FALSE(demo_check::checkOverlay(clientShot(withControl), kLeft, kTop, overlay, alpha, ground).empty());
  EXPECT_TRUE(demo_check::checkOverlay(clientShot(withControl), kLeft, kTop, overlay, alpha, ground, {{120, 110, 140, 130}})
                  .empty());
  // An overlay of another size is refused with a message.
  EXPECT_FALSE(demo_check::checkOverlay(clientShot(drawn), kLeft, kTop, demo_art::blankPicture(10, 10, 24),
                                        demo_art::blankPicture(10, 10, 24), ground)
                   .empty());
}

TEST(CompositionCheckTest, WantsEachPieceAtItsPlaceOverTheGroundButLeavesTheControls) {
  Picture ground = demo_art::blankPicture(DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT, 24);
  fill(&ground, 0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1, 0x101830);
  Picture thumb = demo_art::blankPicture(128, 96, 24);
  for (int32_t y = 0; y < thumb.height; ++y) {
    for (int32_t x = 0; x < thumb.width; ++x) demo_art::setColour(&thumb, x, y, uint32_t(x) << 8 | uint32_t(y));
  }
  auto shot = [&](int32_t thumbX, uint32_t knob) {
    return clientShot([&](int32_t x, int32_t y) {
      if (x >= 591 && x < 623 && y >= 100 && y < 120) return knob;
      if (x >= thumbX && x < thumbX + 128 && y >= 24 && y < 120) return demo_art::colourAt(thumb, x - thumbX, y - 24);
      return 0x101830u;
    });
  };
  const std::vector<DemoRect> slider = {{591, 58, 622, 374}};
  EXPECT_TRUE(demo_check::checkComposition(shot(152, 0xF0F0F0), kLeft, kTop, ground, {{&thumb, 152, 24}}, slider).empty());
  EXPECT_TRUE(demo_check::checkComposition(shot(152, 0x808080), kLeft, kTop, ground, {{&thumb, 152, 24}}, slider).empty());
  // The knob is judged where it is not a control; a thumbnail in another cell or missing fails.
  EXPECT_FALSE(demo_check::checkComposition(shot(152, 0xF0F0F0), kLeft, kTop, ground, {{&thumb, 152, 24}}, {}).empty());
  EXPECT_FALSE(demo_check::checkComposition(shot(8, 0xF0F0F0), kLeft, kTop, ground, {{&thumb, 152, 24}}, slider).empty());
  EXPECT_FALSE(demo_check::checkComposition(shot(152, 0xF0F0F0), kLeft, kTop, ground, {}, slider).empty());
}

TEST(InsetCheckTest, FindsTheInsetOnlyAtItsPlace) {
  Picture inset = demo_art::blankPicture(300, 160, 24);
  for (int32_t y = 0; y < inset.height; ++y) {
    for (int32_t x = 0; x < inset.width; ++x) demo_art::setColour(&inset, x, y, 0x010203u * uint32_t(x ^ y));
  }
  auto shotWithInsetAt = [&](int32_t x0, int32_t y0) {
    return clientShot([&](int32_t x, int32_t y) {
      const bool inside = x >= x0 && x < x0 + inset.width && y >= y0 && y < y0 + inset.height;
      return inside ? demo_art::colourAt(inset, x - x0, y - y0) : 0x406080u;
    });
  };
  EXPECT_TRUE(demo_check::checkInset(shotWithInsetAt(170, 160), kLeft, kTop, inset, 170, 160).empty());
  EXPECT_FALSE(demo_check::checkInset(shotWithInsetAt(171, 160), kLeft, kTop, inset, 170, 160).empty());
  EXPECT_FALSE(demo_check::checkInset(shotWithInsetAt(170, 160), kLeft, kTop, inset, 400, 400).empty());
}

TEST(DecimateTest, AveragesWholeGroupsAndDropsTheRest) {
  EXPECT_EQ(demo_check::decimate({1, 3, 5, 7, 9}, 2), (std::vector<float>{2, 6}));
  EXPECT_TRUE(demo_check::decimate({1, 2}, 0).empty());
}

}  // namespace
