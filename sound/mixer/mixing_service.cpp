#include "sound/mixer/mixing_service.h"

#include <algorithm>
#include <cstring>

#include "base/alloc.h"
#include "base/error.h"
#include "base/library.h"
#include "base/trace.h"
#include "sound/mixer/sound_channel.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/mix_kernels.h"
#include "sound/wave/wave_file.h"

namespace {

constexpr const char* kUnit = "WavSound";
constexpr uint32_t kTimerError = 0x30002;
constexpr int32_t kHighestPriority = 2;  // THREAD_PRIORITY_HIGHEST

// The mixing thread's messages: a device's finished buffer, a timer tick, the end, and a
// fence that Synchronize waits for.
enum : uint32_t { kPlayed = 1024, kTick = 275, kQuit = 18, kFence = 0x8000 };

// Closing waits this long for the device to hand back both buffers before giving up with a
// trace line: a device that never returns them must not hang the host.
constexpr uint32_t kIdleWaitMs = 5000;
constexpr uint32_t kMeasureWaitMs = 5000;

uint32_t fail(uint32_t code, int32_t line, const char* text) { return vkSetError(code, 0, kUnit, line, text); }

void CALLBACK devicePosted(HWAVEOUT device, UINT message, DWORD_PTR instance, DWORD_PTR param1, DWORD_PTR) {
  if (message != MM_WOM_DONE) return;
  postMixerMessage(reinterpret_cast<KSoundMixingService*>(instance), kPlayed, reinterpret_cast<uintptr_t>(device),
                   param1);
}

void CALLBACK timerPosted(UINT timerId, UINT, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
  postMixerMessage(reinterpret_cast<KSoundMixingService*>(instance), kTick, timerId, 0);
}

void CALLBACK measureDone(HWAVEOUT, UINT message, DWORD_PTR instance, DWORD_PTR, DWORD_PTR) {
  if (message == MM_WOM_DONE) os::setEvent(reinterpret_cast<os::EventHandle>(instance));
}

WAVEFORMATEX* copyFormat(const WAVEFORMATEX* format) {
  uint32_t size = sizeof(WAVEFORMATEX) + (format->wFormatTag == WAVE_FORMAT_PCM ? 0 : format->cbSize);
  auto* copy = static_cast<WAVEFORMATEX*>(vkAlloc(size, 0));
  if (copy) std::memcpy(copy, format, size);
  return copy;
}

// A format the mix kernels read.
bool mixable(const WAVEFORMATEX& f) {
  return f.wFormatTag == WAVE_FORMAT_PCM && (f.nChannels == 1 || f.nChannels == 2) &&
         (f.wBitsPerSample == 8 || f.wBitsPerSample == 16) && f.nSamplesPerSec != 0 &&
         f.nBlockAlign == f.nChannels * f.wBitsPerSample / 8;
}

uint32_t deviceVolume(uint32_t total, float volume) {
  double value = static_cast<double>(total) * volume;
  return value >= 0xFFFF ? 0xFFFF : value > 0 ? static_cast<uint32_t>(value) : 0;
}

WAVEHDR* headerAt(const KPtrArray& array, uint32_t index) { return static_cast<WAVEHDR*>(array.GetAt(index)); }

}  // namespace

void postMixerMessage(KSoundMixingService* service, uint32_t number, uintptr_t wParam, uintptr_t lParam) {
  service->Post(number, wParam, lParam);
}

KSoundMixingService& theMixingService() {
  static KSoundMixingService service;
  return service;
}

// ---- The thread ----------------------------------------------------------------------------

KSoundMixingService::KSoundMixingService() : device_(waveOutBackend()) {
  vkInitialize(VK_LIBRARY_VERSION);
  idleEvent_ = os::createEvent(true, true);
  queued_ = os::createEvent(false, false);
  thread_ = os::startThread(ThreadBody, this);
  if (!thread_) TraceMessage(TraceChannel::sound, "Failed begin wave mixing thread.");
}

KSoundMixingService::~KSoundMixingService() {
  Close();
  if (thread_) {
    Post(kQuit, 0, 0);
    if (os::waitThread(thread_, 10000)) TraceMessage(TraceChannel::sound, "Warring timeout of the termination of a mixing server thread.\n");
    os::closeThread(thread_);
  }
  os::closeEvent(idleEvent_);
  os::closeEvent(queued_);
  vkUninitialize();
}

void KSoundMixingService::Post(uint32_t number, uintptr_t wParam, uintptr_t lParam) {
  {
    os::Lock hold(queueLock_);
    queue_.push_back({number, wParam, lParam});
  }
  os::setEvent(queued_);
}

void KSoundMixingService::ThreadBody(void* self) { static_cast<KSoundMixingService*>(self)->Run(); }

void KSoundMixingService::Run() {
  vkAttachThread();
  os::setCurrentThreadPriority(kHighestPriority);
  for (;;) {
    Message message;
    {
      os::Lock hold(queueLock_);
      if (queue_.empty()) message.number = 0;
      else {
        message = queue_.front();
        queue_.pop_front();
      }
    }
    if (message.number == 0) {
      os::waitEvent(queued_);
      continue;
    }
    if (message.number == kQuit) break;
    if (message.number == kPlayed)
      OnPlayedWave(reinterpret_cast<HWAVEOUT>(message.wParam), reinterpret_cast<WAVEHDR*>(message.lParam));
    else if (message.number == kTick)
      OnMixTimer();
    else if (message.number == kFence)
      os::setEvent(reinterpret_cast<os::EventHandle>(message.wParam));
  }
  vkDetachThread();
}

void KSoundMixingService::Synchronize() {
  if (!thread_) return;
  os::EventHandle done = os::createEvent(true, false);
  Post(kFence, reinterpret_cast<uintptr_t>(done), 0);
  os::waitEvent(done);
  os::closeEvent(done);
}

// ---- Opening and closing -------------------------------------------------------------------

uint32_t KSoundMixingService::MeasureGranularity(const WAVEFORMATEX& format) {
  constexpr uint32_t kBytes = 4096;
  os::EventHandle done = os::createEvent(true, false);
  HWAVEOUT probe = nullptr;
  if (device_.open(&probe, &format, measureDone, reinterpret_cast<DWORD_PTR>(done)) != MMSYSERR_NOERROR) {
    TraceMessage(TraceChannel::sound, "Failed open wave device.\n");
    os::closeEvent(done);
    return kBytes;
  }
  auto* buffer = static_cast<uint8_t*>(vkAlloc(kBytes, 0));
  WaveSilence(&format, buffer, kBytes / format.nBlockAlign);
  WAVEHDR header{};
  header.lpData = reinterpret_cast<char*>(buffer);
  header.dwBufferLength = header.dwBytesRecorded = kBytes;
  uint32_t result = kBytes;
  if (device_.prepare(probe, &header) != MMSYSERR_NOERROR) {
    TraceMessage(TraceChannel::sound, "Failed prepare wave header.\n");
  } else {
    uint32_t start = device_.tickCount();
    if (device_.write(probe, &header) != MMSYSERR_NOERROR) {
      TraceMessage(TraceChannel::sound, "Failed write wave data.\n");
    } else {
      if (!device_.waitWhilePlaying(done, kMeasureWaitMs)) device_.reset(probe);
      uint64_t elapsed = device_.tickCount() - start;
      uint64_t samples = uint64_t{format.nAvgBytesPerSec} * elapsed / 1000 / format.nBlockAlign;
      result = static_cast<uint32_t>((samples + 4095) & ~uint64_t{4095});
      if (result == 0) result = kBytes;
    }
    device_.unprepare(probe, &header);
  }
  device_.close(probe);
  vkFree(buffer);
  os::closeEvent(done);
  return result;
}

uint32_t KSoundMixingService::Open(uint32_t bufferMs, uint32_t timerMs, uint32_t rate, uint32_t channels,
                                   uint32_t bits) {
  Close();
  if (channels != 1 && channels != 2) return fail(VK_ERROR_SOUND, __LINE__, "Invalid channel number was specified.");
  if (bits != 8 && bits != 16) return fail(VK_ERROR_SOUND, __LINE__, "Invalid sampling bit count was specified.");
  os::Lock hold(lock_);
  mixFormat_ = pcmFormat(static_cast<uint16_t>(channels), static_cast<uint16_t>(bits), rate);
  granularity_ = MeasureGranularity(mixFormat_);
  if (device_.open(&hWaveOut_, &mixFormat_, devicePosted, reinterpret_cast<DWORD_PTR>(this)) != MMSYSERR_NOERROR) {
    hWaveOut_ = nullptr;
    return fail(VK_ERROR_SOUND, __LINE__, "Failed open wave device.");
  }
  uint32_t saved = 0;
  device_.getVolume(hWaveOut_, &saved);
  savedVolumeLeft_ = saved & 0xFFFF;
  savedVolumeRight_ = saved >> 16;
  device_.setVolume(hWaveOut_, totalVolumeLeft_ | totalVolumeRight_ << 16);
  // Rounded up to the device's unit; a buffer of no length would leave no unit at all.
  uint32_t g = granularity_;
  uint32_t samples = static_cast<uint32_t>(uint64_t{rate} * bufferMs / 1000);
  bufferSamples_ = std::max(samples + g - 1 - (samples + g - 1) % g, g);
  if ((bufferSamples_ >> 2) <= granularity_) granularity_ = bufferSamples_ >> 2;
  playedSamples_ = 0;
  returned_[0] = returned_[1] = 0;
  currentBuffer_ = 0;
  mixedLength_[0] = mixedLength_[1] = 0;
  os::resetEvent(idleEvent_);
  device_.pause(hWaveOut_);
  for (uint32_t i = 0; i < 2; ++i) {
    uint32_t bytes = bufferSamples_ * mixFormat_.nBlockAlign;
    buffers_[i] = static_cast<uint8_t*>(vkAlloc(bytes, 0));
    WaveSilence(&mixFormat_, buffers_[i], bufferSamples_);
    headers_[i] = WAVEHDR{};
    headers_[i].lpData = reinterpret_cast<char*>(buffers_[i]);
    headers_[i].dwBufferLength = headers_[i].dwBytesRecorded = bytes;
    device_.prepare(hWaveOut_, &headers_[i]);
    device_.write(hWaveOut_, &headers_[i]);
  }
  device_.restart(hWaveOut_);
  isOpen_ = 1;
  uint32_t minimumPeriod = 0;
  if (device_.timerMinimumPeriod(&minimumPeriod) != MMSYSERR_NOERROR) {
    TraceMessage(TraceChannel::sound, "Fiald timeGetDevCaps function.\n");
    timerResolution_ = 0;
    return fail(kTimerError, __LINE__, "Failed timeGetDevCaps");
  }
  timerResolution_ = minimumPeriod;
  if (device_.beginPeriod(timerResolution_) != MMSYSERR_NOERROR) {
    TraceMessage(TraceChannel::sound, "Failed timeBeginPeriod function.\n");
    return fail(kTimerError, __LINE__, "Failed timeBeginPeriod");
  }
  timerId_ = device_.startTimer(std::max(minimumPeriod, timerMs), timerResolution_, timerPosted,
                                reinterpret_cast<DWORD_PTR>(this));
  if (timerId_ == 0) {
    TraceMessage(TraceChannel::sound, "Fialed timeSetEvent function.\n");
    return fail(kTimerError, __LINE__, "Failed timeSetEvent");
  }
  return vkSucceed();
}

uint32_t KSoundMixingService::Close() {
  {
    os::Lock hold(lock_);
    if (!isOpen_) return vkSucceed();
    for (int32_t i = static_cast<int32_t>(channels_.GetCount()) - 1; i >= 0; --i) {
      auto* channel = static_cast<KMixingChannel*>(channels_.GetAt(static_cast<uint32_t>(i)));
      if (channel) channel->owner->CloseOutput();
    }
    for (uint32_t i = 0; i < channels_.GetCount(); ++i) DestroyChannel(static_cast<KMixingChannel*>(channels_.GetAt(i)));
    channels_.RemoveAll();
    if (timerResolution_ != 0) {
      if (timerId_ != 0) device_.stopTimer(timerId_);
      device_.endPeriod(timerResolution_);
      timerId_ = timerResolution_ = 0;
    }
    device_.reset(hWaveOut_);
    device_.setVolume(hWaveOut_, savedVolumeLeft_ | savedVolumeRight_ << 16);
    if (device_.close(hWaveOut_) != MMSYSERR_NOERROR) TraceMessage(TraceChannel::sound, "Failed to close wave output device.\n");
    isOpen_ = 0;
    hWaveOut_ = nullptr;
    for (uint8_t*& buffer : buffers_) {
      vkFree(buffer);
      buffer = nullptr;
    }
  }
  // The buffers come back to OnPlayedWave as queued notices.
  if (thread_ && !os::waitEvent(idleEvent_, kIdleWaitMs))
    TraceMessage(TraceChannel::sound, "KSoundMixingService::Close gave up waiting for the wave buffers.\n");
  return vkSucceed();
}

uint32_t KSoundMixingService::GetTotalVolume(uint32_t* left, uint32_t* right) {
  *left = totalVolumeLeft_;
  *right = totalVolumeRight_;
  return vkSucceed();
}

uint32_t KSoundMixingService::SetTotalVolume(uint32_t left, uint32_t right) {
  os::Lock hold(lock_);
  totalVolumeLeft_ = std::min<uint32_t>(left, 0xFFFF);
  totalVolumeRight_ = std::min<uint32_t>(right, 0xFFFF);
  if (isOpen_) {
    uint32_t l = totalVolumeLeft_, r = totalVolumeRight_;
    if (mixFormat_.nChannels == 1) l = r = (l + r) >> 1;
    device_.setVolume(hWaveOut_, l | r << 16);
  }
  for (int32_t i = static_cast<int32_t>(channels_.GetCount()) - 1; i >= 0; --i) {
    auto* channel = static_cast<KMixingChannel*>(channels_.GetAt(static_cast<uint32_t>(i)));
    if (!channel->isMixed) {
      os::Lock holdChannel(channel->lock);
      SetOwnDeviceVolume(channel);
    }
  }
  return vkSucceed();
}

// ---- Positions and the mix ahead -----------------------------------------------------------

uint32_t KSoundMixingService::GetSafePosition() {
  uint32_t position = 0;
  device_.getPosition(hWaveOut_, &position);
  int32_t d = static_cast<int32_t>(position - playedSamples_);
  if (d < 1) return 0;
  uint32_t g = granularity_;
  uint32_t lead = static_cast<uint32_t>(d) + g + (g >> 1);
  return lead - lead % g;
}

void KSoundMixingService::OnMixTimer() {
  os::Lock hold(lock_);
  if (!isOpen_) return;
  uint32_t next = (currentBuffer_ - 1) & 1;
  uint32_t reach = std::min(GetSafePosition(), bufferSamples_);
  if (mixedLength_[next] < reach) MixForward(next, reach - mixedLength_[next]);
}

void KSoundMixingService::OnPlayedWave(HWAVEOUT device, WAVEHDR* header) {
  os::Lock hold(lock_);
  for (uint32_t i = 0; i < 2; ++i) {
    if (header != &headers_[i]) continue;
    device_.unprepare(device, header);
    mixedLength_[i] = 0;
    for (uint32_t c = 0; c < channels_.GetCount(); ++c)
      static_cast<KMixingChannel*>(channels_.GetAt(c))->channelLength[i] = 0;
    playedSamples_ += bufferSamples_;
    if (isOpen_) {
      currentBuffer_ = i ^ 1;
      MixForward(currentBuffer_, bufferSamples_ - mixedLength_[currentBuffer_]);
      headers_[i] = WAVEHDR{};
      headers_[i].lpData = reinterpret_cast<char*>(buffers_[i]);
      headers_[i].dwBufferLength = headers_[i].dwBytesRecorded = bufferSamples_ * mixFormat_.nBlockAlign;
      device_.prepare(hWaveOut_, &headers_[i]);
      device_.write(hWaveOut_, &headers_[i]);
    } else {
      returned_[i] = 1;
      if (returned_[0] && returned_[1]) os::setEvent(idleEvent_);
    }
    return;
  }
  KMixingChannel* channel = nullptr;
  for (int32_t i = static_cast<int32_t>(channels_.GetCount()) - 1; i >= 0 && !channel; --i) {
    auto* candidate = static_cast<KMixingChannel*>(channels_.GetAt(static_cast<uint32_t>(i)));
    if (!candidate->isMixed && candidate->hWaveOut == device) channel = candidate;
  }
  if (!channel) {
    TraceMessage(TraceChannel::sound, "KSoundMixingService::OnPlayedWave is called with invalid HWAVEOUT(%08X)\n",
                 static_cast<uint32_t>(reinterpret_cast<uintptr_t>(device)));
    return;
  }
  channel->lock.lock();
  channel->callbackState = 1;
  if (channel->isPlaying) channel->owner->OnSourcePlayed(static_cast<uint32_t>(header->dwUser));
  channel->owner->OnSourceDone(header->lpData, header->dwBufferLength, static_cast<uint32_t>(header->dwUser));
  channel->callbackState = channel->callbackState == 2 ? 1 : 0;
  // The service's device, not the channel's: the header stays queued when that is refused.
  if (uint32_t error = device_.unprepare(hWaveOut_, header)) {
    char text[512];
    device_.errorText(error, text, 511);
    TraceMessage(TraceChannel::sound, "Failed unprepare wave output header. \"%s\"\n", text);
  } else {
    for (int32_t q = static_cast<int32_t>(channel->queue.GetCount()) - 1; q >= 0; --q) {
      if (channel->queue.GetAt(static_cast<uint32_t>(q)) != header) continue;
      delete header;
      channel->queue.RemoveAt(static_cast<uint32_t>(q));
      break;
    }
  }
  if (channel->callbackState) {
    channel->callbackState = 0;
    channel->lock.unlock();
    CloseChannel(channel);
  } else {
    channel->lock.unlock();
  }
}

void KSoundMixingService::MixChannelInto(KMixingChannel* channel, uint32_t buffer, uint32_t start, uint8_t* samples) {
  if (!samples || channel->channelLength[buffer] <= start) return;
  float volume[2] = {channel->volumeLeft, channel->volumeRight};
  WaveMix(&mixFormat_, MixAt(buffer, start), samples, volume, channel->channelLength[buffer] - start);
}

void KSoundMixingService::MixForward(uint32_t buffer, uint32_t count) {
  os::Lock hold(lock_);
  count = std::min(count, bufferSamples_ - mixedLength_[buffer]);
  if (count == 0) return;
  uint32_t start = mixedLength_[buffer];
  WaveSilence(&mixFormat_, MixAt(buffer, start), count);
  for (int32_t i = static_cast<int32_t>(channels_.GetCount()) - 1; i >= 0; --i) {
    auto* channel = static_cast<KMixingChannel*>(channels_.GetAt(static_cast<uint32_t>(i)));
    if (!channel) continue;
    channel->lock.lock();
    if (channel->isMixed && channel->isPlaying && !channel->isPaused)
      MixChannelInto(channel, buffer, start, ReadSamples(channel, static_cast<int32_t>(buffer), start, count));
    uint32_t position = GetChannelPosition(channel);
    channel->callbackState = 1;
    NotifyDone(channel, position);
    if (channel->callbackState != 1) {
      channel->callbackState = 0;
      channel->lock.unlock();
      CloseChannel(channel);
    } else {
      channel->callbackState = 0;
      channel->lock.unlock();
    }
  }
  mixedLength_[buffer] += count;
}

// Blocks whose end the position passed in an earlier pass get their notice; those it passes now
// are marked for the next pass. A close asked for inside a notice ends the walk.
void KSoundMixingService::NotifyDone(KMixingChannel* channel, uint32_t position) {
  for (uint32_t e = 0; e < channel->doneList.GetCount();) {
    WAVEHDR* done = headerAt(channel->doneList, e);
    if (done->dwFlags) {
      channel->doneList.RemoveAt(e);
      channel->owner->OnSourceDone(done->lpData, done->dwBufferLength, static_cast<uint32_t>(done->dwUser));
      delete done;
      if (channel->callbackState != 1) return;
    } else {
      if (position >= done->dwBytesRecorded) done->dwFlags = 1;
      ++e;
    }
  }
}

// ---- Reading a channel's samples -----------------------------------------------------------

void KSoundMixingService::FinishBlock(KMixingChannel* channel, uint32_t leftFrames, uint32_t count) {
  WAVEHDR* block = headerAt(channel->queue, 0);
  channel->readOffset = 0;
  auto* copy = new WAVEHDR(*block);
  copy->dwFlags = 0;
  uint64_t end = uint64_t{channel->totalRead - leftFrames + count} * channel->format->nSamplesPerSec /
                 mixFormat_.nSamplesPerSec;
  copy->dwBytesRecorded = static_cast<DWORD>(end);
  channel->doneList.Add(copy);
  channel->queue.RemoveAt(0);
  uint32_t user = static_cast<uint32_t>(block->dwUser);
  delete block;
  channel->inSourceEnd = 1;
  channel->owner->OnSourcePlayed(user);
  channel->inSourceEnd = 0;
}

// Moves compressed bytes of the first block into the encoded buffer and decodes what they hold.
void KSoundMixingService::FeedDecoder(KMixingChannel* channel) {
  WAVEHDR* block = headerAt(channel->queue, 0);
  channel->decodeRead = channel->decodeBuffer;
  uint32_t wanted = 0;
  acm::streamSize(channel->acmStream, channel->decodeSize, &wanted, acm::kSizeDestination);
  uint32_t capacity = channel->encodedCapacity;
  if (capacity < wanted) {
    channel->encodedBuffer = static_cast<uint8_t*>(vkRealloc(channel->encodedBuffer, wanted, 0));
    channel->encodedCapacity = wanted;
  }
  uint32_t rest = block->dwBufferLength - channel->readOffset;
  uint32_t copied = std::min({capacity, channel->encodedCapacity - channel->encodedFill, rest});
  std::memcpy(channel->encodedBuffer + channel->encodedFill, block->lpData + channel->readOffset, copied);
  uint32_t flags = channel->readOffset == 0 ? acm::kConvertStart : acm::kConvertBlockAlign;
  channel->readOffset += copied;
  channel->encodedFill += copied;
  if (channel->readOffset >= block->dwBufferLength) flags |= acm::kConvertStart | acm::kConvertEnd;
  uint32_t produced = 0;
  if (channel->encodedFill < wanted &&
      (acm::streamSize(channel->acmStream, channel->encodedFill, &produced, acm::kSizeSource) != 0 || produced == 0))
    return;
  acm::StreamHeader header = acmHeaderOver(channel->decodeBuffer, channel->decodeSize, channel->encodedBuffer,
                                           channel->encodedFill);
  if (acm::streamPrepareHeader(channel->acmStream, &header) != 0) {
    TraceMessage(TraceChannel::sound, "Failed acmStreamPrepareeader.\n");
    return;
  }
  if (acm::streamConvert(channel->acmStream, &header, flags) != 0) {
    TraceMessage(TraceChannel::sound, "Failed acmStreamConvert.\n");
    return;
  }
  channel->encodedFill -= header.cbSrcLengthUsed;
  channel->decodeLeft = header.cbDstLengthUsed;
  std::memmove(channel->encodedBuffer, channel->encodedBuffer + header.cbSrcLengthUsed, channel->encodedFill);
  acm::streamUnprepareHeader(channel->acmStream, &header);
}

uint8_t* KSoundMixingService::ReadSamples(KMixingChannel* channel, int32_t buffer, uint32_t start, uint32_t count) {
  const uint32_t align = mixFormat_.nBlockAlign, sourceAlign = channel->format->nBlockAlign;
  uint32_t left = count * align;
  uint8_t* dst;
  if (buffer >= 0) {
    dst = channel->channelBuffer[buffer] + start * align;
    if (channel->pendingBuffer && channel->pendingRead < channel->pendingLength) {
      uint32_t n = std::min(channel->pendingLength - channel->pendingRead, count);
      std::memcpy(dst, channel->pendingBuffer + channel->pendingRead * align, n * align);
      channel->pendingRead += n;
      dst += n * align;
      left -= n * align;
      if (channel->pendingRead >= channel->pendingLength) {
        vkFree(channel->pendingBuffer);
        channel->pendingBuffer = nullptr;
        channel->pendingRead = channel->pendingLength = 0;
      }
    }
  } else if (count > channel->pendingLength) {
    channel->pendingBuffer = static_cast<uint8_t*>(vkRealloc(channel->pendingBuffer, count * align, 0));
    dst = channel->pendingBuffer + channel->pendingLength * align;
    left = (count - channel->pendingLength) * align;
    channel->pendingLength = count;
  } else {
    dst = channel->pendingBuffer;
    left = 0;
  }
  while (left != 0) {
    uint32_t want = left / align;
    uint32_t srcBytes = WaveSizeConvert(&mixFormat_, channel->format, want, 0) * sourceAlign;
    if (channel->sourceFormat) {
      if (channel->decodeLeft != 0) {
        if (srcBytes > channel->decodeLeft) {
          want = WaveSizeConvert(&mixFormat_, channel->format, channel->decodeLeft / sourceAlign, 1);
          srcBytes = channel->decodeLeft;
        }
        WaveConvert(&mixFormat_, dst, channel->format, channel->decodeRead, want);
        channel->decodeRead += srcBytes;
        channel->decodeLeft -= srcBytes;
        dst += want * align;
        left -= want * align;
      }
      if (left == 0 || channel->queue.GetCount() == 0) break;
      uint32_t offsetBefore = channel->readOffset, fillBefore = channel->encodedFill;
      FeedDecoder(channel);
      // A decoder that took nothing and gave nothing would hold this loop forever.
      if (channel->readOffset == offsetBefore && channel->encodedFill == fillBefore && channel->decodeLeft == 0)
        break;
    } else {
      if (channel->queue.GetCount() == 0) break;
      WAVEHDR* block = headerAt(channel->queue, 0);
      uint32_t rest = block->dwBufferLength - channel->readOffset;
      if (rest < srcBytes) {
        srcBytes = rest;
        want = rest >= sourceAlign ? WaveSizeConvert(&mixFormat_, channel->format, rest / sourceAlign, 1) : 0;
      }
      WaveConvert(&mixFormat_, dst, channel->format, block->lpData + channel->readOffset, want);
      dst += want * align;
      left -= want * align;
      channel->readOffset += srcBytes;
    }
    WAVEHDR* first = headerAt(channel->queue, 0);
    if (first && channel->readOffset >= first->dwBufferLength) FinishBlock(channel, left / align, count);
  }
  if (buffer < 0) {
    channel->pendingLength -= left / align;
    return channel->pendingBuffer;
  }
  uint32_t got = count - left / align;
  if (got == 0) return nullptr;
  if (start > channel->channelLength[buffer])
    WaveSilence(&mixFormat_, channel->channelBuffer[buffer] + channel->channelLength[buffer] * align,
                start - channel->channelLength[buffer]);
  channel->channelLength[buffer] = start + got;
  channel->totalRead += got;
  channel->position += got;
  return channel->channelBuffer[buffer] + start * align;
}

// ---- Channels ------------------------------------------------------------------------------

int32_t KSoundMixingService::IndexOf(KMixingChannel* channel) const {
  for (int32_t i = static_cast<int32_t>(channels_.GetCount()) - 1; i >= 0; --i)
    if (channels_.GetAt(static_cast<uint32_t>(i)) == channel) return i;
  return -1;
}

KMixingChannel* KSoundMixingService::OpenChannel(KSoundChannel* owner, const WAVEFORMATEX* format) {
  auto* channel = new KMixingChannel{};
  channel->owner = owner;
  channel->volumeLeft = channel->volumeRight = 1.0f;
  os::Lock hold(lock_);
  uint32_t status = 0;
  {
    os::Lock holdChannel(channel->lock);
    channel->format = copyFormat(format);
    if (!isOpen_) {
      channel->isMixed = 0;
      if (device_.open(&channel->hWaveOut, format, devicePosted, reinterpret_cast<DWORD_PTR>(this)) != 0) {
        channel->hWaveOut = nullptr;
        TraceMessage(TraceChannel::sound, "Failed open wave device.\n");
        status = fail(VK_ERROR_SOUND, __LINE__, "Failed open wave device.");
      } else {
        uint32_t saved = 0;
        device_.getVolume(channel->hWaveOut, &saved);
        channel->savedVolumeLeft = saved & 0xFFFF;
        channel->savedVolumeRight = saved >> 16;
      }
    } else {
      channel->isMixed = 1;
      if (format->wFormatTag != WAVE_FORMAT_PCM) {
        channel->sourceFormat = channel->format;
        auto* decoded = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 1));
        *decoded = pcmFormat(format->nChannels, mixFormat_.wBitsPerSample, format->nSamplesPerSec);
        channel->format = decoded;
        if (!mixable(*decoded) || acm::streamOpen(&channel->acmStream, channel->sourceFormat, decoded) != 0) {
          channel->acmStream = {};
          TraceMessage(TraceChannel::sound, "Failed open ACM driver.\n");
          status = fail(VK_ERROR_SOUND, __LINE__, "Failed open ACM driver.");
        } else {
          channel->decodeSize = decoded->nBlockAlign * bufferSamples_ * 2;
          for (uint32_t size = channel->decodeSize; size != 0; size <<= 1) {
            uint32_t encoded = 0;
            if (acm::streamSize(channel->acmStream, size, &encoded, acm::kSizeDestination) == 0 && encoded != 0) {
              channel->encodedCapacity = encoded;
              break;
            }
          }
          channel->decodeBuffer = static_cast<uint8_t*>(vkAlloc(channel->decodeSize, 0));
          channel->encodedBuffer = static_cast<uint8_t*>(vkAlloc(channel->encodedCapacity, 0));
        }
      } else if (!mixable(*format)) {
        // A PCM format the kernels cannot read is refused as the device would refuse it.
        TraceMessage(TraceChannel::sound, "Failed open wave device.\n");
        status = fail(VK_ERROR_SOUND, __LINE__, "Failed open wave device.");
      }
      // Private copies in the mix format, whatever the format read.
      for (uint8_t*& copy : channel->channelBuffer)
        copy = static_cast<uint8_t*>(vkAlloc(bufferSamples_ * mixFormat_.nBlockAlign, 0));
    }
  }
  if (status != 0) {
    DestroyChannel(channel);
    return nullptr;
  }
  channels_.Add(channel);
  vkSucceed();
  return channel;
}

void KSoundMixingService::DestroyChannel(KMixingChannel* channel) {
  if (channel->hWaveOut) {
    device_.setVolume(channel->hWaveOut, channel->savedVolumeLeft | channel->savedVolumeRight << 16);
    device_.reset(channel->hWaveOut);
    if (device_.close(channel->hWaveOut) != 0) TraceMessage(TraceChannel::sound, "Failed to close wave output device.\n");
  }
  if (channel->sourceFormat && channel->acmStream && acm::streamClose(channel->acmStream) != 0)
    TraceMessage(TraceChannel::sound, "Failed to close ACM driver.\n");
  for (uint8_t* block : {channel->channelBuffer[0], channel->channelBuffer[1], channel->pendingBuffer,
                         channel->decodeBuffer, channel->encodedBuffer})
    if (block) vkFree(block);
  if (channel->format) vkFree(channel->format);
  if (channel->sourceFormat) vkFree(channel->sourceFormat);
  for (uint32_t i = 0; i < channel->queue.GetCount(); ++i) delete headerAt(channel->queue, i);
  for (uint32_t i = 0; i < channel->doneList.GetCount(); ++i) delete headerAt(channel->doneList, i);
  delete channel;
}

uint32_t KSoundMixingService::CloseChannel(KMixingChannel* channel) {
  os::Lock hold(lock_);
  int32_t index = IndexOf(channel);
  if (index < 0) return fail(VK_ERROR_SOUND, __LINE__, "Invalid wave mixer handle was specified.");
  StopChannel(channel);
  if (channel->callbackState != 0) {
    channel->callbackState = 2;
    return vkSucceed();
  }
  {
    os::Lock holdChannel(channel->lock);
    channel->callbackState = 1;
    for (int32_t i = static_cast<int32_t>(channel->doneList.GetCount()) - 1; i >= 0; --i) {
      WAVEHDR* done = headerAt(channel->doneList, static_cast<uint32_t>(i));
      channel->owner->OnSourceDone(done->lpData, done->dwBufferLength, static_cast<uint32_t>(done->dwUser));
      delete done;
    }
    channel->doneList.RemoveAll();
    for (int32_t i = static_cast<int32_t>(channel->queue.GetCount()) - 1; i >= 0; --i) {
      WAVEHDR* block = headerAt(channel->queue, static_cast<uint32_t>(i));
      if (channel->isMixed)
        channel->owner->OnSourceDone(block->lpData, block->dwBufferLength, static_cast<uint32_t>(block->dwUser));
      else
        device_.unprepare(channel->hWaveOut, block);
      delete block;
    }
    channel->queue.RemoveAll();
    channel->callbackState = 0;
  }
  channels_.RemoveAt(static_cast<uint32_t>(IndexOf(channel)));
  DestroyChannel(channel);
  return vkGetLastError();
}

uint32_t KSoundMixingService::WriteChannel(KMixingChannel* channel, void* data, uint32_t bytes, uint32_t user) {
  auto* header = new WAVEHDR{};
  header->lpData = static_cast<char*>(data);
  header->dwBufferLength = bytes;
  header->dwUser = user;
  os::Lock hold(lock_);
  os::Lock holdChannel(channel->lock);
  if (!channel->isMixed) {
    if (!channel->hWaveOut) {
      delete header;
      return vkSucceed();
    }
    channel->queue.Add(header);
    device_.prepare(channel->hWaveOut, header);
    device_.write(channel->hWaveOut, header);
    channel->isPlaying = 1;
    return vkSucceed();
  }
  channel->queue.Add(header);
  if (channel->inSourceEnd) return vkSucceed();
  ReadSamples(channel, -1, 0, bufferSamples_);
  uint32_t current = currentBuffer_, next = NextBuffer();
  uint32_t s = GetSafePosition();
  uint32_t end = channel->channelLength[next] ? channel->channelLength[next] + bufferSamples_
                                              : channel->channelLength[current];
  if (s >= end) {
    channel->isPlaying = 1;
    channel->positionBase = playedSamples_ - channel->position + s;
  } else {
    s = end;
  }
  if (s < bufferSamples_) {
    MixChannelInto(channel, current, s, ReadSamples(channel, static_cast<int32_t>(current), s, bufferSamples_ - s));
    s = 0;
  } else {
    s -= bufferSamples_;
  }
  if (s < mixedLength_[next])
    MixChannelInto(channel, next, s, ReadSamples(channel, static_cast<int32_t>(next), s, mixedLength_[next] - s));
  return vkSucceed();
}

uint32_t KSoundMixingService::StopChannel(KMixingChannel* channel) {
  os::Lock hold(lock_);
  os::Lock holdChannel(channel->lock);
  if (channel->isPlaying) {
    if (channel->isMixed) {
      PauseChannel(channel);
      for (uint32_t i = 0; i < channel->queue.GetCount(); ++i) delete headerAt(channel->queue, i);
      channel->queue.RemoveAll();
      channel->position = 0;
    } else {
      device_.reset(channel->hWaveOut);
    }
  }
  channel->isPaused = channel->isPlaying = 0;
  return vkSucceed();
}

// Subtracts the channel's contribution to `buffer` from `start` on, at its volumes.
void KSoundMixingService::TakeBack(KMixingChannel* channel, uint32_t buffer, uint32_t start) {
  static const float kSilent[2] = {0.0f, 0.0f};
  float volume[2] = {channel->volumeLeft, channel->volumeRight};
  WaveChangeVolume(&mixFormat_, MixAt(buffer, start), channel->channelBuffer[buffer] + start * mixFormat_.nBlockAlign,
                   kSilent, volume, channel->channelLength[buffer] - start);
}

uint32_t KSoundMixingService::PauseChannel(KMixingChannel* channel) {
  os::Lock hold(lock_);
  os::Lock holdChannel(channel->lock);
  if (channel->isPaused) return vkSucceed();
  if (channel->isMixed) {
    const uint32_t align = mixFormat_.nBlockAlign;
    uint32_t current = currentBuffer_, next = NextBuffer();
    // What was taken back is played first on restart: the rest of the current buffer from the
    // safe position, then all of the next. Samples the store held before are not kept.
    channel->pendingRead = 0;
    channel->pendingLength = channel->channelLength[next];
    uint32_t s = GetSafePosition();
    channel->position = playedSamples_ - channel->positionBase + s;
    uint32_t taken = channel->channelLength[current] > s ? channel->channelLength[current] - s : 0;
    channel->pendingLength += taken;
    channel->pendingBuffer = static_cast<uint8_t*>(vkRealloc(channel->pendingBuffer, channel->pendingLength * align, 0));
    if (taken) {
      TakeBack(channel, current, s);
      std::memcpy(channel->pendingBuffer, channel->channelBuffer[current] + s * align, taken * align);
    }
    if (channel->channelLength[next]) {
      TakeBack(channel, next, 0);
      std::memcpy(channel->pendingBuffer + taken * align, channel->channelBuffer[next],
                  channel->channelLength[next] * align);
    }
    channel->channelLength[0] = channel->channelLength[1] = 0;
  } else {
    device_.pause(channel->hWaveOut);
  }
  channel->isPaused = 1;
  return vkSucceed();
}

uint32_t KSoundMixingService::RestartChannel(KMixingChannel* channel) {
  os::Lock hold(lock_);
  os::Lock holdChannel(channel->lock);
  if (!channel->isPaused) return vkSucceed();
  if (channel->isMixed) {
    uint32_t current = currentBuffer_, next = NextBuffer();
    uint32_t s = GetSafePosition();
    channel->positionBase = playedSamples_ - channel->position + s;
    if (s < bufferSamples_)
      MixChannelInto(channel, current, s, ReadSamples(channel, static_cast<int32_t>(current), s, bufferSamples_ - s));
    MixChannelInto(channel, next, 0, ReadSamples(channel, static_cast<int32_t>(next), 0, mixedLength_[next]));
  } else {
    device_.restart(channel->hWaveOut);
  }
  channel->isPaused = 0;
  return vkSucceed();
}

void KSoundMixingService::SetOwnDeviceVolume(KMixingChannel* channel) {
  uint32_t left = deviceVolume(totalVolumeLeft_, channel->volumeLeft);
  uint32_t right = deviceVolume(totalVolumeRight_, channel->volumeRight);
  if (channel->format->nChannels == 1) left = right = (left + right) >> 1;
  if (channel->hWaveOut) device_.setVolume(channel->hWaveOut, left | right << 16);
}

uint32_t KSoundMixingService::SetChannelVolume(KMixingChannel* channel, float left, float right) {
  os::Lock hold(lock_);
  os::Lock holdChannel(channel->lock);
  float oldVolume[2] = {channel->volumeLeft, channel->volumeRight}, newVolume[2] = {left, right};
  channel->volumeLeft = left;
  channel->volumeRight = right;
  if (channel->isMixed) {
    const uint32_t align = mixFormat_.nBlockAlign;
    uint32_t current = currentBuffer_, next = NextBuffer();
    uint32_t s = GetSafePosition();
    if (channel->channelLength[current] > s)
      WaveChangeVolume(&mixFormat_, MixAt(current, s), channel->channelBuffer[current] + s * align, newVolume, oldVolume,
                       channel->channelLength[current] - s);
    if (channel->channelLength[next])
      WaveChangeVolume(&mixFormat_, MixAt(next, 0), channel->channelBuffer[next], newVolume, oldVolume,
                       channel->channelLength[next]);
  } else {
    SetOwnDeviceVolume(channel);
  }
  return vkSucceed();
}

uint32_t KSoundMixingService::GetChannelPosition(KMixingChannel* channel) {
  if (channel->isMixed) {
    os::Lock hold(lock_);
    os::Lock holdChannel(channel->lock);
    uint32_t p = channel->position;
    if (channel->isPlaying && !channel->isPaused) {
      uint32_t device = 0;
      device_.getPosition(hWaveOut_, &device);
      int64_t since = static_cast<int32_t>(device - channel->positionBase);
      p = static_cast<uint32_t>(std::clamp<int64_t>(since, 0, playedSamples_));
    }
    return static_cast<uint32_t>(uint64_t{p} * channel->format->nSamplesPerSec / mixFormat_.nSamplesPerSec);
  }
  os::Lock holdChannel(channel->lock);
  if (!channel->hWaveOut) return 0;
  uint32_t samples = 0;
  device_.getPosition(channel->hWaveOut, &samples);
  return samples;
}

uint32_t ChannelSamplesToBytes(KMixingChannel* channel, uint32_t samples) {
  os::Lock hold(channel->lock);
  const WAVEFORMATEX& f = *channel->format;
  uint32_t bytes = f.nChannels * (f.wBitsPerSample / 8) * samples;
  if (!channel->isMixed) return f.wFormatTag == WAVE_FORMAT_PCM ? bytes : FormatSamplesToBytes(&f, samples);
  if (!channel->sourceFormat) return bytes;
  uint32_t size = 0;
  acm::streamSize(channel->acmStream, bytes, &size, acm::kSizeDestination);
  return size;
}
