// The music settings that the screens share through the profile: the source of the music
// ("Config" "BgmSelection", with the wave music only when "Installed" "WaveBGMFile" says it was
// installed) and the music volume step ("Config" "VolumeOfBGM", 0 to 8).
#pragma once

#include <cstdint>

class CMIDIMusic;
class KPCMSound;

enum MusicSource : int32_t { kWaveMusic = 0, kMidiMusic = 1 };

constexpr int32_t kMusicVolumeSteps = 8;

// True when the wave music was installed, so that it may be chosen.
bool WaveMusicInstalled();
// The source in effect: MIDI unless wave music is both chosen and installed.
MusicSource EffectiveMusicSource();
// The stored volume step, 8 unless one was written.
int32_t StoredMusicVolume();
void StoreMusicSettings(MusicSource source, int32_t volume);

// The device volume of a step: 0xFFFF halved for each step below 8, so step 0 is 0xFF.
constexpr uint32_t MusicVolumeLevel(int32_t step) { return 0xFFFFu >> (kMusicVolumeSteps - step); }
// Gives the level of `step` to the players that are there (either may be null): the MIDI
// music's master volume, and the wave's volume on both sides with 0xFFFF as unity.
void ApplyMusicVolume(int32_t step, CMIDIMusic* midi, KPCMSound* wave);
