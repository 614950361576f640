#include "host/exports/pcm.h"

KPCMSound* RUNA1_API PCM_ReadWave(KFileObj* file) {
  KPCMSound* sound = new KPCMSound;
  if (sound->ReadWaveFile(file) != 0) {
    delete sound;  // the error record keeps the reason
    return nullptr;
  }
  return sound;
}

uint32_t RUNA1_API PCM_Delete(KPCMSound* sound) {
  delete sound;
  return 0;
}

uint32_t RUNA1_API PCM_WriteWave(KPCMSound* sound, KFileObj* file) { return sound->WriteWaveFile(file); }

uint32_t RUNA1_API PCM_PlayWave(KPCMSound* sound, int32_t looped, HANDLE event) {
  return sound ? sound->PlayWave(looped != 0, event) : 1;
}

uint32_t RUNA1_API PCM_PlayMusic(KPCMSound* sound, uint32_t loopSample, int32_t looped, HANDLE event) {
  return sound ? sound->PlayMusic(loopSample, static_cast<uint32_t>(looped), event) : 1;
}

const WAVEFORMATEX* RUNA1_API PCM_GetWaveFormat(KPCMSound* sound) { return sound ? sound->GetWaveFormat() : nullptr; }

uint32_t RUNA1_API PCM_GetCurrentPosition(KPCMSound* sound) { return sound ? sound->GetCurrentPosition() : 0; }

uint32_t* RUNA1_API PCM_GetVolumeStream(KPCMSound* sound, uint32_t spanSamples, uint32_t percent, uint32_t maxLevel,
                                        uint32_t decayDivisor) {
  return sound->GetVolumeStream(spanSamples, percent, maxLevel, decayDivisor);
}

uint32_t RUNA1_API PCM_StopWave(KPCMSound* sound) { return sound ? sound->Stop() : 1; }

uint32_t RUNA1_API PCM_SetVolume(KPCMSound* sound, uint32_t left, uint32_t right) {
  if (!sound) return 1;
  constexpr float kUnity = 1.5259022e-5f;  // 1 / 65535
  return sound->SetVolume(static_cast<float>(static_cast<int64_t>(left)) * kUnity,
                          static_cast<float>(static_cast<int64_t>(right)) * kUnity);
}

uint32_t RUNA1_API PCM_IsPlaying(KPCMSound* sound) { return sound ? sound->IsPlaying() : 0; }
