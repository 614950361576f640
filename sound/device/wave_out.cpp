// The choice of the wave output backend by name.
#include <cstdlib>
#include <cstring>

#include "base/trace.h"
#include "sound/device/wave_out.h"

namespace {

// In order of preference: the first is the default.
const WaveOutBackend* const* backends() {
#ifdef _WIN32
  static const WaveOutBackend* const list[] = {&winmmWaveOutBackend(), &nullWaveOutBackend(), nullptr};
#else
  static const WaveOutBackend* const list[] = {&nullWaveOutBackend(), nullptr};
#endif
  return list;
}

const WaveOutBackend& chooseBackend() {
  const char* name = std::getenv("RUNA1_AUDIO");
  if (name && *name) {
    if (const WaveOutBackend* named = findWaveOutBackend(name)) return *named;
    TraceMessage(TraceChannel::sound, "RUNA1_AUDIO names no audio backend: \"%s\"; using \"%s\".\n", name, backends()[0]->name);
  }
  return *backends()[0];
}

}  // namespace

const WaveOutBackend* findWaveOutBackend(const char* name) {
  for (const WaveOutBackend* const* b = backends(); *b; ++b)
    if (std::strcmp((*b)->name, name) == 0) return *b;
  return nullptr;
}

const WaveOutBackend& waveOutBackend() {
  static const WaveOutBackend& chosen = chooseBackend();
  return chosen;
}
