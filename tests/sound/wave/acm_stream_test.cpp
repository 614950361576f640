// Compressed waves written by sox, decoded through the stream calls (the system's codecs under
// Wine, the engine's own natively) and compared with sox's decoding of the same files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "base/error.h"
#include "files/file_obj.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/adpcm.h"
#include "sound/wave/mix_kernels.h"
#include "sound/wave/wave_file.h"

namespace {

std::string samplePath(const std::string& name) { return std::string(WAVE_SAMPLES) + "/" + name; }

std::vector<int16_t> readRaw(const std::string& name) {
  std::ifstream in(samplePath(name), std::ios::binary);
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  std::vector<int16_t> samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

struct SampleWave {
  WaveData wave;
  explicit SampleWave(const std::string& name) {
    KRawFile file;
    EXPECT_EQ(file.Open(samplePath(name).c_str(), FILE_READ), 0u) << name;
    EXPECT_EQ(readWaveFile(&file, &wave), 0u) << name;
  }
  ~SampleWave() { freeWaveData(&wave); }
};

WAVEFORMATEX pcmLike(const WAVEFORMATEX& source, uint16_t bits) {
  return pcmFormat(source.nChannels, bits, source.nSamplesPerSec);
}

// The engine's decoders and the system's IMA codec give sox's samples exactly; the system's
// MS ADPCM codec rounds its prediction in another way, which drifts by a few steps.
int tolerance(uint16_t tag) {
#ifdef _WIN32
  if (tag == kWaveFormatMsAdpcm) return 64;
#endif
  return 0;
}

class AcmStreamTest : public ::testing::TestWithParam<const char*> {};

TEST_P(AcmStreamTest, DecodesWhatSoxWroteAsSoxDecodesIt) {
  std::string name = GetParam();
  SampleWave sample(name + ".wav");
  ASSERT_NE(sample.wave.format, nullptr);
  const WAVEFORMATEX& format = *sample.wave.format;
  ASSERT_NE(format.wFormatTag, WAVE_FORMAT_PCM);
  WAVEFORMATEX pcm = pcmLike(format, 16);
  KACMStream stream;
  ASSERT_EQ(stream.Open(&pcm, &format), 0u);
  uint32_t size = stream.GetDestinationSize(sample.wave.dataSize);
  ASSERT_GT(size, 0u);
  std::vector<int16_t> decoded(size / 2);
  uint32_t used = sample.wave.dataSize, made = size;
  ASSERT_EQ(stream.Convert(decoded.data(), &made, sample.wave.data, &used, acm::kConvertBlockAlign), 0u);
  ASSERT_EQ(stream.Close(), 0u);
  EXPECT_EQ(used, sample.wave.dataSize - sample.wave.dataSize % format.nBlockAlign) << "whole blocks are used";
  decoded.resize(made / 2);

  // sox ends at the length its fact chunk states; the codec gives the whole last block.
  std::vector<int16_t> expected = readRaw(name + ".raw");
  ASSERT_GE(decoded.size(), expected.size());
  uint32_t blockValues = (made / 2) / (sample.wave.dataSize / format.nBlockAlign);
  EXPECT_LT(decoded.size() - expected.size(), blockValues);
  size_t differing = 0;
  int maxDifference = 0;
  for (size_t i = 0; i < expected.size(); ++i) {
    int difference = std::abs(decoded[i] - expected[i]);
    differing += difference != 0;
    maxDifference = std::max(maxDifference, difference);
  }
  EXPECT_LE(maxDifference, tolerance(format.wFormatTag)) << name << ": " << differing << " samples differ";
}

INSTANTIATE_TEST_SUITE_P(SoxWaves, AcmStreamTest,
                         ::testing::Values("ima_mono_22k", "ima_stereo_44k", "ms_mono_11k", "ms_stereo_22k"));

TEST(AcmStreamSizeTest, SizesFollowWholeBlocksAndShortSourcesAreAskedAgainDoubled) {
  SampleWave sample("ima_mono_22k.wav");
  const WAVEFORMATEX& format = *sample.wave.format;
  WAVEFORMATEX pcm = pcmLike(format, 16);
  KACMStream stream;
  ASSERT_EQ(stream.Open(&pcm, &format), 0u);
  uint32_t block = format.nBlockAlign, perBlock = stream.GetDestinationSize(block);
  uint16_t samplesPerBlock;
  std::memcpy(&samplesPerBlock, reinterpret_cast<const uint8_t*>(&format) + 18, 2);
  EXPECT_EQ(perBlock, samplesPerBlock * 2u);
  EXPECT_EQ(stream.GetDestinationSize(0), 0u);
  EXPECT_EQ(stream.GetDestinationSize(5 * block), 5 * perBlock);
  // Codecs differ on parts of a block; one that refuses a short source is asked again with
  // twice as much, so a third of a block still gets the size of at least one block.
  EXPECT_GE(stream.GetDestinationSize(block / 3), perBlock);
}

TEST(AcmStreamSizeTest, SamplesToBytesOfAFourBitCodecIsZero) {
  SampleWave sample("ms_mono_11k.wav");
  EXPECT_EQ(FormatSamplesToBytes(sample.wave.format, 1000), 0u)
      << "the PCM length is formed with the codec's 4 bits, which makes 0 bytes";
}

TEST(AcmStreamErrorTest, AFormatNoCodecTakesIsRefusedWithItsText) {
  WAVEFORMATEX source{};
  source.wFormatTag = 0x7A7A;
  source.nChannels = 1;
  source.nSamplesPerSec = 22050;
  source.nBlockAlign = 64;
  source.wBitsPerSample = 4;
  WAVEFORMATEX pcm = pcmLike(source, 16);
  KACMStream stream;
  EXPECT_EQ(stream.Open(&pcm, &source), VK_ERROR_SOUND);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Fialed ACM open");
  EXPECT_STREQ(vkGetErrorRecord()->source, "WavSound");
}

TEST(AdpcmLayoutTest, RecordsThatDoNotFitTheirBlocksAreRefused) {
  struct Record {
    WAVEFORMATEX format;
    uint16_t samplesPerBlock, coefficients;
    int16_t pairs[14];
  };
  Record r{};
  r.format.wFormatTag = kWaveFormatMsAdpcm;
  r.format.nChannels = 1;
  r.format.nBlockAlign = 256;
  r.format.wBitsPerSample = 4;
  r.format.cbSize = 32;
  r.samplesPerBlock = 500;
  r.coefficients = 7;
  AdpcmLayout layout;
  EXPECT_TRUE(adpcmLayoutOf(&r.format, &layout));
  r.samplesPerBlock = 501;  // (256 - 7) * 2 + 2 = 500 fit in a block
  EXPECT_FALSE(adpcmLayoutOf(&r.format, &layout));
  r.samplesPerBlock = 500;
  r.coefficients = 8;  // more pairs than cbSize holds
  EXPECT_FALSE(adpcmLayoutOf(&r.format, &layout));
  r.coefficients = 7;
  r.format.nChannels = 0;
  EXPECT_FALSE(adpcmLayoutOf(&r.format, &layout));
  r.format.nChannels = 2;
  r.format.nBlockAlign = 12;  // shorter than two channels' headers
  EXPECT_FALSE(adpcmLayoutOf(&r.format, &layout));
  r.format.wFormatTag = kWaveFormatImaAdpcm;
  r.format.nBlockAlign = 0;
  EXPECT_FALSE(adpcmLayoutOf(&r.format, &layout));
}

TEST(AdpcmDecodeTest, AStepThatKeepsGrowingSaturatesInsteadOfOverflowing) {
  AdpcmLayout layout{};
  layout.tag = kWaveFormatMsAdpcm;
  layout.channels = 1;
  layout.blockAlign = 7 + 256;
  layout.samplesPerBlock = 2 + 512;
  layout.coefficientCount = 1;
  layout.coefficients[0] = 256;  // predict the newer sample
  std::vector<uint8_t> block(layout.blockAlign, 0x88);  // every nibble -8, the step's largest factor
  block[0] = 0;
  const int16_t step = 32767, newer = 0, older = 0;
  std::memcpy(&block[1], &step, 2);
  std::memcpy(&block[3], &newer, 2);
  std::memcpy(&block[5], &older, 2);
  std::vector<int16_t> frames(layout.samplesPerBlock);
  ASSERT_TRUE(decodeAdpcmBlock(layout, block.data(), frames.data()));
  EXPECT_TRUE(std::all_of(frames.begin() + 2, frames.end(), [](int16_t s) { return s == -32768; }));
}

}  // namespace
