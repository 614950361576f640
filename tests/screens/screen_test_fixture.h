// What every test of a whole screen needs: the screen's files drawn by the art generator into a
// temporary folder named by the profile's "BinDir", a 640 by 480 target, and the screen run on
// a thread of its own, as on the module's, while the test plays the window through the fake
// host and reads the target.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "graphics/graphic.h"
#include "host/exports/services.h"
#include "tests/screens/fake_screen_host.h"
#include "tests/temp_dir.h"
#include "tools/screen_art/art_set.h"

class ScreenTest : public ::testing::Test {
 protected:
  // The screens put a backslash behind their folder; natively that is part of a file name, so
  // the files are made as "art\SaveMenu.arc" and so on in the temporary folder.
  explicit ScreenTest(const char* testName) : target(std::make_unique<Graphic>(kConversionNone)) {
    ZPK_SetRegistryKey("Runa1 Tests", testName);
    ZPK_WriteProfileString("Installed", "BinDir", folder.file("art").c_str());
    target->CreateBitmap(640, 480, 24);
  }
  ~ScreenTest() override {
    if (result.valid()) Result();  // a test that stopped early leaves no screen behind
    ZPK_WriteProfileString("Installed", nullptr, nullptr);
  }

  // Draws `archive`.arc with `draw`, leaving out the bitmaps of `leaveOut`, and the cursors.
  void MakeArt(const std::string& archive, void (*draw)(screen_art::ArtSet&), std::vector<std::string> leaveOut = {}) {
    std::filesystem::path art = folder.path() / "drawn";
    screen_art::ArtSet set(art / "tree", std::move(leaveOut));
    draw(set);
    std::string error;
    ASSERT_TRUE(set.Pack((art / (archive + ".arc")).string(), &error)) << error;
    ASSERT_TRUE(screen_art::writeScreenCursors(art, &error)) << error;
    for (const std::string& name : {archive + ".arc", std::string("Arrow.cur"), std::string("GripHand.cur")})
      std::filesystem::copy_file(art / name, folder.path() / ("art\\" + name),
                                 std::filesystem::copy_options::overwrite_existing);
  }

  // Runs `screen` on its thread and waits until it has drawn.
  void StartScreen(std::function<int32_t()> screen) {
    repaints = host.invalidations;
    result = std::async(std::launch::async, std::move(screen));
    AwaitRepaint();
  }
  // Waits until the screen has drawn once more than it had before.
  void AwaitRepaint() {
    for (int i = 0; i < 2000 && host.invalidations <= repaints; ++i) os::sleep(1);
    ASSERT_GT(host.invalidations, repaints) << "the screen did not draw";
    repaints = host.invalidations;
  }
  // Waits until the target shows `colour` at (x, y): the screen draws on its own thread.
  bool Shows(int32_t x, int32_t y, uint32_t colour) {
    for (int i = 0; i < 5000 && Pixel(x, y) != colour; ++i) os::sleep(1);
    return Pixel(x, y) == colour;
  }
  // The screen takes input again after a box or a new page: wait for the cursor of an active
  // screen.
  bool Active() {
    for (int i = 0; i < 5000 && host.cursor == fakeCursor(FakeScreenHost::kWait); ++i) os::sleep(1);
    return host.cursor != fakeCursor(FakeScreenHost::kWait);
  }
  // The screen's result; a screen that does not end is cancelled, so that the test ends.
  int32_t Result() {
    if (result.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
      ADD_FAILURE() << "the screen did not end";
      host.Press(screen_message::kRButtonDown);
      if (result.wait_for(std::chrono::seconds(10)) != std::future_status::ready) std::abort();
    }
    return result.get();
  }
  bool Running() { return result.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout; }
  uint32_t Pixel(int32_t x, int32_t y) {
    const uint8_t* pixel = target->Pixels() + (479 - y) * dibPitch(640, 24) + 3 * x;
    return pixel[0] | pixel[1] << 8 | pixel[2] << 16;
  }

  TempDir folder;
  FakeScreenHost host;
  std::unique_ptr<Graphic> target;
  std::future<int32_t> result;
  int repaints = 0;
};
