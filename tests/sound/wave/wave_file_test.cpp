#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/alloc.h"
#include "base/error.h"
#include "base/library.h"
#include "sound/wave/wave_file.h"
#include "tests/files/memory_file.h"

namespace {

std::string word(uint32_t value) { return std::string(reinterpret_cast<const char*>(&value), 4); }

std::string pcmFormat(uint16_t channels, uint16_t bits, uint32_t rate, uint32_t size = 16) {
  WAVEFORMATEX f{};
  f.wFormatTag = 1;
  f.nChannels = channels;
  f.nSamplesPerSec = rate;
  f.wBitsPerSample = bits;
  f.nBlockAlign = static_cast<uint16_t>(channels * bits / 8);
  f.nAvgBytesPerSec = rate * f.nBlockAlign;
  std::string record(reinterpret_cast<const char*>(&f), sizeof f);
  record.resize(size);
  return record;
}

// A RIFF file of the given chunks behind "RIFF", a size and "WAVE".
std::string riff(const std::string& chunks, uint32_t declaredSize = 0) {
  return "RIFF" + word(declaredSize ? declaredSize : static_cast<uint32_t>(chunks.size() + 4)) + "WAVE" + chunks;
}
std::string chunk(const char* tag, const std::string& body) { return tag + word(static_cast<uint32_t>(body.size())) + body; }

struct Wave {
  WaveData data;
  ~Wave() { freeWaveData(&data); }
  uint32_t read(const std::string& bytes) {
    MemoryFile file(bytes);
    return readWaveFile(&file, &data);
  }
};

const char* lastMessage() {
  const char* m = vkGetErrorRecord()->message;
  return m ? m : "";
}

TEST(WaveFileTest, PcmWaveReadsAsItLiesAndWritesBackTheSameBytes) {
  std::string samples = "\x01\x02\x03\x04\x05\x06";
  std::string file = riff(chunk("fmt ", pcmFormat(2, 8, 11025)) + chunk("data", samples));
  Wave wave;
  ASSERT_EQ(wave.read(file), 0u);
  EXPECT_EQ(wave.data.formatSize, 16u) << "a 16-byte format record stays 16 bytes";
  EXPECT_EQ(wave.data.format->nSamplesPerSec, 11025u);
  EXPECT_EQ(wave.data.format->cbSize, 0) << "the bytes behind a short record read as zeros";
  ASSERT_EQ(wave.data.dataSize, 6u);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(wave.data.data), 6), samples);
  MemoryFile out(std::string(), FILE_WRITE);
  ASSERT_EQ(writeWaveFile(&out, wave.data), 0u);
  EXPECT_EQ(out.bytes(), file);
}

TEST(WaveFileTest, FactChunkOfACompressedWaveIsSkippedAndNotWrittenBack) {
  std::string format = pcmFormat(1, 4, 22050, 20);
  format[0] = 0x11;
  format[16] = 2;  // cbSize 2: the samples per block behind it
  format[18] = static_cast<char>(0xF9);
  format[19] = 0x01;
  std::string body = "\x10\x20\x30\x40\x50";
  Wave wave;
  ASSERT_EQ(wave.read(riff(chunk("fmt ", format) + chunk("fact", word(505)) + chunk("data", body), 4)), 0u)
      << "the RIFF size is not checked";
  EXPECT_EQ(wave.data.format->wFormatTag, 0x11);
  EXPECT_EQ(wave.data.dataSize, 5u);
  MemoryFile out(std::string(), FILE_WRITE);
  writeWaveFile(&out, wave.data);
  EXPECT_EQ(out.bytes(), "RIFF" + word(20 + 5 + 20) + "WAVE" + chunk("fmt ", format) + chunk("data", body))
      << "no fact chunk and no pad byte behind the odd size";
}

TEST(WaveFileTest, ADataChunkShorterThanTheRestReadsOnlyItsSize) {
  Wave wave;
  ASSERT_EQ(wave.read(riff(chunk("fmt ", pcmFormat(1, 16, 8000)) + "data" + word(2) + "abcdef")), 0u);
  EXPECT_EQ(wave.data.dataSize, 2u);
  EXPECT_EQ(std::memcmp(wave.data.data, "ab", 2), 0);
}

TEST(WaveFileTest, AFormatRecordIsKeptLongEnoughForWhatItsExtraSizeAnnounces) {
  std::string format = pcmFormat(1, 4, 22050, 18);
  format[0] = 2;
  format[16] = 32;  // cbSize 32, but the file holds none of those bytes
  Wave wave;
  ASSERT_EQ(wave.read(riff(chunk("fmt ", format) + chunk("data", "xy"))), 0u);
  EXPECT_EQ(wave.data.formatSize, 18u);
  EXPECT_GE(vkGetAllocSize(wave.data.format), 50u);
  const uint8_t* extra = reinterpret_cast<const uint8_t*>(wave.data.format) + 18;
  for (int i = 0; i < 32; ++i) EXPECT_EQ(extra[i], 0) << i;
}

TEST(WaveFileTest, BadFilesGiveTheirReportsAndAllocateNothingForAbsurdSizes) {
  std::string fmt = chunk("fmt ", pcmFormat(1, 8, 8000));
  struct Case {
    std::string bytes;
    const char* text;
  } cases[] = {
      {"RIFF" + word(16) + "WAV", "Failed reading wave form audio header."},
      {"", "Failed reading wave form audio header."},
      {"RIFX" + word(4) + "WAVE" + fmt, "Invalid wave form audio file header."},
      {"RIFF" + word(4) + "AVI " + fmt, "Invalid wave form audio file header."},
      {riff("fmt"), "Invalid wave format header."},
      {riff(chunk("LIST", "abcd") + fmt), "Invalid wave format header."},
      {riff("fmt " + word(16) + "short"), "Failed reading wave format information."},
      {riff("fmt " + word(0xFFFFFFF0u) + "short"), "Failed reading wave format information."},
      {riff(fmt), "Invalid wave data header."},
      {riff(fmt + "da"), "Invalid wave data header."},
      {riff(fmt + chunk("LIST", "info") + chunk("data", "ab")), "Invalid wave data header."},
      {riff(fmt + chunk("fact", "1234") + chunk("fact", "1234") + chunk("data", "ab")), "Invalid wave data header."},
      {riff(fmt + "fact" + word(0x7FFFFFFF) + chunk("data", "ab")), "Invalid wave data header."},
      {riff(fmt + "data" + word(10) + "abc"), "Failed reading wave data."},
      {riff(fmt + "data" + word(0xFFFFFFFFu) + "abc"), "Failed reading wave data."},
  };
  for (const Case& c : cases) {
    Wave wave;
    int32_t blocksBefore = vkGetLibraryState().liveBlocks;
    EXPECT_EQ(wave.read(c.bytes), VK_ERROR_SOUND) << c.text;
    EXPECT_STREQ(lastMessage(), c.text);
    EXPECT_STREQ(vkGetErrorRecord()->source, "WavSound");
    EXPECT_LE(vkGetLibraryState().liveBlocks, blocksBefore + 1) << "at most the format record is held";
  }
}

TEST(WaveFileTest, CopiedWaveDataTakesEighteenBytesOfPcmFormatsAndTheExtraOfOthers) {
  auto* block = static_cast<uint8_t*>(vkAlloc(64, 1));
  auto* format = reinterpret_cast<WAVEFORMATEX*>(block);
  format->wFormatTag = 1;
  format->nChannels = 1;
  format->cbSize = 40;  // ignored for PCM
  uint8_t* data = block + 50;
  std::memcpy(data, "wave", 4);
  WaveData wave;
  ASSERT_EQ(copyWaveData(&wave, format, data, 4), 0u);
  EXPECT_EQ(wave.formatSize, 18u);
  EXPECT_EQ(std::memcmp(wave.data, "wave", 4), 0);
  freeWaveData(&wave);
  format->wFormatTag = 2;
  format->cbSize = 6;
  ASSERT_EQ(copyWaveData(&wave, format, data, 4), 0u);
  EXPECT_EQ(wave.formatSize, 24u);
  freeWaveData(&wave);
  EXPECT_EQ(wave.format, nullptr);
  vkFree(block);
}

TEST(WaveFileTest, CopyingFromMemoryThatCannotBeReadIsAnAccessViolation) {
  uint8_t* block = static_cast<uint8_t*>(vkAlloc(32, 1));
  WaveData wave;
  uint32_t result = copyWaveData(&wave, reinterpret_cast<WAVEFORMATEX*>(block), reinterpret_cast<void*>(16), 8);
  EXPECT_EQ(result, VK_ERROR_INVALID_ADDRESS);
  EXPECT_STREQ(lastMessage(), "Raised exception : access violation");
  EXPECT_EQ(wave.data, nullptr);
  freeWaveData(&wave);
  vkFree(block);
}

TEST(WaveFileTest, SamplesToBytesOfPcmIsFramesTimesBlock) {
  WAVEFORMATEX f{};
  f.wFormatTag = 1;
  f.nChannels = 2;
  f.wBitsPerSample = 16;
  EXPECT_EQ(FormatSamplesToBytes(&f, 100), 400u);
  f.wBitsPerSample = 8;
  EXPECT_EQ(FormatSamplesToBytes(&f, 100), 200u);
}

}  // namespace
