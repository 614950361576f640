#include <gtest/gtest.h>

#include "base/os/os.h"
#include "host/display_environment.h"
#include "host/exports/services.h"

namespace {

// The display's own first mode, which every display has.
os::DisplayMode firstMode() {
  os::DisplayMode mode{};
  EXPECT_TRUE(os::enumDisplayMode(0, &mode));
  return mode;
}

TEST(DisplayEnvironmentTest, TestFindsTheDisplaysModesOnly) {
  os::DisplayMode mode = firstMode();
  EXPECT_EQ(ZPK_TestDisplayMode(mode.width, mode.height, mode.bitsPerPixel), 0u);
  EXPECT_EQ(ZPK_TestDisplayMode(mode.width + 1, mode.height, mode.bitsPerPixel), 1u);
  EXPECT_EQ(ZPK_TestDisplayMode(mode.width, mode.height, 7), 1u);
  EXPECT_EQ(ZPK_TestDisplayMode(0, 0, 0), 1u);
}

TEST(DisplayEnvironmentTest, DepthZeroMeansTheDesktops) {
  uint32_t desktop = KDisplayEnvironment::DesktopDepth();
  ASSERT_GT(desktop, 0u);
  os::DisplayMode mode{};
  bool found = false;
  for (uint32_t index = 0; !found && os::enumDisplayMode(index, &mode); ++index)
    found = mode.bitsPerPixel == desktop;
  ASSERT_TRUE(found) << "the display lists a mode at the desktop's depth";
  EXPECT_EQ(ZPK_TestDisplayMode(mode.width, mode.height, 0), 0u);
  EXPECT_EQ(ZPK_TestDisplayMode(mode.width, mode.height, desktop), 0u);
}

#ifndef _WIN32
// Changing the mode is for the native build's stand-in display only: a test must not switch
// a real one.
TEST(DisplayEnvironmentTest, ChangeFallsBackToTheDesktopDepthAndRestores) {
  KDisplayEnvironment scope;
  EXPECT_EQ(KDisplayEnvironment::Change(800, 600, 8), 0u) << "no 8-bit mode: the desktop depth serves";
  EXPECT_EQ(os::displayBitsPerPixel(), KDisplayEnvironment::DesktopDepth());
  EXPECT_EQ(os::screenSize().cx, 800);
  EXPECT_EQ(KDisplayEnvironment::Change(640, 480, 16), 0u);
  EXPECT_EQ(os::displayBitsPerPixel(), 16u);
  EXPECT_EQ(KDisplayEnvironment::Change(333, 333, 16), 1u) << "no such size at any depth";
  KDisplayEnvironment::Restore();
  EXPECT_EQ(os::screenSize().cx, KDisplayEnvironment::ScreenSize().cx);
  EXPECT_EQ(os::displayBitsPerPixel(), KDisplayEnvironment::DesktopDepth());
}
#endif

}  // namespace
