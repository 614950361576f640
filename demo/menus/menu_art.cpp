#include "demo/menus/menu_art.h"

#include "demo/art/demo_art.h"

namespace demo_menus {

namespace {

using screen_art::Box;
using screen_art::Canvas;

// A button's face: a plate with a frame and its caption in the middle.
Canvas buttonFace(const std::string& text, bool lit) {
  Canvas face(kButtonWidth, kButtonHeight, lit ? kLitColour : kPlateColour);
  face.Frame(Box{0, 0, kButtonWidth, kButtonHeight}, lit ? 0xFFF0C0 : 0x5070A0, 2);
  caption(face, (kButtonWidth - captionWidth(text, 3)) / 2, (kButtonHeight - 21) / 2, text, 3,
          lit ? kLitCaptionColour : kCaptionColour);
  return face;
}

// A background with the buttons' faces drawn where the screen puts them: the screens show a
// button only while the pointer is over it.
Canvas menuGround(const std::string& title, const std::vector<MenuButton>& buttons, int32_t top) {
  Canvas ground(640, 480, kGroundColour);
  for (int32_t y = 0; y < 480; y += 4) ground.Fill(Box{0, y, 640, y + 2}, kGroundColour + 0x040404u * uint32_t(y / 60));
  caption(ground, (640 - captionWidth(title, 5)) / 2, 40, title, 5, kLitColour);
  for (size_t i = 0; i < buttons.size(); ++i) {
    const Canvas face = buttonFace(buttons[i].caption, false);
    const int32_t y0 = top + int32_t(i) * kButtonStep;
    for (int32_t y = 0; y < kButtonHeight; ++y) {
      for (int32_t x = 0; x < kButtonWidth; ++x) ground.Fill(Box{kButtonX + x, y0 + y, kButtonX + x + 1, y0 + y + 1}, face.Colour(x, y));
    }
  }
  return ground;
}

// A confirmation box: its question over the yes and no plates where the screens put them.
Canvas confirmationBox(const std::string& question) {
  Canvas box(kBoxWidth, kBoxHeight, kGroundColour);
  box.Frame(Box{0, 0, kBoxWidth, kBoxHeight}, kLitColour, 2);
  caption(box, (kBoxWidth - captionWidth(question, 2)) / 2, 36, question, 2, kCaptionColour);
  captionedPlate(box, kBoxYes, "YES", 2);
  captionedPlate(box, kBoxNo, "NO", 2);
  return box;
}

}  // namespace

int32_t captionWidth(const std::string& text, int32_t scale) { return (int32_t(text.size()) * 6 - 1) * scale; }

void captionedPlate(Canvas& canvas, const Box& box, const std::string& text, int32_t scale, bool lit) {
  canvas.Fill(box, lit ? kLitColour : kPlateColour);
  canvas.Frame(box, lit ? 0xFFF0C0 : 0x5070A0, 2);
  caption(canvas, box.left + (box.right - box.left - captionWidth(text, scale)) / 2,
          box.top + (box.bottom - box.top - 7 * scale) / 2, text, scale, lit ? kLitCaptionColour : kCaptionColour);
}

namespace {

// A plate whose outermost pixels are transparent, for the bitmaps with an alpha plane.
Canvas edgedPlate(int32_t width, int32_t height, uint32_t colour) {
  Canvas plate(width, height, colour);
  plate.Frame(Box{0, 0, width, height}, 0, 1, 0);
  return plate;
}

}  // namespace

std::vector<MenuButton> startupButtons(int kind) {
  std::vector<MenuButton> buttons = {{0, "haj", "NEW GAME"}};
  if (kind >= 2) buttons.push_back({1, "tsu", "CONTINUE"});
  buttons.push_back({2, "set", "SOUND"});
  if (kind == 3) buttons.push_back({3, "yod", "BONUS"});
  buttons.push_back({4, "syu", "QUIT"});
  return buttons;
}

int32_t firstButtonTop(int kind) { return kind == 1 ? 159 : kind == 2 ? 131 : 104; }

void caption(Canvas& canvas, int32_t x, int32_t y, const std::string& text, int32_t scale, uint32_t colour,
             uint8_t alpha) {
  for (size_t i = 0; i < text.size(); ++i) {
    const uint8_t* rows = demo_art::glyphRows(text[i]);
    if (!rows) continue;
    for (int32_t row = 0; row < 7; ++row) {
      for (int32_t column = 0; column < 5; ++column) {
        if (!(rows[row] & (0x10 >> column))) continue;
        const int32_t left = x + int32_t(i) * 6 * scale + column * scale, top = y + row * scale;
        canvas.Fill(Box{left, top, left + scale, top + scale}, colour, alpha);
      }
    }
  }
}

void drawStartupMenus(screen_art::ArtSet& set) {
  for (int kind = 1; kind <= 3; ++kind) {
    const char digit = char('0' + kind);
    const std::vector<MenuButton> buttons = startupButtons(kind);
    set.Bitmap(std::string("start") + digit + ".bmp", menuGround("RUNA1 DEMO", buttons, firstButtonTop(kind)));
    for (const MenuButton& button : buttons) {
      set.Bitmap(std::string("s") + digit + "_" + button.stem + "on.bmp", buttonFace(button.caption, true));
    }
  }
  const std::vector<MenuButton> bonus = {{0, "gazo", "CG MODE"}, {1, "onga", "MUSIC MODE"}, {2, "modo", "BACK"}};
  set.Bitmap("yodan.bmp", menuGround("BONUS", bonus, 159));
  for (const MenuButton& button : bonus) set.Bitmap(std::string(button.stem) + "on.bmp", buttonFace(button.caption, true));
}

std::vector<MenuButton> mainMenuButtons() {
  return {{0, "m_has", "SAVE"}, {1, "m_mod", "LOAD"}, {2, "m_set", "SOUND"},
          {3, "m_hoj", "HELP"}, {4, "m_bou", "TITLE"}, {5, "m_syu", "QUIT"}};
}

void drawMainMenu(screen_art::ArtSet& set) {
  // The panel and the back plate are opaque over the game's picture, the rest shows it. The lit
  // buttons are their own alpha plane: a gold plate with the caption cut out, so that the
  // panel's caption shows through.
  Canvas menu(640, 480, kGroundColour);
  menu.Fill(Box{0, 0, 640, 480}, kGroundColour, 0);
  menu.Fill(kMainPanel, kGroundColour);
  menu.Frame(kMainPanel, kLitColour, 2);
  for (const MenuButton& button : mainMenuButtons()) {
    const int32_t top = kMainButtonTop + button.id * kButtonStep;
    captionedPlate(menu, Box{kMainButtonX, top, kMainButtonX + kMainButtonWidth, top + kMainButtonHeight},
                   button.caption, 3);
    Canvas lit = edgedPlate(kMainButtonWidth, kMainButtonHeight, kLitColour);
    caption(lit, (kMainButtonWidth - captionWidth(button.caption, 3)) / 2, (kMainButtonHeight - 21) / 2,
            button.caption, 3, 0, 0);
    set.Alpha(std::string(button.stem) + "onc.bmp", lit, kLitColour);
  }
  captionedPlate(menu, Box{516, 430, 601, 465}, "BACK", 2);
  set.Bitmap("menu.bmp", menu);
  set.Alpha("menuc.bmp", menu);
  set.Bitmap("distart.bmp", confirmationBox("BACK TO THE TITLE"));
  set.Bitmap("diquit.bmp", confirmationBox("QUIT THE GAME"));
}

bool drawSoundConfig(screen_art::ArtSet& set, const std::string& tree, std::string* error) {
  // The panel is opaque over the game's picture, the rest of the screen shows it.
  Canvas option(640, 480, kGroundColour);
  option.Fill(Box{0, 0, 640, 480}, kGroundColour, 0);
  option.Fill(Box{90, 60, 600, 380}, kGroundColour, 235);
  option.Frame(Box{90, 60, 600, 380}, kLitColour, 2);
  const struct {
    const char* text;
    int32_t y;
  } rows[] = {{"MUSIC", 84}, {"MUSIC VOLUME", 162}, {"VOICE VOLUME", 244}, {"TEXT SPEED", 326}};
  for (const auto& row : rows) caption(option, 110, row.y + 8, row.text, 2, kCaptionColour);
  for (int32_t y : {162, 244, 326}) option.Fill(Box{322, y + 14, 471, y + 17}, 0x5070A0);
  option.Fill(Box{516, 430, 601, 465}, kPlateColour);
  caption(option, 516 + (85 - captionWidth("BACK", 2)) / 2, 440, "BACK", 2, kCaptionColour);
  set.Bitmap("option.bmp", option);
  for (const char* source : {"pcm", "mid"}) {
    const std::string text = std::string(source) == "pcm" ? "WAVE" : "MIDI";
    Canvas on = edgedPlate(105, 36, kLitColour), off = edgedPlate(105, 36, kPlateColour);
    caption(on, (105 - captionWidth(text, 2)) / 2, 11, text, 2, kLitCaptionColour);
    caption(off, (105 - captionWidth(text, 2)) / 2, 11, text, 2, kCaptionColour);
    set.Bitmap(std::string(source) + "on.bmp", on);
    set.Bitmap(std::string(source) + "of.bmp", off);
  }
  Canvas left(13, 31, kLitColour), right(13, 31, kLitColour), knob(13, 31, 0xF0F0F0);
  for (int32_t i = 0; i < 6; ++i) {
    left.Fill(Box{3 + i, 15 - i, 4 + i, 16 + i}, kLitCaptionColour);
    right.Fill(Box{9 - i, 15 - i, 10 - i, 16 + i}, kLitCaptionColour);
  }
  knob.Frame(Box{0, 0, 13, 31}, 0x808080, 1);
  set.Bitmap("bralon.bmp", left);
  set.Bitmap("braron.bmp", right);
  set.Bitmap("tumami.bmp", knob);
  return screen_art::writeAlphaBitmap(option, tree + "/optiona.bmp", error) &&
         screen_art::writeAlphaBitmap(edgedPlate(105, 36, 0), tree + "/pcmona.bmp", error) &&
         screen_art::writeAlphaBitmap(edgedPlate(105, 36, 0), tree + "/pcmofa.bmp", error);
}

}  // namespace demo_menus
