// The opening and ending sequences on a clock that the test moves: every sleep of the player
// moves the clock at once, presses arrive at chosen moments through the window's hook, and the
// target picture is read at each frame. Pictures come from the sequences' art generator.
#include "screens/perform_sequence.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/exports/archive.h"
#include "host/exports/services.h"
#include "host/exports/wave_mixer.h"
#include "screens/music_settings.h"
#include "sound/device/midi_virtual.h"
#include "sound/mixer/mixing_service.h"
#include "tests/screens/fake_screen_host.h"
#include "tests/temp_dir.h"
#include "tools/arc/arc.h"
#include "tools/screen_art/sequence_art.h"
#include "tools/screen_art/sequence_look.h"

namespace {

using namespace screen_message;

// A clock that moves only when the player sleeps (or a frame costs time), and hands the presses
// due by then to the window's hook.
class SteppedStage : public SequenceStage {
 public:
  explicit SteppedStage(FakeScreenHost& host) : host_(host) {}

  uint32_t Now() override { return now; }
  void Sleep(uint32_t milliseconds) override {
    sleeps.push_back(milliseconds);
    if (onSleep) onSleep();
    Advance(milliseconds);
  }
  void UpdateWindow() override {
    ++updates;
    if (onUpdate) onUpdate();
    Advance(frameCost);
  }
  void ScrollWindow(int32_t dx, int32_t dy) override { scrolled.push_back(POINT{dx, dy}); }

  void PressAt(uint32_t time, uint32_t message) { presses.push_back({time, message}); }
  void Advance(uint32_t milliseconds) {
    now += milliseconds;
    for (auto it = presses.begin(); it != presses.end();) {
      if (static_cast<int32_t>(now - it->first) < 0) {
        ++it;
        continue;
      }
      host_.Press(it->second);
      it = presses.erase(it);
    }
  }

  // Near the tick count's wrap, which the clock's differences must survive.
  uint32_t now = 0xFFFFF000u;
  uint32_t frameCost = 0;
  int updates = 0;
  std::vector<uint32_t> sleeps;
  std::vector<POINT> scrolled;
  std::function<void()> onUpdate, onSleep;

 private:
  FakeScreenHost& host_;
  std::vector<std::pair<uint32_t, uint32_t>> presses;
};

SequenceStep step(int32_t opcode, int32_t a, int32_t b = 0, int32_t c = 0, int32_t d = 0) {
  return SequenceStep{opcode, {.a = a}, b, c, d};
}
SequenceStep named(int32_t opcode, const char* file, int32_t b = 0, int32_t c = 0) {
  return SequenceStep{opcode, {.file = file}, b, c, 0};
}

std::string littleEndian(uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
  return text;
}

// Two seconds of 8-bit mono at 11025 Hz.
std::string waveBytes() {
  std::string samples(22050, '\0');
  for (size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<char>(i % 25 < 12 ? 0xC0 : 0x40);
  return "RIFF" + littleEndian(36 + samples.size(), 4) + "WAVEfmt " + littleEndian(16, 4) + littleEndian(1, 2) +
         littleEndian(1, 2) + littleEndian(11025, 4) + littleEndian(11025, 4) + littleEndian(1, 2) +
         littleEndian(8, 2) + "data" + littleEndian(samples.size(), 4) + samples;
}

// One note of a second at 120 beats a minute.
std::string midiBytes() {
  std::string track = std::string("\x00\x90\x3C\x40", 4) + std::string("\x83\x60\x80\x3C\x40", 5) +
                      std::string("\x00\xFF\x2F\x00", 4);
  std::string header = std::string("MThd\x00\x00\x00\x06\x00\x00\x00\x01\x01\xE0", 14);
  return header + "MTrk" + std::string(1, '\0') + std::string(1, '\0') + std::string(1, '\0') +
         static_cast<char>(track.size()) + track;
}

class PerformSequenceTest : public ::testing::Test {
 protected:
  PerformSequenceTest() {
    target.CreateBitmap(SEQ_ART_SCREEN_WIDTH, SEQ_ART_SCREEN_HEIGHT, 24);
    ZPK_SetRegistryKey("Runa1 Tests", "perform_sequence_test");
  }
  ~PerformSequenceTest() override {
    for (KArcFileExp* archive : {archives.images, archives.music, archives.sounds})
      if (archive) KORALArchive_Close(archive);
    ZPK_WriteProfileString("Config", nullptr, nullptr);
    ZPK_WriteProfileString("Installed", nullptr, nullptr);
  }

  // The pictures, less those whose names begin with one of `leaveOut`, and the sound files.
  void MakeArchives(std::vector<std::string> leaveOut = {}) {
    screen_art::ArtSet set(folder.path() / "pictures", std::move(leaveOut));
    screen_art::drawSequences(set);
    std::string error;
    ASSERT_TRUE(set.Pack(folder.file("images.arc"), &error)) << error;
    std::filesystem::create_directories(folder.path() / "music");
    std::filesystem::create_directories(folder.path() / "sounds");
    folder.write("music/m11.wav", waveBytes());
    folder.write("music/m11.mid", midiBytes());
    folder.write("sounds/se990800.wav", waveBytes());
    ASSERT_TRUE(arc::createArchive(folder.path() / "music", folder.file("music.arc"), &error)) << error;
    ASSERT_TRUE(arc::createArchive(folder.path() / "sounds", folder.file("sounds.arc"), &error)) << error;
    archives = {KORALArchive_Open(folder.file("images.arc").c_str(), 0),
                KORALArchive_Open(folder.file("music.arc").c_str(), 0),
                KORALArchive_Open(folder.file("sounds.arc").c_str(), 0)};
    ASSERT_TRUE(archives.images && archives.music && archives.sounds);
  }

  bool Play(std::span<const SequenceStep> steps) {
    SequencePlayer player(host, stage, &target, archives);
    start = stage.now;
    return player.Play(steps);
  }
  int32_t Elapsed() const { return static_cast<int32_t>(stage.now - start); }

  uint32_t Pixel(int32_t x, int32_t y, const uint8_t* pixels = nullptr) const {
    const uint8_t* row = (pixels ? pixels : target.Pixels()) + (479 - y) * dibPitch(640, 24);
    return row[3 * x] | row[3 * x + 1] << 8 | row[3 * x + 2] << 16;
  }
  // What the window shows: the toned copy of the picture.
  uint32_t Shown(int32_t x, int32_t y) {
    target.UpdatePalette();
    return target.TonedCopy() ? Pixel(x, y, target.TonedCopy()) : Pixel(x, y);
  }

  TempDir folder;
  FakeScreenHost host;
  SteppedStage stage{host};
  Graphic target{kConversionNone};
  SequenceArchives archives{};
  uint32_t start = 0;
};

int channel(uint32_t colour, int shift) { return static_cast<int>(colour >> shift & 0xFF); }

// The fade-in blends frame over frame so that the old screen's share is what is left of 256 at
// that time, whenever the frames come; a picture with no duration is drawn once at once.
TEST_F(PerformSequenceTest, FadesKeepTheOldScreensShareToTheTimeLeft) {
  MakeArchives();
  const uint32_t colour = SEQ_ART_COLOUR(6460);
  for (uint32_t cost : {0u, 50u}) {
    SCOPED_TRACE(cost);
    stage.frameCost = cost;
    int frames = 0, worst = 0;
    stage.onUpdate = [&] {
      ++frames;
      int32_t t = Elapsed();
      int32_t old = 256 - t * 256 / 1000;
      for (int shift : {0, 8, 16}) {
        int expected = channel(colour, shift) * (256 - old) / 256;
        worst = std::max(worst, std::abs(channel(Pixel(320, 240), shift) - expected));
      }
    };
    const SequenceStep fade[] = {named(SEQ_LOAD, "bg6460.bmp", 1), step(SEQ_SHOW, 0), step(SEQ_SHOW, 1, 0, 0, 1000)};
    EXPECT_FALSE(Play(fade));
    // Each blend rounds both of its terms down: the losses add up to a level every few frames.
    EXPECT_LE(worst, 12) << "the blend follows the time";
    EXPECT_EQ(frames, cost ? 20 : 30);
    EXPECT_EQ(Pixel(320, 240), colour) << "the last draw is opaque";
    EXPECT_EQ(Pixel(0, 0), colour);
    EXPECT_EQ(host.stops, host.restarts);
  }

  stage.sleeps.clear();
  stage.updates = 0;
  const SequenceStep once[] = {step(SEQ_SHOW, 0), named(SEQ_LOAD, "bg6470.bmp", 2), step(SEQ_SHOW, 2, 0, 0, 0)};
  EXPECT_FALSE(Play(once));
  EXPECT_EQ(Elapsed(), 0);
  EXPECT_TRUE(stage.sleeps.empty());
  EXPECT_EQ(stage.updates, 0);
  EXPECT_EQ(Pixel(320, 240), SEQ_ART_COLOUR(6470));
}

// A right press during a fade ends it with the whole picture and ends the sequence; a left press
// is taken as the last message and changes nothing.
TEST_F(PerformSequenceTest, TheRightButtonCutsAFadeShortWithTheWholePicture) {
  MakeArchives();
  const SequenceStep steps[] = {named(SEQ_LOAD, "bg6460.bmp", 1), step(SEQ_SHOW, 1, 0, 0, 2000),
                                named(SEQ_LOAD, "bg6470.bmp", 2), step(SEQ_SHOW, 2, 0, 0, 0),
                                step(SEQ_TONE, 0, -256, 0)};
  stage.PressAt(stage.now + 500, kLButtonDown);
  EXPECT_FALSE(Play(steps));
  EXPECT_EQ(Pixel(10, 10), SEQ_ART_COLOUR(6470));
  EXPECT_EQ(Shown(10, 10), 0u) << "the tone step ran";
  target.SetPaletteTone(0, 0, 0);

  stage.PressAt(stage.now + 500, kRButtonDown);
  EXPECT_TRUE(Play(steps));
  EXPECT_GE(Elapsed(), 500);
  EXPECT_LT(Elapsed(), 500 + SequencePlayer::kFrameMs);
  EXPECT_EQ(Pixel(10, 10), SEQ_ART_COLOUR(6460)) << "the fade ends with the whole picture";
  EXPECT_EQ(Shown(10, 10), SEQ_ART_COLOUR(6460)) << "the tone step did not run";

  stage.PressAt(stage.now, kRButtonDown);
  EXPECT_TRUE(Play(steps)) << "a press before the first step";
  EXPECT_EQ(Pixel(10, 10), SEQ_ART_COLOUR(6460));
}

// Waits are measured against the sequence's clock: late steps do not add up, a time that has
// passed costs nothing, a sleep is at least 66 ms and is not cut by the right button.
TEST_F(PerformSequenceTest, WaitsFollowTheClock) {
  const SequenceStep late[] = {step(SEQ_CLOCK, 0), step(SEQ_TONE, 0, -256, 700), step(SEQ_WAIT, 1000),
                               step(SEQ_WAIT, 400)};
  EXPECT_FALSE(Play(late));
  EXPECT_EQ(Elapsed(), 1000);
  EXPECT_EQ(stage.sleeps.back(), 1000u - 726u) << "the tone's last frame ends at 726 ms; one sleep to the clock time";

  stage.sleeps.clear();
  const SequenceStep almost[] = {step(SEQ_CLOCK, 990), step(SEQ_WAIT, 1000)};
  EXPECT_FALSE(Play(almost));
  EXPECT_EQ(stage.sleeps, std::vector<uint32_t>{SequencePlayer::kWaitMs});

  const SequenceStep longWait[] = {step(SEQ_CLOCK, 0), step(SEQ_WAIT, 5000), step(SEQ_CLOCK, 0),
                                   step(SEQ_WAIT, 5000)};
  stage.PressAt(stage.now + 1000, kRButtonDown);
  EXPECT_TRUE(Play(longWait));
  EXPECT_EQ(Elapsed(), 5000) << "the press is seen when the sleep ends";
}

// A scroll moves the picture from where it was shown to the step's position in proportion to the
// time, scrolls the window by each frame's change, and ends exactly there.
TEST_F(PerformSequenceTest, ScrollsMoveInProportionToTheTime) {
  MakeArchives();
  int worst = 0, frames = 0;
  stage.onUpdate = [&] {
    ++frames;
    int32_t t = Elapsed();
    int32_t y = (1200 - t) * -1440 / 1200;
    uint32_t top = Pixel(5, 0);
    ASSERT_TRUE(SEQ_ART_IS_ROW_COLOUR(top)) << std::hex << top;
    worst = std::max(worst, std::abs(SEQ_ART_ROW_OF(top) + y));
  };
  const SequenceStep steps[] = {named(SEQ_LOAD, "bg6450.bmp", 3), step(SEQ_SHOW, 3, 0, -1440, 0),
                                step(SEQ_SCROLL, 3, 0, 0, 1200), step(SEQ_SCROLL, 3, 0, -100, 0)};
  EXPECT_FALSE(Play(steps));
  EXPECT_EQ(frames, 36);
  EXPECT_EQ(worst, 0);
  int32_t moved = 0;
  for (const POINT& delta : stage.scrolled) {
    EXPECT_EQ(delta.x, 0);
    EXPECT_GT(delta.y, 0) << "the picture moves down";
    moved += delta.y;
  }
  EXPECT_EQ(moved, 1440 - 1440 * (1200 - 36 * 33) / 1200) << "the frames' changes add up to the last frame";
  EXPECT_EQ(stage.scrolled.size(), 36u) << "a scroll of no duration moves the window by nothing";
  EXPECT_EQ(SEQ_ART_ROW_OF(Pixel(5, 0)), 100) << "the second scroll starts where the first ended";
  EXPECT_EQ(host.stops, 36);
  EXPECT_EQ(host.restarts, 36);
}

// The tone moves from the first to the last value in proportion to the time and ends at the last.
TEST_F(PerformSequenceTest, ToneFadesEndAtTheLastTone) {
  MakeArchives();
  const uint32_t colour = SEQ_ART_COLOUR(6460);
  int worst = 0, frames = 0;
  stage.onUpdate = [&] {
    ++frames;
    int32_t t = Elapsed();
    int32_t tone = (600 - t) * -256 / 600;
    uint32_t shown = Shown(100, 100);
    for (int shift : {0, 8, 16})
      worst = std::max(worst, std::abs(channel(shown, shift) - channel(colour, shift) * (256 + tone) / 256));
  };
  const SequenceStep steps[] = {named(SEQ_LOAD, "bg6460.bmp", 0), step(SEQ_SHOW, 0), step(SEQ_TONE, -256, 0, 600)};
  target.SetPaletteTone(-256, -256, -256);
  EXPECT_FALSE(Play(steps));
  EXPECT_EQ(frames, 18);
  EXPECT_LE(worst, 1);
  EXPECT_EQ(Shown(100, 100), colour);
}

// The whole opening: its pictures fade, compose and scroll, the composition shows each small
// picture in turn (the sixth slot read twice shows only its second picture), and the sequence
// ends on the scrolled picture at rest, with the tone at -256.
TEST_F(PerformSequenceTest, TheOpeningRunsToItsEndOnTheClock) {
  MakeArchives();
  std::vector<uint32_t> composed;
  stage.onSleep = [&] {
    uint32_t inside = Pixel(266 + 100, 50 + 49 + 100);
    if (composed.empty() || composed.back() != inside) composed.push_back(inside);
  };
  EXPECT_FALSE(Play(openingSteps()));
  EXPECT_GE(Elapsed(), 55000);
  EXPECT_LT(Elapsed(), 55000 + 12 * SequencePlayer::kFrameMs);
  for (int number : {6380, 6390, 6400, 6410, 6430}) {
    auto found = std::find(composed.begin(), composed.end(), SEQ_ART_COLOUR(number));
    EXPECT_NE(found, composed.end()) << number;
  }
  EXPECT_EQ(std::find(composed.begin(), composed.end(), SEQ_ART_COLOUR(6420)), composed.end());
  EXPECT_EQ(Pixel(5, 0), SEQ_ART_ROW_COLOUR(0));
  EXPECT_EQ(Pixel(5, 479), SEQ_ART_ROW_COLOUR(479));
  EXPECT_EQ(Shown(5, 479), 0u);
  EXPECT_EQ(host.HookCount(), 0u) << "the watch is gone";
}

// Without any archive, or with pictures missing, the steps go on: a missing picture shows as a
// blank screen, and the sequence takes its time as before.
TEST_F(PerformSequenceTest, MissingFilesLeaveBlanksAndTheSequenceGoesOn) {
  target.SetPaletteTone(0, 0, 0);
  std::memset(target.Pixels(), 0x7F, target.Header().biSizeImage);
  EXPECT_FALSE(Play(openingSteps()));
  EXPECT_EQ(Elapsed(), 24500 + 4 * 1518) << "the waits, and four tone fades that end at their first frame past 1500 ms";
  EXPECT_EQ(Pixel(320, 240), 0u);

  MakeArchives({"bg6470"});
  const SequenceStep steps[] = {named(SEQ_LOAD, "bg6460.bmp", 0), step(SEQ_SHOW, 0),
                                named(SEQ_LOAD, "bg6470.bmp", 0), step(SEQ_SHOW, 0, 0, 0, 500),
                                step(SEQ_SCROLL, 0, 10, 10, 500), step(SEQ_BLIT, 0, 1, 0, 0)};
  EXPECT_FALSE(Play(steps));
  EXPECT_EQ(Pixel(320, 240), 0u) << "the slot of the missing picture is not loaded";
  EXPECT_EQ(Elapsed(), 0) << "nothing fades or scrolls";
}

// The music source follows the sound configuration: wave music only where it was installed.
TEST_F(PerformSequenceTest, MusicComesFromTheConfiguredSource) {
  struct Case {
    int bgm, installed, selection;
  } cases[] = {{1, 1, 1}, {0, 1, 0}, {0, 0, 1}, {5, 0, 1}};
  for (const Case& c : cases) {
    ZPK_WriteProfileInt("Config", "BgmSelection", c.bgm);
    ZPK_WriteProfileInt("Installed", "WaveBGMFile", c.installed);
    EXPECT_EQ(EffectiveMusicSource(), c.selection) << c.bgm << " " << c.installed;
  }

  MakeArchives();
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  ASSERT_EQ(WaveMixer_Open(200, 20, 22050, 2, 16), 0u);
  uint32_t channels = 0;
  stage.onUpdate = [&] { channels = std::max(channels, theMixingService().ChannelCount()); };
  stage.PressAt(stage.now + 3000, kRButtonDown);
  EXPECT_TRUE(Play(endingSteps()));
  EXPECT_EQ(channels, 1u) << "the wave music plays";
  EXPECT_EQ(theMixingService().ChannelCount(), 0u) << "and ends with the sequence";

  channels = 0;
  const SequenceStep sound[] = {named(SEQ_LOAD, "bg6460.bmp", 0), named(SEQ_SOUND, "se990800.wav", 1, 0),
                                step(SEQ_SHOW, 0, 0, 0, 100)};
  EXPECT_FALSE(Play(sound));
  EXPECT_EQ(channels, 1u) << "the sound plays";
  EXPECT_EQ(theMixingService().ChannelCount(), 0u);
  WaveMixer_Close();

  ZPK_WriteProfileInt("Config", "BgmSelection", 1);
  VirtualMidiBackend midi;
  setMidiBackend(&midi);
  const SequenceStep music[] = {named(SEQ_MUSIC, "m11", 0, 1)};
  EXPECT_FALSE(Play(music));
  setMidiBackend(nullptr);
  auto opened = std::count_if(midi.records.begin(), midi.records.end(),
                              [](const MidiRecord& r) { return r.kind == MidiRecord::kOpen; });
  auto closed = std::count_if(midi.records.begin(), midi.records.end(),
                              [](const MidiRecord& r) { return r.kind == MidiRecord::kClose; });
  EXPECT_EQ(opened, 1) << "the MIDI song is played";
  EXPECT_EQ(closed, 1) << "and closed with the sequence";
}

}  // namespace
