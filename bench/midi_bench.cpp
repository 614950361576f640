// Conversion of a large multi-track MIDI file into stream blocks (MB/s of file), beside a copy
// of the same bytes (the bandwidth that bounds any parser), and how many times faster than the
// song plays the conversion runs: the song's length comes from playing it on the virtual device.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/generated_song.h"
#include "bench/ratio_reporter.h"
#include "sound/device/midi_virtual.h"
#include "sound/midi/midi_music.h"
#include "tests/files/memory_file.h"

namespace {

const std::string& largeSong() {
  static const std::string song = generatedSong(300, 10, 20);
  return song;
}

void convertSong(benchmark::State& state) {
  const std::string& bytes = largeSong();
  for (auto _ : state) {
    MemoryFile file(bytes);
    MidiBlockList song;
    if (ConvertMidiFile(&file, &song) != 0) state.SkipWithError("the song did not convert");
    benchmark::DoNotOptimize(song.blockCount);
    FreeMidiBlocks(&song);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(convertSong)->Unit(benchmark::kMillisecond);

// The peer: the file's bytes copied once, the least any reader of them does.
void copyBytes(benchmark::State& state) {
  const std::string& bytes = largeSong();
  std::vector<char> copy(bytes.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), bytes.data(), bytes.size());
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(copyBytes)->Unit(benchmark::kMillisecond);

// The song's length in seconds: played to its end on the virtual device.
double songSeconds() {
  VirtualMidiBackend device;
  setMidiBackend(&device);
  double seconds = 0;
  {
    CMIDIMusic music;
    MemoryFile file(largeSong());
    if (music.ReadFile(&file) == 0 && music.Play(false) == 0) {
      device.advance(1e12);
      for (const MidiRecord& record : device.records)
        if (record.kind == MidiRecord::kEvent) seconds = record.microseconds / 1e6;
    }
  }
  setMidiBackend(nullptr);
  return seconds;
}

}  // namespace

int main(int argc, char** argv) {
  return runBenchmarksWithRatios(argc, argv, "MIDI file conversion", [](RatioReporter& reporter) {
    double megabytes = largeSong().size() / 1e6;
    double song = songSeconds();
    double convert = reporter.time["convertSong"] / 1e3;  // the time unit is milliseconds
    std::printf("file %.1f MB, 16 tracks; the song lasts %.0f s\n", megabytes, song);
    std::printf("%-52s %6.0f MB/s\n", "conversion speed", megabytes / convert);
    std::printf("%-52s %6.0f\n", "song length / conversion time", song / convert);
    reporter.ratio("copy time / conversion time", "convertSong", "copyBytes");
  });
}
