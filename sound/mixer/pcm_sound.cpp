#include "sound/mixer/pcm_sound.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "base/alloc.h"
#include "base/error.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/mix_kernels.h"

KPCMSound::~KPCMSound() { DeleteWave(); }

void KPCMSound::OnSourcePlayed(uint32_t user) {
  // A loop shorter than one frame or codec block would give no samples and never end a read.
  if (isLooped_ && wave_.format && loopBytes_ >= wave_.format->nBlockAlign && loopBytes_ > 0)
    Write(loopData_, loopBytes_, user);
}

void KPCMSound::OnSourceDone(void*, uint32_t, uint32_t) {
  if (!isLooped_ && doneEvent_) os::setEvent(doneEvent_);
}

const WAVEFORMATEX* KPCMSound::GetWaveFormat() { return wave_.format; }

uint32_t KPCMSound::CloseOutput() {
  os::Lock hold(lock_);
  return KSoundChannel::CloseOutput();
}

uint32_t KPCMSound::GetVolume(float* left, float* right) {
  *left = volumeLeft_;
  *right = volumeRight_;
  return vkSucceed();
}

uint32_t KPCMSound::SetVolume(float left, float right) {
  volumeLeft_ = left;
  volumeRight_ = right;
  return channel_.load() ? KSoundChannel::SetVolume(left, right) : vkSucceed();
}

uint32_t KPCMSound::DeleteWave() {
  os::Lock hold(lock_);
  uint32_t result = CloseOutput();
  freeWaveData(&wave_);
  return result;
}

uint32_t KPCMSound::OpenOrStop() {
  uint32_t status = channel_.load() ? Stop() : OpenOutput(wave_.format);
  if (status == 0) SetVolume(volumeLeft_, volumeRight_);
  return status;
}

uint32_t KPCMSound::Play(uint32_t looped, HANDLE event, uint32_t offset) {
  isLooped_ = looped;
  doneEvent_ = event;
  loopData_ = wave_.data + offset;
  loopBytes_ = wave_.dataSize - offset;
  return Write(wave_.data, offset ? offset : wave_.dataSize, 0);
}

uint32_t KPCMSound::PlayWave(uint32_t looped, HANDLE event) {
  os::Lock hold(lock_);
  if (uint32_t status = OpenOrStop()) return status;
  return Play(looped, event, 0);
}

uint32_t KPCMSound::PlayMusic(uint32_t loopSample, uint32_t looped, HANDLE event) {
  os::Lock hold(lock_);
  if (uint32_t status = OpenOrStop()) return status;
  uint32_t offset = SamplesToBytes(loopSample);
  if (offset >= wave_.dataSize) offset = 0;
  return Play(looped, event, offset);
}

uint32_t KPCMSound::ReadWaveFile(KFileObj* file) {
  os::Lock hold(lock_);
  DeleteWave();
  return readWaveFile(file, &wave_);
}

uint32_t KPCMSound::WriteWaveFile(KFileObj* file) {
  os::Lock hold(lock_);
  return writeWaveFile(file, wave_);
}

uint32_t KPCMSound::SetWaveData(const WAVEFORMATEX* format, const void* data, uint32_t bytes) {
  os::Lock hold(lock_);
  uint32_t result = DeleteWave();
  uint32_t copied = copyWaveData(&wave_, format, data, bytes);
  return copied != 0 ? copied : result;
}

uint32_t KPCMSound::SamplesToBytes(uint32_t samples) {
  if (KMixingChannel* channel = channel_) return ChannelSamplesToBytes(channel, samples);
  return wave_.format ? FormatSamplesToBytes(wave_.format, samples) : 0;
}

namespace {

// The conversion of the floating-point unit: values it cannot hold become the integer
// indefinite, which is negative.
int32_t roundToInteger(double value) {
  if (!(value >= -2147483648.0 && value < 2147483647.5)) return INT32_MIN;
  return static_cast<int32_t>(std::nearbyint(value));
}

uint32_t* oneWordBlock(uint32_t value) {
  auto* block = static_cast<uint32_t*>(os::globalAlloc(4, false));
  if (block) block[0] = value;
  return block;
}

}  // namespace

uint32_t* KPCMSound::GetVolumeStream(uint32_t spanSamples, uint32_t percent, uint32_t maxLevel,
                                     uint32_t decayDivisor) {
  const WAVEFORMATEX* format = GetWaveFormat();
  if (!format) return oneWordBlock(0);
  if (format->wFormatTag != WAVE_FORMAT_PCM) {
    // In a block of the library's, which the copy into the sound can always read.
    auto* pcm = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 1));
    *pcm = pcmFormat(format->nChannels, 16, format->nSamplesPerSec);
    KACMStream stream;
    if (stream.Open(pcm, format) != 0) {
      vkFree(pcm);
      return oneWordBlock(0);
    }
    uint32_t size = stream.GetDestinationSize(wave_.dataSize);
    auto* decoded = static_cast<uint8_t*>(vkAlloc(size, 0));
    uint32_t made = size, used = wave_.dataSize;
    stream.Convert(decoded, &made, wave_.data, &used, acm::kConvertBlockAlign);
    stream.Close();
    SetWaveData(pcm, decoded, made);
    vkFree(decoded);
    vkFree(pcm);
    format = GetWaveFormat();
    if (!format) return oneWordBlock(0);
  }
  uint32_t span = format->nBlockAlign * spanSamples;
  uint32_t count = span ? wave_.dataSize / span : 0;
  auto* block = static_cast<uint32_t*>(os::globalAlloc(size_t{count} * 4 + 4, false));
  if (!block) return nullptr;
  block[0] = count;
  if (count == 0) return block;
  uint32_t* level = block + 1;
  long double sum = 0;
  for (uint32_t i = 0; i < count; ++i) {
    uint32_t measured[2] = {};
    WaveMeasure(measured, format, wave_.data + size_t{i} * span, spanSamples);
    level[i] = format->nChannels == 2 ? (measured[0] + measured[1]) >> 1 : measured[0];
    sum += level[i];
  }
  long double mean = std::log2(sum / count);
  std::vector<float> relative(count);
  double magnitude = 0;
  for (uint32_t i = 0; i < count; ++i) {
    long double x = static_cast<int32_t>(level[i]) > 0 ? std::log2(static_cast<long double>(level[i])) : 0;
    relative[i] = static_cast<float>(x - mean);
    magnitude += std::fabs(relative[i]);
  }
  double a = magnitude / count;
  double half = maxLevel * 0.5;
  double scale = half / a * percent * 0.01;
  for (uint32_t i = 0; i < count; ++i) {
    int32_t value = roundToInteger(relative[i] * scale + half);
    level[i] = value < 0 ? 0 : static_cast<uint32_t>(value) >= maxLevel ? maxLevel : static_cast<uint32_t>(value);
  }
  if (decayDivisor != 0) {
    double step = 1.0 / decayDivisor, decay = 0.0;
    for (uint32_t i = 0; i < count; ++i) {
      if (level[i] == 0) level[i] = static_cast<uint32_t>(decay);
      else decay = level[i];
      decay = std::max(decay - step, 0.0);
    }
  }
  return block;
}
