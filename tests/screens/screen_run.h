// A menu screen run natively as the module runs it: on a thread of its own, drawing into a
// 640x480 24-bit target, while the test plays the window through a FakeScreenHost and reads the
// target's pixels. The screens' files come from screen_art, copied in as "art\NAME", since the
// screens put a backslash behind their folder and natively that is part of a file name.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>

#include "graphics/graphic.h"
#include "host/exports/services.h"
#include "tests/screens/fake_screen_host.h"
#include "tests/temp_dir.h"
#include "tools/screen_art/art_set.h"

class ScreenRunTest : public ::testing::Test {
 protected:
  explicit ScreenRunTest(const char* profileName) : target(std::make_unique<Graphic>(kConversionNone)) {
    ZPK_SetRegistryKey("Runa1 Tests", profileName);
    ZPK_WriteProfileString("Installed", "BinDir", folder.file("art").c_str());
    target->CreateBitmap(640, 480, 24);
  }
  ~ScreenRunTest() override {
    if (result.valid()) Result();  // a test that stopped early leaves no screen behind
    ZPK_WriteProfileString("Installed", nullptr, nullptr);
    ZPK_WriteProfileString("Config", nullptr, nullptr);
  }

  // Draws an archive of screen_art into the folder: as "art\NAME" for the screens' own, as
  // NAME for those a module hands in. The cursor files go with the screens' archives.
  void MakeArchive(const std::string& name, void (*draw)(screen_art::ArtSet&), bool screens,
                   std::vector<std::string> leaveOut = {}) {
    std::filesystem::path drawn = folder.path() / "drawn";
    screen_art::ArtSet set(drawn / "tree", std::move(leaveOut));
    draw(set);
    std::string error;
    ASSERT_TRUE(set.Pack(folder.file(screens ? "art\\" + name : name), &error)) << error;
    if (!screens) return;
    ASSERT_TRUE(screen_art::writeScreenCursors(drawn, &error)) << error;
    for (const char* cursor : {"Arrow.cur", "GripHand.cur"})
      std::filesystem::copy_file(drawn / cursor, folder.path() / (std::string("art\\") + cursor),
                                 std::filesystem::copy_options::overwrite_existing);
  }

  // Runs `screen` on its own thread and waits until it has drawn.
  void Start(std::function<int32_t()> screen) {
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
  // Waits until the screen takes input: the cursor of an active screen.
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
