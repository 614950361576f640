#include "sound/timer/ktimer.h"

#include "base/os/os.h"

namespace {

KTimer::Clock clockInUse = os::milliseconds;

}  // namespace

uint32_t KTimer::now() { return clockInUse(); }

KTimer::Clock KTimer::setClock(Clock clock) {
  Clock previous = clockInUse;
  clockInUse = clock ? clock : os::milliseconds;
  return previous;
}

KTimer::KTimer(uint32_t interval, uint64_t limit) { ResetCounter(interval, limit); }

void KTimer::ResetCounter(uint32_t interval, uint64_t limit) {
  interval_ = interval;
  limit_ = limit;
  isStopped_ = 1;
  counter_ = 0;
}

// The elapsed time is taken modulo 2^32, so one wrap of the clock does no harm. The remainder
// of an interval stays for the next look. An interval of 0 counts nothing (instead of a
// division fault).
void KTimer::bringUpToDate() {
  if (isStopped_ || interval_ == 0) return;
  uint32_t intervals = (now() - lastTime_) / interval_;
  lastTime_ += intervals * interval_;
  uint64_t sum = counter_ + intervals;
  counter_ = sum >= limit_ ? limit_ : sum;
}

void KTimer::StartTimer() {
  if (isStopped_) {
    isStopped_ = 0;
    lastTime_ = now();
  } else {
    bringUpToDate();
  }
}

void KTimer::PauseTimer() {
  bringUpToDate();
  isStopped_ = 1;
}

void KTimer::SetCounter(uint64_t counter) {
  bringUpToDate();
  counter_ = counter;
}

uint64_t KTimer::GetCounter() {
  bringUpToDate();
  return counter_;
}
