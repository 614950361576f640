#include "sound/device/midi_stream.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <span>

#include "base/trace.h"

#ifdef _WIN32
#include "sound/device/midi_winmm.h"
#endif

namespace {

std::atomic<MidiBackend*> chosenBackend{nullptr};

std::span<MidiBackend* const> buildBackends() {
#ifdef _WIN32
  static MidiBackend* const backends[] = {&winmmMidiBackend()};
  return backends;
#else
  return {};
#endif
}

}  // namespace

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
