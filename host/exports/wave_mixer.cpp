#include "host/exports/wave_mixer.h"

#include "sound/mixer/mixing_service.h"

uint32_t RUNA1_API WaveMixer_Open(uint32_t bufferMs, uint32_t timerMs, uint32_t rate, int32_t channels, int32_t bits) {
  return theMixingService().Open(bufferMs, timerMs, rate, static_cast<uint32_t>(channels), static_cast<uint32_t>(bits));
}

uint32_t RUNA1_API WaveMixer_Close() { return theMixingService().Close(); }

uint32_t RUNA1_API WaveMixer_GetTotalVolume(uint32_t volumes[2]) {
  theMixingService().GetTotalVolume(&volumes[0], &volumes[1]);
  return 0;
}

uint32_t RUNA1_API WaveMixer_SetTotalVolume(uint32_t left, uint32_t right) {
  theMixingService().SetTotalVolume(left, right);
  return 0;
}
