// Stop and Run on threads with suspend counts of their own.
#include <gtest/gtest.h>

#include <map>

#include "debugger/run_control.h"

namespace {

class CountingThreads : public ThreadControl {
 public:
  uint32_t Suspend(uintptr_t thread) override { return counts[thread]++; }
  uint32_t Resume(uintptr_t thread) override {
    if (!counts.count(thread)) return kFailed;  // a thread that has ended
    uint32_t before = counts[thread];
    if (before) --counts[thread];
    return before;
  }
  std::map<uintptr_t, uint32_t> counts;
};

TEST(RunControlTest, RunWithoutAStopDoesNothing) {
  CountingThreads threads;
  RunControl control(threads);
  EXPECT_TRUE(control.IsRunning());
  EXPECT_TRUE(control.WaitForRun(0));
  EXPECT_FALSE(control.Run());
  EXPECT_TRUE(threads.counts.empty());
}

TEST(RunControlTest, StopSuspendsEveryThreadOnceAndRunGivesBackTheirCounts) {
  CountingThreads threads;
  threads.counts[7] = 1;  // suspended by someone else before the Stop
  threads.counts[8] = 2;
  RunControl control(threads);
  ASSERT_TRUE(control.Stop({7, 8, 9}));
  EXPECT_FALSE(control.IsRunning());
  EXPECT_FALSE(control.WaitForRun(0));
  EXPECT_EQ(threads.counts[7], 2u);
  EXPECT_EQ(threads.counts[9], 1u);
  EXPECT_EQ(threads.counts[8], 3u);
  EXPECT_FALSE(control.Stop({7, 8, 9})) << "already stopped";
  EXPECT_EQ(threads.counts[9], 1u);

  threads.counts[9] = 3;  // suspended twice more while stopped
  threads.counts.erase(7);  // and thread 7 has ended
  ASSERT_TRUE(control.Run());
  EXPECT_TRUE(control.IsRunning());
  EXPECT_TRUE(control.WaitForRun(0));
  EXPECT_EQ(threads.counts[8], 2u);
  EXPECT_EQ(threads.counts[9], 0u);
  EXPECT_FALSE(control.Run());
}

}  // namespace
