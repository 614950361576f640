// The screenshot check of the demo: a screenshot that shows the expected frame passes, one with
// the picture scrolled wrongly, the wrong picture in the lens, a blank window or a window off
// the screen fails with a message saying so.
#include <gtest/gtest.h>

#include "demo/art/demo_art.h"
#include "demo/check/frame_check.h"

namespace {

using demo_check::DemoPictures;
using demo_check::DemoState;

// A 24-bit picture whose every pixel tells its place and the picture it belongs to.
Picture codedPicture(int32_t width, int32_t height, uint32_t tag) {
  Picture picture;
  picture.width = width;
  picture.height = height;
  picture.bits = 24;
  picture.pixels.assign(size_t(picture.pitch()) * height, 0);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      demo_art::setColour(&picture, x, y, tag << 20 | uint32_t(x % 256) << 8 | uint32_t(y % 256));
    }
  }
  return picture;
}

DemoPictures testPictures() {
  DemoPictures pictures;
  pictures.big[0] = codedPicture(1400, 1100, 1);
  pictures.big[1] = codedPicture(1400, 1100, 2);
  pictures.title = codedPicture(200, 40, 3);
  pictures.lensFrame = codedPicture(DEMO_LENS_WIDTH + 2 * DEMO_LENS_BORDER, DEMO_LENS_HEIGHT + 2 * DEMO_LENS_BORDER, 4);
  return pictures;
}

// A screen of 800x600 with `frame` at (left, top) and black elsewhere.
Picture screenWith(const Picture& frame, int32_t left, int32_t top) {
  Picture screen = codedPicture(800, 600, 0);
  for (int32_t y = 0; y < screen.height; ++y) {
    for (int32_t x = 0; x < screen.width; ++x) demo_art::setColour(&screen, x, y, 0);
  }
  for (int32_t y = 0; y < frame.height; ++y) {
    for (int32_t x = 0; x < frame.width; ++x) {
      demo_art::setColour(&screen, left + x, top + y, demo_art::colourAt(frame, x, y));
    }
  }
  return screen;
}

DemoState lensState() {
  DemoState state;
  state.scrollX = 672;
  state.scrollY = 512;
  state.picture = 1;
  state.lens = true;
  state.pointerX = 420;
  state.pointerY = 300;
  return state;
}

TEST(FrameCheckTest, ExpectedFrameLayersPictureLensAndTitle) {
  DemoPictures pictures = testPictures();
  DemoState state = lensState();
  Picture frame = demo_check::expectedFrame(pictures, state);
  ASSERT_EQ(frame.width, DEMO_CLIENT_WIDTH);
  ASSERT_EQ(frame.height, DEMO_CLIENT_HEIGHT);
  // Outside lens and title: the picture at the scroll position.
  EXPECT_EQ(demo_art::colourAt(frame, 600, 20), demo_art::colourAt(pictures.big[1], 672 + 600, 512 + 20));
  // The title plate's corner.
  EXPECT_EQ(demo_art::colourAt(frame, DEMO_TITLE_LEFT, DEMO_TITLE_TOP), demo_art::colourAt(pictures.title, 0, 0));
  // The lens: 160x120 around (420, 300), showing 80x60 pixels around the point under it, twice
  // as large: its top left pixel (340, 240) comes from (672 + 420 - 40, 512 + 300 - 30).
  EXPECT_EQ(demo_art::colourAt(frame, 340, 240), demo_art::colourAt(pictures.big[1], 1052, 782));
  EXPECT_EQ(demo_art::colourAt(frame, 341, 241), demo_art::colourAt(pictures.big[1], 1052, 782));
  EXPECT_EQ(demo_art::colourAt(frame, 342, 240), demo_art::colourAt(pictures.big[1], 1053, 782));
  // Its frame, 4 pixels wide, and the picture beyond.
  EXPECT_EQ(demo_art::colourAt(frame, 339, 240), demo_art::colourAt(pictures.lensFrame, 3, 4));
  EXPECT_EQ(demo_art::colourAt(frame, 336, 236), demo_art::colourAt(pictures.lensFrame, 0, 0));
  EXPECT_EQ(demo_art::colourAt(frame, 335, 240), demo_art::colourAt(pictures.big[1], 672 + 335, 512 + 240));
}

TEST(FrameCheckTest, LensStaysInsideTheWindowAndThePicture) {
  DemoRect window, port;
  demoLensRects(5, 470, 0, 620, 1400, 1100, &window, &port);
  EXPECT_EQ(window.left, 0);
  EXPECT_EQ(window.bottom, DEMO_CLIENT_HEIGHT - 1);
  EXPECT_EQ(window.right - window.left + 1, DEMO_LENS_WIDTH);
  EXPECT_EQ(port.left, 0);
  EXPECT_EQ(port.bottom, 1099);  // 620 + 470 + 30 would pass the picture's last row
  EXPECT_EQ(port.bottom - port.top + 1, DEMO_LENS_HEIGHT / DEMO_LENS_ZOOM);
}

TEST(FrameCheckTest, ScreenshotShowingTheFramePasses) {
  DemoPictures pictures = testPictures();
  DemoState state = lensState();
  Picture screen = screenWith(demo_check::expectedFrame(pictures, state), 80, 70);
  EXPECT_EQ(demo_check::compareFrame(screen, 80, 70, pictures, state), std::vector<std::string>{});
  // A colour conversion may round by a step or two.
  demo_art::setColour(&screen, 80 + 600, 70 + 400, demo_art::colourAt(screen, 80 + 600, 70 + 400) + 0x010102);
  EXPECT_EQ(demo_check::compareFrame(screen, 80, 70, pictures, state), std::vector<std::string>{});
}

TEST(FrameCheckTest, LensStretchMayRoundTheOtherWay) {
  DemoPictures pictures = testPictures();
  DemoState state = lensState();
  Picture frame = demo_check::expectedFrame(pictures, state);
  DemoRect window, port;
  demoLensRects(420, 300, 672, 512, 1400, 1100, &window, &port);
  for (int32_t y = window.top; y <= window.bottom; ++y) {
    for (int32_t x = window.left; x <= window.right; ++x) {
      int32_t sx = std::min(port.left + (x - window.left + 1) / 2, port.right);
      int32_t sy = std::min(port.top + (y - window.top + 1) / 2, port.bottom);
      demo_art::setColour(&frame, x, y, demo_art::colourAt(pictures.big[1], sx, sy));
    }
  }
  EXPECT_EQ(demo_check::compareFrame(screenWith(frame, 0, 0), 0, 0, pictures, state), std::vector<std::string>{});
}

TEST(FrameCheckTest, WrongScrollWrongPictureOrStaleLensFail) {
  DemoPictures pictures = testPictures();
  DemoState state = lensState();
  DemoState scrolledLess = state;
  scrolledLess.scrollX -= DEMO_SCROLL_STEP;
  DemoState otherPicture = state;
  otherPicture.picture = 0;
  DemoState lensElsewhere = state;
  lensElsewhere.pointerX = 200;
  for (const DemoState& shown : {scrolledLess, otherPicture, lensElsewhere}) {
    Picture screen = screenWith(demo_check::expectedFrame(pictures, shown), 10, 20);
    std::vector<std::string> problems = demo_check::compareFrame(screen, 10, 20, pictures, state);
    ASSERT_FALSE(problems.empty());
    EXPECT_NE(problems.back().find("client pixels differ"), std::string::npos) << problems.back();
  }
}

TEST(FrameCheckTest, BlankOrMisplacedClientAreaFails) {
  DemoPictures pictures = testPictures();
  DemoState state = lensState();
  Picture black = screenWith(codedPicture(1, 1, 0), 0, 0);
  std::vector<std::string> problems = demo_check::compareFrame(black, 100, 100, pictures, state);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("blank"), std::string::npos) << problems[0];
  problems = demo_check::compareFrame(black, 200, 200, pictures, state);  // 840 > 800
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_NE(problems[0].find("does not lie within"), std::string::npos) << problems[0];
}

}  // namespace
