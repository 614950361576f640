// A MIDI stream device on a virtual clock, for the tests: time moves only when the test says so,
// and every event the stream plays, every message sent at once, every callback and every block
// handed back is recorded with its time, so that a test checks what would be heard. Callbacks
// run on the thread that moves the clock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "sound/device/midi_stream.h"

struct MidiRecord {
  enum Kind {
    kOpen,
    kEvent,     // a stream event played: word is dwEvent, bytes a long event's parameters
    kMessage,   // a short message sent at once: word is the message
    kPosition,  // a position callback: word is the flagged event's dwEvent
    kDone,      // a block handed back: word is its dwBytesRecorded
    kStop,
    kClose,
  };
  Kind kind;
  uint64_t tick;         // the stream's position: the tick of the last event played
  double microseconds;   // the stream's running time since open (pauses do not count)
  uint32_t word;
  std::vector<uint8_t> bytes;
  const MIDIHDR* header;  // the block of kEvent, kPosition and kDone
};

// Where a virtual stream's messages go besides its record: each short message (status, data 1,
// data 2) or long one (`bytes`) that plays, with its time on the stream's running clock.
class MidiEventSink {
 public:
  virtual ~MidiEventSink() = default;
  virtual void play(double microseconds, uint32_t message, const std::vector<uint8_t>& bytes) = 0;
};

class VirtualMidiStream;

class VirtualMidiBackend : public MidiBackend {
 public:
  const char* name() const override { return "virtual"; }
  uint32_t open(MidiStream** stream, MidiStreamCallback callback, void* instance) override;

  // The open stream, null when none is.
  VirtualMidiStream* stream() const { return stream_; }
  // Runs the open stream's clock on by `microseconds`, playing what falls due.
  void advance(double microseconds);

  std::vector<MidiRecord> records;
  bool recording = true;                   // false keeps no records
  MidiEventSink* sink = nullptr;
  uint32_t openResult = MMSYSERR_NOERROR;  // what open answers; anything else refuses

 private:
  friend class VirtualMidiStream;
  VirtualMidiStream* stream_ = nullptr;
};

class VirtualMidiStream : public MidiStream {
 public:
  VirtualMidiStream(VirtualMidiBackend& backend, MidiStreamCallback callback, void* instance);

  uint32_t out(MIDIHDR* header) override;
  uint32_t pause() override;
  uint32_t restart() override;
  uint32_t stop() override;
  uint32_t setTimeDivision(uint32_t division) override;
  uint32_t tempo(uint32_t* microsecondsPerQuarter) override;
  uint32_t prepareHeader(MIDIHDR* header) override;
  uint32_t unprepareHeader(MIDIHDR* header) override;
  uint32_t shortMessage(uint32_t message) override;
  uint32_t close() override;

  void advance(double microseconds);
  bool paused() const { return paused_; }
  double now() const { return now_; }
  uint32_t timeDivision() const { return division_; }
  size_t queuedBlocks() const { return queue_.size(); }

 private:
  struct Queued {
    MIDIHDR* header;
    uint32_t offset;
  };
  void record(MidiRecord::Kind kind, uint32_t word, const MIDIHDR* header = nullptr,
              std::vector<uint8_t> bytes = {});
  void call(uint32_t message, MIDIHDR* header);
  void handBack(MIDIHDR* header);
  // Plays the front block's next event if it is due by `until`; false when nothing was due.
  bool playNext(double until);

  VirtualMidiBackend& backend_;
  MidiStreamCallback callback_;
  void* instance_;
  std::deque<Queued> queue_;
  bool paused_ = true;
  bool closed_ = false;
  int callbackDepth_ = 0;
  uint32_t division_ = 96;
  uint32_t tempo_ = 500000;
  uint64_t tick_ = 0;
  double now_ = 0;
  double lastEventTime_ = 0;
};
