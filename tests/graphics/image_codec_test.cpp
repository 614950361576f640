// The picture coder: quantiser curve, block transforms against their formula, and round trips
// through compressor and decompressor for every chroma format, block size and scale.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <tuple>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

int32_t pitchOf(int32_t width, int32_t bits) { return ((width * bits + 31) & ~31) / 8; }

// A picture with smooth shading, hard edges and a little noise, in 24-bit DIB layout.
std::vector<uint8_t> makePicture(int32_t width, int32_t height, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint8_t> pixels(size_t(pitchOf(width, 24)) * height);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* p = &pixels[size_t(y) * pitchOf(width, 24) + x * 3];
      bool inside = (x - width / 2) * (x - width / 2) + (y - height / 3) * (y - height / 3) < width * width / 16;
      int noise = int(random() % 7) - 3;
      p[0] = uint8_t(std::clamp(40 + x * 150 / width + noise, 0, 255));
      p[1] = uint8_t(std::clamp((inside ? 200 : 60) + y * 40 / height + noise, 0, 255));
      p[2] = uint8_t(std::clamp(int(128 + 100 * std::sin(x * 0.05 + y * 0.03)) + noise, 0, 255));
    }
  }
  return pixels;
}

double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b, int32_t width,
            int32_t height, int32_t bytesPerPixel, int32_t pitchA, int32_t pitchB) {
  double sum = 0;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t i = 0; i < width * bytesPerPixel; ++i) {
      double d = double(a[size_t(y) * pitchA + i]) - b[size_t(y) * pitchB + i];
      sum += d * d;
    }
  }
  double mse = sum / (double(width) * height * bytesPerPixel);
  return mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
}

ImageHeader headerFor(int32_t width, int32_t height, uint32_t chroma, uint32_t blockSize,
                      double p0, double p1, double p2) {
  ImageHeader h{};
  h.version = kImageVersion;
  h.coder = kImageCoder;
  h.width = uint32_t(width);
  h.height = uint32_t(height);
  h.bits = 24;
  h.chromaFormat = chroma;
  h.blockSize = blockSize;
  mqFitQuantCurve(int32_t(blockSize), p0, p1, p2, &h.curveA, &h.curveB, &h.curveC);
  return h;
}

std::vector<uint8_t> compress(const ImageHeader& h, const std::vector<uint8_t>& pixels,
                              uint32_t threshold = 0) {
  uint32_t bytes = 0;
  uint8_t* data = mqCompressImage(&h, pixels.data(), pitchOf(int32_t(h.width), 24), &bytes, 15, 4096, threshold);
  EXPECT_NE(data, nullptr);
  std::vector<uint8_t> stream(data, data + bytes);
  mqFreeImage(data);
  return stream;
}

std::vector<uint8_t> decompress(const ImageHeader& h, const std::vector<uint8_t>& stream,
                                int32_t scale, int32_t bits = 24, bool grey = false) {
  int32_t width = int32_t(h.width) << scale, height = int32_t(h.height) << scale;
  std::vector<uint8_t> out(size_t(pitchOf(width, bits)) * height, 0xCD);
  EXPECT_EQ(mqDecompressImage(&h, out.data(), bits, pitchOf(width, bits), stream.data(), scale,
                              grey, kMQTableLimit, nullptr, stream.size()),
            kDecompressDone);
  return out;
}

TEST(ImageCodec, TheFittedCurveGoesThroughItsThreePoints) {
  for (int32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    int32_t a, b, c;
    mqFitQuantCurve(blockSize, 6, 9, 13, &a, &b, &c);
    uint32_t q[32];
    mqMakeQuantTable(q, blockSize, a, b, c);
    int32_t m = (1 << blockSize) - 1;
    EXPECT_EQ(q[0], 6u);
    EXPECT_NEAR(double(q[m / 2]), 9, 1);
    EXPECT_EQ(q[m], 13u);
  }
  uint32_t q[8];
  mqMakeQuantTable(q, 3, 0, 0, -100 << 16);
  EXPECT_EQ(q[7], 0u) << "clamped below";
  mqMakeQuantTable(q, 3, 1 << 20, 0, 0);
  EXPECT_EQ(q[0], 7u);
  EXPECT_EQ(q[7], 14u) << "clamped above";
}

TEST(ImageCodec, InverseBlockFollowsTheFormulaOnEveryGrid) {
  std::mt19937 random(5);
  for (int32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    for (int32_t sx = 0; sx + blockSize <= 8 && sx <= 3; ++sx) {
      int32_t sy = std::min(3, 8 - blockSize) - sx % 2;
      int32_t n = 1 << blockSize, w = n << sx, h = n << sy;
      std::vector<int32_t> block(size_t(w) * h, 0);
      for (int32_t v = 0; v < n; ++v) {
        for (int32_t u = 0; u < n; ++u) block[v * w + u] = (v + u < 4) ? int32_t(random() % 2001) - 1000 : 0;
      }
      std::vector<int32_t> coefficients = block;
      mqInverseBlock(block.data(), block.data(), nullptr, blockSize, sx, sy, nullptr);
      for (int32_t j = 0; j < h; j += 3) {
        for (int32_t i = 0; i < w; i += 5) {
          double sum = 0;
          for (int32_t v = 0; v < n; ++v) {
            for (int32_t u = 0; u < n; ++u) {
              sum += coefficients[v * w + u] * std::cos((2 * i + 1) * u * std::numbers::pi / (2 * w)) *
                     std::cos((2 * j + 1) * v * std::numbers::pi / (2 * h));
            }
          }
          ASSERT_NEAR(block[j * w + i], sum, 0.51) << blockSize << " " << sx << " " << sy;
        }
      }
    }
  }
}

TEST(ImageCodec, ForwardThenInverseGivesTheSamplesBack) {
  for (int32_t blockSize = 3; blockSize <= 5; ++blockSize) {
    int32_t n = 1 << blockSize;
    std::vector<float> samples(n * n);
    for (int32_t i = 0; i < n * n; ++i) samples[i] = float((i * 7919) % 256);
    uint32_t q[32];
    mqMakeQuantTable(q, blockSize, 0, 0, -7 << 16);  // the finest steps: only the end rounds
    std::vector<int32_t> block(n * n);
    mqForwardBlock(block.data(), samples.data(), n, q, blockSize);
    mqInverseBlock(block.data(), block.data(), q, blockSize, 0, 0, nullptr);
    for (int32_t i = 0; i < n * n; ++i) ASSERT_NEAR(block[i], samples[i], 1.01) << blockSize << " " << i;
  }
}

TEST(ImageCodec, EveryFormatAndBlockSizeRoundTripsIncludingRaggedEdges) {
  const int32_t width = 77, height = 45;  // no multiple of any macroblock
  std::vector<uint8_t> picture = makePicture(width, height, 7);
  for (uint32_t chroma : {kChroma444, kChroma422, kChroma420}) {
    for (uint32_t blockSize = 3; blockSize <= 5; ++blockSize) {
      // Larger blocks sum more rounded coefficients into a sample: one step finer per size.
      double fine = 10.0 - blockSize;
      ImageHeader h = headerFor(width, height, chroma, blockSize, fine, fine, fine);
      std::vector<uint8_t> stream = compress(h, picture);
      std::vector<uint8_t> out = decompress(h, stream, 0);
      double quality = psnr(picture, out, width, height, 3, pitchOf(width, 24), pitchOf(width, 24));
      EXPECT_GT(quality, chroma == kChroma444 ? 40 : 30) << std::hex << chroma << " " << blockSize;
      // The same stream decodes bit for bit the same the second time.
      EXPECT_EQ(decompress(h, stream, 0), out);
    }
  }
}

TEST(ImageCodec, CoarserCurvesAndThresholdsGiveSmallerStreams) {
  const int32_t width = 96, height = 64;
  std::vector<uint8_t> picture = makePicture(width, height, 8);
  size_t previous = SIZE_MAX;
  double previousQuality = 100;
  for (double coarse : {6.0, 7.0, 8.0}) {
    ImageHeader h = headerFor(width, height, kChroma420, 3, coarse - 1, coarse, coarse + 1);
    std::vector<uint8_t> stream = compress(h, picture, 1);
    double quality = psnr(picture, decompress(h, stream, 0), width, height, 3, pitchOf(width, 24), pitchOf(width, 24));
    EXPECT_LT(stream.size(), previous) << coarse;
    EXPECT_LT(quality, previousQuality + 0.01) << coarse;
    previous = stream.size();
    previousQuality = quality;
  }
  EXPECT_GT(previousQuality, 22) << "even the coarsest curve keeps the picture";
}

TEST(ImageCodec, EveryChannelComesBackWithoutBias) {
  // The decoder rounds down after the transform and after the colour conversion; the encoder
  // makes up for both, so that fine curves leave no mean error in blue, green or red.
  const int32_t width = 64, height = 64;
  std::vector<uint8_t> picture = makePicture(width, height, 11);
  for (uint32_t blockSize : {3u, 5u}) {
    ImageHeader h = headerFor(width, height, kChroma444, blockSize, 5, 5, 5);
    std::vector<uint8_t> out = decompress(h, compress(h, picture), 0);
    double bias[3] = {0, 0, 0};
    for (int32_t y = 0; y < height; ++y) {
      for (int32_t i = 0; i < width * 3; ++i) {
        size_t at = size_t(y) * pitchOf(width, 24) + i;
        bias[i % 3] += double(out[at]) - picture[at];
      }
    }
    for (double b : bias) EXPECT_NEAR(b / (width * height), 0, 0.2) << blockSize;
    EXPECT_GT(psnr(picture, out, width, height, 3, pitchOf(width, 24), pitchOf(width, 24)), 48);
  }
}

TEST(ImageCodec, ScalesBlowThePictureUp) {
  const int32_t width = 40, height = 24;
  std::vector<uint8_t> picture = makePicture(width, height, 9);
  for (uint32_t chroma : {kChroma444, kChroma422, kChroma420}) {
    ImageHeader h = headerFor(width, height, chroma, 3, 7, 7, 7);
    std::vector<uint8_t> stream = compress(h, picture);
    for (int32_t scale = 1; scale <= (chroma == kChroma444 ? 3 : 2); ++scale) {
      std::vector<uint8_t> big = decompress(h, stream, scale);
      // Every source pixel compared with the centre of its blown-up square.
      std::vector<uint8_t> sampled(picture.size());
      int32_t bigPitch = pitchOf(width << scale, 24);
      for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
          for (int c = 0; c < 3; ++c) {
            sampled[size_t(y) * pitchOf(width, 24) + x * 3 + c] =
                big[size_t((y << scale) + (1 << scale) / 2) * bigPitch + ((x << scale) + (1 << scale) / 2) * 3 + c];
          }
        }
      }
      EXPECT_GT(psnr(picture, sampled, width, height, 3, pitchOf(width, 24), pitchOf(width, 24)), 24)
          << std::hex << chroma << " scale " << scale;
    }
  }
  ImageHeader h = headerFor(width, height, kChroma420, 3, 7, 7, 7);
  std::vector<uint8_t> stream = compress(h, picture);
  std::vector<uint8_t> out(size_t(pitchOf(width << 3, 24)) * (height << 3));
  EXPECT_EQ(mqDecompressImage(&h, out.data(), 24, pitchOf(width << 3, 24), stream.data(), 3, false,
                              kMQTableLimit, nullptr, stream.size()),
            kDecompressUnsupported);
}

TEST(ImageCodec, GreyAndIndexedOutputFollowTheLuminance) {
  const int32_t width = 50, height = 30;
  std::vector<uint8_t> picture = makePicture(width, height, 10);
  ImageHeader h = headerFor(width, height, kChroma422, 4, 7, 7, 7);
  std::vector<uint8_t> stream = compress(h, picture);
  std::vector<uint8_t> grey = decompress(h, stream, 0, 8, true);
  std::vector<uint8_t> luminance(grey.size());
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const uint8_t* p = &picture[size_t(y) * pitchOf(width, 24) + x * 3];
      luminance[size_t(y) * pitchOf(width, 8) + x] = uint8_t(std::lround(0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2]));
    }
  }
  EXPECT_GT(psnr(luminance, grey, width, height, 1, pitchOf(width, 8), pitchOf(width, 8)), 36);
  std::vector<uint8_t> indexed = decompress(h, stream, 0, 8, false);
  RGBQUAD palette[256];
  mqMakeFixedPalette(palette, false);
  double error = 0;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      const RGBQUAD& c = palette[indexed[size_t(y) * pitchOf(width, 8) + x]];
      const uint8_t* p = &picture[size_t(y) * pitchOf(width, 24) + x * 3];
      error += std::abs(c.rgbBlue - p[0]) + std::abs(c.rgbGreen - p[1]) + std::abs(c.rgbRed - p[2]);
    }
  }
  EXPECT_LT(error / (width * height * 3), 40) << "the dithered fixed palette stays near the colours";
}

TEST(ImageCodec, BadHeadersAreRefused) {
  ImageHeader h = headerFor(16, 16, kChroma444, 3, 7, 7, 7);
  std::vector<uint8_t> stream = compress(h, makePicture(16, 16, 1));
  std::vector<uint8_t> out(16 * 16 * 3);
  auto run = [&](ImageHeader header, int32_t bits, int32_t scale) {
    return mqDecompressImage(&header, out.data(), bits, 48, stream.data(), scale, false, kMQTableLimit, nullptr, stream.size());
  };
  ImageHeader bad = h;
  bad.version = 0x101;
  EXPECT_EQ(run(bad, 24, 0), kDecompressUnsupported);
  bad = h;
  bad.blockSize = 6;
  EXPECT_EQ(run(bad, 24, 0), kDecompressUnsupported);
  bad = h;
  bad.chromaFormat = 0x100202;
  EXPECT_EQ(run(bad, 24, 0), kDecompressUnsupported);
  EXPECT_EQ(run(h, 16, 0), kDecompressUnsupported);
  EXPECT_EQ(run(h, 24, 4), kDecompressUnsupported);
  bad = h;
  bad.height = 0;
  EXPECT_EQ(run(bad, 24, 0), kDecompressEmpty);
  EXPECT_EQ(run(h, 24, 0), kDecompressDone);
}

TEST(ImageCodec, BitmapHeaderFollowsScaleAndDepth) {
  ImageHeader h = headerFor(13, 7, kChroma444, 3, 7, 7, 7);
  BITMAPINFOHEADER info;
  mqMakeBitmapHeader(&info, &h, 2);
  EXPECT_EQ(info.biSize, 40u);
  EXPECT_EQ(info.biWidth, 52);
  EXPECT_EQ(info.biHeight, 28);
  EXPECT_EQ(info.biBitCount, 24);
  EXPECT_EQ(info.biSizeImage, 156u * 28) << "52 pixels of 3 bytes, already a multiple of 4";
  h.bits = 4;
  mqMakeBitmapHeader(&info, &h, 0);
  EXPECT_EQ(info.biSizeImage, 8u * 7);
}

TEST(ImageCodec, EveryDecompressorGivesNearlyThePlainPicture) {
  const int32_t width = 83, height = 51;
  std::vector<uint8_t> picture = makePicture(width, height, 12);
  for (uint32_t chroma : {kChroma444, kChroma422, kChroma420}) {
    for (uint32_t blockSize = 3; blockSize <= 5; ++blockSize) {
      ImageHeader h = headerFor(width, height, chroma, blockSize, 7, 8, 9);
      std::vector<uint8_t> stream = compress(h, picture, 1);
      for (int32_t scale = 0; scale <= 1; ++scale) {
        for (bool grey : {false, true}) {
          int32_t bits = grey ? 8 : 24, pitch = pitchOf(width << scale, bits);
          std::vector<uint8_t> plain(size_t(pitch) * (height << scale), 0xCD);
          ASSERT_EQ(mqDecompressImagePlain(&h, plain.data(), bits, pitch, stream.data(), scale, grey, kMQTableLimit,
                                           nullptr, stream.size()),
                    kDecompressDone);
          // Padding behind each row stays untouched.
          EXPECT_EQ(plain[size_t(pitch) - 1] == 0xCD, (width << scale) * bits / 8 < pitch);
          std::vector<decltype(&mqDecompressImagePlain)> variants{mqDecompressImageSSE2};
          if (mqProcessorHasAVX2()) variants.push_back(mqDecompressImageAVX2);
          for (auto variant : variants) {
            std::vector<uint8_t> vector(plain.size(), 0xCD);
            ASSERT_EQ(variant(&h, vector.data(), bits, pitch, stream.data(), scale, grey, kMQTableLimit, nullptr,
                              stream.size()),
                      kDecompressDone);
            // The transforms differ by at most 1, the vector colour conversion by its own rounding.
            int worst = 0;
            for (int32_t y = 0; y < (height << scale); ++y) {
              for (int32_t i = 0; i < pitch; ++i) {
                size_t at = size_t(y) * pitch + i;
                worst = std::max(worst, std::abs(plain[at] - vector[at]));
              }
            }
            EXPECT_LE(worst, grey ? 1 : 3) << std::hex << chroma << std::dec << " " << blockSize << " scale " << scale;
          }
        }
      }
    }
  }
}

// The two-thread decoder runs the live variant's kernels: its pictures are that variant's to the
// byte, for pictures of more macroblock rows than its ring holds, in every format and output.
TEST(ImageCodec, TheTwoThreadDecoderGivesTheLiveVariantsPicture) {
  const int32_t width = 150, height = 301;
  std::vector<uint8_t> picture = makePicture(width, height, 14);
  for (uint32_t chroma : {kChroma444, kChroma422, kChroma420}) {
    for (uint32_t blockSize : {3u, 5u}) {
      ImageHeader h = headerFor(width, height, chroma, blockSize, 6, 7, 8);
      std::vector<uint8_t> stream = compress(h, picture, 1);
      for (auto [bits, grey, scale] : {std::tuple{24, false, 0}, std::tuple{8, false, 1}, std::tuple{8, true, 0}}) {
        int32_t pitch = pitchOf(width << scale, bits);
        std::vector<uint8_t> one(size_t(pitch) * (height << scale), 0xCD), two = one;
        // The 8-bit output dithers from the shared seed: both start from the same.
        mqStoreDitherSeed(kDitherSeedStart);
        ASSERT_EQ(mqDecompressImage(&h, one.data(), bits, pitch, stream.data(), scale, grey, kMQTableLimit, nullptr,
                                    stream.size()),
                  kDecompressDone);
        mqStoreDitherSeed(kDitherSeedStart);
        ASSERT_EQ(mqDecompressImageTwoThreads(&h, two.data(), bits, pitch, stream.data(), scale, grey,
                                              kMQTableLimit, nullptr, stream.size()),
                  kDecompressDone);
        ASSERT_EQ(one, two) << std::hex << chroma << std::dec << " blocks " << blockSize << " bits " << bits;
      }
    }
  }
  ImageHeader unsupported = headerFor(width, height, kChroma420, 6, 6, 7, 8);
  std::vector<uint8_t> out(16);
  EXPECT_EQ(mqDecompressImageTwoThreads(&unsupported, out.data(), 24, 4, out.data(), 0, false, kMQTableLimit,
                                        nullptr, out.size()),
            kDecompressUnsupported);
}

}  // namespace
