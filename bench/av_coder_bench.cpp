// The sound and moving-picture coders: speed of compressing and decompressing, with the
// compression ratio and the quality reached as counters, and the SSE2 inverse cube and frame
// decoder beside the plain ones (counter "speedup" on the SSE2 runs).
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

constexpr double kPi = std::numbers::pi;

// Ten seconds of a stereo piece: two voices with a decaying note, a high line and a little noise.
std::vector<int16_t> music() {
  const uint32_t count = 441000;
  std::vector<int16_t> s(count * 2);
  std::mt19937 random(1);
  for (uint32_t i = 0; i < count; ++i) {
    double t = double(i) / 44100, decay = std::exp(-double(i % 11025) / 4000);
    double low = 6000 * std::sin(2 * kPi * 220 * t),
           note = 4000 * std::sin(2 * kPi * 330 * t) * decay;
    double high = 2000 * std::sin(2 * kPi * 1760 * t);
    s[2 * i] = int16_t(low + note + high + int(random() % 401) - 200);
    s[2 * i + 1] = int16_t(low - note + 0.5 * high + int(random() % 401) - 200);
  }
  return s;
}

SoundHeader soundHeader(uint32_t count) {
  SoundHeader h{};
  h.channels = 2;
  h.sampleRate = 44100;
  h.frameCount = count;
  h.sourceBits = 16;
  h.logFrame = 9;
  h.curve[1] = 1 << 16;
  h.curve[2] = 3 << 16;
  return h;
}

double snr(const std::vector<int16_t>& a, const std::vector<int16_t>& b) {
  double signal = 0, noise = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    signal += double(a[i]) * a[i];
    noise += (double(a[i]) - b[i]) * (double(a[i]) - b[i]);
  }
  return 10 * std::log10(signal / noise);
}

void BM_SoundCompress(benchmark::State& state) {
  static const std::vector<int16_t> samples = music();
  SoundHeader h = soundHeader(uint32_t(samples.size() / 2));
  uint32_t bytes = 0;
  for (auto _ : state) {
    uint8_t* data = mqCompressSound(&h, samples.data(), uint32_t(state.range(0)), &bytes);
    benchmark::DoNotOptimize(data);
    mqFreeCompressed(data);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(samples.size() / 2));
  state.counters["ratio"] = double(samples.size() * 2) / bytes;
}

void BM_SoundDecompress(benchmark::State& state) {
  static const std::vector<int16_t> samples = music();
  SoundHeader h = soundHeader(uint32_t(samples.size() / 2));
  uint32_t bytes = 0;
  uint8_t* data = mqCompressSound(&h, samples.data(), uint32_t(state.range(0)), &bytes);
  std::vector<int16_t> out(samples.size());
  for (auto _ : state) {
    mqDecompressSound(data, bytes, out.data(), out.size(), nullptr, 0);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(samples.size() / 2));
  state.counters["ratio"] = double(samples.size() * 2) / bytes;
  state.counters["snr_dB"] = snr(samples, out);
  mqFreeCompressed(data);
}

// Eight 320 by 240 frames of a textured picture panning two pixels a frame.
struct Scene {
  static constexpr int32_t kWidth = 320, kHeight = 240, kPitch = kWidth * 3;
  std::vector<std::vector<uint8_t>> frames;
  Scene() : frames(kCubeFrames, std::vector<uint8_t>(size_t(kPitch) * kHeight)) {
    for (int32_t t = 0; t < kCubeFrames; ++t) {
      for (int32_t y = 0; y < kHeight; ++y) {
        for (int32_t x = 0; x < kWidth; ++x) {
          double u = x - 2.0 * t;
          uint8_t* p = &frames[t][size_t(y) * kPitch + x * 3];
          p[0] = uint8_t(128 + 90 * std::sin(u * 0.05) * std::cos(y * 0.04));
          p[1] = uint8_t(100 + 60 * std::sin(u * 0.11 + y * 0.07));
          p[2] = uint8_t(std::fmod(std::abs(u) + y, 256.0));
        }
      }
    }
  }
  std::vector<const uint8_t*> pointers() const {
    std::vector<const uint8_t*> p;
    for (auto& f : frames) p.push_back(f.data());
    return p;
  }
};

const Scene& scene() {
  static const Scene s;
  return s;
}

// Block size from the first argument, quality (coarser steps) from the second.
FramesHeader framesHeader(int64_t blockSize, int64_t coarse) {
  FramesHeader h{};
  h.width = Scene::kWidth;
  h.height = Scene::kHeight;
  h.blockSize = uint32_t(blockSize);
  mqFitQuantCurve(int32_t(blockSize), 6 + double(coarse), 8 + double(coarse), 10 + double(coarse),
                  &h.curveA, &h.curveB, &h.curveC);
  mqFitQuantCurve(kCubeFramesLog, 7 + double(coarse), 8 + double(coarse), 9 + double(coarse),
                  &h.timeA, &h.timeB, &h.timeC);
  return h;
}

double psnr(const std::vector<std::vector<uint8_t>>& a,
            const std::vector<std::vector<uint8_t>>& b) {
  double sum = 0, count = 0;
  for (size_t t = 0; t < a.size(); ++t) {
    for (size_t i = 0; i < a[t].size(); ++i) {
      double d = double(a[t][i]) - b[t][i];
      sum += d * d;
      count += 1;
    }
  }
  return 10 * std::log10(255.0 * 255.0 * count / sum);
}

void BM_FramesCompress(benchmark::State& state) {
  FramesHeader h = framesHeader(state.range(0), state.range(1));
  uint32_t bytes = 0;
  for (auto _ : state) {
    uint8_t* data = mqCompressFrames(&h, scene().pointers().data(), Scene::kPitch, 0, &bytes);
    benchmark::DoNotOptimize(data);
    mqFreeFrames(data);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kCubeFrames);
  state.counters["ratio"] = double(kCubeFrames) * Scene::kPitch * Scene::kHeight / bytes;
}

using DecompressFn = uint32_t (*)(const void*, size_t, uint8_t* const*, int32_t);

// Decoding time of one variant, in seconds per call, for the speedup counter.
double decodeSeconds(DecompressFn decompress, const uint8_t* data, uint32_t bytes,
                     uint8_t* const* out) {
  const int calls = 5;
  auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < calls; ++i) decompress(data, bytes, out, Scene::kPitch);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count() / calls;
}

template <DecompressFn decompress>
void BM_FramesDecompress(benchmark::State& state) {
  FramesHeader h = framesHeader(state.range(0), state.range(1));
  uint32_t bytes = 0;
  uint8_t* data = mqCompressFrames(&h, scene().pointers().data(), Scene::kPitch, 0, &bytes);
  std::vector<std::vector<uint8_t>> out(
      kCubeFrames, std::vector<uint8_t>(size_t(Scene::kPitch) * Scene::kHeight));
  std::vector<uint8_t*> pointers;
  for (auto& f : out) pointers.push_back(f.data());
  for (auto _ : state) {
    decompress(data, bytes, pointers.data(), Scene::kPitch);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * kCubeFrames);
  state.counters["ratio"] = double(kCubeFrames) * Scene::kPitch * Scene::kHeight / bytes;
  state.counters["psnr_dB"] = psnr(scene().frames, out);
  if (decompress == mqDecompressFramesSSE2) {
    state.counters["speedup"] =
        decodeSeconds(mqDecompressFramesPlain, data, bytes, pointers.data()) /
        decodeSeconds(mqDecompressFramesSSE2, data, bytes, pointers.data());
  }
  mqFreeFrames(data);
}

}  // namespace

BENCHMARK(BM_SoundCompress)->Arg(6)->Arg(8)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SoundDecompress)->Arg(6)->Arg(8)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FramesCompress)
    ->Args({3, 0})
    ->Args({4, 0})
    ->Args({5, 0})
    ->Args({4, 2})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_FramesDecompress, mqDecompressFramesPlain)
    ->Args({3, 0})
    ->Args({4, 0})
    ->Args({5, 0})
    ->Args({4, 2})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_FramesDecompress, mqDecompressFramesSSE2)
    ->Args({3, 0})
    ->Args({4, 0})
    ->Args({5, 0})
    ->Args({4, 2})
    ->Unit(benchmark::kMillisecond);
