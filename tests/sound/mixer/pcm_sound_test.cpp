#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/alloc.h"
#include "base/error.h"
#include "files/file_obj.h"
#include "host/exports/pcm.h"
#include "host/exports/wave_mixer.h"
#include "sound/device/wave_out.h"
#include "sound/mixer/pcm_sound.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/mix_kernels.h"

namespace {

// A 16-bit mono sound of spans of 100 frames, each a square wave of the given amplitude (whose
// mean absolute deviation is that amplitude).
void fillSpans(KPCMSound& sound, const std::vector<int16_t>& amplitudes) {
  auto* f = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 0));
  *f = pcmFormat(1, 16, 8000);
  uint32_t frames = static_cast<uint32_t>(amplitudes.size()) * 100;
  auto* data = static_cast<int16_t*>(vkAlloc(frames * 2, 0));
  for (uint32_t i = 0; i < frames; ++i) data[i] = static_cast<int16_t>(i % 2 ? amplitudes[i / 100] : -amplitudes[i / 100]);
  ASSERT_EQ(sound.SetWaveData(f, data, frames * 2), 0u);
  vkFree(data);
  vkFree(f);
}

std::vector<uint32_t> levels(uint32_t* block) {
  std::vector<uint32_t> words(block + 1, block + 1 + block[0]);
  os::globalFree(block);
  return words;
}

TEST(VolumeStreamTest, LevelsAreLogarithmicAroundTheMeanAndDecayThroughSilence) {
  KPCMSound sound;
  fillSpans(sound, {1000, 4000, 1000, 4000});
  // log2 of 1000 and 4000 lie 1.32 below and 0.68 above log2 of their mean 2500; their mean
  // distance is 1, so the scale is half the maximum: 50 - 66.1 and 50 + 33.9.
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 100, 100, 0)), (std::vector<uint32_t>{0, 84, 0, 84}));
  // A silent span after a loud one falls by a quarter a span, from where the loud one ended.
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 100, 100, 4)), (std::vector<uint32_t>{0, 84, 83, 84}));
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 50, 100, 0)), (std::vector<uint32_t>{17, 67, 17, 67}));
}

TEST(VolumeStreamTest, DegenerateWavesGiveZeros) {
  KPCMSound sound;
  fillSpans(sound, {0, 0, 0});
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 100, 100, 0)), (std::vector<uint32_t>{0, 0, 0}));
  // Spans of equal level: the scale is infinite, 0 times it is not a number, which rounds to
  // the negative integer indefinite.
  fillSpans(sound, {3000, 3000});
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 100, 100, 0)), (std::vector<uint32_t>{0, 0}));
  fillSpans(sound, {1000, 4000});
  EXPECT_EQ(levels(sound.GetVolumeStream(100, 100, 0, 0)), (std::vector<uint32_t>{0, 0}));
  EXPECT_EQ(levels(sound.GetVolumeStream(1000, 100, 100, 0)), std::vector<uint32_t>{}) << "a span longer than the wave";
}

TEST(VolumeStreamTest, ACompressedWaveIsDecodedForGood) {
  KRawFile file;
  ASSERT_EQ(file.Open(WAVE_SAMPLES "/ima_mono_22k.wav", FILE_READ), 0u);
  KPCMSound sound;
  ASSERT_EQ(sound.ReadWaveFile(&file), 0u);
  ASSERT_EQ(sound.GetWaveFormat()->wFormatTag, 0x11);
  std::vector<uint32_t> words = levels(sound.GetVolumeStream(2205, 100, 100, 0));
  EXPECT_EQ(words.size(), 10u) << "one second of 22.05 kHz in spans of a tenth";
  EXPECT_EQ(sound.GetWaveFormat()->wFormatTag, WAVE_FORMAT_PCM);
  EXPECT_EQ(sound.GetWaveFormat()->wBitsPerSample, 16);
  EXPECT_GE(sound.Wave().dataSize, 22050u * 2);
}

TEST(PcmExportTest, NullHandlesAnswerWithoutAReport) {
  EXPECT_EQ(PCM_PlayWave(nullptr, 0, nullptr), 1u);
  EXPECT_EQ(PCM_PlayMusic(nullptr, 0, 0, nullptr), 1u);
  EXPECT_EQ(PCM_StopWave(nullptr), 1u);
  EXPECT_EQ(PCM_SetVolume(nullptr, 1, 1), 1u);
  EXPECT_EQ(PCM_GetWaveFormat(nullptr), nullptr);
  EXPECT_EQ(PCM_GetCurrentPosition(nullptr), 0u);
  EXPECT_EQ(PCM_IsPlaying(nullptr), 0u);
  EXPECT_EQ(PCM_Delete(nullptr), 0u);
}

TEST(PcmExportTest, VolumesScaleSo65535IsUnityAndTheMasterVolumeIsLimited) {
  KPCMSound* sound = new KPCMSound;
  ASSERT_EQ(PCM_SetVolume(sound, 65535, 32768), 0u);
  float left, right;
  sound->GetVolume(&left, &right);
  EXPECT_FLOAT_EQ(left, 65535 * 1.5259022e-5f);
  EXPECT_FLOAT_EQ(right, 32768 * 1.5259022e-5f);
  EXPECT_EQ(PCM_Delete(sound), 0u);
  ASSERT_EQ(WaveMixer_SetTotalVolume(0x12345, 0x8000), 0u);
  uint32_t volumes[2];
  EXPECT_EQ(WaveMixer_GetTotalVolume(volumes), 0u);
  EXPECT_EQ(volumes[0], 0xFFFFu);
  EXPECT_EQ(volumes[1], 0x8000u);
  WaveMixer_SetTotalVolume(0xFFFF, 0xFFFF);
}

TEST(PcmExportTest, ReadWaveGivesNullForABadFileAndKeepsTheReport) {
  KRawFile file;
  ASSERT_EQ(file.Open(WAVE_SAMPLES "/ima_mono_22k.raw", FILE_READ), 0u);
  EXPECT_EQ(PCM_ReadWave(&file), nullptr);
  EXPECT_STREQ(vkGetErrorRecord()->message, "Invalid wave form audio file header.");
}

}  // namespace
