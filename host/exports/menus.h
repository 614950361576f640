// Nodali_* exports of the plain menus and the sound configuration: the main menu, the title
// screen, the bonus menu and the sound settings, drawn into `target` in the main window.
#pragma once

#include <cstdint>

#include "graphics/graphic.h"
#include "sound/midi/midi_music.h"
#include "sound/mixer/pcm_sound.h"

extern "C" {
// Button id 0, 1, 2, 4 or 5 (4 and 5 confirmed), or -1; the menu lies over `background`.
int32_t RUNA1_API Nodali_MainMenu(Graphic* target, Graphic* background);
// Button id 0 to 3, or -1; `kind` 1 to 3 picks the title screen.
int32_t RUNA1_API Nodali_StartupMenu(Graphic* target, int32_t kind);
// Button id 0 or 1, or -1.
int32_t RUNA1_API Nodali_OmakeSelectMenu(Graphic* target);
// Runs until the player leaves and saves the settings; the music volume acts on `midi` and
// `wave` (either may be null) while it runs.
void RUNA1_API Nodali_SoundConfigMenu(Graphic* target, Graphic* background, CMIDIMusic* midi, KPCMSound* wave);
}
