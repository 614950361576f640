#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "base/error.h"
#include "sound/wave/mix_kernels.h"

namespace {

WAVEFORMATEX pcm(uint16_t channels, uint16_t bits, uint32_t rate = 22050) {
  WAVEFORMATEX f{};
  f.wFormatTag = WAVE_FORMAT_PCM;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = bits;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  return f;
}

float floatOf(uint32_t bits) {
  float f;
  std::memcpy(&f, &bits, 4);
  return f;
}

const char* lastMessage() {
  const char* m = vkGetErrorRecord()->message;
  return m ? m : "";
}

// Runs the body once per variant this processor has, with that variant active.
template <typename Body>
void forEachVariant(Body body) {
  MixVariant saved = activeMixVariant();
  for (MixVariant v : {MixVariant::Plain, MixVariant::SSE2, MixVariant::AVX2}) {
    if (!mixVariantAvailable(v)) continue;
    setActiveMixVariant(v);
    SCOPED_TRACE(static_cast<int>(v));
    body();
  }
  setActiveMixVariant(saved);
}

TEST(MixVolumeTest, FloatsReduceToHalfOctavesByTheirBits) {
  struct Case {
    float value;
    int32_t reduced;
  } cases[] = {{0.0f, -30}, {0.375f, -3}, {0.5f, -2}, {0.75f, -1}, {1.0f, 0},  {1.25f, 1},   {1.7f, 1},
               {1.75f, 2},  {2.0f, 2},    {3.0f, 3},  {4.0f, 4},   {128.0f, 14}, {1e9f, 14}, {-1.0f, 0}};
  for (const Case& c : cases) {
    uint32_t bits;
    std::memcpy(&bits, &c.value, 4);
    EXPECT_EQ(reducedVolume(bits), c.reduced) << c.value;
  }
  MixSide s = mixSideOf(-3);
  EXPECT_EQ(s.right, 2u);
  EXPECT_EQ(s.left, 0u);
  EXPECT_EQ(s.halfMask, -1);
  s = mixSideOf(-30);
  EXPECT_EQ(s.right, 15u);
  EXPECT_EQ(s.halfMask, 0);
  s = mixSideOf(5);
  EXPECT_EQ(s.left, 2u);
  EXPECT_EQ(s.halfMask, -1);
}

TEST(WaveMixTest, UnityAddsWithSaturationAtBothEndsOnEveryVariant) {
  WAVEFORMATEX f = pcm(2, 16);
  forEachVariant([&] {
    // 19 frames: 38 values, not a multiple of 8 or 16, so the tails run too.
    std::vector<int16_t> dst(38), src(38);
    for (size_t i = 0; i < dst.size(); ++i) {
      dst[i] = static_cast<int16_t>(i % 3 == 0 ? 30000 : i % 3 == 1 ? -30000 : 100);
      src[i] = static_cast<int16_t>(i % 2 ? 5000 : -5000);
    }
    std::vector<int16_t> expected(dst.size());
    for (size_t i = 0; i < dst.size(); ++i)
      expected[i] = static_cast<int16_t>(std::clamp(dst[i] + src[i], -32768, 32767));
    ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), nullptr, 19), 0u);
    EXPECT_EQ(dst, expected);
  });
}

TEST(WaveMixTest, GainsShiftAndTakeTheHalfStep) {
  WAVEFORMATEX f = pcm(1, 16);
  forEachVariant([&] {
    struct Case {
      float volume;
      int16_t source, result;
    } cases[] = {{0.375f, 1000, 375},  {0.375f, -1000, -375}, {1.5f, 1001, 1501}, {1.5f, -1001, -1502},
                 {3.0f, 1000, 3000},   {0.0f, -1, -1},        {0.0f, 1, 0},       {0.0f, -32768, -1},
                 {128.0f, 300, 32767}, {4.0f, -9000, -32768}};
    for (const Case& c : cases) {
      std::vector<int16_t> dst(24, 0), src(24, c.source);
      ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), &c.volume, 24), 0u);
      EXPECT_EQ(dst, std::vector<int16_t>(24, c.result)) << c.volume << " " << c.source;
    }
  });
}

TEST(WaveMixTest, EightBitSamplesAreCentredAndSaturateAgainstTheRawByte) {
  WAVEFORMATEX f = pcm(1, 8);
  uint8_t dst[4] = {0x80, 0x10, 0xF0, 0x80};
  uint8_t src[4] = {0x90, 0x00, 0xFF, 0x7F};
  float zero = 0.0f;
  ASSERT_EQ(WaveMix(&f, dst, src, nullptr, 4), 0u);
  EXPECT_EQ(std::vector<uint8_t>(dst, dst + 4), (std::vector<uint8_t>{0x90, 0x00, 0xFF, 0x7F}));
  // A volume of 0.0 is a shift by 15: -1 for every negative centred value, 0 otherwise.
  ASSERT_EQ(WaveMix(&f, dst, src, &zero, 4), 0u);
  EXPECT_EQ(std::vector<uint8_t>(dst, dst + 4), (std::vector<uint8_t>{0x90, 0x00, 0xFF, 0x7E}));
}

TEST(WaveMixTest, ANegativeVolumeOnOneSideSubtractsOnBothWithEachSidesMagnitude) {
  WAVEFORMATEX f = pcm(2, 16);
  forEachVariant([&] {
    std::vector<int16_t> dst(40, 1000), src(40, 400);
    float volume[2] = {1.0f, -2.0f};
    ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), volume, 20), 0u);
    for (size_t i = 0; i < dst.size(); ++i) EXPECT_EQ(dst[i], i % 2 ? 200 : 600) << i;
  });
}

TEST(WaveMixTest, AddingThenSubtractingTheSameGainRestoresTheMix) {
  std::mt19937 random(7);
  for (uint16_t bits : {8, 16}) {
    WAVEFORMATEX f = pcm(2, bits);
    std::vector<uint8_t> dst(400), src(400);
    for (auto& b : dst) b = static_cast<uint8_t>(bits == 8 ? 0x70 + random() % 32 : random() % 64);
    for (auto& b : src) b = static_cast<uint8_t>(bits == 8 ? 0x70 + random() % 32 : random() % 64);
    if (bits == 16)
      for (size_t i = 1; i < dst.size(); i += 2) dst[i] = src[i] = 0;  // small words: no saturation
    std::vector<uint8_t> original = dst;
    float add[2] = {0.75f, 1.5f}, take[2] = {-0.75f, -1.5f};
    ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), add, 100), 0u);
    EXPECT_NE(dst, original);
    ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), take, 100), 0u);
    EXPECT_EQ(dst, original) << bits;
  }
}

// The vector variants against the plain one, over random formats, volumes, lengths and offsets.
TEST(WaveMixTest, VectorVariantsEqualThePlainLoopToTheBit) {
  std::mt19937 random(2024);
  auto randomVolume = [&]() -> float {
    switch (random() % 5) {
      case 0: return floatOf(random());  // any pattern: NaN, infinities, denormals, huge
      case 1: return 0.0f;
      case 2: return static_cast<float>(random() % 1000) / 100.0f;
      case 3: return -static_cast<float>(random() % 1000) / 100.0f;
      default: return floatOf(0x3F800000u + (random() % 8) * 0x400000u);  // the steps from 1 to 16
    }
  };
  for (int round = 0; round < 3000; ++round) {
    WAVEFORMATEX f = pcm(static_cast<uint16_t>(1 + random() % 2), 16);
    uint32_t count = random() % 300, offset = random() % 8;
    std::vector<int16_t> src(offset + count * 2 + 1), start(offset + count * 2 + 1);
    bool loud = random() % 2;
    for (auto& s : src) s = static_cast<int16_t>(loud ? random() : static_cast<int>(random() % 2000) - 1000);
    for (auto& s : start) s = static_cast<int16_t>(random());
    float volume[2] = {randomVolume(), randomVolume()};
    std::vector<int16_t> reference = start;
    MixPlan plan{};
    for (int c = 0; c < 2; ++c) {
      uint32_t bits;
      std::memcpy(&bits, &volume[f.nChannels == 1 ? 0 : c], 4);
      plan.side[c] = mixSideOf(reducedVolume(bits));
    }
    plan.subtract = std::signbit(volume[0]) || (f.nChannels == 2 && std::signbit(volume[1]));
    mix16Plain(reference.data() + offset, src.data() + offset, count * f.nChannels, plan);
    forEachVariant([&] {
      std::vector<int16_t> dst = start;
      ASSERT_EQ(WaveMix(&f, dst.data() + offset, src.data() + offset, volume, count), 0u);
      ASSERT_EQ(dst, reference) << "round " << round << " count " << count << " volumes " << volume[0] << ", "
                                << volume[1];
    });
  }
}

TEST(WaveChangeVolumeTest, NeighbouringStepsChangeInOnePassAndMatchADirectMix) {
  WAVEFORMATEX f = pcm(2, 16);
  std::mt19937 random(3);
  std::vector<int16_t> src(200);
  for (auto& s : src) s = static_cast<int16_t>(static_cast<int>(random() % 8000) - 4000);
  struct Case {
    float from, to;
  } cases[] = {{1.0f, 1.5f}, {1.0f, 2.0f}, {2.0f, 1.0f}, {1.5f, 6.0f}, {-1.0f, -2.0f}, {-2.0f, -1.0f}};
  for (const Case& c : cases) {
    float from[2] = {c.from, c.from}, to[2] = {c.to, c.to};
    std::vector<int16_t> changed(200, 0), direct(200, 0);
    ASSERT_EQ(WaveMix(&f, changed.data(), src.data(), from, 100), 0u);
    ASSERT_EQ(WaveChangeVolume(&f, changed.data(), src.data(), to, from, 100), 0u);
    ASSERT_EQ(WaveMix(&f, direct.data(), src.data(), to, 100), 0u);
    EXPECT_EQ(changed, direct) << c.from << " to " << c.to;
  }
}

TEST(WaveChangeVolumeTest, OneStepDownIsAQuarterOfTheOldGainTakenAway) {
  // From 1.0 (v 0) to 0.75 (v -1): one pass of -0.25, which differs from a direct mix at 0.75
  // by the rounding of the shifts.
  WAVEFORMATEX f = pcm(1, 16);
  int16_t src[1] = {1001}, dst[1] = {1001};
  float from = 1.0f, to = 0.75f;
  ASSERT_EQ(WaveChangeVolume(&f, dst, src, &to, &from, 1), 0u);
  EXPECT_EQ(dst[0], 1001 - (1001 >> 2));
}

TEST(WaveChangeVolumeTest, FarStepsAndRemovalTakeTwoPasses) {
  WAVEFORMATEX f = pcm(2, 16);
  std::vector<int16_t> src(64), base(64);
  for (size_t i = 0; i < 64; ++i) {
    src[i] = static_cast<int16_t>(i * 37 - 1000);
    base[i] = static_cast<int16_t>(i * 11);
  }
  float from[2] = {1.5f, 1.0f}, to[2] = {6.0f, 0.25f};  // v 1 to 5 and 0 to -4
  std::vector<int16_t> dst = base, direct = base;
  ASSERT_EQ(WaveMix(&f, dst.data(), src.data(), from, 32), 0u);
  ASSERT_EQ(WaveChangeVolume(&f, dst.data(), src.data(), to, from, 32), 0u);
  ASSERT_EQ(WaveMix(&f, direct.data(), src.data(), to, 32), 0u);
  EXPECT_EQ(dst, direct);
  // A null new volume takes the source out.
  ASSERT_EQ(WaveChangeVolume(&f, dst.data(), src.data(), nullptr, to, 32), 0u);
  EXPECT_EQ(dst, base);
  // The same pointer for both changes nothing, even on a buffer that was never mixed.
  std::vector<int16_t> untouched = base;
  ASSERT_EQ(WaveChangeVolume(&f, untouched.data(), src.data(), to, to, 32), 0u);
  EXPECT_EQ(untouched, base);
}

TEST(WaveChangeVolumeTest, ASignChangeTakesTwoPassesButASignAloneChangesNothing) {
  WAVEFORMATEX f = pcm(1, 16);
  int16_t src[8] = {100, 200, -300, 400, 500, -600, 700, 800}, dst[8] = {};
  float plus = 1.0f, minus = -1.0f, minusTwo = -2.0f;
  ASSERT_EQ(WaveMix(&f, dst, src, &plus, 8), 0u);
  ASSERT_EQ(WaveChangeVolume(&f, dst, src, &minus, &plus, 8), 0u);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[i], src[i]) << "equal steps: nothing to change";
  ASSERT_EQ(WaveChangeVolume(&f, dst, src, &minusTwo, &plus, 8), 0u);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(dst[i], -2 * src[i]);
}

TEST(WaveConvertTest, EqualRatesConvertWidthAndChannels) {
  WAVEFORMATEX m8 = pcm(1, 8), s8 = pcm(2, 8), m16 = pcm(1, 16), s16 = pcm(2, 16);
  uint8_t bytes[3] = {0x00, 0x80, 0xFF};
  int16_t words[3];
  ASSERT_EQ(WaveConvert(&m16, words, &m8, bytes, 3), 0u);
  EXPECT_EQ(words[0], -32768);
  EXPECT_EQ(words[1], 0);
  EXPECT_EQ(words[2], 0x7F00);
  int16_t extremes[3] = {-32768, 0x7FFF, -1};
  ASSERT_EQ(WaveConvert(&m8, bytes, &m16, extremes, 3), 0u);
  EXPECT_EQ(bytes[0], 0x00);
  EXPECT_EQ(bytes[1], 0xFF);
  EXPECT_EQ(bytes[2], 0x7F);
  int16_t stereo[4];
  uint8_t mono[2] = {0x90, 0x70};
  ASSERT_EQ(WaveConvert(&s16, stereo, &m8, mono, 2), 0u);
  EXPECT_EQ(std::vector<int16_t>(stereo, stereo + 4), (std::vector<int16_t>{0x1000, 0x1000, -0x1000, -0x1000}));
  int16_t pair[4] = {1000, 3001, -5, -6};
  int16_t averaged[2];
  ASSERT_EQ(WaveConvert(&m16, averaged, &s16, pair, 2), 0u);
  EXPECT_EQ(averaged[0], 2000);
  EXPECT_EQ(averaged[1], -6);
  uint8_t stereoBytes[2] = {0x00, 0xFF}, monoByte[1];
  ASSERT_EQ(WaveConvert(&m8, monoByte, &s8, stereoBytes, 1), 0u);
  EXPECT_EQ(monoByte[0], 0x7F);  // (-0x8000 + 0x7F00) >> 1 = -0x80, high byte 0x7F
}

TEST(WaveConvertTest, PowerOfTwoRatesAverageDownAndInterpolateUpWithALag) {
  WAVEFORMATEX r44 = pcm(1, 16, 44100), r11 = pcm(1, 16, 11025);
  int16_t in[8] = {0, 4, 8, 12, 100, 100, -3, -4};
  int16_t down[2];
  ASSERT_EQ(WaveConvert(&r11, down, &r44, in, 2), 0u);
  EXPECT_EQ(down[0], 6);   // (0 + 4 + 8 + 12) >> 2
  EXPECT_EQ(down[1], 48);  // (100 + 100 - 3 - 4) >> 2 = 193 >> 2
  int16_t few[3] = {0, 400, -400};
  int16_t up[10];
  ASSERT_EQ(WaveConvert(&r44, up, &r11, few, 10), 0u);
  EXPECT_EQ(std::vector<int16_t>(up, up + 10), (std::vector<int16_t>{0, 0, 0, 0, 0, 100, 200, 300, 400, 200}));
}

TEST(WaveConvertTest, OtherRatesStepInSixteenSixteenWithRounding) {
  WAVEFORMATEX r3 = pcm(1, 16, 30000), r2 = pcm(1, 16, 20000);
  // 3 outputs from 2 inputs at 20 to 30 kHz: step (1 << 16) / 2, half-way values rounded up.
  int16_t in[2] = {0, 101}, out[3];
  ASSERT_EQ(WaveConvert(&r3, out, &r2, in, 3), 0u);
  EXPECT_EQ(std::vector<int16_t>(out, out + 3), (std::vector<int16_t>{0, 51, 101}));
  // One output has no step to divide by; it is the first input.
  ASSERT_EQ(WaveConvert(&r3, out, &r2, in, 1), 0u);
  EXPECT_EQ(out[0], 0);
  // Stereo to mono with 8-bit output, through the rate change.
  WAVEFORMATEX s16 = pcm(2, 16, 20000), m8 = pcm(1, 8, 40000);
  int16_t stereo[4] = {0x1000, 0x3000, 0x1000, 0x3000};
  uint8_t bytes[4];
  ASSERT_EQ(WaveConvert(&m8, bytes, &s16, stereo, 4), 0u);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 4), (std::vector<uint8_t>{0xA0, 0xA0, 0xA0, 0xA0}));
}

TEST(WaveSizeConvertTest, RoundsUpForSourcesAndDownForDestinations) {
  WAVEFORMATEX r44 = pcm(2, 16, 44100), r22 = pcm(1, 8, 22050), r1 = pcm(1, 8, 1);
  EXPECT_EQ(WaveSizeConvert(&r44, &r22, 101, 0), 51u);
  EXPECT_EQ(WaveSizeConvert(&r44, &r22, 101, 1), 202u);
  EXPECT_EQ(WaveSizeConvert(&r22, &r44, 101, 1), 50u);
  EXPECT_EQ(WaveSizeConvert(&r44, &r22, 0, 0), 0u);
  EXPECT_EQ(WaveSizeConvert(&r44, &r22, 0, 1), 0u);
  EXPECT_EQ(WaveSizeConvert(&r1, &r44, 1, 1), 1u) << "a tiny ratio gives 1, not 0";
  EXPECT_EQ(WaveSizeConvert(&r44, &r22, 5, 2), 0u);
  EXPECT_STREQ(lastMessage(), "Invalid parameter is specified.");
}

TEST(WaveMeasureTest, MeanAbsoluteDeviationPerChannelOnTheSixteenBitScale) {
  WAVEFORMATEX s16 = pcm(2, 16), m8 = pcm(1, 8);
  int16_t frames[8] = {1000, 5, -1000, 5, 1000, 5, -1000, 5};
  uint32_t out[2] = {9, 9};
  ASSERT_EQ(WaveMeasure(out, &s16, frames, 4), 0u);
  EXPECT_EQ(out[0], 1000u);
  EXPECT_EQ(out[1], 0u);
  uint8_t bytes[4] = {0x80, 0x84, 0x80, 0x84};
  ASSERT_EQ(WaveMeasure(out, &m8, bytes, 4), 0u);
  EXPECT_EQ(out[0], 2u << 8);
  EXPECT_EQ(out[1], 0u) << "the second word is cleared for mono";
  out[0] = 77;
  ASSERT_EQ(WaveMeasure(out, &m8, bytes, 0), 0u);
  EXPECT_EQ(out[0], 77u) << "a count of 0 touches nothing";
}

TEST(MixKernelErrorTest, BadFormatsAreRefusedWithTheirTextsAndBuffersUntouched) {
  uint8_t dst[64] = {1, 2, 3}, src[64] = {4, 5, 6};
  uint8_t saved[64];
  std::memcpy(saved, dst, 64);
  WAVEFORMATEX tag = pcm(1, 16), channels = pcm(1, 16), bits = pcm(1, 16), good = pcm(1, 16);
  tag.wFormatTag = 2;
  channels.nChannels = 0;
  bits.wBitsPerSample = 12;
  uint32_t out[2];
  struct Case {
    uint32_t result;
    const char* text;
  } cases[] = {
      {WaveMix(&tag, dst, src, nullptr, 4), "Invalid wave format tag is specified."},
      {WaveMix(&channels, dst, src, nullptr, 4), "Invalid channel number is specified."},
      {WaveMix(&bits, dst, src, nullptr, 4), "Invalid bit count is specified."},
      {WaveMeasure(out, &tag, src, 4), "Invalid wave format tag is specified."},
      {WaveSilence(&channels, dst, 4), "Invalid channel number is specified."},
      {WaveSilence(&bits, dst, 4), "Invalid bit count is specified."},
      {WaveConvert(&good, dst, &tag, src, 4), "Invalid wave format tag is specified."},
      {WaveConvert(&channels, dst, &good, src, 4), "Invalid channel number is specified."},
      {WaveConvert(&good, dst, &bits, src, 4), "Invalid bit count is specified."},
      {WaveConvert(&bits, dst, &good, src, 4), "Invalid bit count is specified."},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.result, 2u) << c.text;
  }
  EXPECT_EQ(std::memcmp(dst, saved, 64), 0);
  WAVEFORMATEX noRate = pcm(1, 16, 0);
  EXPECT_EQ(WaveConvert(&good, dst, &noRate, src, 4), 2u) << "a rate of 0 cannot be reached by doubling";
  EXPECT_STREQ(lastMessage(), "Invalid parameter is specified.");
  EXPECT_EQ(WaveMix(&tag, dst, src, nullptr, 0), 0u) << "a count of 0 returns before the checks";
  EXPECT_EQ(vkGetErrorRecord()->code, 0u);
}

TEST(MixKernelErrorTest, EachRefusalNamesItsUnitAndText) {
  WAVEFORMATEX tag = pcm(1, 16);
  tag.wFormatTag = 0x11;
  uint8_t buffer[8] = {};
  WaveMix(&tag, buffer, buffer, nullptr, 1);
  EXPECT_STREQ(vkGetErrorRecord()->source, "MixSound");
  EXPECT_STREQ(lastMessage(), "Invalid wave format tag is specified.");
}

TEST(WaveSilenceTest, FillsWithTheCentreOfEachWidth) {
  WAVEFORMATEX s8 = pcm(2, 8), m16 = pcm(1, 16);
  uint8_t bytes[10];
  std::memset(bytes, 1, 10);
  ASSERT_EQ(WaveSilence(&s8, bytes, 4), 0u);
  EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 10), (std::vector<uint8_t>{0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
                                                                           0x80, 1, 1}));
  int16_t words[3] = {5, 5, 5};
  ASSERT_EQ(WaveSilence(&m16, words, 2), 0u);
  EXPECT_EQ(std::vector<int16_t>(words, words + 3), (std::vector<int16_t>{0, 0, 5}));
}

}  // namespace
