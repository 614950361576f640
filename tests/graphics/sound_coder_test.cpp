// The recursive transforms against their formulas, and the sound coder: curves, equaliser, frame
// transforms, round trips of typical and extreme sounds, and damaged input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

constexpr double kPi = std::numbers::pi;

TEST(RecursiveDCT, ForwardAndInverseFollowTheirFormulasAtEverySize) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> value(-1000, 1000);
  for (int32_t logSize = kDCTMinLog; logSize <= kDCTMaxLog; ++logSize) {
    const int32_t n = 1 << logSize, stride = 3;
    std::vector<double> in(n * stride), forward(n), inverse(n);
    for (double& v : in) v = value(random);
    mqForwardDCT(forward.data(), in.data(), stride, logSize);
    mqInverseDCT(inverse.data(), in.data(), stride, logSize);
    for (int32_t k = 0; k < n; k += (k < 8 ? 1 : 7)) {
      double sumForward = 0, sumInverse = 0;
      for (int32_t i = 0; i < n; ++i) {
        sumForward += in[i * stride] * std::cos((2 * i + 1) * k * kPi / (2 * n));
        if (i > 0) sumInverse += in[i * stride] * std::cos((2 * k + 1) * i * kPi / (2 * n));
      }
      if (k == 0) sumForward /= 2;
      sumInverse += in[0];
      ASSERT_NEAR(forward[k], sumForward, 1e-7 * n) << "size " << n << " output " << k;
      ASSERT_NEAR(inverse[k], sumInverse, 1e-7 * n) << "size " << n << " output " << k;
    }
  }
}

TEST(RecursiveDCT, InverseUndoesForwardUpToHalfTheLength) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> value(-32768, 32767);
  for (int32_t logSize = kDCTMinLog; logSize <= kDCTMaxLog; ++logSize) {
    const int32_t n = 1 << logSize;
    std::vector<double> x(n), coefficients(n), back(n);
    for (double& v : x) v = value(random);
    mqForwardDCT(coefficients.data(), x.data(), 1, logSize);
    mqInverseDCT(back.data(), coefficients.data(), 1, logSize);
    for (int32_t i = 0; i < n; ++i) ASSERT_NEAR(back[i], x[i] * n / 2, 1e-6 * n) << n;
  }
}

TEST(SoundCoder, FrameRecordsAndWaveFormat) {
  for (int32_t n = kSoundMinLogFrame; n <= kSoundMaxLogFrame; ++n) {
    EXPECT_EQ(mqGetSoundFrameSize(n), 32u + (20u << n));
  }
  EXPECT_EQ(mqGetSoundFrameSize(4), 0u);
  EXPECT_EQ(mqGetSoundFrameSize(11), 0u);

  WAVEFORMATEX format;
  std::memset(&format, 0xAB, sizeof format);
  mqMakeWaveFormat(&format, 2, 22050);
  EXPECT_EQ(format.wFormatTag, WAVE_FORMAT_PCM);
  EXPECT_EQ(format.nChannels, 2);
  EXPECT_EQ(format.nSamplesPerSec, 22050u);
  EXPECT_EQ(format.nAvgBytesPerSec, 88200u);
  EXPECT_EQ(format.nBlockAlign, 4);
  EXPECT_EQ(format.wBitsPerSample, 16);
  EXPECT_EQ(format.cbSize, 0);

  const uint8_t unsignedSamples[] = {0, 1, 127, 128, 129, 255};
  int32_t biased[6];
  mqBiasSamples(biased, unsignedSamples, 6);
  EXPECT_EQ(std::vector<int32_t>(biased, biased + 6),
            (std::vector<int32_t>{-128, -127, -1, 0, 1, 127}));
}

TEST(SoundCoder, CurvesAreTwoToAQuadraticAndItsReciprocal) {
  const int32_t logFrame = 6, m = (1 << logFrame) - 1;
  std::vector<double> steps(m + 1), inverse(m + 1);
  // Points on a line: the exponent is linear.
  const int32_t line[3] = {-2 << 16, 1 << 16, 4 << 16};
  mqMakeSoundCurve(steps.data(), logFrame, line);
  for (int32_t k = 0; k <= m; ++k) ASSERT_NEAR(std::log2(steps[k]), -2 + 6.0 * k / m, 1e-9) << k;
  // A bent curve still meets its end points, rises and stays below the line through them.
  const int32_t bent[3] = {0, 3 << 16, 4 << 16};
  mqMakeSoundCurve(steps.data(), logFrame, bent);
  mqMakeInverseSoundCurve(inverse.data(), logFrame, bent);
  EXPECT_DOUBLE_EQ(steps[0], 1.0);
  EXPECT_NEAR(steps[m], 16.0, 1e-9);
  EXPECT_NEAR(std::log2(steps[m / 2]) + std::log2(steps[m / 2 + 1]), 6.0, 0.2);
  for (int32_t k = 0; k <= m; ++k) {
    ASSERT_NEAR(steps[k] * inverse[k], 1.0, 1e-12);
    if (k > 0) {
      ASSERT_GT(steps[k], steps[k - 1]);
    }
  }
}

TEST(SoundCoder, EqualiserInterpolatesDecibelsByFrequency) {
  const int32_t logFrame = 5, n = 1 << logFrame;
  const uint32_t rate = 64000;  // coefficient k stands at 1000 k Hz
  std::vector<double> steps(n, 2.0);
  mqApplySoundEqualizer(steps.data(), logFrame, rate, nullptr, 0);
  EXPECT_EQ(steps, std::vector<double>(n, 2.0)) << "no bands, no change";

  const SoundEqualizerBand bands[] = {{4000, 0.0f}, {8000, -20.0f}, {16000, 6.0f}};
  mqApplySoundEqualizer(steps.data(), logFrame, rate, bands, 3);
  auto gainAt = [&](int32_t k) { return 20 * std::log10(steps[k] / 2.0); };
  EXPECT_NEAR(gainAt(0), 0, 1e-9) << "held flat below the first band";
  EXPECT_NEAR(gainAt(4), 0, 1e-9);
  EXPECT_NEAR(gainAt(6), -10, 1e-6) << "half way between 0 and -20 dB";
  EXPECT_NEAR(gainAt(8), -20, 1e-6);
  EXPECT_NEAR(gainAt(12), -7, 1e-6);
  EXPECT_NEAR(gainAt(16), 6, 1e-6);
  EXPECT_NEAR(gainAt(31), 6, 1e-6) << "held flat beyond the last band";
}

// A frame record in aligned memory.
struct Frame {
  std::vector<uint64_t> memory;
  SoundFrame* frame;
  explicit Frame(int32_t logFrame)
      : memory(mqGetSoundFrameSize(logFrame) / 8 + 1),
        frame(mqInitSoundFrame(memory.data(), logFrame)) {}
};

TEST(SoundCoder, FrameTransformRoundTripsAndPicksTheSmallestShift) {
  const int32_t logFrame = 8, n = 1 << logFrame;
  Frame f(logFrame);
  ASSERT_EQ(f.frame->size, 32u + (20u << logFrame));
  std::mt19937 random(8);
  std::vector<int16_t> samples(2 * n), back(2 * n, 0x5555);
  for (int16_t& s : samples) s = int16_t(random() % 20001) - 10000;
  // Fine steps and no shift: the samples come back within rounding.
  std::vector<double> steps(n, 1.0 / 64), inverse(n, 64.0);
  mqTransformSoundFrame(f.frame, samples.data() + 1, 2, n, inverse.data(), 0);
  EXPECT_EQ(f.frame->shift, 0);
  mqInverseSoundFrame(f.frame, back.data() + 1, 2, n, steps.data());
  for (int32_t i = 0; i < n; ++i) {
    ASSERT_NEAR(back[2 * i + 1], samples[2 * i + 1], 1) << i;
    ASSERT_EQ(back[2 * i], 0x5555) << "the other channel's samples stay as they were";
  }
  // With 6 peak bits the largest magnitude lands in [32, 64): the shift is the smallest that
  // keeps it below 64.
  mqTransformSoundFrame(f.frame, samples.data(), 2, n, inverse.data(), 6);
  int32_t largest = 0;
  for (int32_t k = 0; k < n; ++k) largest = std::max(largest, std::abs(f.frame->coefficients()[k]));
  EXPECT_GT(f.frame->shift, 0);
  EXPECT_LT(largest, 64);
  EXPECT_GE(largest, 31);
}

// Signal-to-noise ratio in decibels of `decoded` against `original`.
double snr(const std::vector<int16_t>& original, const std::vector<int16_t>& decoded) {
  double signal = 0, noise = 0;
  for (size_t i = 0; i < original.size(); ++i) {
    signal += double(original[i]) * original[i];
    noise += (double(original[i]) - decoded[i]) * (double(original[i]) - decoded[i]);
  }
  return noise == 0 ? 200 : 10 * std::log10(signal / noise);
}

SoundHeader soundHeader(uint32_t channels, uint32_t frames, uint32_t bits, uint32_t logFrame) {
  SoundHeader h{};
  h.channels = channels;
  h.sampleRate = 44100;
  h.frameCount = frames;
  h.sourceBits = bits;
  h.logFrame = logFrame;
  h.curve[0] = 0;
  h.curve[1] = 1 << 16;
  h.curve[2] = 3 << 16;
  return h;
}

std::vector<uint8_t> compressSound(const SoundHeader& h, const void* samples, uint32_t peakBits) {
  uint32_t bytes = 0;
  uint8_t* data = mqCompressSound(&h, samples, peakBits, &bytes);
  EXPECT_NE(data, nullptr);
  if (data == nullptr) return {};
  std::vector<uint8_t> out(data, data + bytes);
  mqFreeCompressed(data);
  return out;
}

// Decodes into a buffer with guard samples behind the sound, which must survive.
std::vector<int16_t> decompressSound(const std::vector<uint8_t>& data, size_t samples) {
  std::vector<int16_t> out(samples + 16, 0x7A7A);
  EXPECT_EQ(mqDecompressSound(data.data(), data.size(), out.data(), samples, nullptr, 0),
            kSoundDone);
  for (size_t i = samples; i < out.size(); ++i) EXPECT_EQ(out[i], 0x7A7A) << "written past the end";
  out.resize(samples);
  return out;
}

std::vector<int16_t> sine(uint32_t count, uint32_t channels, double hertz, double amplitude) {
  std::vector<int16_t> s(size_t(count) * channels);
  for (uint32_t i = 0; i < count; ++i) {
    for (uint32_t c = 0; c < channels; ++c) {
      s[i * channels + c] =
          int16_t(std::lround(amplitude * std::sin(2 * kPi * hertz * (c + 1) * i / 44100)));
    }
  }
  return s;
}

TEST(SoundCoder, SinesCompressWellAndComeBackClean) {
  const uint32_t count = 44100;
  for (uint32_t logFrame : {5u, 8u, 10u}) {
    std::vector<int16_t> tone = sine(count, 2, 440, 20000);
    SoundHeader h = soundHeader(2, count, 16, logFrame);
    std::vector<uint8_t> data = compressSound(h, tone.data(), 10);
    std::vector<int16_t> back = decompressSound(data, tone.size());
    EXPECT_GT(snr(tone, back), 40) << "frames of " << (1 << logFrame);
    // Short frames leak more of a tone into neighbouring coefficients.
    const size_t ratio = logFrame == 5 ? 3 : 6;
    EXPECT_LT(data.size(), tone.size() * 2 / ratio) << "frames of " << (1 << logFrame);
  }
  // More peak bits, finer steps, better sound.
  std::vector<int16_t> tone = sine(count, 1, 1000, 12000);
  SoundHeader h = soundHeader(1, count, 16, 9);
  double coarse = snr(tone, decompressSound(compressSound(h, tone.data(), 6), tone.size()));
  double fine = snr(tone, decompressSound(compressSound(h, tone.data(), 12), tone.size()));
  EXPECT_GT(coarse, 25);
  EXPECT_GT(fine, coarse + 20);
}

TEST(SoundCoder, NoiseSilenceAndFullScaleSquares) {
  const uint32_t count = 20000;
  std::mt19937 random(11);
  std::vector<int16_t> noise(count);
  for (int16_t& s : noise) s = int16_t(int32_t(random() % 40001) - 20000);
  SoundHeader h = soundHeader(1, count, 16, 9);
  EXPECT_GT(snr(noise, decompressSound(compressSound(h, noise.data(), 10), count)), 18);

  std::vector<int16_t> silence(count, 0);
  std::vector<uint8_t> quiet = compressSound(h, silence.data(), 10);
  EXPECT_LT(quiet.size(), 200u);
  EXPECT_EQ(decompressSound(quiet, count), silence);

  // Square waves between the extremes: decoding clips instead of wrapping round.
  std::vector<int16_t> square(count);
  for (uint32_t i = 0; i < count; ++i) square[i] = (i / 50) % 2 ? int16_t(32767) : int16_t(-32768);
  std::vector<int16_t> back = decompressSound(compressSound(h, square.data(), 10), count);
  EXPECT_GT(snr(square, back), 20);
  for (uint32_t i = 0; i < count; ++i) {
    ASSERT_EQ(back[i] > 0, square[i] > 0) << "a clipped extreme must not flip sign at " << i;
  }
}

TEST(SoundCoder, EightBitSamplesAndOddLengths) {
  // 8-bit: decoding gives 16-bit samples, (s - 128) * 256.
  const uint32_t count = 3001;
  std::vector<uint8_t> bytes(count);
  std::vector<int16_t> expected(count);
  for (uint32_t i = 0; i < count; ++i) {
    bytes[i] = uint8_t(128 + std::lround(100 * std::sin(2 * kPi * 300 * i / 44100)));
    expected[i] = int16_t((bytes[i] - 128) * 256);
  }
  SoundHeader h = soundHeader(1, count, 8, 7);
  EXPECT_GT(snr(expected, decompressSound(compressSound(h, bytes.data(), 10), count)), 35);

  // Lengths that leave a part frame, one sample, and nothing; stereo keeps its channels apart.
  for (uint32_t frames : {0u, 1u, 31u, 33u, 1025u}) {
    std::vector<int16_t> tone = sine(frames, 2, 2000, 15000);
    SoundHeader stereo = soundHeader(2, frames, 16, 5);
    std::vector<int16_t> back =
        decompressSound(compressSound(stereo, tone.data(), 12), tone.size());
    if (frames > 1) {
      EXPECT_GT(snr(tone, back), 40) << frames;
    }
    for (size_t i = 0; i < tone.size(); ++i) {
      ASSERT_NEAR(back[i], tone[i], 400) << frames << " " << i;
    }
  }
}

TEST(SoundCoder, DecoderEqualiserChangesTheLevel) {
  const uint32_t count = 8192;
  std::vector<int16_t> tone = sine(count, 1, 1000, 10000);
  std::vector<uint8_t> data = compressSound(soundHeader(1, count, 16, 9), tone.data(), 12);
  const SoundEqualizerBand cut[] = {{0, -6.0206f}};  // half the amplitude everywhere
  std::vector<int16_t> halved(count), full = decompressSound(data, count);
  ASSERT_EQ(mqDecompressSound(data.data(), data.size(), halved.data(), count, cut, 1), kSoundDone);
  for (uint32_t i = 0; i < count; ++i) ASSERT_NEAR(halved[i], full[i] / 2.0, 1) << i;
  // Cutting the highs keeps a low tone and silences a high one.
  const SoundEqualizerBand lowPass[] = {{4000, 0.0f}, {6000, -60.0f}};
  std::vector<int16_t> mixed = sine(count, 1, 1000, 8000), high = sine(count, 1, 10000, 8000);
  for (uint32_t i = 0; i < count; ++i) mixed[i] = int16_t(mixed[i] + high[i]);
  data = compressSound(soundHeader(1, count, 16, 9), mixed.data(), 12);
  std::vector<int16_t> filtered(count);
  ASSERT_EQ(mqDecompressSound(data.data(), data.size(), filtered.data(), count, lowPass, 2),
            kSoundDone);
  EXPECT_GT(snr(sine(count, 1, 1000, 8000), filtered), 25);
}

TEST(SoundCoder, BadHeadersAndDamagedStreamsFailClearly) {
  std::vector<int16_t> tone = sine(4000, 1, 500, 8000);
  SoundHeader h = soundHeader(1, 4000, 16, 8);
  std::vector<uint8_t> data = compressSound(h, tone.data(), 10);
  std::vector<int16_t> out(4000);
  auto decode = [&](const std::vector<uint8_t>& bytes, size_t capacity = 4000) {
    return mqDecompressSound(bytes.data(), bytes.size(), out.data(), capacity, nullptr, 0);
  };
  ASSERT_EQ(decode(data), kSoundDone);
  EXPECT_EQ(decode(data, 3999), kSoundNoRoom);
  EXPECT_EQ(decode(std::vector<uint8_t>(data.begin(), data.begin() + 39)), kSoundBadHeader);
  EXPECT_EQ(decode(std::vector<uint8_t>(data.begin(), data.end() - 1)), kSoundBadHeader)
      << "a stream cut short";
  auto withField = [&](size_t offset, uint32_t value) {
    std::vector<uint8_t> bytes = data;
    std::memcpy(&bytes[offset], &value, 4);
    return bytes;
  };
  EXPECT_EQ(decode(withField(0, 0x101)), kSoundBadHeader) << "version";
  EXPECT_EQ(decode(withField(4, 0)), kSoundBadHeader) << "no channels";
  EXPECT_EQ(decode(withField(16, 12)), kSoundBadHeader) << "bits";
  EXPECT_EQ(decode(withField(20, 11)), kSoundBadHeader) << "frame size";
  EXPECT_EQ(decode(withField(24, uint32_t(40 << 16))), kSoundBadHeader) << "curve";
  EXPECT_EQ(mqCompressSound(&h, tone.data(), 25, nullptr), nullptr) << "peak bits";
  SoundHeader tooWide = h;
  tooWide.channels = 9;
  EXPECT_EQ(mqCompressSound(&tooWide, tone.data(), 10, nullptr), nullptr);

  // A stream whose first shift is impossible.
  std::vector<int32_t> symbols(257 * 16, 0);
  symbols[0] = 40;
  std::vector<uint8_t> stream =
      mqEncodeSymbols(symbols.data(), uint32_t(symbols.size()), kMQUnit32 | kMQSigned, 15, 4096);
  std::vector<uint8_t> forged(sizeof h);
  h.version = kSoundVersion;
  h.streamSize = uint32_t(stream.size());
  std::memcpy(forged.data(), &h, sizeof h);
  forged.insert(forged.end(), stream.begin(), stream.end());
  EXPECT_EQ(decode(forged), kSoundBadStream);

  // Garbage in place of the stream decodes to something or fails, inside the buffers.
  std::mt19937 random(2);
  for (int trial = 0; trial < 20; ++trial) {
    std::vector<uint8_t> garbage = data;
    for (size_t i = sizeof h; i < garbage.size(); ++i) garbage[i] = uint8_t(random());
    uint32_t result = decode(garbage);
    EXPECT_TRUE(result == kSoundDone || result == kSoundBadStream) << result;
  }
}

}  // namespace
