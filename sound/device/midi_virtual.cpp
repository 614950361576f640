#include "sound/device/midi_virtual.h"

#include <algorithm>
#include <cstring>

uint32_t VirtualMidiBackend::open(MidiStream** stream, MidiStreamCallback callback, void* instance) {
  if (openResult != MMSYSERR_NOERROR) return openResult;
  stream_ = new VirtualMidiStream(*this, callback, instance);
  if (recording) records.push_back({MidiRecord::kOpen, 0, 0, 0, {}, nullptr});
  *stream = stream_;
  return MMSYSERR_NOERROR;
}

void VirtualMidiBackend::advance(double microseconds) {
  if (stream_) stream_->advance(microseconds);
}

VirtualMidiStream::VirtualMidiStream(VirtualMidiBackend& backend, MidiStreamCallback callback, void* instance)
    : backend_(backend), callback_(callback), instance_(instance) {}

void VirtualMidiStream::record(MidiRecord::Kind kind, uint32_t word, const MIDIHDR* header,
                               std::vector<uint8_t> bytes) {
  bool sounds = kind == MidiRecord::kMessage ||
                (kind == MidiRecord::kEvent && ((word & kMidiEventLong) || (word & 0x3F000000) == kMidiEventShort));
  if (sounds && backend_.sink) backend_.sink->play(now_, word & kMidiEventLong ? word : word & 0xFFFFFF, bytes);
  if (backend_.recording) backend_.records.push_back({kind, tick_, now_, word, std::move(bytes), header});
}

void VirtualMidiStream::call(uint32_t message, MIDIHDR* header) {
  ++callbackDepth_;
  callback_(this, message, instance_, reinterpret_cast<uintptr_t>(header));
  --callbackDepth_;
}

uint32_t VirtualMidiStream::out(MIDIHDR* header) {
  if (!(header->dwFlags & MHDR_PREPARED)) return MIDIERR_UNPREPARED;
  if (header->dwFlags & MHDR_INQUEUE) return MIDIERR_STILLPLAYING;
  header->dwFlags = (header->dwFlags | MHDR_INQUEUE) & ~MHDR_DONE;
  // An idle stream takes up the new block's time from now.
  if (queue_.empty()) lastEventTime_ = std::max(lastEventTime_, now_);
  queue_.push_back({header, 0});
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::pause() {
  paused_ = true;
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::restart() {
  paused_ = false;
  return MMSYSERR_NOERROR;
}

void VirtualMidiStream::handBack(MIDIHDR* header) {
  header->dwFlags = (header->dwFlags & ~MHDR_INQUEUE) | MHDR_DONE;
  record(MidiRecord::kDone, header->dwBytesRecorded, header);
  call(MOM_DONE, header);
}

uint32_t VirtualMidiStream::stop() {
  record(MidiRecord::kStop, 0);
  std::deque<Queued> returned;
  returned.swap(queue_);
  for (const Queued& block : returned) handBack(block.header);
  tick_ = 0;
  lastEventTime_ = now_;
  if (closed_ && callbackDepth_ == 0) delete this;
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::setTimeDivision(uint32_t division) {
  division_ = division;
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::tempo(uint32_t* microsecondsPerQuarter) {
  *microsecondsPerQuarter = tempo_;
  return MMSYSERR_NOERROR;
}

// As the system does, a block without data is refused.
uint32_t VirtualMidiStream::prepareHeader(MIDIHDR* header) {
  if (!header->lpData || header->dwBufferLength < header->dwBytesRecorded) return MMSYSERR_INVALPARAM;
  header->dwFlags |= MHDR_PREPARED;
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::unprepareHeader(MIDIHDR* header) {
  if (header->dwFlags & MHDR_INQUEUE) return MIDIERR_STILLPLAYING;
  header->dwFlags &= ~MHDR_PREPARED;
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::shortMessage(uint32_t message) {
  record(MidiRecord::kMessage, message);
  return MMSYSERR_NOERROR;
}

uint32_t VirtualMidiStream::close() {
  record(MidiRecord::kClose, 0);
  backend_.stream_ = nullptr;
  closed_ = true;
  if (callbackDepth_ == 0) delete this;
  return MMSYSERR_NOERROR;
}

bool VirtualMidiStream::playNext(double until) {
  Queued& front = queue_.front();
  MIDIHDR* header = front.header;
  uint32_t offset = front.offset;
  uint32_t used = header->dwBytesRecorded;
  MIDIEVENT event;
  uint32_t size = 0;
  if (!readMidiEvent(*header, offset, &event, &size)) {
    queue_.pop_front();
    handBack(header);
    return true;
  }
  double due = std::max(lastEventTime_ + event.dwDeltaTime * midiMicrosecondsPerTick(division_, tempo_), now_);
  if (due > until) return false;
  now_ = lastEventTime_ = due;
  tick_ += event.dwDeltaTime;
  if (offset + size > used) {  // a long event cut off by the block's end ends the block
    front.offset = used;
    return true;
  }
  front.offset = offset + size;
  std::vector<uint8_t> bytes;
  if (event.dwEvent & kMidiEventLong) {
    const auto* parameters = reinterpret_cast<const uint8_t*>(header->lpData + offset + kMidiEventHeaderBytes);
    bytes.assign(parameters, parameters + (event.dwEvent & 0xFFFFFF));
  } else if ((event.dwEvent & 0xFF000000 & ~kMidiEventCallback) == kMidiEventTempo) {
    tempo_ = event.dwEvent & 0xFFFFFF;
  }
  record(MidiRecord::kEvent, event.dwEvent, header, std::move(bytes));
  if (event.dwEvent & kMidiEventCallback) {
    header->dwOffset = offset;
    record(MidiRecord::kPosition, event.dwEvent, header);
    call(MOM_POSITIONCB, header);
  }
  return true;
}

void VirtualMidiStream::advance(double microseconds) {
  double until = now_ + microseconds;
  ++callbackDepth_;  // a close from a callback waits for the end of this walk
  while (!paused_ && !closed_ && !queue_.empty() && playNext(until)) {
  }
  --callbackDepth_;
  if (closed_) {
    if (callbackDepth_ == 0) delete this;
    return;
  }
  if (!paused_) now_ = until;
}
