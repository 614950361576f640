#include "sound/device/midi_winmm.h"

#include <atomic>

#include "base/os/os.h"

namespace {

class WinmmMidiStream : public MidiStream {
 public:
  WinmmMidiStream(MidiStreamCallback callback, void* instance) : callback_(callback), instance_(instance) {}

  uint32_t open() {
    UINT device = MIDI_MAPPER;
    return midiStreamOpen(&handle_, &device, 1, reinterpret_cast<DWORD_PTR>(&relay),
                          reinterpret_cast<DWORD_PTR>(this), CALLBACK_FUNCTION);
  }

  uint32_t out(MIDIHDR* header) override { return midiStreamOut(handle_, header, sizeof(MIDIHDR)); }
  uint32_t pause() override { return midiStreamPause(handle_); }
  uint32_t restart() override { return midiStreamRestart(handle_); }
  // The stream's own thread, which runs the callbacks, must not wait for itself: a stop asked
  // from a callback is left to the close that follows it.
  uint32_t stop() override { return onStreamThread() ? MMSYSERR_NOERROR : midiStreamStop(handle_); }

  uint32_t setTimeDivision(uint32_t division) override {
    MIDIPROPTIMEDIV property{sizeof property, division};
    return midiStreamProperty(handle_, reinterpret_cast<BYTE*>(&property), MIDIPROP_SET | MIDIPROP_TIMEDIV);
  }

  uint32_t tempo(uint32_t* microsecondsPerQuarter) override {
    MIDIPROPTEMPO property{sizeof property, 0};
    uint32_t result = midiStreamProperty(handle_, reinterpret_cast<BYTE*>(&property), MIDIPROP_GET | MIDIPROP_TEMPO);
    *microsecondsPerQuarter = property.dwTempo;
    return result;
  }

  uint32_t prepareHeader(MIDIHDR* header) override {
    return midiOutPrepareHeader(reinterpret_cast<HMIDIOUT>(handle_), header, sizeof(MIDIHDR));
  }
  uint32_t unprepareHeader(MIDIHDR* header) override {
    return midiOutUnprepareHeader(reinterpret_cast<HMIDIOUT>(handle_), header, sizeof(MIDIHDR));
  }
  uint32_t shortMessage(uint32_t message) override {
    return midiOutShortMsg(reinterpret_cast<HMIDIOUT>(handle_), message);
  }

  // No callback goes to the owner once it closes; a close asked from a callback runs on a
  // thread of its own, for the same reason as the stop.
  uint32_t close() override {
    closed_ = true;
    if (onStreamThread()) {
      if (os::Thread* closer = os::startThread(&closeAndDelete, this)) {
        os::closeThread(closer);
        return MMSYSERR_NOERROR;
      }
    }
    uint32_t result = midiStreamClose(handle_);
    delete this;
    return result;
  }

 private:
  static void closeAndDelete(void* self) {
    auto* stream = static_cast<WinmmMidiStream*>(self);
    midiStreamClose(stream->handle_);
    delete stream;
  }

  static void CALLBACK relay(HMIDIOUT, UINT message, DWORD_PTR self, DWORD_PTR param, DWORD_PTR) {
    auto* stream = reinterpret_cast<WinmmMidiStream*>(self);
    stream->streamThread_ = GetCurrentThreadId();
    if (!stream->closed_) stream->callback_(stream, message, stream->instance_, param);
  }

  bool onStreamThread() const { return GetCurrentThreadId() == streamThread_; }

  HMIDISTRM handle_ = nullptr;
  std::atomic<DWORD> streamThread_{0};
  std::atomic<bool> closed_{false};
  MidiStreamCallback callback_;
  void* instance_;
};

class WinmmMidiBackend : public MidiBackend {
 public:
  const char* name() const override { return "system"; }

  // A system without a MIDI output device is refused before the mapper is asked.
  uint32_t open(MidiStream** stream, MidiStreamCallback callback, void* instance) override {
    if (midiOutGetNumDevs() == 0) return MMSYSERR_NODRIVER;
    auto* opened = new WinmmMidiStream(callback, instance);
    uint32_t result = opened->open();
    if (result != MMSYSERR_NOERROR) {
      delete opened;
      return result;
    }
    *stream = opened;
    return result;
  }
};

}  // namespace

MidiBackend& winmmMidiBackend() {
  static WinmmMidiBackend backend;
  return backend;
}
