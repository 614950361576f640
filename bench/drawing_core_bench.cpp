// Colour conversions of the drawing core, plain and SSE2, beside memcpy of the bytes they write.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

constexpr uint32_t kPixels = 640 * 480;

struct Planes {
  std::vector<int32_t> y = std::vector<int32_t>(kPixels), cb = y, cr = y;
  Planes() {
    std::mt19937 random(1);
    for (uint32_t i = 0; i < kPixels; ++i) {
      y[i] = static_cast<int32_t>(random() % 256);
      cb[i] = static_cast<int32_t>(random() % 256) - 128;
      cr[i] = static_cast<int32_t>(random() % 256) - 128;
    }
  }
};

const Planes& planes() {
  static const Planes p;
  return p;
}

template <YCCToRGBFn convert>
void yccToRgb(benchmark::State& state) {
  std::vector<uint8_t> out(3 * kPixels);
  for (auto _ : state) {
    convert(out.data(), planes().y.data(), planes().cb.data(), planes().cr.data(), kPixels);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPixels);
}

template <YCCToIndexedFn convert>
void yccToIndexed(benchmark::State& state) {
  std::vector<uint8_t> out(kPixels);
  for (auto _ : state) {
    convert(out.data(), planes().y.data(), planes().cb.data(), planes().cr.data(), kPixels);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPixels);
}

template <ConvertTo8BitFn convert>
void rgbTo8Bit(benchmark::State& state) {
  std::vector<uint8_t> src(3 * kPixels), out(kPixels);
  std::mt19937 random(2);
  for (uint8_t& b : src) b = static_cast<uint8_t>(random());
  for (auto _ : state) {
    convert(out.data(), 640, src.data(), 3 * 640, 640, 480, 24, nullptr, false);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPixels);
}

// The peer: copying the 24-bit output of one frame.
void memcpyFrame(benchmark::State& state) {
  std::vector<uint8_t> src(3 * kPixels, 1), out(3 * kPixels);
  for (auto _ : state) {
    std::memcpy(out.data(), src.data(), out.size());
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * kPixels);
}

BENCHMARK(memcpyFrame);
BENCHMARK(yccToRgb<mqYCCToRGBPlain>)->Name("YCCToRGB/plain");
BENCHMARK(yccToRgb<mqYCCToRGBSSE2>)->Name("YCCToRGB/sse2");
BENCHMARK(yccToIndexed<mqYCCToIndexedPlain>)->Name("YCCToIndexed/plain");
BENCHMARK(yccToIndexed<mqYCCToIndexedSSE2>)->Name("YCCToIndexed/sse2");
BENCHMARK(rgbTo8Bit<mqConvertTo8BitPlain>)->Name("ConvertTo8Bit24/plain");
BENCHMARK(rgbTo8Bit<mqConvertTo8BitSSE2>)->Name("ConvertTo8Bit24/sse2");

}  // namespace
