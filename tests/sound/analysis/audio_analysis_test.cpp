#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <random>

#include "tests/sound/analysis/audio_analysis.h"
#include "tests/temp_dir.h"

namespace {

std::vector<float> sine(double frequency, double amplitude, size_t count, uint32_t rate = 44100) {
  std::vector<float> samples(count);
  for (size_t i = 0; i < count; ++i)
    samples[i] = static_cast<float>(amplitude * std::sin(2 * 3.14159265358979 * frequency * i / rate));
  return samples;
}

TEST(AudioAnalysisTest, ToneAmplitudeFindsTheSineItIsTunedToAndNotItsNeighbours) {
  std::vector<float> mixed = sine(440, 0.5, 44100), other = sine(660, 0.25, 44100);
  for (size_t i = 0; i < mixed.size(); ++i) mixed[i] += other[i];
  EXPECT_NEAR(audio::toneAmplitude(mixed, 0, 882, 440, 44100), 0.5, 0.02);
  EXPECT_NEAR(audio::toneAmplitude(mixed, 1000, 882, 660, 44100), 0.25, 0.02);
  EXPECT_LT(audio::toneAmplitude(mixed, 0, 882, 880, 44100), 0.02);
  std::vector<double> track = audio::toneTrack(mixed, 440, 44100, 882);
  EXPECT_EQ(track.size(), 50u);
}

TEST(AudioAnalysisTest, LevelsAndSpansLocateWhereASoundIs) {
  std::vector<float> samples(44100, 0.0f);
  std::vector<float> burst = sine(1000, 0.4, 8820);
  std::copy(burst.begin(), burst.end(), samples.begin() + 17640);
  std::vector<double> levels = audio::windowLevels(samples, 441);
  ASSERT_EQ(levels.size(), 100u);
  EXPECT_NEAR(levels[45], 0.4 / std::sqrt(2.0), 0.01);
  EXPECT_EQ(levels[10], 0.0);
  std::vector<audio::Span> spans = audio::spansAbove(levels, 0.1, 3);
  ASSERT_EQ(spans.size(), 1u);
  EXPECT_EQ(spans[0].begin, 40u);
  EXPECT_EQ(spans[0].end, 60u);
  EXPECT_EQ(audio::findOnset(samples, 0.05), 17640u + 1);
  std::vector<double> gapped = {0, 1, 1, 0, 1, 1, 0, 0, 0, 1};
  EXPECT_EQ(audio::spansAbove(gapped, 0.5, 2).size(), 2u);
  std::vector<audio::Span> bridged = audio::spansAbove(gapped, 0.5, 2, 2);
  ASSERT_EQ(bridged.size(), 1u);
  EXPECT_EQ(bridged[0].length(), 5u);
  EXPECT_DOUBLE_EQ(audio::meanOver(gapped, {1, 3}), 1.0);
}

TEST(AudioAnalysisTest, CrossCorrelationFindsAScaledCopyWithinTheLatencyWindow) {
  std::mt19937 random(9);
  std::uniform_real_distribution<float> noise(-1, 1);
  std::vector<float> reference(2000), signal(20000);
  for (float& r : reference) r = noise(random);
  for (float& s : signal) s = 0.01f * noise(random);
  for (size_t i = 0; i < reference.size(); ++i) signal[7321 + i] += 0.3f * reference[i];
  audio::Match match = audio::crossCorrelate(signal, reference, 5000, 12000);
  EXPECT_EQ(match.lag, 7321u);
  EXPECT_GT(match.correlation, 0.95);
  EXPECT_LT(audio::crossCorrelate(signal, reference, 0, 5000).correlation, 0.2) << "outside the window";
}

TEST(AudioAnalysisTest, RawRecordingsReadAsInterleavedSignedWords) {
  TempDir dir;
  const int16_t words[6] = {16384, -16384, 0, 32767, -32768, 8192};
  std::string path = dir.write("r.raw", std::string(reinterpret_cast<const char*>(words), sizeof words));
  audio::Recording recording;
  ASSERT_TRUE(audio::readRawRecording(path, &recording));
  ASSERT_EQ(recording.frames(), 3u);
  EXPECT_FLOAT_EQ(recording.channels[0][0], 0.5f);
  EXPECT_FLOAT_EQ(recording.channels[1][0], -0.5f);
  EXPECT_FLOAT_EQ(recording.channels[0][2], -1.0f);
  EXPECT_FLOAT_EQ(recording.mono()[0], 0.0f);
  EXPECT_FALSE(audio::readRawRecording(dir.file("missing.raw"), &recording));
}

}  // namespace
