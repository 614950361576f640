#include "tools/screen_art/menus_art.h"

#include <string>

#include "tools/screen_art/menus_look.h"

namespace screen_art {

namespace {

constexpr int32_t kScreenWidth = 640, kScreenHeight = 480;
constexpr int32_t kColumnButtonWidth = 196, kColumnButtonHeight = 52;

// A screen-sized picture that is transparent but for an opaque panel.
Canvas panel(const Box& box, uint32_t colour) {
  Canvas canvas(kScreenWidth, kScreenHeight, 0x000000);
  canvas.Fill(Box{0, 0, kScreenWidth, kScreenHeight}, 0x000000, 0);
  canvas.Fill(box, colour);
  return canvas;
}

// A confirmation box with its yes and no areas where the screens put their hit areas.
Canvas confirmationBox(uint32_t colour) {
  Canvas box(MENU_ART_BOX_WIDTH, MENU_ART_BOX_HEIGHT, colour);
  box.Frame(Box{0, 0, MENU_ART_BOX_WIDTH, MENU_ART_BOX_HEIGHT}, 0x404040, 2);
  box.Fill(Box{0x23, 0x60, 0x23 + 0x52, 0x60 + 0x28}, 0x40A040);
  box.Fill(Box{0x8B, 0x60, 0x8B + 0x52, 0x60 + 0x28}, 0xA04040);
  return box;
}

Canvas columnButton(uint32_t colour) { return Canvas(kColumnButtonWidth, kColumnButtonHeight, colour); }

}  // namespace

void drawMainMenu(ArtSet& set) {
  Canvas menu = panel(Box{MENU_ART_PANEL_LEFT, MENU_ART_PANEL_TOP, MENU_ART_PANEL_RIGHT, MENU_ART_PANEL_BOTTOM},
                      MENU_ART_PANEL_COLOUR);
  set.Bitmap("menu.bmp", menu);
  set.Alpha("menuc.bmp", menu);
  const char* buttons[] = {"m_hasonc.bmp", "m_modonc.bmp", "m_setonc.bmp",
                           "m_hojonc.bmp", "m_bouonc.bmp", "m_syuonc.bmp"};
  for (int id = 0; id < 6; ++id) {
    uint32_t colour = MENU_ART_BUTTON_COLOUR(id);
    set.Alpha(buttons[id], plate(MENU_ART_BUTTON_WIDTH, MENU_ART_BUTTON_HEIGHT, colour), colour);
  }
  set.Bitmap("distart.bmp", confirmationBox(MENU_ART_RESTART_BOX_COLOUR));
  set.Bitmap("diquit.bmp", confirmationBox(MENU_ART_QUIT_BOX_COLOUR));
}

void drawStartup(ArtSet& set) {
  const char* buttons[] = {"hajon", "tsuon", "seton", "yodon", "syuon"};
  for (int kind = 1; kind <= 3; ++kind) {
    std::string prefix = "s" + std::to_string(kind) + "_";
    set.Bitmap("start" + std::to_string(kind) + ".bmp",
               Canvas(kScreenWidth, kScreenHeight, STARTUP_ART_BACKGROUND_COLOUR(kind)));
    for (int id = 0; id < 5; ++id)
      set.Bitmap(prefix + buttons[id] + ".bmp", columnButton(STARTUP_ART_BUTTON_COLOUR(kind, id)));
  }
  set.Bitmap("yodan.bmp", Canvas(kScreenWidth, kScreenHeight, OMAKE_ART_BACKGROUND_COLOUR));
  const char* omake[] = {"gazoon.bmp", "ongaon.bmp", "modoon.bmp"};
  for (int id = 0; id < 3; ++id) set.Bitmap(omake[id], columnButton(OMAKE_ART_BUTTON_COLOUR(id)));
}

void drawSoundConfig(ArtSet& set) {
  Canvas option = panel(Box{SOUND_ART_PANEL_LEFT, SOUND_ART_PANEL_TOP, SOUND_ART_PANEL_RIGHT, SOUND_ART_PANEL_BOTTOM},
                        SOUND_ART_PANEL_COLOUR);
  for (int32_t y : {162, 244, 326}) option.Fill(Box{322, y + 14, 322 + 149, y + 17}, SOUND_ART_TRACK_COLOUR);
  set.Bitmap("option.bmp", option);
  set.Alpha("optiona.bmp", option);

  constexpr int32_t kWidth = 105, kHeight = 36;
  set.Bitmap("pcmon.bmp", plate(kWidth, kHeight, SOUND_ART_WAVE_COLOUR(1)));
  set.Bitmap("midon.bmp", plate(kWidth, kHeight, SOUND_ART_MIDI_COLOUR(1)));
  set.Alpha("pcmona.bmp", plate(kWidth, kHeight, 0));
  set.Bitmap("pcmof.bmp", plate(kWidth, kHeight, SOUND_ART_WAVE_COLOUR(0)));
  set.Bitmap("midof.bmp", plate(kWidth, kHeight, SOUND_ART_MIDI_COLOUR(0)));
  set.Alpha("pcmofa.bmp", plate(kWidth, kHeight, 0));

  set.Bitmap("bralon.bmp", Canvas(13, 31, SOUND_ART_LEFT_COLOUR));
  set.Bitmap("braron.bmp", Canvas(13, 31, SOUND_ART_RIGHT_COLOUR));
  set.Bitmap("tumami.bmp", Canvas(SOUND_ART_KNOB_WIDTH, SOUND_ART_KNOB_HEIGHT, SOUND_ART_KNOB_COLOUR));
}

}  // namespace screen_art
