// The "synth" MIDI backend on the null wave device, whose clock the tests move by hand: blocks
// come back in order, flagged events call back at their sample, a stop hands every block back
// and silences, a pause holds the stream's clock, and the song player's volume and loop reach
// the voices. Each runs through the mixer and on a device of the channel's own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <vector>

#include "base/os/os.h"
#include "sound/device/midi_synth.h"
#include "sound/device/wave_out.h"
#include "sound/midi/midi_music.h"
#include "sound/mixer/mixing_service.h"
#include "tests/files/memory_file.h"
#include "tests/sound/midi/midi_bytes.h"
#include "tests/sound/synth/soundfont_bytes.h"
#include "tests/temp_dir.h"
#include "tests/test_support.h"

namespace {

constexpr uint32_t kRate = 44100;
constexpr uint32_t kDivision = 500;     // at the default tempo a tick is a millisecond
constexpr double kFramesPerTick = 44.1;
constexpr int16_t kSoundLevel = 300;    // a sample above this sounds

// The sine soundfont, found through RUNA1_SOUNDFONT; the null device in both builds.
const bool kEnvironment = [] {
  static TempDir folder;
  runa1_test::setEnvironment("RUNA1_AUDIO", "null");
  runa1_test::setEnvironment("RUNA1_SOUNDFONT", folder.write("sine.sf2", sineSoundFont()).c_str());
  return true;
}();

uint32_t noteOn(uint8_t key) { return message(0x90, key, 127); }
uint32_t noteOff(uint8_t key) { return message(0x80, key, 0); }

// A block of stream events: delta, stream id, event word each.
struct Block {
  std::vector<uint32_t> words;
  MIDIHDR header{};

  Block& event(uint32_t delta, uint32_t word) {
    words.insert(words.end(), {delta, 0, word});
    return *this;
  }
  MIDIHDR* prepared(MidiStream* stream) {
    header = MIDIHDR{};
    header.lpData = reinterpret_cast<char*>(words.data());
    header.dwBufferLength = header.dwBytesRecorded = static_cast<DWORD>(words.size() * 4);
    EXPECT_EQ(stream->prepareHeader(&header), MMSYSERR_NOERROR);
    return &header;
  }
};

struct Notice {
  uint32_t message;
  const MIDIHDR* header;
  uint32_t offset;
  bool operator==(const Notice&) const = default;
};

class SynthStreamTest : public ::testing::TestWithParam<bool> {
 protected:
  static void SetUpTestSuite() { takeOverNullAudioClock(); }

  void SetUp() override {
    listenToNullAudio(&SynthStreamTest::listen, this);
    if (GetParam()) {
      ASSERT_EQ(mixer.Open(200, 10, kRate, 2, 16), 0u);
    }
    {
      std::lock_guard<std::mutex> hold(lock);
      devices.clear();  // the mixer's probe of its device
      heard.clear();
    }
  }

  void TearDown() override {
    if (stream) stream->close();
    mixer.Close();
    listenToNullAudio(nullptr, nullptr);
  }

  void open() {
    ASSERT_EQ(synthMidiBackend().open(&stream, &SynthStreamTest::onNotice, this), MMSYSERR_NOERROR);
    stream->setTimeDivision(kDivision);
  }

  static void onNotice(MidiStream*, uint32_t message, void* instance, uintptr_t param) {
    auto* self = static_cast<SynthStreamTest*>(instance);
    auto* header = reinterpret_cast<MIDIHDR*>(param);
    {
      std::lock_guard<std::mutex> hold(self->lock);
      self->notices.push_back({message, header, message == MOM_POSITIONCB ? header->dwOffset : 0});
    }
    if (message == MOM_POSITIONCB && self->onPosition) self->onPosition();
  }

  // The left side of each device that played after the set-up, in order of first sound.
  static void listen(HWAVEOUT device, const uint8_t* bytes, uint32_t count, void* context) {
    auto* self = static_cast<SynthStreamTest*>(context);
    std::lock_guard<std::mutex> hold(self->lock);
    auto it = std::find(self->devices.begin(), self->devices.end(), device);
    if (it == self->devices.end()) {
      self->devices.push_back(device);
      self->heard.emplace_back();
      it = self->devices.end() - 1;
    }
    std::vector<int16_t>& left = self->heard[static_cast<size_t>(it - self->devices.begin())];
    for (uint32_t at = 0; at + 4 <= count; at += 4) left.push_back(static_cast<int16_t>(bytes[at] | bytes[at + 1] << 8));
  }

  void play(uint32_t milliseconds) {
    for (uint32_t i = 0; i < milliseconds; ++i) {
      advanceNullAudioClock(1);
      mixer.Synchronize();
    }
  }

  std::vector<int16_t> output(size_t device = 0) {
    std::lock_guard<std::mutex> hold(lock);
    return device < heard.size() ? heard[device] : std::vector<int16_t>{};
  }
  size_t deviceCount() {
    std::lock_guard<std::mutex> hold(lock);
    return heard.size();
  }
  std::vector<Notice> received() {
    std::lock_guard<std::mutex> hold(lock);
    return notices;
  }

  static size_t onset(const std::vector<int16_t>& samples, size_t from = 0) {
    for (size_t i = from; i < samples.size(); ++i)
      if (std::abs(samples[i]) > kSoundLevel) return i;
    return samples.size();
  }
  static int peak(const std::vector<int16_t>& samples, size_t from, size_t to) {
    int most = 0;
    for (size_t i = from; i < std::min(to, samples.size()); ++i) most = std::max(most, std::abs(int{samples[i]}));
    return most;
  }

  KSoundMixingService& mixer = theMixingService();
  MidiStream* stream = nullptr;
  std::function<void()> onPosition;
  std::mutex lock;
  std::vector<HWAVEOUT> devices;
  std::vector<std::vector<int16_t>> heard;
  std::vector<Notice> notices;
};

TEST_P(SynthStreamTest, FlaggedEventsCallBackAtTheirSampleAndBlocksComeBackInOrder) {
  open();
  Block first, second;
  first.event(0, kMidiEventNop | kMidiEventCallback).event(10, noteOn(69)).event(100, noteOff(69));
  // The second block's flagged event is at tick 210; its callback strikes the note again there.
  second.event(40, kMidiEventNop).event(60, kMidiEventNop | kMidiEventCallback).event(20, kMidiEventNop);
  onPosition = [&] {
    if (received().size() == 3) stream->shortMessage(noteOn(69));
  };
  ASSERT_EQ(stream->out(first.prepared(stream)), MMSYSERR_NOERROR);
  ASSERT_EQ(stream->out(second.prepared(stream)), MMSYSERR_NOERROR);
  EXPECT_EQ(stream->out(&first.header), static_cast<uint32_t>(MIDIERR_STILLPLAYING));
  stream->restart();
  play(900);

  std::vector<Notice> expected = {{MOM_POSITIONCB, &first.header, 0},
                                  {MOM_DONE, &first.header, 0},
                                  {MOM_POSITIONCB, &second.header, 12},
                                  {MOM_DONE, &second.header, 0}};
  EXPECT_EQ(received(), expected);
  for (const MIDIHDR* header : {&first.header, &second.header})
    EXPECT_EQ(header->dwFlags & (MHDR_DONE | MHDR_INQUEUE), MHDR_DONE);

  std::vector<int16_t> out = output();
  size_t struck = onset(out);
  ASSERT_LT(struck, out.size()) << "the note sounds";
  size_t again = onset(out, struck + static_cast<size_t>(110 * kFramesPerTick));
  ASSERT_LT(again, out.size()) << "the callback's note sounds";
  // Both notes start the same way, so their onsets lie as far apart as their events.
  EXPECT_NEAR(static_cast<double>(again - struck), 200 * kFramesPerTick, 2);
  EXPECT_EQ(peak(out, struck + static_cast<size_t>(105 * kFramesPerTick), again - 20), 0) << "silent after the note off";
}

TEST_P(SynthStreamTest, AStopHandsEveryBlockBackInOrderAndSilences) {
  open();
  Block a, b, c;
  a.event(0, noteOn(69)).event(1000, kMidiEventNop);
  b.event(1000, kMidiEventNop);
  c.event(1000, kMidiEventNop);
  for (Block* block : {&a, &b, &c}) ASSERT_EQ(stream->out(block->prepared(stream)), MMSYSERR_NOERROR);
  stream->restart();
  play(500);
  EXPECT_TRUE(received().empty());
  EXPECT_GT(peak(output(), 0, output().size()), 1000) << "the note sounds before the stop";

  ASSERT_EQ(stream->stop(), MMSYSERR_NOERROR);
  std::vector<Notice> expected = {{MOM_DONE, &a.header, 0}, {MOM_DONE, &b.header, 0}, {MOM_DONE, &c.header, 0}};
  EXPECT_EQ(received(), expected);
  for (Block* block : {&a, &b, &c}) {
    EXPECT_EQ(block->header.dwFlags & (MHDR_DONE | MHDR_INQUEUE), MHDR_DONE);
    EXPECT_EQ(stream->unprepareHeader(&block->header), MMSYSERR_NOERROR);
  }
  size_t stoppedAt = output().size();
  play(800);
  std::vector<int16_t> out = output();
  // What was mixed ahead before the stop may still play; then nothing.
  EXPECT_EQ(peak(out, stoppedAt + kRate / 2, out.size()), 0);
  ASSERT_GT(out.size(), stoppedAt + kRate / 2 + kRate / 10);
}

TEST_P(SynthStreamTest, APauseHoldsTheStreamsClockAndARestartGoesOn) {
  open();
  Block block;
  block.event(0, noteOn(69)).event(300, kMidiEventNop | kMidiEventCallback).event(0, noteOff(69));
  ASSERT_EQ(stream->out(block.prepared(stream)), MMSYSERR_NOERROR);
  stream->restart();
  play(100);
  stream->pause();
  play(1000);
  EXPECT_TRUE(received().empty()) << "the flagged event waits for the restart";
  std::vector<int16_t> paused = output();
  EXPECT_EQ(peak(paused, paused.size() - kRate / 2, paused.size()), 0) << "silent while paused";
  stream->restart();
  play(900);
  std::vector<Notice> expected = {{MOM_POSITIONCB, &block.header, 12}, {MOM_DONE, &block.header, 0}};
  EXPECT_EQ(received(), expected);
  std::vector<int16_t> out = output();
  size_t resumed = onset(out, paused.size());
  ASSERT_LT(resumed, out.size()) << "the note sounds on after the restart";
  // The note sounds for its 300 ms of the stream's time, split by the pause.
  size_t sounding = 0;
  for (size_t i = onset(out); i < out.size(); ++i) sounding += out[i] != 0;
  EXPECT_NEAR(static_cast<double>(sounding), 300 * kFramesPerTick, 0.02 * kRate);
}

TEST_P(SynthStreamTest, TheSongPlayersVolumeAndLoopReachTheVoices) {
  // Half a second: a note of 480 ms, looped by the player; the backend comes from the list.
  TrackBytes track;
  track.at(0, {0xB0, 7, 100}).at(0, {0x90, 69, 127}).at(480, {0x80, 69, 0}).end(20);
  MemoryFile file(midiFile(0, {track}, kDivision));
  CMIDIMusic music;
  ASSERT_EQ(music.ReadFile(&file), 0u);
  ASSERT_EQ(music.Play(true), 0u);
  play(1600);
  EXPECT_TRUE(music.IsPlaying()) << "a looped song plays on";
  std::vector<int16_t> before = output();
  size_t start = onset(before);
  ASSERT_LT(start, before.size());
  for (size_t loop = 1; loop <= 2; ++loop)
    EXPECT_GT(peak(before, start + loop * kRate / 2, start + loop * kRate / 2 + kRate / 10), 1000) << "loop " << loop;
  int full = peak(before, start, start + kRate);

  music.SetMasterVolume(0x8000);
  play(1500);
  std::vector<int16_t> after = output();
  // The channel's volume of 100 goes out as 50: a quarter of the level, by the volume's square law.
  EXPECT_NEAR(peak(after, after.size() - kRate, after.size()) / static_cast<double>(full), 0.25, 0.03);

  music.StopAndClose();
  EXPECT_FALSE(music.IsPlaying());
  size_t stoppedAt = output().size();
  play(800);
  std::vector<int16_t> out = output();
  EXPECT_EQ(peak(out, stoppedAt + kRate / 2, out.size()), 0);
}

// The music goes on when the game closes the mixer, which closes its channels: on a device of
// its own, once the notice thread has seen it (it looks every 100 ms). Music that started on a
// device of its own stays there when the game opens the mixer, as every sound does.
TEST_P(SynthStreamTest, TheMusicGoesOnWhenTheGameOpensOrClosesTheMixer) {
  open();
  Block block;
  block.event(0, noteOn(69)).event(5000, kMidiEventNop);
  ASSERT_EQ(stream->out(block.prepared(stream)), MMSYSERR_NOERROR);
  stream->restart();
  play(300);
  if (GetParam()) {
    mixer.Close();
  } else {
    ASSERT_EQ(mixer.Open(200, 10, kRate, 2, 16), 0u);
  }
  os::sleep(400);
  play(600);
  // Mixed: the mixer's device, then the channel's own. Else the channel's own, then the mixer's.
  size_t count = deviceCount();
  ASSERT_GE(count, 2u);
  std::vector<int16_t> music = output(GetParam() ? count - 1 : 0);
  ASSERT_GT(music.size(), kRate / 5);
  EXPECT_GT(peak(music, music.size() - kRate / 5, music.size()), 1000) << "the note sounds on";
  EXPECT_TRUE(received().empty());
}

INSTANTIATE_TEST_SUITE_P(MixedAndOwnDevice, SynthStreamTest, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "Mixed" : "OwnDevice"; });

// Where soundfonts are looked for: the variable's, then the game's own (by name), then the system's.
TEST(SynthSoundFontTest, CandidatesComeInTheirOrder) {
  TempDir game;
  game.write("b.sf2", "");
  game.write("A.SF2", "");
  game.write("notes.txt", "");
  setMidiSoundFontFolder(game.path().string());
  std::vector<std::string> found = soundFontCandidates();
  setMidiSoundFontFolder("");
  ASSERT_GE(found.size(), 5u);
  EXPECT_EQ(found[0], std::getenv("RUNA1_SOUNDFONT"));
  EXPECT_EQ(found[1], game.file("A.SF2"));
  EXPECT_EQ(found[2], game.file("b.sf2"));
  EXPECT_EQ(found.back().substr(0, 22), "/usr/share/sounds/sf2/");
}

// The first soundfont that loads wins; broken and missing ones are passed over, and without any
// there is none (and no music).
TEST(SynthSoundFontTest, TheFirstThatLoadsIsTaken) {
  TempDir folder;
  std::string missing = folder.file("missing.sf2");
  std::string broken = folder.write("broken.sf2", sineSoundFont().substr(0, 100));
  std::string sine = folder.write("sine.sf2", sineSoundFont());
  std::unique_ptr<SoundFont> font = loadFirstSoundFont({missing, broken, sine});
  ASSERT_NE(font, nullptr);
  ASSERT_EQ(font->samples().size(), 1u);
  EXPECT_EQ(font->samples()[0].name, "sine");
  EXPECT_EQ(loadFirstSoundFont({missing, broken}), nullptr);
  EXPECT_EQ(loadFirstSoundFont({}), nullptr);
}

}  // namespace
