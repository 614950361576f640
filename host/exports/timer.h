// Timer_* exports: count-up timers. The handle is a KTimer.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "sound/timer/ktimer.h"

extern "C" {
// A stopped timer with the count 0; null when memory runs out.
KTimer* RUNA1_API Timer_Create(uint32_t interval, uint32_t limitLow, uint32_t limitHigh);
void RUNA1_API Timer_Delete(KTimer* timer);
void RUNA1_API Timer_ResetCounter(KTimer* timer, uint32_t interval, uint32_t limitLow, uint32_t limitHigh);
void RUNA1_API Timer_StartTimer(KTimer* timer);
void RUNA1_API Timer_PauseTimer(KTimer* timer);
void RUNA1_API Timer_SetCounter(KTimer* timer, uint32_t low, uint32_t high);
// Stores the count in `out` and gives its low 32 bits.
uint32_t RUNA1_API Timer_GetCounter(KTimer* timer, uint64_t* out);
// Sleeps `milliseconds` and gives the time that passed, as measured by the timers' clock.
uint32_t RUNA1_API Timer_Sleep(uint32_t milliseconds);
}
