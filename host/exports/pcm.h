// PCM_* exports: waves in memory (KPCMSound handles) that play through the mixing service.
// A null handle is answered with 1 by the operations that give a status, else with 0.
#pragma once

#include <cstdint>

#include "files/file_obj.h"
#include "sound/mixer/pcm_sound.h"

extern "C" {
KPCMSound* RUNA1_API PCM_ReadWave(KFileObj* file);
uint32_t RUNA1_API PCM_Delete(KPCMSound* sound);
uint32_t RUNA1_API PCM_WriteWave(KPCMSound* sound, KFileObj* file);
uint32_t RUNA1_API PCM_PlayWave(KPCMSound* sound, int32_t looped, HANDLE event);
uint32_t RUNA1_API PCM_PlayMusic(KPCMSound* sound, uint32_t loopSample, int32_t looped, HANDLE event);
const WAVEFORMATEX* RUNA1_API PCM_GetWaveFormat(KPCMSound* sound);
uint32_t RUNA1_API PCM_GetCurrentPosition(KPCMSound* sound);
// The level curve: a GlobalAlloc block, word 0 the count, then one level per span.
uint32_t* RUNA1_API PCM_GetVolumeStream(KPCMSound* sound, uint32_t spanSamples, uint32_t percent, uint32_t maxLevel,
                                        uint32_t decayDivisor);
uint32_t RUNA1_API PCM_StopWave(KPCMSound* sound);
// 65535 is unity gain; larger values amplify.
uint32_t RUNA1_API PCM_SetVolume(KPCMSound* sound, uint32_t left, uint32_t right);
uint32_t RUNA1_API PCM_IsPlaying(KPCMSound* sound);
}
