// The "synth" MIDI backend: the engine's own General MIDI synthesiser behind the stream seam. The
// stream's events play at their sample inside each rendered block; the blocks go to a sound
// channel of the mixing service (mixed when the service is open, on a device of its own when it
// is not), which pulls the next block as it mixes ahead. Done notices and flagged callbacks are
// held until the device has played the block they fell in, then given on a thread of the
// backend, never under the mixer's locks.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sound/device/midi_stream.h"
#include "sound/synth/soundfont.h"

MidiBackend& synthMidiBackend();
// The host's end, before it closes the mixer: the music of streams still open stops, and no
// stream opens any more.
void endMidiSynth();

// The folder of the game module, searched for a soundfont after RUNA1_SOUNDFONT.
void setMidiSoundFontFolder(const std::string& folder);
// Where a soundfont is looked for, in order: RUNA1_SOUNDFONT, the .sf2 files of the game's folder
// (by name), then the system's GM soundfonts (under Wine through the drive of the Unix root).
std::vector<std::string> soundFontCandidates();
// The first of `paths` that exists and loads; one line on stderr for each that is refused, and
// one when none loads (then null: no music).
std::unique_ptr<SoundFont> loadFirstSoundFont(const std::vector<std::string>& paths);
