// Colour conversions of the drawing core, plain and SSE2, beside memcpy of the bytes they write;
// and the inverse block kernels, SSE2 and AVX2 beside the plain one, on the blocks a picture
// coded with the image tool's defaults holds. Prints the kernels' ratios after the table.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "graphics/core/inverse_block.h"
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

// The block cases: block size, sx = sy, and a square extent.
struct BlockCase {
  const char* name;
  int32_t blockSize, s, extent;
};
constexpr BlockCase kBlockCases[] = {
    {"32x32 full", 5, 0, 32},        // luminance of a textured picture
    {"32x32 4x4 onto 64x64", 5, 1, 4},  // chroma of the half-resolution formats
    {"8x8 full", 3, 0, 8},
};

// Coefficients as a picture's blocks hold them: a large first one, small ones within the
// extent, scaled by the quantiser of the tool's default curve.
template <InverseBlockKernel kernel>
void inverseBlock(benchmark::State& state) {
  if (kernel == mqInverseBlockKernelAVX2 && !mqProcessorHasAVX2()) return state.SkipWithError("no AVX2");
  const BlockCase& c = kBlockCases[state.range(0)];
  const int32_t n = 1 << c.blockSize, w = n << c.s;
  uint32_t q[32];
  mqMakeQuantTable(q, c.blockSize, 0, 1 << 14, 0);
  std::vector<int32_t> coefficients(size_t(n) * n, 0), out(size_t(w) * w);
  std::mt19937 random(4);
  for (int32_t v = 0; v < c.extent; ++v)
    for (int32_t u = 0; u < c.extent; ++u) coefficients[v * n + u] = int32_t(random() % 25) - 12;
  coefficients[0] = 900;
  for (auto _ : state) {
    kernel(out.data(), w, coefficients.data(), q, c.blockSize, c.s, c.s, {c.extent, c.extent});
    benchmark::DoNotOptimize(out.data());
  }
  state.SetItemsProcessed(state.iterations() * int64_t(w) * w);
  state.SetLabel(c.name);
}

void blockCases(benchmark::internal::Benchmark* b) {
  for (int i = 0; i < int(std::size(kBlockCases)); ++i) b->Arg(i);
}

BENCHMARK(memcpyFrame);
BENCHMARK(yccToRgb<mqYCCToRGBPlain>)->Name("YCCToRGB/plain");
BENCHMARK(yccToRgb<mqYCCToRGBSSE2>)->Name("YCCToRGB/sse2");
BENCHMARK(yccToIndexed<mqYCCToIndexedPlain>)->Name("YCCToIndexed/plain");
BENCHMARK(yccToIndexed<mqYCCToIndexedSSE2>)->Name("YCCToIndexed/sse2");
BENCHMARK(rgbTo8Bit<mqConvertTo8BitPlain>)->Name("ConvertTo8Bit24/plain");
BENCHMARK(rgbTo8Bit<mqConvertTo8BitSSE2>)->Name("ConvertTo8Bit24/sse2");
BENCHMARK(inverseBlock<mqInverseBlockKernelPlain>)->Name("InverseBlock/plain")->Apply(blockCases);
BENCHMARK(inverseBlock<mqInverseBlockKernelSSE2>)->Name("InverseBlock/sse2")->Apply(blockCases);
BENCHMARK(inverseBlock<mqInverseBlockKernelAVX2>)->Name("InverseBlock/avx2")->Apply(blockCases);

}  // namespace

int main(int argc, char** argv) {
  const char* title = "Ratios, plain kernel's time / vector kernel's time:";
  return runBenchmarksWithRatios(argc, argv, title, [](RatioReporter& reporter) {
    for (int i = 0; i < int(std::size(kBlockCases)); ++i) {
      const std::string plain = "InverseBlock/plain/" + std::to_string(i);
      for (const char* variant : {"sse2", "avx2"}) {
        std::string what = std::string("inverse block ") + kBlockCases[i].name + ", " + variant;
        reporter.ratio(what.c_str(), "InverseBlock/" + std::string(variant) + "/" + std::to_string(i), plain);
      }
    }
  });
}
