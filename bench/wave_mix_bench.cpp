// The mix kernel beside its peers on the same buffers: WaveMix of one 44.1 kHz 16-bit stereo
// source into a mix buffer at unity gain, SDL's SDL_MixAudioFormat at its full volume (also
// unity), and memcpy of the same bytes. Also the rate and format conversion of 22.05 kHz mono
// 8-bit into 44.1 kHz stereo 16-bit, in frames per second. Prints the ratios after the table.
#include <SDL2/SDL.h>
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "bench/ratio_reporter.h"
#include "sound/wave/mix_kernels.h"

namespace {

constexpr uint32_t kFrames = 4096;  // about 93 ms: a mix buffer of the service

WAVEFORMATEX pcm(uint16_t channels, uint16_t bits, uint32_t rate) {
  WAVEFORMATEX f{};
  f.wFormatTag = WAVE_FORMAT_PCM;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = bits;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  return f;
}

struct Buffers {
  std::vector<int16_t> source, mix;
  Buffers() : source(2 * kFrames), mix(2 * kFrames) {
    std::mt19937 random(5);
    for (auto& s : source) s = static_cast<int16_t>(static_cast<int>(random() % 20000) - 10000);
    for (auto& s : mix) s = static_cast<int16_t>(static_cast<int>(random() % 20000) - 10000);
  }
  size_t bytes() const { return source.size() * 2; }
};

void finish(benchmark::State& state, size_t bytes) {
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
  state.counters["frames/s"] = benchmark::Counter(double(state.iterations()) * kFrames, benchmark::Counter::kIsRate);
}

void waveMix(benchmark::State& state, MixVariant variant) {
  if (!mixVariantAvailable(variant)) {
    state.SkipWithError("the processor lacks this variant");
    return;
  }
  Buffers b;
  WAVEFORMATEX f = pcm(2, 16, 44100);
  MixVariant saved = activeMixVariant();
  setActiveMixVariant(variant);
  for (auto _ : state) {
    WaveMix(&f, b.mix.data(), b.source.data(), nullptr, kFrames);
    benchmark::DoNotOptimize(b.mix.data());
  }
  setActiveMixVariant(saved);
  finish(state, b.bytes());
}
BENCHMARK_CAPTURE(waveMix, plain, MixVariant::Plain);
BENCHMARK_CAPTURE(waveMix, sse2, MixVariant::SSE2);
BENCHMARK_CAPTURE(waveMix, avx2, MixVariant::AVX2);

void sdlMix(benchmark::State& state) {
  Buffers b;
  for (auto _ : state) {
    SDL_MixAudioFormat(reinterpret_cast<Uint8*>(b.mix.data()), reinterpret_cast<const Uint8*>(b.source.data()),
                       AUDIO_S16LSB, static_cast<Uint32>(b.bytes()), SDL_MIX_MAXVOLUME);
    benchmark::DoNotOptimize(b.mix.data());
  }
  finish(state, b.bytes());
}
BENCHMARK(sdlMix);

void copy(benchmark::State& state) {
  Buffers b;
  for (auto _ : state) {
    std::memcpy(b.mix.data(), b.source.data(), b.bytes());
    benchmark::DoNotOptimize(b.mix.data());
  }
  finish(state, b.bytes());
}
BENCHMARK(copy);

void waveConvert(benchmark::State& state) {
  WAVEFORMATEX from = pcm(1, 8, 22050), to = pcm(2, 16, 44100);
  std::vector<uint8_t> source(kFrames / 2 + 1);
  std::mt19937 random(6);
  for (auto& s : source) s = static_cast<uint8_t>(random());
  std::vector<int16_t> out(2 * kFrames);
  for (auto _ : state) {
    WaveConvert(&to, out.data(), &from, source.data(), kFrames);
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["frames/s"] = benchmark::Counter(double(state.iterations()) * kFrames, benchmark::Counter::kIsRate);
}
BENCHMARK(waveConvert);

}  // namespace

int main(int argc, char** argv) {
  return runBenchmarksWithRatios(argc, argv, "WaveMix of 4096 frames, 16-bit stereo (peer time / ours):",
                                 [](RatioReporter& r) {
                                   r.ratio("WaveMix (widest variant) vs SDL_MixAudioFormat",
                                           mixVariantAvailable(MixVariant::AVX2) ? "waveMix/avx2" : "waveMix/sse2",
                                           "sdlMix", 2.0);
                                   r.ratio("WaveMix sse2 vs SDL_MixAudioFormat", "waveMix/sse2", "sdlMix", 2.0);
                                   r.ratio("WaveMix plain vs SDL_MixAudioFormat", "waveMix/plain", "sdlMix");
                                   r.ratio("WaveMix (widest variant): fraction of memcpy's bandwidth",
                                           mixVariantAvailable(MixVariant::AVX2) ? "waveMix/avx2" : "waveMix/sse2",
                                           "copy");
                                 });
}
