// The music mode natively: its files and the module's tracks are drawn by screen_art, MIDI plays
// on the virtual stream device, which records what the screen asked of it, and waves on the
// silent null device.
#include "screens/music_mode.h"

#include <gtest/gtest.h>

#include <vector>

#include "files/koral_archive.h"
#include "host/exports/archive.h"
#include "sound/device/midi_virtual.h"
#include "tests/screens/screen_run.h"
#include "tools/screen_art/gallery_art.h"
#include "tools/screen_art/gallery_look.h"

namespace {

using namespace screen_message;

constexpr double kMillisecond = 1000;

POINT trackCentre(int32_t track) { return POINT{(track % 2 ? 328 : 8) + 150, 24 + 56 * (track / 2) + 20}; }
constexpr POINT kWaveButton{8 + 50, 424 + 18}, kMidiButton{128 + 50, 424 + 18};
constexpr POINT kLeftArrow{290 + 6, 427 + 15}, kRightArrow{458 + 6, 427 + 15}, kExit{544 + 40, 425 + 18};

uint32_t noteOn(int32_t track) { return 0x90 | MUSIC_ART_TRACK_NOTE(track) << 8 | 100 << 16; }

class MusicModeTest : public ScreenRunTest {
 protected:
  MusicModeTest() : ScreenRunTest("music_mode_test") {
    setMidiBackend(&device);
    MakeArchive("musicmod.arc", screen_art::drawMusicMode, true);
    MakeArchive("tracks.arc", screen_art::writeMusicTracks, false);
    tracks = KORALArchive_Open(folder.file("tracks.arc").c_str(), 0);
  }
  ~MusicModeTest() override {
    if (result.valid()) Result();
    if (tracks) KORALArchive_Close(tracks);
    setMidiBackend(nullptr);
  }

  void Start(KArcFileExp* music) {
    ScreenRunTest::Start([this, music] { return RunMusicMode(host, target.get(), music); });
  }
  // Clicks a track and waits until the screen has played it and taken up its input again.
  void ClickTrack(int32_t track, uint32_t colour) {
    POINT at = trackCentre(track);
    ClickAndAwaitPlay(at);
    EXPECT_EQ(Pixel(at.x, at.y), colour) << "track " << track;
  }
  // A click on a track or a source: the screen waits while it plays (its inactive cursor is
  // posted), and is active again once the music is under way.
  void ClickAndAwaitPlay(POINT at) {
    size_t posted = host.PostedCount();
    host.Click(at.x, at.y);
    for (int i = 0; i < 5000 && host.PostedCount() < posted + 2; ++i) os::sleep(1);
    EXPECT_GE(host.PostedCount(), posted + 2) << "the screen did not play";
  }
  // The note-ons that the stream plays within `milliseconds` from now.
  std::vector<uint32_t> NotesHeard(double milliseconds) {
    size_t before = device.records.size();
    device.advance(milliseconds * kMillisecond);
    std::vector<uint32_t> notes;
    for (size_t i = before; i < device.records.size(); ++i) {
      const MidiRecord& record = device.records[i];
      if (record.kind == MidiRecord::kEvent && (record.word & 0xF0) == 0x90) notes.push_back(record.word & 0xFFFFFF);
    }
    return notes;
  }
  // The last volume (controller 7) sent to channel 0 at once.
  int32_t LastChannelVolume() {
    for (auto it = device.records.rbegin(); it != device.records.rend(); ++it)
      if (it->kind == MidiRecord::kMessage && (it->word & 0xFFFF) == 0x07B0) return static_cast<int32_t>(it->word >> 16);
    return -1;
  }
  size_t Count(MidiRecord::Kind kind) const {
    size_t n = 0;
    for (const MidiRecord& record : device.records) n += record.kind == kind;
    return n;
  }
  int32_t KnobLeft(int32_t volume) { return 306 + 140 * volume / 8; }

  VirtualMidiBackend device;
  KArcFileExp* tracks = nullptr;
};

TEST_F(MusicModeTest, AClickedTrackIsLitAndPlaysAsMidiUntilItIsClickedAgain) {
  Start(tracks);
  EXPECT_EQ(Pixel(5, 5), MUSIC_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_MIDI_COLOUR) << "MIDI without installed waves";
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(Pixel(trackCentre(3).x, trackCentre(3).y), MUSIC_ART_BACKGROUND_COLOUR) << "no track is lit";

  ClickTrack(3, MUSIC_ART_TRACK_COLOUR(3));
  EXPECT_EQ(NotesHeard(50), std::vector<uint32_t>{noteOn(3)});
  EXPECT_GE(NotesHeard(2000).size(), 2u) << "the track loops";

  ClickTrack(4, MUSIC_ART_TRACK_COLOUR(4));
  EXPECT_EQ(Pixel(trackCentre(3).x, trackCentre(3).y), MUSIC_ART_BACKGROUND_COLOUR) << "only the playing track is lit";
  EXPECT_EQ(NotesHeard(50), std::vector<uint32_t>{noteOn(4)});

  size_t stops = Count(MidiRecord::kStop);
  ClickTrack(4, MUSIC_ART_BACKGROUND_COLOUR);
  EXPECT_GT(Count(MidiRecord::kStop), stops);
  EXPECT_TRUE(NotesHeard(3000).empty()) << "the second click stopped the track";

  host.Click(kWaveButton.x, kWaveButton.y);  // waves are not installed: nothing changes
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 20) << "the last button pressed";
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_MIDI_COLOUR);
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(ZPK_GetProfileInt("Config", "BgmSelection", 7), 1u) << "a right click stores too";
  EXPECT_EQ(ZPK_GetProfileInt("Config", "VolumeOfBGM", 7), 8u);
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST_F(MusicModeTest, TheArrowsAndTheSliderSetTheMusicVolumeWhichIsStored) {
  ZPK_WriteProfileInt("Config", "VolumeOfBGM", 5);
  Start(tracks);
  EXPECT_EQ(Pixel(KnobLeft(5) + 5, 427 + 15), MUSIC_ART_KNOB_COLOUR);
  ClickTrack(0, MUSIC_ART_TRACK_COLOUR(0));
  NotesHeard(50);

  // Step 4 is 0x0FFF, which scales the channel's volume of 100 to 6; step 6, 0x3FFF, to 24.
  host.Click(kLeftArrow.x, kLeftArrow.y);
  EXPECT_TRUE(Shows(KnobLeft(4) + 5, 427 + 15, MUSIC_ART_KNOB_COLOUR));
  EXPECT_EQ(Pixel(KnobLeft(5) + 9, 427 + 15), MUSIC_ART_BACKGROUND_COLOUR) << "the knob left its old place";
  EXPECT_EQ(LastChannelVolume(), 6);
  host.Click(kRightArrow.x, kRightArrow.y);
  host.Click(kRightArrow.x, kRightArrow.y);
  EXPECT_TRUE(Shows(KnobLeft(6) + 5, 427 + 15, MUSIC_ART_KNOB_COLOUR));
  EXPECT_EQ(LastChannelVolume(), 24);

  // A drag of the knob to the track's end: step 8, full volume.
  host.MoveTo(KnobLeft(6) + 5, 427 + 15);
  host.Press(kLButtonDown);
  host.MoveTo(306 + 149, 427 + 15);
  host.Press(kLButtonUp);
  EXPECT_TRUE(Shows(KnobLeft(8) + 5, 427 + 15, MUSIC_ART_KNOB_COLOUR));
  for (int i = 0; i < 1000 && LastChannelVolume() != 100; ++i) os::sleep(1);
  EXPECT_EQ(LastChannelVolume(), 100);

  host.Click(kExit.x, kExit.y);
  EXPECT_EQ(Result(), 0);
  EXPECT_EQ(ZPK_GetProfileInt("Config", "VolumeOfBGM", 7), 8u);
}

TEST_F(MusicModeTest, WithWavesInstalledTheSourceSwitchesAndTheCurrentTrackGoesOnInTheOther) {
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  Start(tracks);
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_WAVE_COLOUR);
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_BACKGROUND_COLOUR);

  ClickTrack(2, MUSIC_ART_TRACK_COLOUR(2));
  EXPECT_TRUE(NotesHeard(50).empty()) << "the wave plays, not the MIDI song";
  EXPECT_EQ(Count(MidiRecord::kOpen), 0u);

  ClickAndAwaitPlay(kMidiButton);
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_MIDI_COLOUR);
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_BACKGROUND_COLOUR);
  EXPECT_EQ(NotesHeard(50), std::vector<uint32_t>{noteOn(2)}) << "the current track in the new source";
  EXPECT_EQ(Pixel(trackCentre(2).x, trackCentre(2).y), MUSIC_ART_TRACK_COLOUR(2));

  ClickAndAwaitPlay(kWaveButton);
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_WAVE_COLOUR);
  EXPECT_TRUE(NotesHeard(3000).empty()) << "back to the wave: the song stopped";
  host.Click(kMidiButton.x, kMidiButton.y);
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 21);
  EXPECT_EQ(ZPK_GetProfileInt("Config", "BgmSelection", 7), 1u);

  // Changing the source with no track chosen starts nothing.
  Start(tracks);
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_MIDI_COLOUR) << "the stored choice";
  size_t opened = Count(MidiRecord::kOpen);
  ClickAndAwaitPlay(kWaveButton);
  EXPECT_EQ(Pixel(kWaveButton.x, kWaveButton.y), MUSIC_ART_WAVE_COLOUR);
  ClickAndAwaitPlay(kMidiButton);
  EXPECT_EQ(Pixel(kMidiButton.x, kMidiButton.y), MUSIC_ART_MIDI_COLOUR);
  EXPECT_EQ(Count(MidiRecord::kOpen), opened);
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 21);
}

TEST_F(MusicModeTest, MissingOrBrokenFilesLeaveTracksSilentAndTheScreenRunning) {
  ZPK_WriteProfileString("Installed", "BinDir", folder.file("nothing").c_str());
  EXPECT_EQ(RunMusicMode(host, target.get(), tracks), -1);
  EXPECT_EQ(host.HookCount(), 0u);
  ZPK_WriteProfileString("Installed", "BinDir", folder.file("art").c_str());

  Start(tracks);
  ClickTrack(MUSIC_ART_MISSING_TRACK, MUSIC_ART_TRACK_COLOUR(MUSIC_ART_MISSING_TRACK));
  EXPECT_TRUE(NotesHeard(500).empty());
  ClickTrack(MUSIC_ART_BROKEN_TRACK, MUSIC_ART_TRACK_COLOUR(MUSIC_ART_BROKEN_TRACK));
  EXPECT_TRUE(NotesHeard(500).empty());
  ClickTrack(1, MUSIC_ART_TRACK_COLOUR(1));
  EXPECT_EQ(NotesHeard(50), std::vector<uint32_t>{noteOn(1)}) << "the archive is still usable";
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 2);

  Start(nullptr);  // no archive of tracks at all
  ClickTrack(5, MUSIC_ART_TRACK_COLOUR(5));
  EXPECT_TRUE(NotesHeard(500).empty());
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 6);

  MakeArchive("musicmod.arc", screen_art::drawMusicMode, true, {"m0", "tumami"});
  Start(tracks);
  ClickTrack(0, MUSIC_ART_BACKGROUND_COLOUR);  // no highlight to show, but it plays
  EXPECT_EQ(NotesHeard(50), std::vector<uint32_t>{noteOn(0)});
  host.Press(kRButtonDown);
  EXPECT_EQ(Result(), 1);
}

}  // namespace
