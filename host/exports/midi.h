// MIDI_* exports: songs played through the MIDI stream device. Handles are CMIDIMusic objects.
#pragma once

#include <cstdint>

#include "files/file_obj.h"
#include "sound/midi/midi_music.h"

extern "C" {
CMIDIMusic* RUNA1_API MIDI_OpenMidi(CMIDIMusic* music);
CMIDIMusic* RUNA1_API MIDI_ReadMidi(CMIDIMusic* music, KFileObj* file);
uint32_t RUNA1_API MIDI_Delete(CMIDIMusic* music);
uint32_t RUNA1_API MIDI_PlayMidi(CMIDIMusic* music, int32_t looped);
uint32_t RUNA1_API MIDI_PauseMidi(CMIDIMusic* music);
uint32_t RUNA1_API MIDI_RestartMidi(CMIDIMusic* music);
uint32_t RUNA1_API MIDI_StopMidi(CMIDIMusic* music);
uint32_t RUNA1_API MIDI_SetVolume(CMIDIMusic* music, uint32_t volume);
uint32_t RUNA1_API MIDI_OutShortMsg(CMIDIMusic* music, uint32_t message);
uint32_t RUNA1_API MIDI_OutLongMsg(CMIDIMusic* music, const void* data, uint32_t bytes);
uint32_t RUNA1_API MIDI_IsPlaying(CMIDIMusic* music);
}
