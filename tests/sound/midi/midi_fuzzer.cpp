// Random bytes as a MIDI file, and cut in three as the bodies of tracks behind a valid header: the converter
// gives 0 or 1, every block it makes holds whole events inside the block, and the song plays to
// its end on the virtual device (which walks the flagged events of every block).
#include <cstdlib>
#include <cstring>
#include <string>

#include "sound/device/midi_virtual.h"
#include "sound/midi/midi_music.h"
#include "tests/files/memory_file.h"
#include "tests/sound/midi/midi_bytes.h"

namespace {

void requireWholeEvents(const MidiBlockList& song) {
  if (song.blockCount > song.capacity || song.loopBlock > song.blockCount) std::abort();
  for (int32_t block = 0; block < song.blockCount; ++block)
    if (song.blockSizes[block] == 0 || song.blockSizes[block] > kMidiBlockBytes) std::abort();
  for (const StreamEvent& event : streamEvents(song))
    if (event.broken) std::abort();
}

void convertAndPlay(const std::string& bytes) {
  static VirtualMidiBackend device;
  setMidiBackend(&device);
  CMIDIMusic music;
  MemoryFile file(bytes);
  uint32_t result = music.ReadFile(&file);
  if (result > 1) std::abort();
  if (result != 0) return;
  requireWholeEvents(music.Song());
  if (music.Play(false) == 0) device.advance(1e12);
  device.records.clear();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  convertAndPlay(bytes);
  std::string tracks;
  for (size_t third = 0; third < 3; ++third) {
    std::string body = bytes.substr(size * third / 3, size * (third + 1) / 3 - size * third / 3);
    tracks += chunk("MTrk", body, static_cast<uint32_t>(body.size()));
  }
  convertAndPlay(midiHeader(1, 3, 96) + tracks);
  return 0;
}
