// A wave in memory with playing, looping and a signal at its end: the sound object behind the
// PCM_* exports. It keeps the wave as it lies in its file (PCM or compressed); the mixer
// decodes while playing.
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "files/file_obj.h"
#include "sound/mixer/sound_channel.h"
#include "sound/wave/wave_file.h"

class KPCMSound : public KSoundChannel {
 public:
  KPCMSound() = default;
  ~KPCMSound() override;

  void OnSourcePlayed(uint32_t user) override;
  void OnSourceDone(void* data, uint32_t bytes, uint32_t user) override;
  const WAVEFORMATEX* GetWaveFormat() override;
  uint32_t CloseOutput() override;
  uint32_t GetVolume(float* left, float* right) override;
  uint32_t SetVolume(float left, float right) override;

  // Closes the channel and frees the wave; the result is the close's.
  virtual uint32_t DeleteWave();
  // Plays the whole wave once, or again and again. `event` (may be null) is set at the end of a
  // sound that does not loop.
  virtual uint32_t PlayWave(uint32_t looped, HANDLE event);
  // Plays up to the frame `loopSample`, then loops from there to the end (or stops there when
  // not looped). A loop point of 0 or past the end loops the whole wave.
  virtual uint32_t PlayMusic(uint32_t loopSample, uint32_t looped, HANDLE event);

  uint32_t ReadWaveFile(KFileObj* file);
  uint32_t WriteWaveFile(KFileObj* file);
  uint32_t SetWaveData(const WAVEFORMATEX* format, const void* data, uint32_t bytes);
  // Bytes of stored data that `samples` frames take, which is what a loop point needs.
  uint32_t SamplesToBytes(uint32_t samples);

  // A level curve for mouth movement and the like: one value per span of `spanSamples` frames,
  // relative to the whole sound's mean on a logarithmic scale, 0 to `maxLevel`. A compressed wave
  // is decoded for good first. The block (word 0 the count, then the levels) is the caller's to
  // free with GlobalFree.
  uint32_t* GetVolumeStream(uint32_t spanSamples, uint32_t percent, uint32_t maxLevel, uint32_t decayDivisor);

  const WaveData& Wave() const { return wave_; }

 private:
  // Opens a channel for the wave, or stops the one it has, and applies the sound's volume.
  uint32_t OpenOrStop();
  // Queues the wave up to `offset` (the whole wave for 0) and keeps the rest as the loop.
  uint32_t Play(uint32_t looped, HANDLE event, uint32_t offset);

  HANDLE doneEvent_ = nullptr;
  float volumeLeft_ = 1.0f, volumeRight_ = 1.0f;
  uint32_t isLooped_ = 0;
  WaveData wave_;
  uint32_t loopBytes_ = 0;
  uint8_t* loopData_ = nullptr;
  os::CriticalSection lock_;
};
