// The main menu, the title screens, the bonus menu and the sound configuration natively: their
// files are drawn by the screens' art generator, each screen runs on a thread of its own as on
// the module's, and the test plays the window through the screen's hook and reads the target.
#include <memory>
#include <vector>

#include "screens/main_menu.h"
#include "screens/sound_config.h"
#include "sound/mixer/pcm_sound.h"
#include "tests/screens/screen_test_fixture.h"
#include "tests/files/memory_file.h"
#include "tests/sound/midi/midi_bytes.h"
#include "tests/sound/midi/midi_player.h"
#include "tools/screen_art/menus_art.h"
#include "tools/screen_art/menus_look.h"

namespace {

using namespace screen_message;

constexpr uint32_t kBackgroundColour = 0x102030;

class MenusTest : public ScreenTest {
 protected:
  MenusTest() : ScreenTest("menus_test"), background(MakePicture(kBackgroundColour)) {
    MakeArt("MainMenu", screen_art::drawMainMenu);
    MakeArt("Startup", screen_art::drawStartup);
    MakeArt("SoundCfg", screen_art::drawSoundConfig);
  }
  ~MenusTest() override { ZPK_WriteProfileString("Config", nullptr, nullptr); }

  static std::unique_ptr<Graphic> MakePicture(uint32_t colour) {
    auto picture = std::make_unique<Graphic>(kConversionNone);
    picture->CreateBitmap(640, 480, 24);
    uint8_t* pixels = picture->Pixels();
    for (size_t i = 0; i < 640 * 480; ++i) {
      pixels[3 * i] = colour & 0xFF;
      pixels[3 * i + 1] = (colour >> 8) & 0xFF;
      pixels[3 * i + 2] = (colour >> 16) & 0xFF;
    }
    return picture;
  }

  void StartMainMenu() {
    StartScreen([this] { return RunMainMenu(host, target.get(), background.get()); });
  }
  void StartSoundConfig(CMIDIMusic* midi = nullptr, KPCMSound* wave = nullptr) {
    StartScreen([=, this] {
      RunSoundConfigMenu(host, target.get(), background.get(), midi, wave);
      return 0;
    });
  }
  // A device volume as the wave's channel volume: times 1/65535 in floats.
  static float WaveLevel(uint32_t volume) { return static_cast<float>(volume) * (1.0f / 65535.0f); }
  // The wave's volume, set on the screen's thread, reaches `level` on both sides.
  static bool VolumeBecomes(KPCMSound& wave, float level) {
    float left = 0, right = 0;
    for (int i = 0; i < 5000; ++i) {
      wave.GetVolume(&left, &right);
      if (left == level && right == level) return true;
      os::sleep(1);
    }
    ADD_FAILURE() << "volume " << left << " " << right << " where " << level << " was due";
    return false;
  }
  int32_t Profile(const char* entry) { return static_cast<int32_t>(ZPK_GetProfileInt("Config", entry, 99)); }
  // Leaves by the exit button and checks the four values saved.
  void LeaveAndExpectSaved(int32_t selection, int32_t music, int32_t voice, int32_t speed) {
    host.Click(516 + 40, 430 + 20);
    Result();
    EXPECT_EQ(Profile("BgmSelection"), selection);
    EXPECT_EQ(Profile("VolumeOfBGM"), music);
    EXPECT_EQ(Profile("VolumeOfVoice"), voice);
    EXPECT_EQ(Profile("MessageSpeed"), speed);
  }

  std::unique_ptr<Graphic> background;
};

// The middle of main menu button `id`.
POINT mainButton(int32_t id) {
  return POINT{88 + MENU_ART_BUTTON_WIDTH / 2, 62 + 55 * id + MENU_ART_BUTTON_HEIGHT / 2};
}

// The boxes, the lit buttons and the other results are checked in the window under Wine.
TEST_F(MenusTest, TheMainMenuReturnsItsFirstButtonsAndOpensTheHelpWithoutLeaving) {
  for (int32_t id : {1, 2}) {
    StartMainMenu();
    host.MoveTo(mainButton(id).x, mainButton(id).y);
    size_t arrow = host.loadedCursorFiles.size() - 1;  // this run's first cursor file
    EXPECT_EQ(host.cursor, fakeCursor(FakeScreenHost::kFileCursors + arrow)) << "Arrow.cur over a button";
    host.Click(mainButton(3).x, mainButton(3).y);
    host.Click(mainButton(3).x, mainButton(3).y);
    host.Click(mainButton(id).x, mainButton(id).y);
    EXPECT_EQ(Result(), id);
  }
  std::vector<std::string> expected(4, folder.file("art") + "\\HELP\\INDEX.HTML");
  EXPECT_EQ(host.opened, expected);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(MenusTest, EachTitleScreenLaysOutItsColumnAndReturnsTheIds) {
  struct Layout {
    int32_t kind;
    std::vector<int32_t> ids;
    int32_t top;
  };
  const Layout layouts[] = {{1, {0, 2, 4}, 159}, {2, {0, 1, 2, 4}, 131}, {3, {0, 1, 2, 3, 4}, 104}};
  for (const Layout& layout : layouts) {
    SCOPED_TRACE(layout.kind);
    for (size_t row = 0; row < layout.ids.size(); ++row) {
      int32_t id = layout.ids[row];
      StartScreen([this, &layout] { return RunStartupMenu(host, target.get(), layout.kind); });
      int32_t y = layout.top + 55 * static_cast<int32_t>(row);
      host.MoveTo(222 + 195, y + 51);  // the far corner of 196 by 52
      EXPECT_EQ(Pixel(222, y), STARTUP_ART_BUTTON_COLOUR(layout.kind, id)) << "row " << row;
      host.Press(kRButtonDown);  // ignored here
      host.Click(222 + 195, y + 51);
      EXPECT_EQ(Result(), id == 4 ? -1 : id);
    }
    int32_t below = layout.top + 55 * static_cast<int32_t>(layout.ids.size());
    StartScreen([this, &layout] { return RunStartupMenu(host, target.get(), layout.kind); });
    host.Click(300, below + 10);
    EXPECT_TRUE(Running()) << "no button below the column";
    host.Click(300, layout.top + 10);
    EXPECT_EQ(Result(), 0);
  }
}

TEST_F(MenusTest, TheTitleScreenOfAnUnknownKindOpensNothing) {
  EXPECT_EQ(RunStartupMenu(host, target.get(), 0), -1);
  EXPECT_EQ(RunStartupMenu(host, target.get(), 4), -1);
  EXPECT_TRUE(host.loadedCursorFiles.empty());
  EXPECT_EQ(host.invalidations, 0);
}

TEST_F(MenusTest, TheBonusMenuReturnsPicturesOrMusicAndLeavesByItsThirdButtonOrTheRightButton) {
  for (int32_t id : {0, 1, 2}) {
    StartScreen([this] { return RunOmakeSelectMenu(host, target.get()); });
    host.Click(230, 159 + 55 * id + 10);
    EXPECT_EQ(Result(), id == 2 ? -1 : id);
  }
  StartScreen([this] { return RunOmakeSelectMenu(host, target.get()); });
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), -1);
}

TEST_F(MenusTest, AMissingArchiveGivesMinusOneAndTheSoundConfigurationWritesNothing) {
  ZPK_WriteProfileString("Installed", "BinDir", folder.file("nothing").c_str());
  EXPECT_EQ(RunMainMenu(host, target.get(), background.get()), -1);
  EXPECT_EQ(RunStartupMenu(host, target.get(), 2), -1);
  EXPECT_EQ(RunOmakeSelectMenu(host, target.get()), -1);
  RunSoundConfigMenu(host, target.get(), background.get(), nullptr, nullptr);
  EXPECT_EQ(Profile("VolumeOfBGM"), 99);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(MenusTest, MissingBitmapsLeaveTheirPlacesEmptyAndTheScreensCarryOn) {
  MakeArt("MainMenu", screen_art::drawMainMenu, {"m", "di"});
  MakeArt("Startup", screen_art::drawStartup, {"s1_"});
  MakeArt("SoundCfg", screen_art::drawSoundConfig, {"option", "pcm", "mid", "tumami"});
  StartMainMenu();
  EXPECT_EQ(Pixel(MENU_ART_PANEL_LEFT + 2, MENU_ART_PANEL_TOP + 2), kBackgroundColour);
  host.Click(mainButton(1).x, mainButton(1).y);  // a button without its image is no hit area
  host.Click(mainButton(5).x, mainButton(5).y);  // neither
  EXPECT_TRUE(Running());
  host.Click(516 + 40, 430 + 20);
  EXPECT_EQ(Result(), -1);

  StartScreen([this] { return RunStartupMenu(host, target.get(), 1); });
  EXPECT_EQ(Pixel(5, 5), STARTUP_ART_BACKGROUND_COLOUR(1));
  host.Click(300, 170);
  EXPECT_EQ(Result(), 0) << "the column's buttons have their size without their images";

  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  StartSoundConfig();
  EXPECT_EQ(Pixel(20, 20), kBackgroundColour);
  host.Click(270 + 50, 84 + 18);
  host.Click(474 + 6, 326 + 15);
  LeaveAndExpectSaved(0, 8, 8, 3);
}

// Sound configuration: the knob's left edge for `value` on the row at `y` (16 pixels a step on
// the volume rows, 32 on the message speed).
constexpr int32_t kMusicRow = 162, kVoiceRow = 244, kSpeedRow = 326;
int32_t knobX(int32_t value, int32_t pixelsPerStep) { return 322 + pixelsPerStep * value; }

TEST_F(MenusTest, WithoutWaveMusicTheSelectionIsMidiAndTheDefaultsAreSaved) {
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  StartSoundConfig();
  EXPECT_EQ(Pixel(20, 20), kBackgroundColour);
  EXPECT_EQ(Pixel(417 + 50, 84 + 18), SOUND_ART_MIDI_COLOUR(1));
  EXPECT_EQ(Pixel(270 + 50, 84 + 18), SOUND_ART_WAVE_COLOUR(0));
  EXPECT_EQ(Pixel(knobX(8, 16) + 10, kMusicRow + 10), SOUND_ART_KNOB_COLOUR);
  EXPECT_EQ(Pixel(knobX(8, 16) + 10, kVoiceRow + 10), SOUND_ART_KNOB_COLOUR);
  EXPECT_EQ(Pixel(knobX(2, 32) + 10, kSpeedRow + 10), SOUND_ART_KNOB_COLOUR);
  host.Click(270 + 50, 84 + 18);  // the wave button can't be hit
  EXPECT_EQ(Pixel(270 + 50, 84 + 18), SOUND_ART_WAVE_COLOUR(0));
  LeaveAndExpectSaved(1, 8, 8, 2);
}

TEST_F(MenusTest, TheSourceButtonsFlipTheSelectionWhenWaveMusicIsInstalled) {
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  EXPECT_EQ(EffectiveBgmSelection(), 0);
  StartSoundConfig();
  EXPECT_EQ(Pixel(270 + 50, 84 + 18), SOUND_ART_WAVE_COLOUR(1));
  EXPECT_EQ(Pixel(270 + 50, 84), SOUND_ART_PANEL_COLOUR) << "the source buttons' alpha";
  host.Click(270 + 50, 84 + 18);  // already chosen: nothing
  host.Click(417 + 50, 84 + 18);
  EXPECT_TRUE(Shows(417 + 50, 84 + 18, SOUND_ART_MIDI_COLOUR(1)));
  EXPECT_EQ(Pixel(270 + 50, 84 + 18), SOUND_ART_WAVE_COLOUR(0));
  host.Click(270 + 50, 84 + 18);
  EXPECT_TRUE(Shows(270 + 50, 84 + 18, SOUND_ART_WAVE_COLOUR(1)));
  EXPECT_EQ(Pixel(417 + 50, 84 + 18), SOUND_ART_MIDI_COLOUR(0));
  host.Press(kRButtonDown);  // saves like the exit button
  Result();
  EXPECT_EQ(Profile("BgmSelection"), 0);
}

TEST_F(MenusTest, ArrowsAndDragsSetTheValuesAndTheMusicVolumeActsAtOnce) {
  ZPK_WriteProfileInt("Config", "VolumeOfBGM", 1);
  ZPK_WriteProfileInt("Config", "MessageSpeed", 9);  // held at the end
  KPCMSound wave;
  float left = 0, right = 0;
  StartSoundConfig(nullptr, &wave);
  EXPECT_EQ(Pixel(knobX(4, 32) + 10, kSpeedRow + 10), SOUND_ART_KNOB_COLOUR);
  host.MoveTo(306 + 6, kMusicRow + 15);  // left arrow: 0
  EXPECT_EQ(Pixel(306 + 6, kMusicRow + 15), SOUND_ART_PANEL_COLOUR);
  host.Press(kLButtonDown);
  EXPECT_EQ(Pixel(306 + 6, kMusicRow + 15), SOUND_ART_LEFT_COLOUR) << "only the pressed image shows";
  host.Press(kLButtonUp);
  EXPECT_TRUE(VolumeBecomes(wave, WaveLevel(0xFF)));
  EXPECT_TRUE(Shows(knobX(0, 16) + 10, kMusicRow + 10, SOUND_ART_KNOB_COLOUR));
  wave.SetVolume(1.0f, 1.0f);
  host.Click(306 + 6, kMusicRow + 15);  // at 0 already: the volume is sent again
  EXPECT_TRUE(VolumeBecomes(wave, WaveLevel(0xFF)));

  // Drag the knob from 0 to 5, past the end, and back to 7.
  host.MoveTo(knobX(0, 16) + 10, kMusicRow + 10);
  host.Press(kLButtonDown);
  host.MoveTo(knobX(5, 16) + 10, kMusicRow + 10);
  EXPECT_TRUE(VolumeBecomes(wave, WaveLevel(0x1FFF)));
  EXPECT_EQ(Pixel(knobX(5, 16) + 10, kMusicRow + 10), SOUND_ART_KNOB_COLOUR);
  EXPECT_EQ(Pixel(knobX(0, 16) + 10, kMusicRow + 10), SOUND_ART_PANEL_COLOUR);
  host.MoveTo(knobX(7, 16) + 10, kMusicRow + 10);
  host.Press(kLButtonUp);
  EXPECT_TRUE(VolumeBecomes(wave, WaveLevel(0x7FFF)));

  wave.SetVolume(1.0f, 1.0f);
  host.Click(474 + 6, kVoiceRow + 15);  // neither the voice nor the speed touch the music
  host.Click(306 + 6, kVoiceRow + 15);
  host.Click(306 + 6, kVoiceRow + 15);
  host.Click(306 + 6, kSpeedRow + 15);
  EXPECT_TRUE(Shows(knobX(3, 32) + 10, kSpeedRow + 10, SOUND_ART_KNOB_COLOUR));
  EXPECT_TRUE(Shows(knobX(6, 16) + 10, kVoiceRow + 10, SOUND_ART_KNOB_COLOUR));
  wave.GetVolume(&left, &right);
  EXPECT_EQ(left, 1.0f);
  LeaveAndExpectSaved(1, 7, 6, 3);
}

TEST_F(MenusTest, TheMusicVolumeScalesThePlayingMidiSongAtOnce) {
  VirtualMidiBackend device;
  setMidiBackend(&device);
  TrackBytes track;
  track.at(0, {0x90, 60, 100}).at(0, {0xB3, 0x07, 40}).at(960, {0x90, 62, 100}).end();
  MemoryFile file(midiFile(0, {track}, 96));
  CMIDIMusic* midi = MIDI_ReadMidi(nullptr, &file);
  ASSERT_NE(midi, nullptr);
  ASSERT_EQ(MIDI_PlayMidi(midi, 0), 0u);
  device.advance(0);
  device.records.clear();
  StartSoundConfig(midi, nullptr);
  EXPECT_TRUE(device.records.empty()) << "nothing is sent before the player acts";

  // The screen handles its events in order: once the voice knob has moved, the music volume
  // of the arrow before has been sent.
  host.Click(306 + 6, kMusicRow + 15);
  host.Click(306 + 6, kVoiceRow + 15);
  ASSERT_TRUE(Shows(knobX(7, 16) + 10, kVoiceRow + 10, SOUND_ART_KNOB_COLOUR));
  std::vector<Heard> sent;
  for (const MidiRecord& record : device.records)
    if (record.kind == MidiRecord::kMessage && (record.word & 0xFFF0) == 0x07B0) sent.push_back({0, record.word, 0});
  ASSERT_EQ(sent.size(), 16u) << "step 7 is 0x7FFF: every channel at half its volume";
  EXPECT_EQ(sent[0].message, volumeWord(0, 49));
  EXPECT_EQ(sent[3].message, volumeWord(3, 19));
  host.Press(kRButtonDown);
  Result();
  MIDI_Delete(midi);
  setMidiBackend(nullptr);
}

TEST(MusicVolumeOfStep, HalvesFromFullDownToStepZero) {
  EXPECT_EQ(MusicVolumeOfStep(8), 0xFFFFu);
  EXPECT_EQ(MusicVolumeOfStep(7), 0x7FFFu);
  EXPECT_EQ(MusicVolumeOfStep(1), 0x1FFu);
  EXPECT_EQ(MusicVolumeOfStep(0), 0xFFu);
}

}  // namespace
