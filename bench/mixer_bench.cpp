// The mixing service's cost: 64 looping sounds of 44.1 kHz 16-bit stereo mixed ahead into a
// 44.1 kHz 16-bit stereo mix, as the service does it on its thread, on the null device whose clock
// the benchmark moves by one second of sound per iteration. The CPU time of the whole process per
// iteration, with the hand-over of every tick to the thread, is the share of one core that a
// second of sound costs (goal: under 1 %). The peer is
// memcpy of the same sound data, the least that touching it costs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "base/alloc.h"
#include "base/library.h"
#include "bench/ratio_reporter.h"
#include "sound/device/wave_out.h"
#include "sound/mixer/pcm_sound.h"
#include "sound/wave/mix_kernels.h"

namespace {

constexpr uint32_t kChannels = 64;
constexpr uint32_t kRate = 44100;

// In a block of the library's, which the copy into a sound can always read.
WAVEFORMATEX* stereo16() {
  auto* f = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 1));
  *f = pcmFormat(2, 16, kRate);
  return f;
}

// One second of quiet noise per sound, so that 64 of them do not saturate.
std::vector<std::unique_ptr<KPCMSound>> makeSounds() {
  std::mt19937 random(1);
  WAVEFORMATEX* format = stereo16();
  auto* data = static_cast<int16_t*>(vkAlloc(kRate * 4, 0));
  std::vector<std::unique_ptr<KPCMSound>> sounds;
  for (uint32_t c = 0; c < kChannels; ++c) {
    for (uint32_t i = 0; i < kRate * 2; ++i) data[i] = static_cast<int16_t>(static_cast<int>(random() % 512) - 256);
    auto sound = std::make_unique<KPCMSound>();
    sound->SetWaveData(format, data, kRate * 4);
    sounds.push_back(std::move(sound));
  }
  vkFree(data);
  vkFree(format);
  return sounds;
}

void mixOneSecond(benchmark::State& state) {
  KSoundMixingService& mixer = theMixingService();
  if (mixer.Open(200, 10, kRate, 2, 16) != 0) {
    state.SkipWithError("the mixer did not open");
    return;
  }
  std::vector<std::unique_ptr<KPCMSound>> sounds = makeSounds();
  for (auto& sound : sounds)
    if (sound->PlayWave(1, nullptr) != 0) state.SkipWithError("a sound did not play");
  // What the device plays must be the mix, not silence.
  static uint64_t sounding;
  sounding = 0;
  listenToNullAudio(
      [](HWAVEOUT, const uint8_t* bytes, uint32_t count, void*) {
        for (uint32_t i = 0; i < count; ++i) sounding += bytes[i] != 0;
      },
      nullptr);
  // A tick of the timer at a time, each handled before the clock moves on, as a device in real
  // time would give the thread its turn; the hand-over costs are counted too.
  for (auto _ : state) {
    for (int tick = 0; tick < 100; ++tick) {
      advanceNullAudioClock(10);
      mixer.Synchronize();
    }
  }
  listenToNullAudio(nullptr, nullptr);
  state.counters["sounding bytes/s"] = benchmark::Counter(static_cast<double>(sounding) / state.iterations());
  sounds.clear();
  mixer.Close();
}
BENCHMARK(mixOneSecond)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

void copyOneSecond(benchmark::State& state) {
  std::vector<uint8_t> source(size_t{kChannels} * kRate * 4, 1), target(size_t{kChannels} * kRate * 4);
  for (auto _ : state) {
    std::memcpy(target.data(), source.data(), source.size());
    benchmark::DoNotOptimize(target.data());
  }
}
BENCHMARK(copyOneSecond)->MeasureProcessCPUTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // The null device, on a clock that only this benchmark moves.
  setenv("RUNA1_AUDIO", "null", 1);
  vkInitialize(VK_LIBRARY_VERSION);
  takeOverNullAudioClock();
  return runBenchmarksWithRatios(argc, argv, "Mixing 64 sounds of 44.1 kHz 16-bit stereo:", [](RatioReporter& r) {
    const char* ours = "mixOneSecond/process_time";
    const char* peer = "copyOneSecond/process_time";
    if (!r.time.count(ours)) return;
    // Adjusted times are in the benchmark's unit, milliseconds: per second of sound, that is
    // the share of a core in thousandths.
    double share = r.time[ours] / 1000.0;
    std::printf("%-52s %6.2f %%  (goal under 1 %%: %s)\n", "share of one core per second of sound", 100 * share,
                share < 0.01 ? "met" : "missed");
    r.ratio("memcpy of the sound data / mixing it", ours, peer);
  });
}
