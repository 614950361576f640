// The moving-picture coder: cube transforms against the direct formula, the two inverse variants
// against each other, round trips of still, moving and noisy scenes, and damaged input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

constexpr double kPi = std::numbers::pi;

double basis(int32_t position, int32_t frequency, int32_t length) {
  return std::cos((2 * position + 1) * frequency * kPi / (2 * length));
}

// The direct formula of a cube transform: the sum of term(i, j, k) over i, j below n and k
// below 8.
template <typename Term>
double cubeSum(int32_t n, Term term) {
  double sum = 0;
  for (int32_t k = 0; k < 8; ++k) {
    for (int32_t j = 0; j < n; ++j) {
      for (int32_t i = 0; i < n; ++i) sum += term(i, j, k);
    }
  }
  return sum;
}

TEST(CubeTransform, ForwardFollowsTheFormula) {
  const int32_t blockSize = 3, n = 8;
  uint32_t q[8], qt[8];
  for (int i = 0; i < 8; ++i) {
    q[i] = 5 + i % 4;
    qt[i] = 9 - i % 3;
  }
  std::mt19937 random(1);
  // Samples inside a larger raster: rows 11 apart, frames 100 apart.
  std::vector<float> src(800);
  for (float& s : src) s = float(random() % 256);
  std::vector<int32_t> cube(8 * 64);
  mqForwardCube(cube.data(), src.data(), 11, 100, q, qt, blockSize);
  for (int32_t w = 0; w < 8; w += 3) {
    for (int32_t v = 0; v < n; v += 2) {
      for (int32_t u = 0; u < n; u += 3) {
        double sum = cubeSum(n, [&](int32_t x, int32_t y, int32_t t) {
          return src[t * 100 + y * 11 + x] * basis(x, u, n) * basis(y, v, n) * basis(t, w, 8);
        });
        // Halved at each zero frequency, normalised by 2/N per axis, scaled by the quantisers.
        sum *= (u ? 1 : 0.5) * (v ? 1 : 0.5) * (w ? 1 : 0.5) * (2.0 / n) * (2.0 / n) * (2.0 / 8);
        double expected = std::ldexp(sum, 21 - int(q[u] + q[v] + qt[w]));
        ASSERT_NEAR(cube[(w * n + v) * n + u], expected, 0.51) << u << " " << v << " " << w;
      }
    }
  }
}

// Sparse random coefficients, as a quantised scene has them.
std::vector<int32_t> sparseCube(int32_t n, std::mt19937& random) {
  std::vector<int32_t> cube(8 * n * n, 0);
  for (int32_t w = 0; w < 8; ++w) {
    for (int32_t v = 0; v < n; ++v) {
      for (int32_t u = 0; u < n; ++u) {
        if (u + v + 3 * w < 6 || random() % 17 == 0) {
          cube[(w * n + v) * n + u] = int32_t(random() % 801) - 400;
        }
      }
    }
  }
  return cube;
}

TEST(CubeTransform, PlainInverseFollowsTheFormulaAndSSE2AgreesWithIt) {
  std::mt19937 random(2);
  uint32_t q[32], qt[8];
  std::fill(q, q + 32, 7u);
  std::fill(qt, qt + 8, 7u);
  for (int32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    for (int32_t scale = 0; scale <= 1; ++scale) {
      const int32_t n = 1 << blockSize, side = n << scale;
      std::vector<int32_t> cube = sparseCube(n, random), kept = cube;
      std::vector<int32_t> plain(8 * side * side), vector(8 * side * side);
      mqInverseCubePlain(plain.data(), cube.data(), q, qt, blockSize, scale);
      mqInverseCubeSSE2(vector.data(), cube.data(), q, qt, blockSize, scale);
      EXPECT_EQ(cube, kept) << "the coefficients are not touched";
      for (size_t i = 0; i < plain.size(); ++i) {
        ASSERT_NEAR(vector[i], plain[i], 1) << blockSize << " " << scale << " " << i;
      }
      for (int32_t t = 0; t < 8; t += 3) {
        for (int32_t y = 0; y < side; y += 5) {
          for (int32_t x = 0; x < side; x += 7) {
            double sum = cubeSum(n, [&](int32_t u, int32_t v, int32_t w) {
              return cube[(w * n + v) * n + u] * basis(x, u, side) * basis(y, v, side) *
                     basis(t, w, 8);
            });
            ASSERT_NEAR(plain[(t * side + y) * side + x], sum, 0.51) << blockSize << " " << scale;
          }
        }
      }
    }
  }
}

TEST(CubeTransform, ForwardThenInverseGivesTheSamplesBack) {
  std::mt19937 random(3);
  // Steps of 1/4 on every axis: rounding the coefficients costs less than a level.
  uint32_t q[32], qt[8];
  std::fill(q, q + 32, 5u);
  std::fill(qt, qt + 8, 5u);
  for (int32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    const int32_t n = 1 << blockSize;
    std::vector<float> samples(8 * n * n);
    for (float& s : samples) s = float(random() % 256);
    std::vector<int32_t> cube(samples.size()), back(samples.size());
    mqForwardCube(cube.data(), samples.data(), n, n * n, q, qt, blockSize);
    mqInverseCubePlain(back.data(), cube.data(), q, qt, blockSize, 0);
    for (size_t i = 0; i < samples.size(); ++i) ASSERT_NEAR(back[i], samples[i], 1) << blockSize;
  }
}

// Eight 24-bit frames, each in its own buffer with a guard row behind.
struct Frames {
  int32_t width, height, pitch;
  std::vector<std::vector<uint8_t>> pixels;
  Frames(int32_t w, int32_t h, uint8_t fill = 0)
      : width(w),
        height(h),
        pitch((w * 3 + 3) & ~3),
        pixels(8, std::vector<uint8_t>(size_t(pitch) * (h + 1), fill)) {}
  uint8_t* at(int32_t t, int32_t x, int32_t y) { return &pixels[t][size_t(y) * pitch + x * 3]; }
  std::vector<uint8_t*> pointers() {
    std::vector<uint8_t*> p;
    for (auto& f : pixels) p.push_back(f.data());
    return p;
  }
  std::vector<const uint8_t*> constPointers() const {
    std::vector<const uint8_t*> p;
    for (auto& f : pixels) p.push_back(f.data());
    return p;
  }
};

double psnr(const Frames& a, const Frames& b) {
  double sum = 0;
  for (int32_t t = 0; t < 8; ++t) {
    for (int32_t y = 0; y < a.height; ++y) {
      for (int32_t i = 0; i < a.width * 3; ++i) {
        double d =
            double(a.pixels[t][size_t(y) * a.pitch + i]) - b.pixels[t][size_t(y) * b.pitch + i];
        sum += d * d;
      }
    }
  }
  double mse = sum / (8.0 * a.width * a.height * 3);
  return mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
}

FramesHeader framesHeader(int32_t width, int32_t height, uint32_t blockSize) {
  FramesHeader h{};
  h.width = uint32_t(width);
  h.height = uint32_t(height);
  h.blockSize = blockSize;
  mqFitQuantCurve(int32_t(blockSize), 6, 8, 10, &h.curveA, &h.curveB, &h.curveC);
  mqFitQuantCurve(kCubeFramesLog, 7, 8, 9, &h.timeA, &h.timeB, &h.timeC);
  return h;
}

std::vector<uint8_t> compressFrames(const FramesHeader& h, const Frames& frames,
                                    uint32_t threshold = 0) {
  uint32_t bytes = 0;
  uint8_t* data =
      mqCompressFrames(&h, frames.constPointers().data(), frames.pitch, threshold, &bytes);
  EXPECT_NE(data, nullptr);
  if (data == nullptr) return {};
  std::vector<uint8_t> out(data, data + bytes);
  mqFreeFrames(data);
  return out;
}

// Decodes with both variants into frames whose padding and guard row must stay untouched; they
// agree to within a few levels, and the vector one is returned.
Frames decompressFrames(const std::vector<uint8_t>& data, int32_t width, int32_t height) {
  Frames plain(width, height, 0xEE), vector(width, height, 0xEE);
  EXPECT_EQ(mqDecompressFramesPlain(data.data(), data.size(), plain.pointers().data(), plain.pitch),
            kFramesDone);
  EXPECT_EQ(
      mqDecompressFramesSSE2(data.data(), data.size(), vector.pointers().data(), vector.pitch),
      kFramesDone);
  for (int32_t t = 0; t < 8; ++t) {
    for (int32_t y = 0; y <= height; ++y) {
      for (int32_t i = 0; i < plain.pitch; ++i) {
        size_t at = size_t(y) * plain.pitch + i;
        if (y == height || i >= width * 3) {
          EXPECT_EQ(vector.pixels[t][at], 0xEE) << "written outside the picture";
          EXPECT_EQ(plain.pixels[t][at], 0xEE) << "written outside the picture";
        } else {
          EXPECT_NEAR(vector.pixels[t][at], plain.pixels[t][at], 3) << t << " " << y << " " << i;
        }
      }
    }
  }
  return vector;
}

// A smooth picture that slides `speed` pixels to the right per frame.
Frames movingScene(int32_t width, int32_t height, int32_t speed) {
  Frames f(width, height);
  for (int32_t t = 0; t < 8; ++t) {
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t x = 0; x < width; ++x) {
        int32_t sx = x - speed * t;
        uint8_t* p = f.at(t, x, y);
        p[0] = uint8_t(128 + 100 * std::sin(sx * 0.07));
        p[1] = uint8_t(std::clamp(sx * 2 + y, 0, 255));
        p[2] = uint8_t(60 + y * 150 / height);
      }
    }
  }
  return f;
}

TEST(FrameCoder, StillScenesCostLittleMoreThanOneFrame) {
  Frames still = movingScene(96, 64, 0), single = movingScene(96, 64, 0);
  for (int32_t t = 1; t < 8; ++t) {
    single.pixels[t] = std::vector<uint8_t>(single.pixels[t].size(), 128);
  }
  for (uint32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    FramesHeader h = framesHeader(96, 64, blockSize);
    std::vector<uint8_t> data = compressFrames(h, still);
    EXPECT_GT(psnr(still, decompressFrames(data, 96, 64)), 38) << blockSize;
    // Seven frames of plain grey after the first would cost far more than standing still.
    EXPECT_LT(data.size(), compressFrames(h, single).size()) << blockSize;
    EXPECT_LT(data.size(), size_t(96 * 64 * 3 * 8 / 40)) << "at least 40 to 1 for a still scene";
  }
}

TEST(FrameCoder, MovingGradientsAndNoise) {
  Frames moving = movingScene(80, 48, 2);
  FramesHeader h = framesHeader(80, 48, 4);
  std::vector<uint8_t> data = compressFrames(h, moving);
  EXPECT_GT(psnr(moving, decompressFrames(data, 80, 48)), 34);
  EXPECT_LT(data.size(), size_t(80 * 48 * 3 * 8 / 8));
  // A threshold trades quality for size.
  std::vector<uint8_t> smaller = compressFrames(h, moving, 2);
  EXPECT_LT(smaller.size(), data.size());
  EXPECT_GT(psnr(moving, decompressFrames(smaller, 80, 48)), 28);

  std::mt19937 random(4);
  Frames noise(48, 32);
  for (auto& frame : noise.pixels) {
    for (uint8_t& b : frame) b = uint8_t(random());
  }
  FramesHeader fine = framesHeader(48, 32, 3);
  mqFitQuantCurve(3, 4, 4, 4, &fine.curveA, &fine.curveB, &fine.curveC);
  mqFitQuantCurve(3, 6, 6, 6, &fine.timeA, &fine.timeB, &fine.timeC);
  // Chroma is halved, so noise in colour cannot come back in full; luminance-heavy error stays
  // bounded.
  EXPECT_GT(psnr(noise, decompressFrames(compressFrames(fine, noise), 48, 32)), 11);
}

TEST(FrameCoder, OddSizesDecodeOnlyTheInside) {
  for (auto [width, height] : {std::pair{1, 1}, std::pair{37, 23}, std::pair{65, 17}}) {
    Frames scene = movingScene(width, height, 1);
    std::vector<uint8_t> data = compressFrames(framesHeader(width, height, 3), scene);
    EXPECT_GT(psnr(scene, decompressFrames(data, width, height)), 30) << width << "x" << height;
  }
}

TEST(FrameCoder, ForwardersFollowTheSelectedVariant) {
  Frames scene = movingScene(32, 32, 3);
  std::vector<uint8_t> data = compressFrames(framesHeader(32, 32, 3), scene);
  Frames viaRecord(32, 32), plain(32, 32);
  mqSelectInterface(mqGetInterface(), kMOLAQNoVector, 0);
  EXPECT_EQ(
      mqDecompressFrames(data.data(), data.size(), viaRecord.pointers().data(), viaRecord.pitch),
      kFramesDone);
  mqSelectInterface(mqGetInterface(), 0, 0);
  mqDecompressFramesPlain(data.data(), data.size(), plain.pointers().data(), plain.pitch);
  EXPECT_EQ(viaRecord.pixels, plain.pixels);
}

TEST(FrameCoder, BadHeadersAndDamagedStreamsFailClearly) {
  Frames scene = movingScene(40, 24, 1);
  FramesHeader h = framesHeader(40, 24, 3);
  std::vector<uint8_t> data = compressFrames(h, scene);
  Frames out(40, 24, 0xEE);
  auto decode = [&](const std::vector<uint8_t>& bytes) {
    return mqDecompressFrames(bytes.data(), bytes.size(), out.pointers().data(), out.pitch);
  };
  ASSERT_EQ(decode(data), kFramesDone);
  EXPECT_EQ(decode(std::vector<uint8_t>(data.begin(), data.begin() + 43)), kFramesBadHeader);
  EXPECT_EQ(decode(std::vector<uint8_t>(data.begin(), data.end() - 1)), kFramesBadHeader);
  auto withField = [&](size_t offset, uint32_t value) {
    std::vector<uint8_t> bytes = data;
    std::memcpy(&bytes[offset], &value, 4);
    return bytes;
  };
  EXPECT_EQ(decode(withField(0, 0x200)), kFramesBadHeader) << "version";
  EXPECT_EQ(decode(withField(4, 0)), kFramesBadHeader) << "width";
  EXPECT_EQ(decode(withField(8, 16385)), kFramesBadHeader) << "height";
  EXPECT_EQ(decode(withField(12, 6)), kFramesBadHeader) << "block size";
  EXPECT_EQ(decode(withField(40, 0)), kFramesBadStream) << "an empty stream has no dictionary";
  FramesHeader bad = h;
  bad.blockSize = 2;
  EXPECT_EQ(mqCompressFrames(&bad, scene.constPointers().data(), scene.pitch, 0, nullptr), nullptr);

  std::mt19937 random(5);
  for (int trial = 0; trial < 10; ++trial) {
    std::vector<uint8_t> garbage = data;
    for (size_t i = sizeof h; i < garbage.size(); ++i) garbage[i] = uint8_t(random());
    uint32_t result = decode(garbage);
    EXPECT_TRUE(result == kFramesDone || result == kFramesBadStream) << result;
    for (int32_t t = 0; t < 8; ++t) {
      for (int32_t i = 0; i < out.pitch; ++i) {
        ASSERT_EQ(out.pixels[t][size_t(24) * out.pitch + i], 0xEE);
      }
    }
  }
}

}  // namespace
