// The synthesiser rendering a 40-second, 16-track MIDI file offline with the Debian GM soundfont,
// beside FluidSynth's fast render of the same file with the same soundfont (`fluidsynth -F`, run
// as a program, with its default reverb and chorus and without them), soundfont loading included
// on both sides; wall time, since the peer is another process. Then how many voices one core
// holds in real time: sustained string notes rendered for a second of sound.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/generated_song.h"
#include "sound/synth/synth_renderer.h"
#include "tests/files/memory_file.h"

namespace {

constexpr const char* kSoundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";
constexpr uint32_t kRate = 44100;

const std::string& song() {
  static const std::string bytes = generatedSong(20, 120, 360);
  return bytes;
}

const std::string& songPath() {
  static const std::string path = [] {
    std::string file = (std::filesystem::temp_directory_path() / "runa1-synth-bench.mid").string();
    std::ofstream(file, std::ios::binary) << song();
    return file;
  }();
  return path;
}

void ourRender(benchmark::State& state) {
  size_t frames = 0;
  for (auto _ : state) {
    SoundFont font;
    std::string error;
    if (!font.loadFile(kSoundFont, &error)) state.SkipWithError(error.c_str());
    CMIDIMusic music;
    MemoryFile file(song());
    music.ReadFile(&file);
    std::vector<float> mix = renderMidiSong(music, font, kRate);
    frames = mix.size() / 2;
    benchmark::DoNotOptimize(mix.data());
  }
  state.counters["sound_s"] = static_cast<double>(frames) / kRate;
}
BENCHMARK(ourRender)->Unit(benchmark::kMillisecond)->UseRealTime();

void fluidsynth(benchmark::State& state, const char* options) {
  std::string output = (std::filesystem::temp_directory_path() / "runa1-synth-bench.wav").string();
  std::string command = std::string("fluidsynth -ni -q ") + options + " -r 44100 -F " + output + " " + kSoundFont +
                        " " + songPath() + " >/dev/null 2>&1";
  for (auto _ : state)
    if (std::system(command.c_str()) != 0) state.SkipWithError("fluidsynth failed");
  state.counters["sound_s"] = static_cast<double>(std::filesystem::file_size(output) - 44) / 4 / kRate;
}
BENCHMARK_CAPTURE(fluidsynth, defaults, "")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(fluidsynth, noEffects, "-R 0 -C 0")->Unit(benchmark::kMillisecond)->UseRealTime();

// 128 string notes held on eight channels, a second of sound per iteration.
void heldVoices(benchmark::State& state) {
  static SoundFont font;
  std::string error;
  if (font.presets().empty() && !font.loadFile(kSoundFont, &error)) state.SkipWithError(error.c_str());
  Synthesizer synth(font, kRate);
  for (uint32_t channel = 0; channel < 8; ++channel) {
    synth.message(0xC0 | channel | 48 << 8);
    for (uint32_t key = 0; key < 16; ++key) synth.message(0x90 | channel | (40 + key * 3 + channel % 3) << 8 | 100 << 16);
  }
  std::vector<float> out(2 * kRate);
  for (auto _ : state) {
    std::fill(out.begin(), out.end(), 0.0f);
    synth.render(out.data(), kRate);
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["voices"] = synth.activeVoices();
}
BENCHMARK(heldVoices)->Unit(benchmark::kMillisecond);

// Remembers each benchmark's best real and CPU time and its counters.
class Reporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> realTime, cpuTime, voices, sound;
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      std::string name = run.benchmark_name();
      double real = run.GetAdjustedRealTime(), cpu = run.GetAdjustedCPUTime();
      realTime[name] = realTime.count(name) ? std::min(realTime[name], real) : real;
      cpuTime[name] = cpuTime.count(name) ? std::min(cpuTime[name], cpu) : cpu;
      if (run.counters.count("voices")) voices[name] = run.counters.at("voices");
      if (run.counters.count("sound_s")) sound[name] = run.counters.at("sound_s");
    }
    ConsoleReporter::ReportRuns(runs);
  }
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // FluidSynth renders its voices' releases further than we do: the ratio of the times is given
  // as it stands and per second of sound written.
  std::printf("\nOffline rendering, FluidSynth's wall time over ours (goal 1.0: at least as fast)\n");
  const std::string ours = "ourRender/real_time";
  for (const std::string peer : {"fluidsynth/defaults/real_time", "fluidsynth/noEffects/real_time"}) {
    if (!reporter.realTime.count(peer) || !reporter.realTime.count(ours)) continue;
    double ratio = reporter.realTime[peer] / reporter.realTime[ours];
    double perSound = ratio * reporter.sound[ours] / reporter.sound[peer];
    std::printf("%-40s %6.2f  (%s), per second of sound %.2f\n", peer.c_str(), ratio, ratio >= 1 ? "met" : "missed",
                perSound);
  }
  if (reporter.cpuTime.count("heldVoices") && reporter.voices.count("heldVoices")) {
    double seconds = reporter.cpuTime["heldVoices"] / 1e3;  // per second of sound
    std::printf("%-52s %6.0f\n", "voices held in real time on one core",
                reporter.voices["heldVoices"] / seconds);
  }
  benchmark::Shutdown();
  return 0;
}
