// The software sound mixer: one wave output device, two mix buffers that circulate through it,
// the channels of the sounds being played, and a high-priority thread that takes the device's
// buffer-done notices and the ticks of a periodic timer.
//
// It mixes one buffer ahead of the device and can take back what it mixed: each channel keeps
// an unscaled copy of what it added to each mix buffer, so a pause, a stop or a volume change
// subtracts its contribution from the part the device has not reached and adds the corrected
// one. A new sound starts, and a volume change takes effect, at the device's next reachable
// sample. When the service is not open, a channel gets a device of its own and is not mixed.
#pragma once

#include <cstdint>
#include <deque>

#include "base/os/os.h"
#include "files/ptr_array.h"
#include "sound/device/wave_out.h"
#include "sound/wave/acm.h"

class KSoundChannel;

// One sound being played. Counts are frames; "block align" is nBlockAlign of the format.
struct KMixingChannel {
  uint32_t isMixed;
  KSoundChannel* owner;
  WAVEFORMATEX* format;  // the PCM format the mixer reads (the decoded one of a compressed wave)
  float volumeLeft, volumeRight;
  uint32_t isPlaying, isPaused;
  HWAVEOUT hWaveOut;  // own device; null when mixed
  uint32_t savedVolumeLeft, savedVolumeRight;
  uint8_t* channelBuffer[2];  // unscaled copy of the contribution to each mix buffer, mix format
  uint32_t channelLength[2];  // frames valid in each, from the start of the mix buffer
  uint32_t callbackState;     // 0 idle, 1 a notice runs, 2 a close was asked for during one
  uint32_t position;          // frames played when stopped or paused
  uint8_t* pendingBuffer;     // frames in the mix format to play before anything else
  uint32_t pendingRead, pendingLength;
  uint32_t positionBase;  // device frame at which this channel's position 0 lies
  uint32_t readOffset;    // bytes consumed of the first queued block
  KPtrArray queue;        // WAVEHDR* blocks not yet consumed
  uint32_t inSourceEnd;   // OnSourcePlayed runs inside ReadSamples
  uint32_t totalRead;     // frames produced since creation
  KPtrArray doneList;     // copies of consumed blocks: dwBytesRecorded = end position, dwFlags = seen
  acm::Stream acmStream;
  WAVEFORMATEX* sourceFormat;  // the compressed format; null for PCM
  uint32_t decodeSize, decodeLeft;
  uint8_t *decodeBuffer, *decodeRead;
  uint32_t encodedCapacity, encodedFill;
  uint8_t* encodedBuffer;
  os::CriticalSection lock;
};

class KSoundMixingService {
 public:
  KSoundMixingService();
  virtual ~KSoundMixingService();
  KSoundMixingService(const KSoundMixingService&) = delete;
  KSoundMixingService& operator=(const KSoundMixingService&) = delete;

  // On the mixing thread: a buffer a device has finished, and a tick of the timer.
  virtual void OnPlayedWave(HWAVEOUT device, WAVEHDR* header);
  virtual void OnMixTimer();

  uint32_t Open(uint32_t bufferMs, uint32_t timerMs, uint32_t rate, uint32_t channels, uint32_t bits);
  uint32_t Close();
  uint32_t GetTotalVolume(uint32_t* left, uint32_t* right);
  uint32_t SetTotalVolume(uint32_t left, uint32_t right);

  // A new channel, or null (the error record says why).
  KMixingChannel* OpenChannel(KSoundChannel* owner, const WAVEFORMATEX* format);
  uint32_t CloseChannel(KMixingChannel* channel);
  uint32_t WriteChannel(KMixingChannel* channel, void* data, uint32_t bytes, uint32_t user);
  uint32_t StopChannel(KMixingChannel* channel);
  uint32_t PauseChannel(KMixingChannel* channel);
  uint32_t RestartChannel(KMixingChannel* channel);
  uint32_t SetChannelVolume(KMixingChannel* channel, float left, float right);
  // Frames at the channel's own rate.
  uint32_t GetChannelPosition(KMixingChannel* channel);

  // Returns when the mixing thread has handled every notice and tick posted before the call.
  void Synchronize();

  bool IsOpen() const { return isOpen_ != 0; }
  const WAVEFORMATEX& MixFormat() const { return mixFormat_; }
  uint32_t BufferSamples() const { return bufferSamples_; }
  uint32_t Granularity() const { return granularity_; }
  uint32_t PlayedSamples() const { return playedSamples_; }
  uint32_t ChannelCount() const { return channels_.GetCount(); }

 private:
  struct Message {
    uint32_t number;
    uintptr_t wParam, lParam;
  };
  friend void postMixerMessage(KSoundMixingService* service, uint32_t number, uintptr_t wParam, uintptr_t lParam);
  void Post(uint32_t number, uintptr_t wParam, uintptr_t lParam);
  static void ThreadBody(void* self);
  void Run();

  uint32_t MeasureGranularity(const WAVEFORMATEX& format);
  uint32_t GetSafePosition();
  void MixForward(uint32_t buffer, uint32_t count);
  uint8_t* ReadSamples(KMixingChannel* channel, int32_t buffer, uint32_t start, uint32_t count);
  void FeedDecoder(KMixingChannel* channel);
  void FinishBlock(KMixingChannel* channel, uint32_t leftFrames, uint32_t count);
  void MixChannelInto(KMixingChannel* channel, uint32_t buffer, uint32_t start, uint8_t* samples);
  void TakeBack(KMixingChannel* channel, uint32_t buffer, uint32_t start);
  void SetOwnDeviceVolume(KMixingChannel* channel);
  void NotifyDone(KMixingChannel* channel, uint32_t position);
  void DestroyChannel(KMixingChannel* channel);
  int32_t IndexOf(KMixingChannel* channel) const;
  uint32_t NextBuffer() const { return currentBuffer_ ^ 1; }
  uint8_t* MixAt(uint32_t buffer, uint32_t frame) const { return buffers_[buffer] + frame * mixFormat_.nBlockAlign; }

  const WaveOutBackend& device_;
  uint32_t isOpen_ = 0;
  HWAVEOUT hWaveOut_ = nullptr;
  os::Thread* thread_ = nullptr;
  WAVEFORMATEX mixFormat_{};
  uint32_t bufferSamples_ = 0;
  uint32_t playedSamples_ = 0;
  uint32_t granularity_ = 0;
  uint32_t currentBuffer_ = 0;
  uint8_t* buffers_[2] = {};
  WAVEHDR headers_[2] = {};
  os::EventHandle idleEvent_;
  uint32_t returned_[2] = {};
  uint32_t mixedLength_[2] = {};
  uint32_t timerResolution_ = 0;
  uint32_t timerId_ = 0;
  KPtrArray channels_;
  uint32_t totalVolumeLeft_ = 0xFFFF, totalVolumeRight_ = 0xFFFF;
  uint32_t savedVolumeLeft_ = 0, savedVolumeRight_ = 0;
  os::CriticalSection lock_;

  // The mixing thread's queue of posted messages.
  os::CriticalSection queueLock_;
  std::deque<Message> queue_;
  os::EventHandle queued_;
};

// The one mixer of the process, made on first use; its thread starts with it.
KSoundMixingService& theMixingService();

// The position in a channel's stored data of a frame number, for loop points.
uint32_t ChannelSamplesToBytes(KMixingChannel* channel, uint32_t samples);
