#include "sound/midi/midi_music.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace {

constexpr uint32_t kChannels = 16;
constexpr uint32_t kBaseChannelVolume = 100;  // what a channel has until the song says otherwise
constexpr uint32_t kNothingSent = 0xFFFFFFFF;
constexpr uint32_t kAllNotesOff = 0x7BB0;     // controller 0x7B on channel 0
constexpr uint32_t kVolumeController = 0x7B0;  // controller 7 on channel 0
// Bytes a long message may have: its count fits the low 24 bits of the event word.
constexpr uint32_t kLongestMessage = 0xFFFFFF;

}  // namespace

CMIDIMusic::CMIDIMusic() {
  std::fill(std::begin(channelVolume_), std::end(channelVolume_), kBaseChannelVolume);
  std::fill(std::begin(sentVolume_), std::end(sentVolume_), kNothingSent);
}

CMIDIMusic::~CMIDIMusic() { Clear(); }

void CMIDIMusic::Clear() {
  StopAndClose();
  os::Lock guard(lock_);
  FreeMidiBlocks(&song_);
  currentBlock_ = 0;
}

uint32_t CMIDIMusic::ReadFile(KFileObj* file) {
  os::Lock guard(lock_);
  if (song_.blocks) Clear();
  if (ConvertMidiFile(file, &song_) != 0) return 1;
  if (song_.loopMark) isLooped_ = true;
  return 0;
}

void CMIDIMusic::StreamCallback(MidiStream* stream, uint32_t message, void* instance, uintptr_t param) {
  if (!instance) {
    os::debugOutput("Warning : Invalid pointer to CMIDIMusic.\n");
    return;
  }
  static_cast<CMIDIMusic*>(instance)->OnMidiMessage(stream, message, param);
}

uint32_t CMIDIMusic::OpenStream() {
  os::Lock guard(lock_);
  if (hStream_) return 0;
  if (openMidiStream(&hStream_, &StreamCallback, this) != MMSYSERR_NOERROR) {
    hStream_ = nullptr;
    return 1;
  }
  hStream_->restart();
  return 0;
}

uint32_t CMIDIMusic::PrepareCurrentBlock() {
  header_ = MIDIHDR{};
  if (currentBlock_ < song_.blockCount) {
    header_.lpData = reinterpret_cast<char*>(song_.blocks[currentBlock_]);
    header_.dwBufferLength = header_.dwBytesRecorded = song_.blockSizes[currentBlock_];
  }
  return hStream_->prepareHeader(&header_);
}

uint32_t CMIDIMusic::Play(bool looped) {
  if (!song_.blocks) return 1;
  os::Lock guard(lock_);
  std::fill(std::begin(channelVolume_), std::end(channelVolume_), kBaseChannelVolume);
  std::fill(std::begin(sentVolume_), std::end(sentVolume_), kNothingSent);
  if (hStream_) {
    if (isPlaying_) StopPlay();
  } else if (OpenStream() != 0) {
    return 1;
  }
  hStream_->pause();
  hStream_->setTimeDivision(song_.timeDivision);
  hStream_->tempo(&tempo_);
  currentBlock_ = 0;
  if (PrepareCurrentBlock() != MMSYSERR_NOERROR) return 1;
  // A loop mark in the file set the same flag: the argument decides.
  isLooped_ = looped;
  hStream_->restart();
  if (hStream_->out(&header_) != MMSYSERR_NOERROR) return 1;
  isPaused_ = false;
  isPlaying_ = true;
  return 0;
}

uint32_t CMIDIMusic::Pause() {
  if (!isPlaying_ || isPaused_) return 1;
  os::Lock guard(lock_);
  if (!hStream_) return 1;
  hStream_->pause();
  isPaused_ = true;
  return 0;
}

uint32_t CMIDIMusic::Restart() {
  if (!isPaused_) return 1;
  os::Lock guard(lock_);
  if (!hStream_) return 1;
  hStream_->restart();
  isPaused_ = false;
  return 0;
}

void CMIDIMusic::StopPlay() {
  bool wasClosing = closing_.exchange(true);
  {
    os::Lock guard(lock_);
    if (hStream_ && isPlaying_) {
      hStream_->stop();
      for (uint32_t channel = 0; channel < kChannels; ++channel) hStream_->shortMessage(kAllNotesOff | channel);
      hStream_->unprepareHeader(&header_);
      isPlaying_ = false;
    }
  }
  closing_ = wasClosing;
}

void CMIDIMusic::StopAndClose() {
  bool wasClosing = closing_.exchange(true);
  {
    os::Lock guard(lock_);
    if (hStream_) {
      if (isPlaying_) StopPlay();
      hStream_->close();
      hStream_ = nullptr;
    }
  }
  closing_ = wasClosing;
}

void CMIDIMusic::SetMasterVolume(uint32_t volume) {
  os::Lock guard(lock_);
  masterVolume_ = std::min(volume, 0xFFFFu);
  if (!hStream_) return;
  for (uint32_t channel = 0; channel < kChannels; ++channel) ApplyVolume(channel, volume);
}

uint32_t CMIDIMusic::ApplyVolume(uint32_t channel, uint32_t volume) {
  os::Lock guard(lock_);
  if (!hStream_) return 0;
  uint32_t value = channelVolume_[channel] * std::min(volume, 0xFFFFu) / 0xFFFF;
  if (value == sentVolume_[channel]) return 0;
  sentVolume_[channel] = value;
  return hStream_->shortMessage(value << 16 | channel | kVolumeController) == MMSYSERR_NOERROR ? 0 : 1;
}

uint32_t CMIDIMusic::OutShortMsg(uint32_t message) {
  os::Lock guard(lock_);
  if (!hStream_) return 0;
  return hStream_->shortMessage(message) == MMSYSERR_NOERROR ? 0 : 1;
}

// The message goes out as a block of its own, one long event, in a block that holds its header
// in front; the done notice frees it.
uint32_t CMIDIMusic::OutLongMsg(const void* data, uint32_t bytes) {
  os::Lock guard(lock_);
  if (!hStream_) return 0;
  if (bytes > kLongestMessage) return 1;
  uint32_t padded = (bytes + 3) & ~3u;
  auto* block = static_cast<uint8_t*>(os::globalAlloc(sizeof(MIDIHDR) + kMidiEventHeaderBytes + padded, true));
  if (!block) return 1;
  auto* header = reinterpret_cast<MIDIHDR*>(block);
  uint8_t* events = block + sizeof(MIDIHDR);
  const uint32_t words[3] = {0, 0, kMidiEventLong | bytes};
  std::memcpy(events, words, sizeof words);
  std::memcpy(events + kMidiEventHeaderBytes, data, bytes);
  header->lpData = reinterpret_cast<char*>(events);
  header->dwBufferLength = header->dwBytesRecorded = padded + kMidiEventHeaderBytes;
  if (hStream_->prepareHeader(header) != MMSYSERR_NOERROR) return 1;
  return hStream_->out(header) == MMSYSERR_NOERROR ? 0 : 1;
}

void CMIDIMusic::OnMidiMessage(MidiStream* stream, uint32_t message, uintptr_t param) {
  auto* header = reinterpret_cast<MIDIHDR*>(param);
  switch (message) {
    case MOM_POSITIONCB:
      OnPosition(header);
      break;
    case MOM_DONE:
    case MM_STREAM_DONE:
      OnDone(stream, header);
      break;
    default:
      break;
  }
}

bool CMIDIMusic::LockForCallback() {
  while (!lock_.tryLock()) {
    if (closing_) return false;
    std::this_thread::yield();
  }
  if (!closing_) return true;
  lock_.unlock();
  return false;
}

// The flagged event is the first of a moment's channel volumes (or its tempo): every volume of
// that moment is taken and sent scaled. A stop in progress needs none of them.
void CMIDIMusic::OnPosition(const MIDIHDR* header) {
  if (!LockForCallback()) return;
  for (uint32_t offset = header->dwOffset; offset + kMidiEventHeaderBytes <= header->dwBytesRecorded;
       offset += kMidiEventHeaderBytes) {
    MIDIEVENT event;
    std::memcpy(&event, header->lpData + offset, kMidiEventHeaderBytes);
    if (offset != header->dwOffset && event.dwDeltaTime != 0) break;
    if (event.dwEvent & kMidiEventLong) break;
    bool volume = (event.dwEvent & 0x03000000) == kMidiEventNop && (event.dwEvent & 0xFFF0) == kVolumeController;
    if (!volume) continue;
    uint32_t channel = event.dwEvent & 0x0F;
    channelVolume_[channel] = (event.dwEvent >> 16) & 127;
    ApplyVolume(channel, masterVolume_);
  }
  lock_.unlock();
}

// A block came back: the song's next one goes out, or the loop's first, or the song ends.
void CMIDIMusic::OnDone(MidiStream* stream, MIDIHDR* header) {
  stream->unprepareHeader(header);
  if (header != &header_ && header->lpData == reinterpret_cast<char*>(header + 1)) {
    os::globalFree(header);
    return;
  }
  if (!LockForCallback()) return;
  if (hStream_) QueueNextBlock();
  lock_.unlock();
}

void CMIDIMusic::QueueNextBlock() {
  if (++currentBlock_ >= song_.blockCount) {
    if (!isLooped_) {
      StopAndClose();
      return;
    }
    currentBlock_ = song_.loopBlock;
  }
  if (PrepareCurrentBlock() == MMSYSERR_NOERROR) hStream_->out(&header_);
}
