// Conversion of a large multi-track MIDI file into stream blocks (MB/s of file), beside a copy
// of the same bytes (the bandwidth that bounds any parser), and how many times faster than the
// song plays the conversion runs: the song's length comes from playing it on the virtual device.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "sound/device/midi_virtual.h"
#include "sound/midi/midi_music.h"
#include "tests/files/memory_file.h"
#include "tests/sound/midi/midi_bytes.h"

namespace {

// About 8 MB: a conductor track with tempo changes on note times, and 15 instrument tracks of
// notes in running status, pitch bends, expression and volume controllers, program changes.
const std::string& largeSong() {
  static const std::string song = [] {
    std::vector<TrackBytes> tracks(16);
    uint32_t seed = 12345;
    auto next = [&seed] { return (seed = seed * 1103515245 + 12345) >> 16; };
    for (int bar = 0; bar < 300; ++bar) {
      tracks[0].at(bar ? 1920 : 0, {0x90, 0, 1}).at(0, {0xFF, 0x51, 0x03, 0x07, static_cast<uint8_t>(next()), 0x20});
      for (uint8_t channel = 1; channel < 16; ++channel) {
        TrackBytes& track = tracks[channel];
        uint32_t left = 1920;
        track.at(0, {static_cast<uint8_t>(0xB0 | channel), 0x07, static_cast<uint8_t>(60 + next() % 60)});
        if (bar % 8 == 0) track.at(0, {static_cast<uint8_t>(0xC0 | channel), static_cast<uint8_t>(next() % 128)});
        while (left > 0) {
          uint32_t step = std::min<uint32_t>(left, 10 + next() % 20);
          uint8_t key = static_cast<uint8_t>(36 + next() % 60);
          track.at(0, {static_cast<uint8_t>(0x90 | channel), key, 100}).at(step, {key, 0});
          track.at(0, {static_cast<uint8_t>(0xE0 | channel), static_cast<uint8_t>(next() % 128), 64});
          track.at(0, {static_cast<uint8_t>(0xB0 | channel), 0x0B, static_cast<uint8_t>(next() % 128)});
          left -= step;
        }
      }
    }
    for (TrackBytes& track : tracks) track.end();
    return midiFile(1, tracks, 480);
  }();
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
