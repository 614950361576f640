// KTimer: a count-up timer of whole intervals since its start, up to a limit. It has no thread
// and no callback: the count is brought up to date whenever somebody looks. A timer belongs to
// one thread and takes no locks.
#pragma once

#include <cstdint>

class KTimer {
 public:
  // The clock of every timer: a millisecond counter that wraps at 32 bits. os::milliseconds
  // unless a test has put a virtual clock in its place.
  using Clock = uint32_t (*)();
  static uint32_t now();
  // Gives the clock that was in use; null puts back the platform's clock.
  static Clock setClock(Clock clock);

  // A stopped timer with the count 0.
  KTimer(uint32_t interval, uint64_t limit);
  virtual ~KTimer() = default;

  // Stores interval and limit, stops the timer and sets the count to 0.
  void ResetCounter(uint32_t interval, uint64_t limit);
  // A stopped timer starts a fresh interval now (a partial interval from before a pause is
  // lost); a running one is only brought up to date.
  void StartTimer();
  void PauseTimer();
  // May set the count above the limit; the next look at a running timer brings it down to the
  // limit. A running timer keeps its partial interval.
  void SetCounter(uint64_t counter);
  uint64_t GetCounter();

 private:
  void bringUpToDate();

  uint64_t counter_ = 0;
  uint32_t interval_ = 0;
  uint64_t limit_ = 0;
  uint32_t lastTime_ = 0;  // clock value at the end of the last whole interval
  uint32_t isStopped_ = 1;
};

// The module sees the object's layout: the vtable, then the members in this order.
#if UINTPTR_MAX == 0xFFFFFFFF
static_assert(sizeof(KTimer) == 40);
#endif
