// Blits and fills beside their peers on the same pixels: memcpy and memset of the same rows for
// the opaque copies and fills, pixman's OVER of premultiplied a8r8g8b8 for the blends. Prints
// the ratios (peer time / our time: 1 means as fast as the peer) after the table.
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "graphics/core/molaq.h"

namespace {

struct Image {
  BITMAPINFOHEADER header{};
  RGBQUAD colours[256]{};
  std::vector<uint8_t> pixels;
  int32_t pitch;
  Image(int32_t width, int32_t height, uint16_t bits, uint32_t seed) {
    pitch = ((width * bits + 31) >> 5) * 4;
    header = {40, width, height, 1, bits, 0, uint32_t(pitch * height), 0, 0, 0, 0};
    pixels.resize(size_t(pitch) * height);
    std::mt19937 random(seed);
    for (uint8_t& b : pixels) b = uint8_t(random());
  }
  const BITMAPINFO* info() const { return reinterpret_cast<const BITMAPINFO*>(this); }
  size_t rowBytes() const { return size_t(header.biWidth) * header.biBitCount / 8; }
};

// A premultiplied source: random alpha, every channel at most its alpha.
struct Premultiplied {
  Image colour;
  std::vector<uint8_t> alpha;
  ImageInfo alphaInfo;
  std::vector<uint32_t> argb;
  Premultiplied(int32_t width, int32_t height)
      : colour(width, height, 24, 3), alpha(size_t(width) * height), argb(alpha.size()) {
    std::mt19937 random(4);
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x) {
        uint32_t a = random() & 0xff, pixel = a << 24;
        uint8_t* bgr = colour.pixels.data() + y * colour.pitch + 3 * x;
        for (int i = 0; i < 3; ++i) {
          bgr[i] = uint8_t(random() % (a + 1));
          pixel |= uint32_t(bgr[i]) << (8 * i);
        }
        alpha[size_t(y) * width + x] = uint8_t(a);
        argb[size_t(y) * width + x] = pixel;
      }
    alphaInfo = {32, alpha.data(), width, height, 8, width, uint32_t(alpha.size()), 0};
  }
};

void run(benchmark::State& state, size_t bytes, const std::function<void()>& body) {
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations() * bytes));
}

void blit(DrawImageFn draw, int32_t width, int32_t height, uint16_t srcBits, uint32_t t) {
  auto* source = new Image(width, height, srcBits, 1);
  auto* target = new Image(width, height, srcBits, 2);
  std::string name = std::string(draw == mqDrawImagePlain ? "plain" : "sse2") + "/blit" +
                     std::to_string(srcBits) + "/t" + std::to_string(t) + "/" +
                     std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, source->rowBytes() * height, [&] {
      draw(target->info(), target->pixels.data(), nullptr, 0, 0, source->info(),
           source->pixels.data(), nullptr, nullptr, t, 0);
    });
  })->Unit(benchmark::kMicrosecond);
}

void memcpyRows(int32_t width, int32_t height, uint16_t bits) {
  auto* source = new Image(width, height, bits, 1);
  auto* target = new Image(width, height, bits, 2);
  std::string name = "memcpy/rows" + std::to_string(bits) + "/" + std::to_string(width) + "x" +
                     std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, source->rowBytes() * height, [&] {
      for (int32_t y = 0; y < height; ++y)
        std::memcpy(target->pixels.data() + y * target->pitch,
                    source->pixels.data() + y * source->pitch, source->rowBytes());
    });
  })->Unit(benchmark::kMicrosecond);
}

void alphaBlit(DrawImageFn draw, int32_t width, int32_t height) {
  auto* source = new Premultiplied(width, height);
  auto* target = new Image(width, height, 24, 2);
  std::string name = std::string(draw == mqDrawImagePlain ? "plain" : "sse2") + "/alpha24/" +
                     std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, source->colour.rowBytes() * height, [&] {
      draw(target->info(), target->pixels.data(), nullptr, 0, 0, source->colour.info(),
           source->colour.pixels.data(), &source->alphaInfo, nullptr, 0, 0);
    });
  })->Unit(benchmark::kMicrosecond);
}

void pixmanOver(int32_t width, int32_t height) {
  auto* source = new Premultiplied(width, height);
  auto* target = new std::vector<uint32_t>(size_t(width) * height, 0xff336699);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height,
                                                 source->argb.data(), width * 4);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_a8r8g8b8, width, height, target->data(),
                                                 width * 4);
  std::string name = "pixman/over8888/" + std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, size_t(width) * 3 * height, [&] {
      pixman_image_composite32(PIXMAN_OP_OVER, src, nullptr, dst, 0, 0, 0, 0, 0, 0, width, height);
    });
  })->Unit(benchmark::kMicrosecond);
}

void fill(int32_t width, int32_t height, uint16_t bits) {
  auto* target = new Image(width, height, bits, 2);
  std::string name = "fill" + std::to_string(bits) + "/" + std::to_string(width) + "x" +
                     std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, target->rowBytes() * height, [&] {
      RECT all{0, 0, width - 1, height - 1};
      mqFillRectangle(target->info(), target->pixels.data(), nullptr, &all, 0x123456, 0, 0);
    });
  })->Unit(benchmark::kMicrosecond);
  std::string peer = "memset/rows" + std::to_string(bits) + "/" + std::to_string(width) + "x" +
                     std::to_string(height);
  benchmark::RegisterBenchmark(peer.c_str(), [=](benchmark::State& state) {
    run(state, target->rowBytes() * height, [&] {
      for (int32_t y = 0; y < height; ++y)
        std::memset(target->pixels.data() + y * target->pitch, 0x56, target->rowBytes());
    });
  })->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
  for (auto [w, h] : {std::pair{640, 480}, std::pair{1920, 1080}}) {
    memcpyRows(w, h, 24);
    blit(mqDrawImagePlain, w, h, 24, 0);
    blit(mqDrawImageSSE2, w, h, 24, 0);
  }
  pixmanOver(640, 480);
  alphaBlit(mqDrawImagePlain, 640, 480);
  alphaBlit(mqDrawImageSSE2, 640, 480);
  blit(mqDrawImagePlain, 640, 480, 24, 128);
  blit(mqDrawImageSSE2, 640, 480, 24, 128);
  fill(640, 480, 24);
  fill(640, 480, 8);
  memcpyRows(640, 480, 8);
  blit(mqDrawImagePlain, 640, 480, 8, 0);
  blit(mqDrawImageSSE2, 640, 480, 8, 0);

  return runBenchmarksWithRatios(argc, argv, "Ratios, peer time / our time (SSE2 variants):", [](RatioReporter& reporter) {
    reporter.ratio("opaque 24->24 640x480 vs memcpy", "sse2/blit24/t0/640x480", "memcpy/rows24/640x480", 0.8);
    reporter.ratio("opaque 24->24 1920x1080 vs memcpy", "sse2/blit24/t0/1920x1080", "memcpy/rows24/1920x1080", 0.8);
    reporter.ratio("alpha 24->24 640x480 vs pixman OVER", "sse2/alpha24/640x480", "pixman/over8888/640x480", 1.0);
    reporter.ratio("t 128 24->24 640x480 vs pixman OVER", "sse2/blit24/t128/640x480", "pixman/over8888/640x480");
    reporter.ratio("fill 24 640x480 vs memset", "fill24/640x480", "memset/rows24/640x480");
    reporter.ratio("fill 8 640x480 vs memset", "fill8/640x480", "memset/rows8/640x480");
    reporter.ratio("opaque 8->8 640x480 vs memcpy", "sse2/blit8/t0/640x480", "memcpy/rows8/640x480", 0.8);
  });
}
