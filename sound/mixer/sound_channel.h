// A sound that can hold one channel of the mixing service: the base of the sound objects. The
// service calls OnSourcePlayed when a written block has been read into the mix (a looping sound
// writes its next block from there) and OnSourceDone when the device has played past its end;
// both run on the mixing thread under the service's locks, or inside WriteChannel.
#pragma once

#include <atomic>
#include <cstdint>

#include "sound/mixer/mixing_service.h"

class KSoundChannel {
 public:
  KSoundChannel() = default;
  virtual ~KSoundChannel();
  KSoundChannel(const KSoundChannel&) = delete;
  KSoundChannel& operator=(const KSoundChannel&) = delete;

  virtual void OnSourcePlayed(uint32_t user);
  virtual void OnSourceDone(void* data, uint32_t bytes, uint32_t user);
  virtual const WAVEFORMATEX* GetWaveFormat();
  virtual uint32_t IsPlaying();
  virtual uint32_t IsPaused();
  virtual uint32_t GetCurrentPosition();
  // Closes, then opens a channel for `format`.
  virtual uint32_t OpenOutput(const WAVEFORMATEX* format);
  virtual uint32_t CloseOutput();
  virtual uint32_t Write(void* data, uint32_t bytes, uint32_t user);
  virtual uint32_t Stop();
  virtual uint32_t Pause();
  virtual uint32_t Restart();
  virtual uint32_t GetVolume(float* left, float* right);
  virtual uint32_t SetVolume(float left, float right);

 protected:
  // Null while closed; exchanged atomically, so a close from two threads closes once.
  std::atomic<KMixingChannel*> channel_{nullptr};

 private:
  uint32_t NotOpened();
};
