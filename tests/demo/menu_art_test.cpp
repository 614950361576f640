// The demo's menu archives: every bitmap the screens read is there in its size, the start-up
// menus and the main menu show their buttons' faces where the screens put the buttons, and the
// panels are opaque where they draw and clear elsewhere.
#include <gtest/gtest.h>

#include "demo/art/demo_art.h"
#include "demo/menus/menu_art.h"
#include "tests/demo/read_bitmap.h"
#include "tests/temp_dir.h"

namespace {

TEST(StartupMenuArtTest, ColumnsHoldThePresentButtonsFiftyFivePixelsApart) {
  std::vector<int32_t> ids;
  for (const auto& button : demo_menus::startupButtons(1)) ids.push_back(button.id);
  EXPECT_EQ(ids, (std::vector<int32_t>{0, 2, 4}));
  EXPECT_EQ(demo_menus::startupButtons(2).size(), 4u);
  EXPECT_EQ(demo_menus::startupButtons(3).size(), 5u);

  TempDir dir;
  screen_art::ArtSet set(dir.file("tree"), {});
  demo_menus::drawStartupMenus(set);
  std::string error;
  ASSERT_TRUE(set.Pack(dir.file("Startup.arc"), &error)) << error;
  for (int kind = 1; kind <= 3; ++kind) {
    const std::string digit(1, char('0' + kind));
    Picture ground = readBitmap(dir.file("tree/start" + digit + ".bmp"));
    ASSERT_EQ(ground.width, 640);
    const std::vector<demo_menus::MenuButton> buttons = demo_menus::startupButtons(kind);
    for (size_t i = 0; i < buttons.size(); ++i) {
      const int32_t top = demo_menus::firstButtonTop(kind) + int32_t(i) * demo_menus::kButtonStep;
      // Inside the face's frame on the left, and the ground just above the face.
      EXPECT_EQ(demo_art::colourAt(ground, demo_menus::kButtonX + 4, top + 4), demo_menus::kPlateColour) << kind << " " << i;
      EXPECT_NE(demo_art::colourAt(ground, demo_menus::kButtonX + 4, top - 2), demo_menus::kPlateColour) << kind << " " << i;
      Picture hover = readBitmap(dir.file("tree/s" + digit + "_" + buttons[i].stem + "on.bmp"));
      EXPECT_EQ(hover.width, demo_menus::kButtonWidth);
      EXPECT_EQ(hover.height, demo_menus::kButtonHeight);
      EXPECT_EQ(demo_art::colourAt(hover, 4, 4), demo_menus::kLitColour);
    }
  }
  EXPECT_EQ(demo_menus::firstButtonTop(1), 159);
  EXPECT_EQ(demo_menus::firstButtonTop(2), 131);
  EXPECT_EQ(demo_menus::firstButtonTop(3), 104);
  for (const char* name : {"yodan.bmp", "gazoon.bmp", "ongaon.bmp", "modoon.bmp"}) {
    EXPECT_GT(readBitmap(dir.file(std::string("tree/") + name)).width, 0) << name;
  }
}

TEST(MainMenuArtTest, ButtonsStandOnThePanelWhereTheScreenPutsThemAndLightWithTheirCaptionCutOut) {
  TempDir dir;
  screen_art::ArtSet set(dir.file("tree"), {});
  demo_menus::drawMainMenu(set);
  std::string error;
  ASSERT_TRUE(set.Pack(dir.file("MainMenu.arc"), &error)) << error;
  Picture menu = readBitmap(dir.file("tree/menu.bmp")), alpha = readBitmap(dir.file("tree/menuc.bmp"));
  ASSERT_EQ(menu.width, 640);
  ASSERT_EQ(alpha.height, 480);
  EXPECT_EQ(demo_art::colourAt(alpha, 20, 20), 0u);           // the game's picture shows
  EXPECT_EQ(demo_art::colourAt(alpha, 520, 440), 0xFFFFFFu);  // the back plate
  const std::vector<demo_menus::MenuButton> buttons = demo_menus::mainMenuButtons();
  ASSERT_EQ(buttons.size(), 6u);
  for (const demo_menus::MenuButton& button : buttons) {
    const int32_t top = demo_menus::kMainButtonTop + button.id * demo_menus::kButtonStep;
    EXPECT_EQ(demo_art::colourAt(menu, demo_menus::kMainButtonX + 4, top + 4), demo_menus::kPlateColour) << button.id;
    EXPECT_EQ(demo_art::colourAt(alpha, demo_menus::kMainButtonX + 4, top + 4), 0xFFFFFFu) << button.id;
    EXPECT_LT(top + demo_menus::kMainButtonHeight, demo_menus::kMainPanel.bottom) << button.id;
    Picture lit = readBitmap(dir.file("tree/" + std::string(button.stem) + "onc.bmp"));
    ASSERT_EQ(lit.bits, 8u) << button.id;
    EXPECT_EQ(lit.width, demo_menus::kMainButtonWidth);
    EXPECT_EQ(lit.height, demo_menus::kMainButtonHeight);
    EXPECT_EQ(demo_art::colourAt(lit, 4, 4), demo_menus::kLitColour) << button.id;
    EXPECT_EQ(demo_art::colourAt(lit, 0, 0), 0u) << button.id;
    // Where the panel shows its caption in white, the lit plate is clear.
    int32_t cut = 0;
    for (int32_t y = 0; y < lit.height; ++y) {
      for (int32_t x = 0; x < lit.width; ++x) {
        if (demo_art::colourAt(menu, demo_menus::kMainButtonX + x, top + y) != demo_menus::kCaptionColour) continue;
        EXPECT_EQ(demo_art::colourAt(lit, x, y), 0u) << button.id << " at " << x << "," << y;
        ++cut;
      }
    }
    EXPECT_GT(cut, 100) << button.id;
  }
  for (const char* name : {"tree/distart.bmp", "tree/diquit.bmp"}) {
    Picture box = readBitmap(dir.file(name));
    EXPECT_EQ(box.width, demo_menus::kBoxWidth) << name;
    EXPECT_EQ(demo_art::colourAt(box, demo_menus::kBoxYes.left + 4, demo_menus::kBoxYes.top + 4), demo_menus::kPlateColour);
    EXPECT_EQ(demo_art::colourAt(box, demo_menus::kBoxNo.right - 5, demo_menus::kBoxNo.bottom - 5), demo_menus::kPlateColour);
    EXPECT_EQ(demo_art::colourAt(box, 10, 10), demo_menus::kGroundColour) << name;
  }
}

TEST(SoundConfigArtTest, HasEveryBitmapWithItsSizeAndAnAlphaOverThePanel) {
  TempDir dir;
  screen_art::ArtSet set(dir.file("tree"), {});
  std::string error;
  ASSERT_TRUE(demo_menus::drawSoundConfig(set, dir.file("tree"), &error)) << error;
  ASSERT_TRUE(set.Pack(dir.file("SoundCfg.arc"), &error)) << error;
  const struct {
    const char* name;
    int32_t width, height;
  } bitmaps[] = {{"option.bmp", 640, 480}, {"optiona.bmp", 640, 480}, {"pcmon.bmp", 105, 36},
                 {"midon.bmp", 105, 36},   {"pcmona.bmp", 105, 36},  {"pcmof.bmp", 105, 36},
                 {"midof.bmp", 105, 36},   {"pcmofa.bmp", 105, 36},  {"bralon.bmp", 13, 31},
                 {"braron.bmp", 13, 31},   {"tumami.bmp", 13, 31}};
  for (const auto& bitmap : bitmaps) {
    Picture picture = readBitmap(dir.file(std::string("tree/") + bitmap.name));
    EXPECT_EQ(picture.width, bitmap.width) << bitmap.name;
    EXPECT_EQ(picture.height, bitmap.height) << bitmap.name;
  }
  Picture alpha = readBitmap(dir.file("tree/optiona.bmp"));
  EXPECT_EQ(demo_art::colourAt(alpha, 10, 10), 0u);            // the game's picture shows
  EXPECT_EQ(demo_art::colourAt(alpha, 520, 440), 0xFFFFFFu);   // the back button's plate
  EXPECT_EQ(demo_art::colourAt(alpha, 300, 120) & 0xFF, 235u);  // the panel
}

}  // namespace
