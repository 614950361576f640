// The sound configuration screen: the music source (MIDI or recorded wave music), the music
// and voice volumes and the message speed, kept in the profile section "Config". While it runs,
// the music volume acts at once on the music handed in.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class CMIDIMusic;
class Graphic;
class KPCMSound;

// The music source to play: 1 (MIDI) unless "BgmSelection" is 0 and the wave music was
// installed ("Installed" "WaveBGMFile" not 0), then 0.
int32_t EffectiveBgmSelection();

// The music volume of a volume step 0 to 8: 0xFFFF halved for each step below 8 (step 0 is
// 0xFF, not silence).
uint32_t MusicVolumeOfStep(int32_t step);

// "SoundCfg.arc". Runs until the exit button or the right button, then writes "BgmSelection",
// "VolumeOfBGM", "VolumeOfVoice" and "MessageSpeed" in that order. `midi` and `wave` may be
// null. Returns at once when the archive is missing.
void RunSoundConfigMenu(ScreenHost& host, Graphic* target, Graphic* background, CMIDIMusic* midi, KPCMSound* wave);
