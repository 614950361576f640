// The sound configuration screen: the music source (MIDI or recorded wave music), the music
// and voice volumes and the message speed, kept in the profile section "Config". While it runs,
// the music volume acts at once on the music handed in.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class CMIDIMusic;
class Graphic;
class KPCMSound;

// "SoundCfg.arc". Runs until the exit button or the right button, then writes "BgmSelection",
// "VolumeOfBGM", "VolumeOfVoice" and "MessageSpeed" in that order. `midi` and `wave` may be
// null. Returns at once when the archive is missing.
void RunSoundConfigMenu(ScreenHost& host, Graphic* target, Graphic* background, CMIDIMusic* midi, KPCMSound* wave);
