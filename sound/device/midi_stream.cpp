#include "sound/device/midi_stream.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/trace.h"
#include "sound/device/midi_synth.h"

#ifdef _WIN32
#include "sound/device/midi_winmm.h"
#endif

namespace {

std::atomic<MidiBackend*> chosenBackend{nullptr};

std::span<MidiBackend* const> buildBackends() {
#ifdef _WIN32
  static MidiBackend* const backends[] = {&winmmMidiBackend(), &synthMidiBackend()};
#else
  static MidiBackend* const backends[] = {&synthMidiBackend()};
#endif
  return backends;
}

}  // namespace

bool readMidiEvent(const MIDIHDR& header, uint32_t offset, MIDIEVENT* event, uint32_t* size) {
  if (offset > header.dwBytesRecorded || header.dwBytesRecorded - offset < kMidiEventHeaderBytes) return false;
  std::memcpy(event, header.lpData + offset, kMidiEventHeaderBytes);
  *size = kMidiEventHeaderBytes;
  if (event->dwEvent & kMidiEventLong) *size += ((event->dwEvent & 0xFFFFFF) + 3) & ~3u;
  return true;
}

double midiMicrosecondsPerTick(uint32_t division, uint32_t tempo) {
  if (division & 0x8000) {
    int framesPerSecond = -static_cast<int8_t>(division >> 8);
    int ticksPerFrame = division & 0xFF;
    return framesPerSecond > 0 && ticksPerFrame > 0 ? 1e6 / (framesPerSecond * ticksPerFrame) : 0;
  }
  return division ? static_cast<double>(tempo) / division : 0;
}

void setMidiBackend(MidiBackend* backend) { chosenBackend = backend; }

uint32_t openMidiStream(MidiStream** stream, MidiStreamCallback callback, void* instance) {
  *stream = nullptr;
  if (MidiBackend* backend = chosenBackend) return backend->open(stream, callback, instance);
  const char* wanted = std::getenv("RUNA1_MIDI");
  uint32_t result = MMSYSERR_NODRIVER;
  for (MidiBackend* backend : buildBackends()) {
    if (wanted && *wanted && std::strcmp(wanted, backend->name()) != 0) continue;
    result = backend->open(stream, callback, instance);
    if (result == MMSYSERR_NOERROR) return result;
    TraceMessage(TraceChannel::midi, "MIDI: the %s stream did not open (%u)\n", backend->name(), result);
  }
  return result;
}
