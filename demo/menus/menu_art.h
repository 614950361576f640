// The demo's look for the host's menu screens: the start-up and bonus menus ("Startup.arc"),
// the main menu ("MainMenu.arc") and the sound configuration ("SoundCfg.arc"), drawn under the
// names, places and sizes those screens read, with captions in the demo's capitals.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/screen_art/art_set.h"

namespace demo_menus {

constexpr int32_t kButtonX = 222, kButtonWidth = 196, kButtonHeight = 52, kButtonStep = 55;
constexpr uint32_t kGroundColour = 0x101830, kPlateColour = 0x283C68, kLitColour = 0xE0B040;
constexpr uint32_t kCaptionColour = 0xFFFFFF, kLitCaptionColour = 0x201030;
// The main menu: its panel (exclusive) around the column of six buttons, and the confirmation
// boxes with their yes and no plates where the screens put them.
constexpr screen_art::Box kMainPanel{72, 48, 344, 396};
constexpr int32_t kMainButtonX = 88, kMainButtonTop = 62, kMainButtonWidth = 240, kMainButtonHeight = 44;
constexpr int32_t kBoxWidth = 300, kBoxHeight = 160;
constexpr screen_art::Box kBoxYes{0x23, 0x60, 0x23 + 0x52, 0x60 + 0x28}, kBoxNo{0x8B, 0x60, 0x8B + 0x52, 0x60 + 0x28};

// A start-up menu's button: its id, the stem of its hover bitmap's name and its caption.
struct MenuButton {
  int32_t id;
  const char* stem;
  const char* caption;
};
// The buttons of start-up menu `kind` (1 to 3) from top to bottom, and the top of the first.
std::vector<MenuButton> startupButtons(int kind);
int32_t firstButtonTop(int kind);

// The width of `text` in the 5 by 7 capitals at `scale`.
int32_t captionWidth(const std::string& text, int32_t scale);
// A plate filling `box` in the ground's colours, or lit, with `text` in its middle.
void captionedPlate(screen_art::Canvas& canvas, const screen_art::Box& box, const std::string& text, int32_t scale,
                    bool lit = false);
// Writes `text` in the 5 by 7 capitals at `scale` with its top left at (x, y).
void caption(screen_art::Canvas& canvas, int32_t x, int32_t y, const std::string& text, int32_t scale, uint32_t colour,
             uint8_t alpha = 255);

// "start1.bmp" to "start3.bmp" with their buttons' captions, the hover bitmaps, and the bonus
// menu's "yodan.bmp" with "gazoon.bmp", "ongaon.bmp" and "modoon.bmp".
void drawStartupMenus(screen_art::ArtSet& set);
// The main menu's buttons in id order: save, load, sound, help, title, quit.
std::vector<MenuButton> mainMenuButtons();
// "MainMenu.arc": "menu.bmp" with its alpha "menuc.bmp" (a panel of the buttons' captions and
// the back plate), the lit buttons "m_hasonc.bmp" to "m_syuonc.bmp", and the confirmation
// boxes "distart.bmp" and "diquit.bmp".
void drawMainMenu(screen_art::ArtSet& set);
// "option.bmp" and its alpha "optiona.bmp", the source buttons with their alphas, the arrows
// and the slider's knob. The alpha planes are written into `tree`, the set's folder.
bool drawSoundConfig(screen_art::ArtSet& set, const std::string& tree, std::string* error);

}  // namespace demo_menus
