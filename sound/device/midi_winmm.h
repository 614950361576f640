// The "system" MIDI backend: WINMM's stream on the MIDI mapper (Win32 only).
#pragma once

#include "sound/device/midi_stream.h"

MidiBackend& winmmMidiBackend();
