// The mixing service on the null device, whose clock the tests move by hand one millisecond at
// a time, letting the mixing thread handle each millisecond's notices and ticks before the
// next: every run is the same. What the device played is heard through its listener.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "base/alloc.h"
#include "base/error.h"
#include "files/file_obj.h"
#include "sound/device/wave_out.h"
#include "sound/mixer/pcm_sound.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/mix_kernels.h"
#include "tests/test_support.h"

namespace {

constexpr uint32_t kRate = 8000;  // a millisecond is 8 frames

// The null device in both builds, chosen before the mixer of the process is made.
const bool kNullAudio = [] {
  runa1_test::setEnvironment("RUNA1_AUDIO", "null");
  return true;
}();

// What the devices played, 16-bit mono, per device in order of first sound.
struct Heard {
  std::mutex lock;
  std::vector<std::pair<HWAVEOUT, std::vector<int16_t>>> devices;
  static void listen(HWAVEOUT device, const uint8_t* bytes, uint32_t count, void* context) {
    auto* heard = static_cast<Heard*>(context);
    std::lock_guard<std::mutex> hold(heard->lock);
    auto it = std::find_if(heard->devices.begin(), heard->devices.end(), [&](auto& d) { return d.first == device; });
    if (it == heard->devices.end()) it = heard->devices.insert(heard->devices.end(), {device, {}});
    const auto* words = reinterpret_cast<const int16_t*>(bytes);
    it->second.insert(it->second.end(), words, words + count / 2);
  }
  size_t total() {
    std::lock_guard<std::mutex> hold(lock);
    size_t sum = 0;
    for (auto& d : devices) sum += d.second.size();
    return sum;
  }
  std::vector<int16_t> of(size_t index) {
    std::lock_guard<std::mutex> hold(lock);
    return index < devices.size() ? devices[index].second : std::vector<int16_t>{};
  }
};

// A wave of `count` frames of 16-bit mono whose frame i holds first + i.
struct Ramp {
  KPCMSound sound;
  Ramp(uint32_t count, int16_t first = 1, uint32_t rate = kRate) {
    // The copy reads only memory it can tell is readable: the library's blocks, natively.
    auto* f = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 0));
    *f = pcmFormat(1, 16, rate);
    auto* data = static_cast<int16_t*>(vkAlloc(count * 2, 0));
    for (uint32_t i = 0; i < count; ++i) data[i] = static_cast<int16_t>(first + static_cast<int32_t>(i));
    EXPECT_EQ(sound.SetWaveData(f, data, count * 2), 0u);
    vkFree(data);
    vkFree(f);
  }
};

// A sound whose notices the test scripts.
class ScriptedChannel : public KSoundChannel {
 public:
  std::vector<std::pair<char, uint32_t>> notices;
  std::function<void(uint32_t)> onPlayed, onDone;
  void OnSourcePlayed(uint32_t user) override {
    notices.push_back({'p', user});
    if (onPlayed) onPlayed(user);
  }
  void OnSourceDone(void*, uint32_t, uint32_t user) override {
    notices.push_back({'d', user});
    if (onDone) onDone(user);
  }
};

class MixerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { takeOverNullAudioClock(); }
  void SetUp() override { listenToNullAudio(Heard::listen, &heard); }
  void TearDown() override {
    mixer.Close();
    listenToNullAudio(nullptr, nullptr);
  }
  // Opens 16-bit mono at 8 kHz with buffers of 500 ms: 4096 frames, a unit of 1024.
  void open() {
    ASSERT_EQ(mixer.Open(500, 10, kRate, 1, 16), 0u);
    std::lock_guard<std::mutex> hold(heard.lock);
    heard.devices.clear();  // the granularity probe's silence
  }
  void play(uint32_t milliseconds) {
    for (uint32_t i = 0; i < milliseconds; ++i) {
      advanceNullAudioClock(1);
      mixer.Synchronize();
    }
  }
  std::vector<int16_t> mix() { return heard.of(0); }
  // Index of the first frame that is not silent, or the size.
  static size_t firstSound(const std::vector<int16_t>& samples, size_t from = 0) {
    while (from < samples.size() && samples[from] == 0) ++from;
    return from;
  }

  KSoundMixingService& mixer = theMixingService();
  Heard heard;
};

TEST_F(MixerTest, OpenRoundsTheBufferToTheDeviceUnitAndKeepsTheUnitAtAQuarter) {
  open();
  EXPECT_EQ(mixer.BufferSamples(), 4096u) << "500 ms is 4000 frames, rounded up to the measured 4096";
  EXPECT_EQ(mixer.Granularity(), 1024u);
  EXPECT_EQ(mixer.Open(500, 10, kRate, 3, 16), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Invalid channel number was specified.");
  EXPECT_FALSE(mixer.IsOpen()) << "a refused open has closed the service";
  EXPECT_EQ(mixer.Open(500, 10, kRate, 1, 12), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Invalid sampling bit count was specified.");
  EXPECT_EQ(mixer.Open(500, 10, 0, 1, 16), VK_ERROR_SOUND) << "the device refuses a rate of 0";
  EXPECT_STREQ(vkGetErrorRecord()->message, "Failed open wave device.");
}

TEST_F(MixerTest, ASoundOnAnIdleChannelStartsAtTheSafePositionAndPlaysWhole) {
  open();
  Ramp ramp(3000);
  play(100);  // the device is at frame 800: the safe position is 800 + 1536 down to a unit, 2048
  os::EventHandle done = os::createEvent(true, false);
  ASSERT_EQ(ramp.sound.PlayWave(0, done), 0u);
  play(600);  // to frame 5600: the end (frame 5048) has passed, but no pass of the mix saw it yet
  EXPECT_FALSE(os::waitEvent(done, 0));
  play(200);
  std::vector<int16_t> heard = mix();
  ASSERT_GE(heard.size(), 5048u + 100);
  EXPECT_EQ(firstSound(heard), 2048u);
  for (uint32_t i = 0; i < 3000; ++i) ASSERT_EQ(heard[2048 + i], static_cast<int16_t>(i + 1)) << i;
  EXPECT_EQ(firstSound(heard, 5048), heard.size()) << "silence after the end";
  EXPECT_TRUE(os::waitEvent(done, 0))
      << "the end is signalled on the second pass of the mix after it, each a unit of the position later";
  EXPECT_EQ(ramp.sound.IsPlaying(), 1u) << "a channel whose data ran out still counts as playing";
  os::closeEvent(done);
}

TEST_F(MixerTest, ALoopingSoundQueuesItsNextBlockInsideTheReadWithoutAGap) {
  open();
  Ramp ramp(700);
  os::EventHandle done = os::createEvent(true, false);
  ASSERT_EQ(ramp.sound.PlayWave(1, done), 0u);
  play(1500);
  std::vector<int16_t> heard = mix();
  size_t start = firstSound(heard);
  ASSERT_LT(start + 5 * 700, heard.size());
  for (uint32_t i = 0; i < 5 * 700; ++i) ASSERT_EQ(heard[start + i], static_cast<int16_t>(i % 700 + 1)) << i;
  EXPECT_FALSE(os::waitEvent(done, 0)) << "a looping sound never signals its end";
  os::closeEvent(done);
}

TEST_F(MixerTest, PauseTakesBackWhatWasMixedAndRestartPlaysItWithoutLossOrRepeat) {
  open();
  Ramp ramp(6000);
  ASSERT_EQ(ramp.sound.PlayWave(0, nullptr), 0u);
  play(300);
  ASSERT_EQ(ramp.sound.Pause(), 0u);
  EXPECT_EQ(ramp.sound.IsPaused(), 1u);
  size_t pausedAt = mix().size();
  play(400);
  ASSERT_EQ(ramp.sound.Restart(), 0u);
  play(900);
  std::vector<int16_t> heard = mix();
  // Everything before the safe position of the pause was heard once, the rest after the restart.
  std::vector<int16_t> sounding;
  for (int16_t s : heard)
    if (s != 0) sounding.push_back(s);
  ASSERT_EQ(sounding.size(), 6000u);
  for (uint32_t i = 0; i < 6000; ++i) ASSERT_EQ(sounding[i], static_cast<int16_t>(i + 1)) << i;
  size_t silenceStart = pausedAt;
  while (silenceStart < heard.size() && heard[silenceStart] != 0) ++silenceStart;
  EXPECT_LE(silenceStart, pausedAt + 2 * 1024) << "the pause is heard within the lead of the safe position";
  EXPECT_GT(firstSound(heard, silenceStart), silenceStart + 2000) << "nothing plays while paused";
}

TEST_F(MixerTest, StopTakesBackEverythingAheadOfTheDevice) {
  open();
  Ramp ramp(20000);
  ASSERT_EQ(ramp.sound.PlayWave(0, nullptr), 0u);
  play(400);
  size_t stoppedAt = mix().size();
  ASSERT_EQ(ramp.sound.Stop(), 0u);
  EXPECT_EQ(ramp.sound.IsPlaying(), 0u);
  play(1500);
  std::vector<int16_t> heard = mix();
  size_t end = stoppedAt;
  while (end < heard.size() && heard[end] != 0) ++end;
  EXPECT_LE(end, stoppedAt + 2 * 1024);
  EXPECT_EQ(firstSound(heard, end), heard.size()) << "nothing plays after a stop";
}

TEST_F(MixerTest, AVolumeChangeTakesEffectAtTheSafePosition) {
  open();
  Ramp ramp(8000, 1000);
  ASSERT_EQ(ramp.sound.PlayWave(0, nullptr), 0u);
  play(300);
  size_t changedAt = mix().size();
  ASSERT_EQ(ramp.sound.SetVolume(0.5f, 0.5f), 0u);
  play(1200);
  std::vector<int16_t> heard = mix();
  size_t start = firstSound(heard);
  // Up to the change every sample is whole, from it on every one is halved: what was mixed
  // ahead keeps the sample less its half shifted down (one pass takes half back), what is mixed
  // later is the sample shifted down.
  size_t halfFrom = start;
  while (halfFrom < start + 8000 && heard[halfFrom] == static_cast<int16_t>(1000 + (halfFrom - start))) ++halfFrom;
  for (size_t i = halfFrom; i < start + 8000; ++i) {
    int16_t full = static_cast<int16_t>(1000 + (i - start));
    ASSERT_TRUE(heard[i] == full - (full >> 1) || heard[i] == (full >> 1)) << i << ": " << heard[i];
  }
  EXPECT_GT(halfFrom, changedAt);
  EXPECT_LE(halfFrom, changedAt + 2 * 1024);
  EXPECT_EQ(halfFrom % 1024, 0u) << "the change lies on a unit of the device position";
  float left, right;
  ramp.sound.GetVolume(&left, &right);
  EXPECT_EQ(left, 0.5f);
}

TEST_F(MixerTest, ManySoundsMixWithSaturation) {
  open();
  std::vector<std::unique_ptr<Ramp>> ramps;
  for (int i = 0; i < 8; ++i) ramps.push_back(std::make_unique<Ramp>(2000, 5000));
  for (auto& r : ramps) ASSERT_EQ(r->sound.PlayWave(0, nullptr), 0u);
  EXPECT_EQ(mixer.ChannelCount(), 8u);
  play(800);
  std::vector<int16_t> heard = mix();
  size_t start = firstSound(heard);
  EXPECT_EQ(heard[start], 32767) << "eight times 5000 saturates";
}

TEST_F(MixerTest, ChannelPositionsNeverPassThePlayedBuffers) {
  open();
  Ramp ramp(30000);
  ASSERT_EQ(ramp.sound.PlayWave(0, nullptr), 0u);
  uint32_t last = 0;
  for (int step = 0; step < 150; ++step) {
    play(20);
    uint32_t position = ramp.sound.GetCurrentPosition();
    EXPECT_LE(position, mixer.PlayedSamples());
    EXPECT_GE(position, last);
    last = position;
  }
  EXPECT_GT(last, 0u);
}

TEST_F(MixerTest, ABlockWrittenInsideANoticeFollowsAndACloseInsideANoticeWaitsForItsEnd) {
  open();
  ScriptedChannel channel;
  WAVEFORMATEX f = pcmFormat(1, 16, kRate);
  ASSERT_EQ(channel.OpenOutput(&f), 0u);
  std::vector<int16_t> first(500, 100), second(500, 200);
  channel.onPlayed = [&](uint32_t user) {
    if (user == 1) channel.Write(second.data(), 1000, 2);
  };
  channel.onDone = [&](uint32_t user) {
    if (user == 2) {
      EXPECT_EQ(channel.CloseOutput(), 0u) << "a close inside a notice returns at once";
    }
  };
  ASSERT_EQ(channel.Write(first.data(), 1000, 1), 0u);
  play(1200);
  std::vector<int16_t> heard = mix();
  size_t start = firstSound(heard);
  for (size_t i = 0; i < 1000; ++i) ASSERT_EQ(heard[start + i], i < 500 ? 100 : 200) << i;
  EXPECT_EQ(channel.notices, (std::vector<std::pair<char, uint32_t>>{{'p', 1}, {'p', 2}, {'d', 1}, {'d', 2}}));
  EXPECT_EQ(mixer.ChannelCount(), 0u) << "the close ran when the notice had finished";
  EXPECT_EQ(channel.IsPlaying(), 0u);
}

TEST_F(MixerTest, ClosingTheServiceEndsEverySoundWithItsNotice) {
  open();
  // Short sounds: read whole into the mix, so their blocks wait for the device to pass them.
  Ramp once(3000), looped(3000);
  os::EventHandle onceDone = os::createEvent(true, false), loopedDone = os::createEvent(true, false);
  ASSERT_EQ(once.sound.PlayWave(0, onceDone), 0u);
  ASSERT_EQ(looped.sound.PlayWave(1, loopedDone), 0u);
  play(100);
  ASSERT_EQ(mixer.Close(), 0u);
  EXPECT_TRUE(os::waitEvent(onceDone, 0));
  EXPECT_FALSE(os::waitEvent(loopedDone, 0));
  EXPECT_EQ(once.sound.IsPlaying(), 0u) << "the sound has no channel any more";
  // Without the service, the next play gets a device of its own.
  size_t before = heard.total();
  ASSERT_EQ(once.sound.PlayWave(0, onceDone), 0u);
  play(10);
  EXPECT_EQ(heard.total() - before, 80u) << "the sound's own device plays at once";
  os::closeEvent(onceDone);
  os::closeEvent(loopedDone);
}

TEST_F(MixerTest, AnOwnDeviceChannelPlaysUnmixedAndSignalsItsEnd) {
  Ramp ramp(800, 1, 16000);
  os::EventHandle done = os::createEvent(true, false);
  ASSERT_EQ(ramp.sound.PlayWave(0, done), 0u);
  play(30);
  EXPECT_EQ(ramp.sound.GetCurrentPosition(), 480u);
  play(30);
  std::vector<int16_t> played = heard.of(0);
  ASSERT_EQ(played.size(), 800u);
  EXPECT_EQ(played[799], 800);
  EXPECT_TRUE(os::waitEvent(done, 0));
  ramp.sound.DeleteWave();
  os::closeEvent(done);
}

TEST_F(MixerTest, FormatsTheMixerCannotTakeAreRefused) {
  open();
  KPCMSound sound;
  auto* data = static_cast<uint8_t*>(vkAlloc(64, 1));
  auto* twelve = reinterpret_cast<WAVEFORMATEX*>(data);
  *twelve = pcmFormat(1, 16, kRate);
  twelve->wBitsPerSample = 12;
  ASSERT_EQ(sound.SetWaveData(twelve, data, 64), 0u);
  EXPECT_EQ(sound.PlayWave(0, nullptr), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Failed to open mixer channel.");
  EXPECT_EQ(mixer.ChannelCount(), 0u);
  EXPECT_EQ(sound.Stop(), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "The sound mixer channel isn't opened.");
  KMixingChannel* stranger = reinterpret_cast<KMixingChannel*>(data);
  EXPECT_EQ(mixer.CloseChannel(stranger), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Invalid wave mixer handle was specified.");
  vkFree(data);
}

TEST_F(MixerTest, PlayMusicPlaysToTheLoopPointThenLoopsTheRest) {
  open();
  Ramp ramp(1000);
  ASSERT_EQ(ramp.sound.PlayMusic(600, 1, nullptr), 0u);
  play(1200);
  std::vector<int16_t> heard = mix();
  size_t start = firstSound(heard);
  std::vector<int16_t> expected;
  for (int i = 1; i <= 1000; ++i) expected.push_back(static_cast<int16_t>(i));
  for (int round = 0; round < 3; ++round)
    for (int i = 601; i <= 1000; ++i) expected.push_back(static_cast<int16_t>(i));
  ASSERT_GE(heard.size(), start + expected.size());
  EXPECT_EQ(std::vector<int16_t>(heard.begin() + start, heard.begin() + start + expected.size()), expected);
  ramp.sound.Stop();
  play(500);
  size_t from = mix().size();
  Ramp once(1000, 3000);
  ASSERT_EQ(once.sound.PlayMusic(600, 0, nullptr), 0u);
  play(1000);
  heard = mix();
  size_t loud = std::count_if(heard.begin() + from, heard.end(), [](int16_t s) { return s >= 3000; });
  EXPECT_EQ(loud, 600u) << "not looped, only the part before the loop point plays";
}

TEST_F(MixerTest, ACompressedWaveIsDecodedWhileItIsMixed) {
  KRawFile file;
  ASSERT_EQ(file.Open(WAVE_SAMPLES "/ima_mono_22k.wav", FILE_READ), 0u);
  KPCMSound sound;
  ASSERT_EQ(sound.ReadWaveFile(&file), 0u);
  const WaveData& wave = sound.Wave();
  // The whole wave decoded at once, as the mixer must hear it.
  WAVEFORMATEX decoded = pcmFormat(1, 16, 22050);
  KACMStream stream;
  ASSERT_EQ(stream.Open(&decoded, wave.format), 0u);
  std::vector<int16_t> expected(stream.GetDestinationSize(wave.dataSize) / 2);
  uint32_t made = static_cast<uint32_t>(expected.size() * 2), used = wave.dataSize;
  ASSERT_EQ(stream.Convert(expected.data(), &made, wave.data, &used, acm::kConvertBlockAlign), 0u);
  ASSERT_EQ(mixer.Open(500, 10, 22050, 1, 16), 0u);
  {
    std::lock_guard<std::mutex> hold(heard.lock);
    heard.devices.clear();
  }
  ASSERT_EQ(sound.PlayWave(0, nullptr), 0u);
  play(1500);
  std::vector<int16_t> played = mix();
  size_t start = firstSound(played);
  ASSERT_GE(played.size(), start + expected.size());
  for (size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(played[start + i], expected[i]) << i;
}

}  // namespace
