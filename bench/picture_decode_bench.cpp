// Decoding a picture file's image, coded with the image tool's default settings, against libjpeg-turbo
// decoding a JPEG of the same picture at a similar PSNR. The picture is a photograph given by RUNA1_BENCH_PHOTO (a JPEG file), scaled to
// size, or else a synthetic one with shading, edges and fine texture. Prints the ratios after
// the table, single thread in CPU time and the two-thread decoder in wall time; the goal is
// libjpeg-turbo's speed.
#include <benchmark/benchmark.h>

#include <jpeglib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/jpeg_peer.h"
#include "bench/ratio_reporter.h"
#include "graphics/core/molaq.h"
#include "graphics/molaq_image_encoder.h"

namespace {

struct Picture {
  int32_t width, height;
  std::vector<uint8_t> bgr;  // bottom-up DIB rows
  int32_t pitch() const { return (width * 3 + 3) & ~3; }
};

Picture synthetic(int32_t width, int32_t height) {
  Picture p{width, height, {}};
  p.bgr.resize(size_t(p.pitch()) * height);
  std::mt19937 random(3);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      double u = double(x) / width, v = double(y) / height;
      double texture = 12 * std::sin(x * 0.9) * std::sin(y * 0.7) + int(random() % 9) - 4;
      bool disc = (u - 0.6) * (u - 0.6) + (v - 0.4) * (v - 0.4) < 0.05;
      uint8_t* px = &p.bgr[size_t(y) * p.pitch() + x * 3];
      px[0] = uint8_t(std::clamp(60 + 120 * u + texture, 0.0, 255.0));
      px[1] = uint8_t(std::clamp((disc ? 190 : 90) + 40 * v + texture, 0.0, 255.0));
      px[2] = uint8_t(std::clamp(128 + 90 * std::sin(6 * u + 3 * v) + texture, 0.0, 255.0));
    }
  }
  return p;
}

// The photograph (a JPEG) resampled to the size asked, nearest pixel.
bool photo(int32_t width, int32_t height, Picture* out) {
  const char* path = std::getenv("RUNA1_BENCH_PHOTO");
  if (path == nullptr) return false;
  FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return false;
  jpeg_decompress_struct cinfo;
  jpeg_error_mgr error;
  cinfo.err = jpeg_std_error(&error);
  jpeg_create_decompress(&cinfo);
  jpeg_stdio_src(&cinfo, file);
  jpeg_read_header(&cinfo, TRUE);
  cinfo.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&cinfo);
  int32_t sourceWidth = int32_t(cinfo.output_width), sourceHeight = int32_t(cinfo.output_height);
  std::vector<uint8_t> source(size_t(sourceWidth) * 3 * sourceHeight);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = &source[size_t(cinfo.output_scanline) * sourceWidth * 3];
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
  std::fclose(file);
  *out = {width, height, {}};
  out->bgr.resize(size_t(out->pitch()) * height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const uint8_t* from = &source[(size_t(y * sourceHeight / height) * sourceWidth + x * sourceWidth / width) * 3];
      std::memcpy(&out->bgr[size_t(height - 1 - y) * out->pitch() + x * 3], from, 3);
    }
  }
  return true;
}

double psnr(const Picture& a, const std::vector<uint8_t>& b, int32_t pitchB) {
  double sum = 0;
  for (int32_t y = 0; y < a.height; ++y) {
    for (int32_t i = 0; i < a.width * 3; ++i) {
      double d = double(a.bgr[size_t(y) * a.pitch() + i]) - b[size_t(y) * pitchB + i];
      sum += d * d;
    }
  }
  return 10 * std::log10(255.0 * 255.0 * a.width * a.height * 3 / std::max(sum, 1.0));
}

struct Coded {
  ImageHeader header;
  std::vector<uint8_t> stream;
};

// The coder's settings compared: `mqimage encode`'s default (quality 75, blocks of 32), and
// blocks of 8, which take more phrases but a cheaper transform.
enum Setting : int64_t { kToolDefault, kBlocksOf8 };

MOLAQEncodeOptions optionsOf(Setting setting) {
  MOLAQEncodeOptions options;
  if (setting == kBlocksOf8) {
    options.blockSize = 3;
    options.curve[0] = 7, options.curve[1] = 8, options.curve[2] = 9;
  }
  return options;
}

Coded compress(const Picture& p, Setting setting) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
  info.bmiHeader.biWidth = p.width;
  info.bmiHeader.biHeight = p.height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 24;
  MOLAQImageFile file;
  if (mqEncodeImageFile(&info, p.bgr.data(), nullptr, optionsOf(setting), &file) != 0) std::abort();
  return Coded{file.header, std::move(file.image)};
}

void decompress(const Coded& c, std::vector<uint8_t>* out, int32_t pitch) {
  mqDecompressImage(&c.header, out->data(), 24, pitch, c.stream.data(), 0, false, kMQTableLimit,
                    nullptr, c.stream.size());
}

void jpegDecompress(const std::vector<uint8_t>& data, std::vector<uint8_t>* out, int32_t pitch) {
  jpeg_decompress_struct cinfo;
  jpeg_error_mgr error;
  cinfo.err = jpeg_std_error(&error);
  jpeg_create_decompress(&cinfo);
  jpeg_mem_src(&cinfo, data.data(), data.size());
  jpeg_read_header(&cinfo, TRUE);
  cinfo.out_color_space = JCS_EXT_BGR;
  jpeg_start_decompress(&cinfo);
  while (cinfo.output_scanline < cinfo.output_height) {
    JSAMPROW row = out->data() + size_t(cinfo.output_height - 1 - cinfo.output_scanline) * pitch;
    jpeg_read_scanlines(&cinfo, &row, 1);
  }
  jpeg_finish_decompress(&cinfo);
  jpeg_destroy_decompress(&cinfo);
}

struct Case {
  Picture picture;
  Coded coded;
  std::vector<uint8_t> jpeg;
  double psnr, jpegPsnr;
};

const Case& benchCase(int32_t width, int32_t height, Setting setting) {
  static std::vector<std::pair<std::pair<int32_t, Setting>, Case*>> cases;
  for (auto& [key, c] : cases) {
    if (key == std::make_pair(width, setting)) return *c;
  }
  auto* c = new Case{};
  if (!photo(width, height, &c->picture)) c->picture = synthetic(width, height);
  c->coded = compress(c->picture, setting);
  std::vector<uint8_t> out(size_t(c->picture.pitch()) * height);
  decompress(c->coded, &out, c->picture.pitch());
  c->psnr = psnr(c->picture, out, c->picture.pitch());
  // The JPEG quality whose PSNR comes closest to the picture coder's.
  double best = 1e9;
  for (int quality = 30; quality <= 98; quality += 2) {
    std::vector<uint8_t> jpeg = jpegCompressDib(c->picture.bgr.data(), c->picture.width, c->picture.height, c->picture.pitch(), quality);
    jpegDecompress(jpeg, &out, c->picture.pitch());
    double q = psnr(c->picture, out, c->picture.pitch());
    if (std::abs(q - c->psnr) < best) {
      best = std::abs(q - c->psnr);
      c->jpeg = std::move(jpeg);
      c->jpegPsnr = q;
    }
  }
  cases.emplace_back(std::make_pair(width, setting), c);
  return *c;
}

void setCounters(benchmark::State& state, const Picture& p, double quality, size_t bytes) {
  state.counters["MPix/s"] = benchmark::Counter(double(p.width) * p.height / 1e6 * state.iterations(),
                                                benchmark::Counter::kIsRate);
  state.counters["PSNR"] = quality;
  state.counters["bpp"] = bytes * 8.0 / (double(p.width) * p.height);
}

void BM_PictureDecode(benchmark::State& state) {
  const Case& c = benchCase(int32_t(state.range(0)), int32_t(state.range(1)), Setting(state.range(2)));
  std::vector<uint8_t> out(size_t(c.picture.pitch()) * c.picture.height);
  for (auto _ : state) {
    decompress(c.coded, &out, c.picture.pitch());
    benchmark::DoNotOptimize(out.data());
  }
  setCounters(state, c.picture, c.psnr, c.coded.stream.size());
}

// The same decoding with the arithmetic decoder on a second thread.
void BM_PictureDecodeTwoThreads(benchmark::State& state) {
  const Case& c = benchCase(int32_t(state.range(0)), int32_t(state.range(1)), Setting(state.range(2)));
  std::vector<uint8_t> out(size_t(c.picture.pitch()) * c.picture.height);
  for (auto _ : state) {
    mqDecompressImageTwoThreads(&c.coded.header, out.data(), 24, c.picture.pitch(), c.coded.stream.data(), 0,
                                false, kMQTableLimit, nullptr, c.coded.stream.size());
    benchmark::DoNotOptimize(out.data());
  }
  setCounters(state, c.picture, c.psnr, c.coded.stream.size());
}

void BM_JpegTurboDecode(benchmark::State& state) {
  const Case& c = benchCase(int32_t(state.range(0)), int32_t(state.range(1)), Setting(state.range(2)));
  std::vector<uint8_t> out(size_t(c.picture.pitch()) * c.picture.height);
  for (auto _ : state) {
    jpegDecompress(c.jpeg, &out, c.picture.pitch());
    benchmark::DoNotOptimize(out.data());
  }
  setCounters(state, c.picture, c.jpegPsnr, c.jpeg.size());
}

}  // namespace

void settings(benchmark::internal::Benchmark* b) {
  for (Setting setting : {kToolDefault, kBlocksOf8}) b->Args({640, 480, setting})->Args({1920, 1080, setting});
  b->Unit(benchmark::kMillisecond);
}
BENCHMARK(BM_PictureDecode)->Apply(settings);
// Wall time: the helper thread's CPU time is not the caller's.
BENCHMARK(BM_PictureDecodeTwoThreads)->Apply(settings)->UseRealTime();
BENCHMARK(BM_JpegTurboDecode)->Apply(settings);

int main(int argc, char** argv) {
  return runBenchmarksWithRatios(argc, argv, "Ratios, libjpeg-turbo time / our time:", [](RatioReporter& reporter) {
    for (const char* size : {"640/480", "1920/1080"}) {
      for (auto [setting, name] : {std::pair{"0", "tool default"}, std::pair{"1", "blocks of 8"}}) {
        std::string args = std::string(size) + "/" + setting;
        std::string what = "decode " + std::string(size) + ", " + name + ", CPU time";
        reporter.ratio(what.c_str(), "BM_PictureDecode/" + args, "BM_JpegTurboDecode/" + args, 1.0);
        // libjpeg-turbo on one thread against ours on two, and against ours on one in the same
        // wall-clock terms.
        what = "decode " + std::string(size) + ", " + name + ", wall, two threads";
        reporter.ratio(what.c_str(), "BM_PictureDecodeTwoThreads/" + args + "/real_time",
                       "BM_JpegTurboDecode/" + args, 1.0, true);
        what = "decode " + std::string(size) + ", " + name + ", wall, one thread";
        reporter.ratio(what.c_str(), "BM_PictureDecode/" + args, "BM_JpegTurboDecode/" + args, 0, true);
        // What two threads take on an otherwise idle machine, from CPU times, which other work
        // disturbs less: the caller's thread (its CPU time) or the helper's (the single thread's
        // CPU time less the caller's), whichever is busier.
        std::string one = "BM_PictureDecode/" + args, two = "BM_PictureDecodeTwoThreads/" + args + "/real_time";
        std::string peer = "BM_JpegTurboDecode/" + args;
        if (reporter.time.count(one) && reporter.time.count(two) && reporter.time.count(peer)) {
          double caller = reporter.time[two], helper = reporter.time[one] - caller;
          std::printf("%-52s %6.2f\n", ("decode " + std::string(size) + ", " + name + ", busier of 2 threads").c_str(),
                      reporter.time[peer] / std::max(caller, helper));
        }
      }
    }
  });
}
