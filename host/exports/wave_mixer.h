// WaveMixer_* exports: the one mixing service of the host.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

extern "C" {
uint32_t RUNA1_API WaveMixer_Open(uint32_t bufferMs, uint32_t timerMs, uint32_t rate, int32_t channels, int32_t bits);
uint32_t RUNA1_API WaveMixer_Close();
uint32_t RUNA1_API WaveMixer_GetTotalVolume(uint32_t volumes[2]);
uint32_t RUNA1_API WaveMixer_SetTotalVolume(uint32_t left, uint32_t right);
}
