// The MIDI stream device: a timed player of event blocks that hands each block back with a done
// notice, calls back at flagged events, and sends single messages at once. Backends: WINMM's
// midiStream in the product ("system"), a virtual clock that records what it plays for the
// tests (midi_virtual.h), the engine's own synthesiser ("synth", midi_synth.h). The player above (CMIDIMusic) owns the blocks and decides what goes
// out; a backend only plays and reports.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

#ifndef _WIN32
// The stream records of WINMM, in their layouts.
struct MIDIHDR {
  char* lpData;
  DWORD dwBufferLength;
  DWORD dwBytesRecorded;
  uintptr_t dwUser;
  DWORD dwFlags;
  MIDIHDR* lpNext;
  uintptr_t reserved;
  DWORD dwOffset;
  uintptr_t dwReserved[8];
};

struct MIDIEVENT {
  DWORD dwDeltaTime;
  DWORD dwStreamID;
  DWORD dwEvent;
  DWORD dwParms[1];
};

#define MMSYSERR_NOERROR 0u
#define MMSYSERR_ERROR 1u
#define MMSYSERR_BADDEVICEID 2u
#define MMSYSERR_INVALHANDLE 5u
#define MMSYSERR_NODRIVER 6u
#define MMSYSERR_INVALPARAM 11u
#define MIDIERR_UNPREPARED 64u
#define MIDIERR_STILLPLAYING 65u

#define MHDR_DONE 0x1u
#define MHDR_PREPARED 0x2u
#define MHDR_INQUEUE 0x4u

#define MOM_DONE 0x3C9u
#define MOM_POSITIONCB 0x3CAu
#define MM_STREAM_DONE 0x3D6u
#endif

// The event word of a stream event: type in the top byte, with two flags.
enum : uint32_t {
  kMidiEventShort = 0x00000000,
  kMidiEventTempo = 0x01000000,
  kMidiEventNop = 0x02000000,
  kMidiEventCallback = 0x40000000,  // MEVT_F_CALLBACK: the stream calls back at this event
  kMidiEventLong = 0x80000000,      // parameter bytes follow, their count in the low 24 bits
};

// The three words in front of every stream event; a long event's bytes follow, padded to 4.
constexpr uint32_t kMidiEventHeaderBytes = 12;

// The event at `offset` of a block's recorded bytes; false when no whole event header is left
// there. `size` counts the header and the padded parameters, and may run past the block's end.
bool readMidiEvent(const MIDIHDR& header, uint32_t offset, MIDIEVENT* event, uint32_t* size);
// The length of a tick: a division with the top bit set counts frames per second (negated, high
// byte) and ticks per frame (low byte); otherwise it is ticks per quarter note, timed by the
// tempo. 0 for a division that counts nothing.
double midiMicrosecondsPerTick(uint32_t division, uint32_t tempo);

// Given by a backend on the stream's thread: MOM_DONE (param the block's MIDIHDR),
// MOM_POSITIONCB (the MIDIHDR, its dwOffset at the flagged event), MM_STREAM_DONE.
class MidiStream;
using MidiStreamCallback = void (*)(MidiStream* stream, uint32_t message, void* instance, uintptr_t param);

// One open stream. Results are MMRESULT codes, MMSYSERR_NOERROR on success.
class MidiStream {
 public:
  virtual ~MidiStream() = default;
  // Queues a prepared block behind those the stream holds.
  virtual uint32_t out(MIDIHDR* header) = 0;
  virtual uint32_t pause() = 0;
  virtual uint32_t restart() = 0;
  // Silences all notes, hands every queued block back (MOM_DONE) and sets the position to 0.
  virtual uint32_t stop() = 0;
  virtual uint32_t setTimeDivision(uint32_t division) = 0;
  virtual uint32_t tempo(uint32_t* microsecondsPerQuarter) = 0;
  virtual uint32_t prepareHeader(MIDIHDR* header) = 0;
  virtual uint32_t unprepareHeader(MIDIHDR* header) = 0;
  // A message of up to three bytes, sent at once, outside the stream's time.
  virtual uint32_t shortMessage(uint32_t message) = 0;
  // Closes the stream; the object is gone afterwards, also when this is called from its callback.
  virtual uint32_t close() = 0;
};

// A kind of stream device. open starts the stream paused, as midiStreamOpen does.
class MidiBackend {
 public:
  virtual ~MidiBackend() = default;
  virtual const char* name() const = 0;
  virtual uint32_t open(MidiStream** stream, MidiStreamCallback callback, void* instance) = 0;
};

// Opens a stream on the backend that RUNA1_MIDI names, or else on the first of the build's list
// that opens (the product: "system", then "synth"; the native build: "synth"), with a trace line
// for each one that fails. A backend set with setMidiBackend is the only one tried.
uint32_t openMidiStream(MidiStream** stream, MidiStreamCallback callback, void* instance);
// Puts `backend` in place of the list; null puts the list back.
void setMidiBackend(MidiBackend* backend);
