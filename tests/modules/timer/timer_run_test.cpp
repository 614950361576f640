#include <gtest/gtest.h>

#include "tests/modules/host_run.h"

namespace {

TEST(TimerRunTest, AModuleTimesWithTheHostsClock) {
  TempDir work;
  Outcome outcome = runModuleInWork("timer_module", work);
  expectAllPassed(work.read("run.log"), outcome,
                  {"create", "stopped-at-zero", "sleep-measured", "counts-per-interval", "paused-holds",
                   "held-at-limit"});
}

}  // namespace
