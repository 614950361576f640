#include "sound/mixer/sound_channel.h"

#include "base/error.h"

namespace {

KSoundMixingService& service() { return theMixingService(); }

}  // namespace

KSoundChannel::~KSoundChannel() { KSoundChannel::CloseOutput(); }

void KSoundChannel::OnSourcePlayed(uint32_t) {}

void KSoundChannel::OnSourceDone(void*, uint32_t, uint32_t) {}

const WAVEFORMATEX* KSoundChannel::GetWaveFormat() {
  KMixingChannel* channel = channel_;
  if (!channel) return nullptr;
  return channel->sourceFormat ? channel->sourceFormat : channel->format;
}

uint32_t KSoundChannel::IsPlaying() {
  KMixingChannel* channel = channel_;
  return channel ? channel->isPlaying : 0;
}

uint32_t KSoundChannel::IsPaused() {
  KMixingChannel* channel = channel_;
  return channel ? channel->isPaused : 0;
}

uint32_t KSoundChannel::GetCurrentPosition() {
  KMixingChannel* channel = channel_;
  return channel ? service().GetChannelPosition(channel) : 0;
}

uint32_t KSoundChannel::OpenOutput(const WAVEFORMATEX* format) {
  CloseOutput();
  KMixingChannel* channel = service().OpenChannel(this, format);
  if (!channel) return vkSetError(VK_ERROR_SOUND, 0, "WavSound", __LINE__, "Failed to open mixer channel.");
  channel_ = channel;
  return vkSucceed();
}

uint32_t KSoundChannel::CloseOutput() {
  KMixingChannel* channel = channel_.exchange(nullptr);
  // Without a channel the record is left alone: a sound deleted after a failed read keeps the
  // reason of the failure.
  return channel ? service().CloseChannel(channel) : 0;
}

uint32_t KSoundChannel::NotOpened() {
  return vkSetError(VK_ERROR_SOUND, 0, "WavSound", __LINE__, "The sound mixer channel isn't opened.");
}

uint32_t KSoundChannel::Write(void* data, uint32_t bytes, uint32_t user) {
  KMixingChannel* channel = channel_;
  return channel ? service().WriteChannel(channel, data, bytes, user) : NotOpened();
}

uint32_t KSoundChannel::Stop() {
  KMixingChannel* channel = channel_;
  return channel ? service().StopChannel(channel) : NotOpened();
}

uint32_t KSoundChannel::Pause() {
  KMixingChannel* channel = channel_;
  return channel ? service().PauseChannel(channel) : NotOpened();
}

uint32_t KSoundChannel::Restart() {
  KMixingChannel* channel = channel_;
  return channel ? service().RestartChannel(channel) : NotOpened();
}

uint32_t KSoundChannel::GetVolume(float* left, float* right) {
  KMixingChannel* channel = channel_;
  if (!channel) return NotOpened();
  *left = channel->volumeLeft;
  *right = channel->volumeRight;
  return vkSucceed();
}

uint32_t KSoundChannel::SetVolume(float left, float right) {
  KMixingChannel* channel = channel_;
  return channel ? service().SetChannelVolume(channel, left, right) : NotOpened();
}
