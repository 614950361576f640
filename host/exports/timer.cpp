#include "host/exports/timer.h"

#include <new>

#include "base/os/os.h"

namespace {

uint64_t joined(uint32_t low, uint32_t high) { return static_cast<uint64_t>(high) << 32 | low; }

}  // namespace

KTimer* RUNA1_API Timer_Create(uint32_t interval, uint32_t limitLow, uint32_t limitHigh) {
  return new (std::nothrow) KTimer(interval, joined(limitLow, limitHigh));
}

void RUNA1_API Timer_Delete(KTimer* timer) { delete timer; }

void RUNA1_API Timer_ResetCounter(KTimer* timer, uint32_t interval, uint32_t limitLow, uint32_t limitHigh) {
  timer->ResetCounter(interval, joined(limitLow, limitHigh));
}

void RUNA1_API Timer_StartTimer(KTimer* timer) { timer->StartTimer(); }

void RUNA1_API Timer_PauseTimer(KTimer* timer) { timer->PauseTimer(); }

void RUNA1_API Timer_SetCounter(KTimer* timer, uint32_t low, uint32_t high) { timer->SetCounter(joined(low, high)); }

uint32_t RUNA1_API Timer_GetCounter(KTimer* timer, uint64_t* out) {
  *out = timer->GetCounter();
  return static_cast<uint32_t>(*out);
}

uint32_t RUNA1_API Timer_Sleep(uint32_t milliseconds) {
  uint32_t start = KTimer::now();
  os::sleep(milliseconds);
  return KTimer::now() - start;
}
