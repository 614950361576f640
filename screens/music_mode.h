// The music mode: fourteen tracks in two columns, each lit while it plays, a choice of wave or
// MIDI music and a volume slider. The tracks ("m01" to "m14", ".wav" or ".mid") come from an
// archive that the module hands in; the screen plays them on players of its own and stops them
// when it ends, writing the source and the volume back to the profile.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class Graphic;
class KArcFileExp;

constexpr int32_t kMusicTracks = 14;

// -1 when "musicmod.arc" cannot be opened; else the id of the last button pressed, -1 if none.
int32_t RunMusicMode(ScreenHost& host, Graphic* target, KArcFileExp* music);
