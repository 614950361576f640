#include <gtest/gtest.h>

#include <cstdint>

#include "host/exports/timer.h"
#include "sound/timer/ktimer.h"

namespace {

// A clock that moves only when the test says so; `step` is added at every read.
uint32_t virtualNow;
uint32_t virtualStep;
uint32_t readVirtualClock() {
  uint32_t now = virtualNow;
  virtualNow += virtualStep;
  return now;
}

class TimerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    virtualNow = 1000;
    virtualStep = 0;
    previous_ = KTimer::setClock(readVirtualClock);
  }
  void TearDown() override { KTimer::setClock(previous_); }

  static void advance(uint32_t milliseconds) { virtualNow += milliseconds; }

 private:
  KTimer::Clock previous_;
};

uint64_t counterOf(KTimer* timer) {
  uint64_t counter = 0;
  Timer_GetCounter(timer, &counter);
  return counter;
}

TEST_F(TimerTest, CountsWholeIntervalsUpToTheLimit) {
  KTimer* timer = Timer_Create(10, 100, 0);
  ASSERT_NE(timer, nullptr);
  advance(50);
  EXPECT_EQ(counterOf(timer), 0u) << "created stopped";
  Timer_StartTimer(timer);
  advance(9);
  EXPECT_EQ(counterOf(timer), 0u);
  advance(1);
  EXPECT_EQ(counterOf(timer), 1u);
  advance(25);
  EXPECT_EQ(counterOf(timer), 3u);
  advance(5);
  EXPECT_EQ(counterOf(timer), 4u) << "the remainder of 5 ms was kept";
  advance(5000);
  EXPECT_EQ(counterOf(timer), 100u);
  Timer_Delete(timer);
}

TEST_F(TimerTest, OneWrapOfTheClockDoesNoHarm) {
  virtualNow = 0xFFFFFFF5u;
  KTimer timer(10, 1000);
  timer.StartTimer();
  advance(12);  // the clock reads 7 now
  EXPECT_EQ(timer.GetCounter(), 1u);
  advance(31);
  EXPECT_EQ(timer.GetCounter(), 4u);
}

TEST_F(TimerTest, APauseAndAStartLoseThePartialInterval) {
  KTimer timer(10, 1000);
  timer.StartTimer();
  advance(17);
  timer.PauseTimer();
  EXPECT_EQ(timer.GetCounter(), 1u);
  advance(100);
  EXPECT_EQ(timer.GetCounter(), 1u) << "a stopped timer does not count";
  EXPECT_EQ(timer.GetCounter(), 1u);
  timer.StartTimer();
  advance(9);
  EXPECT_EQ(timer.GetCounter(), 1u) << "the 7 ms before the pause are gone";
  advance(1);
  EXPECT_EQ(timer.GetCounter(), 2u);
  timer.StartTimer();
  advance(9);
  EXPECT_EQ(timer.GetCounter(), 2u) << "a start while running keeps the interval";
  advance(1);
  EXPECT_EQ(timer.GetCounter(), 3u);
}

TEST_F(TimerTest, SetCounterKeepsThePartialIntervalAndMayPassTheLimitUntilTheNextLook) {
  KTimer timer(10, 100);
  timer.StartTimer();
  advance(7);
  timer.SetCounter(50);
  advance(3);
  EXPECT_EQ(timer.GetCounter(), 51u);

  timer.PauseTimer();
  timer.SetCounter(500);
  EXPECT_EQ(timer.GetCounter(), 500u) << "a stopped timer is not brought down";
  timer.StartTimer();
  EXPECT_EQ(timer.GetCounter(), 100u);
}

TEST_F(TimerTest, ResetStopsAndZeroesWithTheNewValues) {
  KTimer* timer = Timer_Create(10, 100, 0);
  Timer_StartTimer(timer);
  advance(55);
  EXPECT_EQ(counterOf(timer), 5u);
  Timer_ResetCounter(timer, 1, 3, 0);
  advance(50);
  EXPECT_EQ(counterOf(timer), 0u);
  Timer_StartTimer(timer);
  advance(2);
  EXPECT_EQ(counterOf(timer), 2u) << "interval 1";
  advance(50);
  EXPECT_EQ(counterOf(timer), 3u) << "limit 3";
  Timer_Delete(timer);
  Timer_Delete(nullptr);
}

TEST_F(TimerTest, ALimitOfZeroHoldsTheCountAtZero) {
  KTimer timer(1, 0);
  timer.StartTimer();
  advance(1000);
  EXPECT_EQ(timer.GetCounter(), 0u);
}

TEST_F(TimerTest, CountsAndLimitsAreSixtyFourBits) {
  KTimer* timer = Timer_Create(1, 0, 3);  // limit 3 * 2^32
  Timer_StartTimer(timer);
  Timer_SetCounter(timer, 0xFFFFFFFFu, 1);
  advance(3);
  uint64_t counter = 0;
  EXPECT_EQ(Timer_GetCounter(timer, &counter), 2u) << "the low half";
  EXPECT_EQ(counter, (uint64_t{2} << 32) + 2);
  advance(0xFFFFFFF0u);
  EXPECT_EQ(counterOf(timer), (uint64_t{2} << 32) + 0xFFFFFFF2u);
  advance(0xFFFFFFF0u);
  EXPECT_EQ(counterOf(timer), uint64_t{3} << 32);
  Timer_Delete(timer);
}

TEST_F(TimerTest, AnIntervalOfZeroCountsNothing) {
  KTimer timer(0, 100);
  timer.StartTimer();
  advance(1000);
  EXPECT_EQ(timer.GetCounter(), 0u);
}

TEST_F(TimerTest, SleepGivesTheMeasuredTimeNotTheRequestedOne) {
  virtualStep = 7;
  EXPECT_EQ(Timer_Sleep(1), 7u);
  KTimer::setClock(nullptr);
  uint32_t elapsed = Timer_Sleep(40);
  EXPECT_GE(elapsed, 30u);
  EXPECT_LT(elapsed, 5000u);
}

}  // namespace
