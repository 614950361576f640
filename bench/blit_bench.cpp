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

const char* variantName(DrawImageFn draw) {
  return draw == mqDrawImagePlain ? "plain" : draw == mqDrawImageSSE2 ? "sse2" : "avx2";
}

// The variants to time: the plain one, SSE2, and AVX2 where the processor has it.
std::vector<DrawImageFn> variants() {
  std::vector<DrawImageFn> all{mqDrawImagePlain, mqDrawImageSSE2};
  if (mqProcessorHasAVX2()) all.push_back(mqDrawImageAVX2);
  return all;
}

void blit(DrawImageFn draw, int32_t width, int32_t height, uint16_t srcBits, uint32_t t) {
  auto* source = new Image(width, height, srcBits, 1);
  auto* target = new Image(width, height, srcBits, 2);
  std::string name = std::string(variantName(draw)) + "/blit" +
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
  std::string name = std::string(variantName(draw)) + "/alpha24/" +
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

// Transparency 128 without alpha: pixman's OVER of an opaque source through a solid mask of
// half coverage.
void pixmanOverSolid(int32_t width, int32_t height) {
  auto* source = new Premultiplied(width, height);
  auto* target = new std::vector<uint32_t>(size_t(width) * height, 0xff336699);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_x8r8g8b8, width, height,
                                                 source->argb.data(), width * 4);
  pixman_color_t half{0x8000, 0x8000, 0x8000, 0x8000};
  pixman_image_t* mask = pixman_image_create_solid_fill(&half);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_x8r8g8b8, width, height, target->data(),
                                                 width * 4);
  std::string name = "pixman/over_x888_half/" + std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, size_t(width) * 3 * height, [&] {
      pixman_image_composite32(PIXMAN_OP_OVER, src, mask, dst, 0, 0, 0, 0, 0, 0, width, height);
    });
  })->Unit(benchmark::kMicrosecond);
}

// A sprite's 1-bit plane: whole bytes clear, whole bytes set and mixed ones, a third each; the
// same bits in our order (first pixel in the top bit of big-endian words) and in pixman's a1
// (first pixel in the low bit of native words).
struct OneBitMask {
  std::vector<uint8_t> bits;
  std::vector<uint32_t> pixmanBits;
  ImageInfo info;
  OneBitMask(int32_t width, int32_t height) {
    int32_t pitch = ((width + 31) >> 5) * 4;
    bits.resize(size_t(pitch) * height);
    pixmanBits.resize(bits.size() / 4);
    std::mt19937 random(5);
    for (uint8_t& b : bits) {
      uint32_t kind = random() % 3;
      b = kind == 0 ? 0 : kind == 1 ? 0xff : uint8_t(random());
    }
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x) {
        // Row y of the DIB is the picture's row height - 1 - y.
        bool set = (bits[size_t(height - 1 - y) * pitch + x / 8] >> (7 - x % 8)) & 1;
        if (set) pixmanBits[size_t(y) * pitch / 4 + x / 32] |= 1u << (x % 32);
      }
    info = {32, bits.data(), width, height, 1, pitch, uint32_t(bits.size()), 0};
  }
};

void maskedBlit(DrawImageFn draw, int32_t width, int32_t height) {
  auto* source = new Image(width, height, 24, 1);
  auto* target = new Image(width, height, 24, 2);
  auto* mask = new OneBitMask(width, height);
  std::string name = std::string(variantName(draw)) + "/mask1/" + std::to_string(width) + "x" +
                     std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, source->rowBytes() * height, [&] {
      draw(target->info(), target->pixels.data(), nullptr, 0, 0, source->info(),
           source->pixels.data(), &mask->info, nullptr, 0, 0);
    });
  })->Unit(benchmark::kMicrosecond);
}

void pixmanOverA1(int32_t width, int32_t height) {
  auto* source = new Premultiplied(width, height);
  auto* target = new std::vector<uint32_t>(size_t(width) * height, 0xff336699);
  auto* bits = new OneBitMask(width, height);
  pixman_image_t* src = pixman_image_create_bits(PIXMAN_x8r8g8b8, width, height,
                                                 source->argb.data(), width * 4);
  pixman_image_t* mask = pixman_image_create_bits(PIXMAN_a1, width, height, bits->pixmanBits.data(),
                                                  bits->info.pitch);
  pixman_image_t* dst = pixman_image_create_bits(PIXMAN_x8r8g8b8, width, height, target->data(),
                                                 width * 4);
  std::string name = "pixman/over_x888_a1/" + std::to_string(width) + "x" + std::to_string(height);
  benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
    run(state, size_t(width) * 3 * height, [&] {
      pixman_image_composite32(PIXMAN_OP_OVER, src, mask, dst, 0, 0, 0, 0, 0, 0, width, height);
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
  pixmanOverSolid(640, 480);
  pixmanOverA1(640, 480);
  for (DrawImageFn draw : variants()) {
    alphaBlit(draw, 640, 480);
    blit(draw, 640, 480, 24, 128);
    maskedBlit(draw, 640, 480);
  }
  fill(640, 480, 24);
  fill(640, 480, 8);
  memcpyRows(640, 480, 8);
  blit(mqDrawImagePlain, 640, 480, 8, 0);
  blit(mqDrawImageSSE2, 640, 480, 8, 0);

  return runBenchmarksWithRatios(argc, argv, "Ratios, peer time / our time:", [](RatioReporter& reporter) {
    reporter.ratio("opaque 24->24 640x480 vs memcpy", "sse2/blit24/t0/640x480", "memcpy/rows24/640x480", 0.8);
    reporter.ratio("opaque 24->24 1920x1080 vs memcpy", "sse2/blit24/t0/1920x1080", "memcpy/rows24/1920x1080", 0.8);
    for (const char* variant : {"sse2", "avx2"}) {
      std::string v = variant;
      reporter.ratio(("alpha 24->24 640x480 vs pixman OVER, " + v).c_str(), v + "/alpha24/640x480",
                     "pixman/over8888/640x480", v == "avx2" ? 1.5 : 1.0);
      reporter.ratio(("t 128 24->24 640x480 vs pixman OVER half, " + v).c_str(), v + "/blit24/t128/640x480",
                     "pixman/over_x888_half/640x480", v == "avx2" ? 1.5 : 0);
      reporter.ratio(("1-bit mask 24->24 640x480 vs pixman a1, " + v).c_str(), v + "/mask1/640x480",
                     "pixman/over_x888_a1/640x480", v == "avx2" ? 1.5 : 0);
    }
    reporter.ratio("fill 24 640x480 vs memset", "fill24/640x480", "memset/rows24/640x480");
    reporter.ratio("fill 8 640x480 vs memset", "fill8/640x480", "memset/rows8/640x480");
    reporter.ratio("opaque 8->8 640x480 vs memcpy", "sse2/blit8/t0/640x480", "memcpy/rows8/640x480", 0.8);
  });
}
