#include "host/exports/midi.h"

namespace {

// The process-wide scale of MIDI_SetVolume, in 1/256: a plain copy.
constexpr uint32_t kMidiVolumeScale = 256;

}  // namespace

// The object is made even when no stream opens: playing it then gives 1.
CMIDIMusic* RUNA1_API MIDI_OpenMidi(CMIDIMusic* music) {
  if (!music) music = new CMIDIMusic;
  music->OpenStream();
  MIDI_SetVolume(music, 65535);
  return music;
}

// A file that does not convert deletes the object, also one the caller gave.
CMIDIMusic* RUNA1_API MIDI_ReadMidi(CMIDIMusic* music, KFileObj* file) {
  if (!music) music = new CMIDIMusic;
  if (music->ReadFile(file) != 0) {
    delete music;
    return nullptr;
  }
  MIDI_SetVolume(music, 65535);
  return music;
}

uint32_t RUNA1_API MIDI_Delete(CMIDIMusic* music) {
  delete music;
  return 0;
}

uint32_t RUNA1_API MIDI_PlayMidi(CMIDIMusic* music, int32_t looped) { return music->Play(looped != 0); }

uint32_t RUNA1_API MIDI_PauseMidi(CMIDIMusic* music) { return music->Pause(); }

uint32_t RUNA1_API MIDI_RestartMidi(CMIDIMusic* music) { return music->Restart(); }

uint32_t RUNA1_API MIDI_StopMidi(CMIDIMusic* music) {
  music->StopAndClose();
  return 0;
}

uint32_t RUNA1_API MIDI_SetVolume(CMIDIMusic* music, uint32_t volume) {
  music->SetMasterVolume(volume * kMidiVolumeScale >> 8);
  return 0;
}

uint32_t RUNA1_API MIDI_OutShortMsg(CMIDIMusic* music, uint32_t message) { return music->OutShortMsg(message); }

uint32_t RUNA1_API MIDI_OutLongMsg(CMIDIMusic* music, const void* data, uint32_t bytes) {
  return music->OutLongMsg(data, bytes);
}

uint32_t RUNA1_API MIDI_IsPlaying(CMIDIMusic* music) { return music->IsPlaying() ? 1 : 0; }
