#include "screens/music_settings.h"

#include "host/exports/services.h"
#include "sound/midi/midi_music.h"
#include "sound/mixer/pcm_sound.h"

bool WaveMusicInstalled() { return ZPK_GetProfileInt("Installed", "WaveBGMFile", 0) != 0; }

MusicSource EffectiveMusicSource() {
  if (ZPK_GetProfileInt("Config", "BgmSelection", kMidiMusic) != 0) return kMidiMusic;
  return WaveMusicInstalled() ? kWaveMusic : kMidiMusic;
}

int32_t StoredMusicVolume() { return static_cast<int32_t>(ZPK_GetProfileInt("Config", "VolumeOfBGM", 8)); }

void StoreMusicSettings(MusicSource source, int32_t volume) {
  ZPK_WriteProfileInt("Config", "BgmSelection", static_cast<uint32_t>(source));
  ZPK_WriteProfileInt("Config", "VolumeOfBGM", static_cast<uint32_t>(volume));
}

void ApplyMusicVolume(int32_t step, CMIDIMusic* midi, KPCMSound* wave) {
  uint32_t level = MusicVolumeLevel(step);
  if (midi) midi->SetMasterVolume(level);
  constexpr float kUnity = 1.0f / 65535.0f;
  float volume = static_cast<float>(level) * kUnity;
  if (wave) wave->SetVolume(volume, volume);
}
