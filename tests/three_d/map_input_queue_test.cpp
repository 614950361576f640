// The map selection's input queue without a main window: codes in order, the event that wakes
// the loop, and the nesting of Begin and End.
#include <gtest/gtest.h>

#include <thread>

#include "base/os/os.h"
#include "host/map/map_input_queue.h"

namespace {

TEST(MapInputQueueTest, KeysArriveTranslatedAndInOrder) {
  KMapInputQueue queue;
  EXPECT_EQ(queue.ReadInput(), KMapInputQueue::kEmpty);
  EXPECT_EQ(queue.PostInput(nullptr, 0x100, 39, 0), 0u);
  queue.PostInput(nullptr, 0x100, '7', 0);
  queue.PostCode(101);
  EXPECT_TRUE(queue.WaitInput(0));
  EXPECT_EQ(queue.ReadInput(), 102u);
  EXPECT_EQ(queue.ReadInput(), 103u);
  EXPECT_TRUE(queue.WaitInput(0)) << "a code still waits";
  EXPECT_EQ(queue.ReadInput(), 101u);
  EXPECT_FALSE(queue.WaitInput(0)) << "the event is reset with the last code";
  EXPECT_EQ(queue.ReadInput(), KMapInputQueue::kEmpty);
}

TEST(MapInputQueueTest, ClearDropsWhatWaitsAndAPostFromAnotherThreadWakesTheWait) {
  KMapInputQueue queue;
  queue.PostCode(98);
  queue.PostCode(98);
  queue.ClearInput();
  EXPECT_FALSE(queue.WaitInput(0));
  std::thread poster([&] {
    os::sleep(20);
    queue.PostInput(nullptr, 0x100, 13, 0);
  });
  EXPECT_TRUE(queue.WaitInput(os::kWaitForever));
  EXPECT_EQ(queue.ReadInput(), 101u);
  poster.join();
}

TEST(MapInputQueueTest, BeginAndEndHideTheCursorOnceForTheOutermostPair) {
  KMapInputQueue queue;
  const int shown = os::showCursor(true) - 1;
  os::showCursor(false);
  queue.PostCode(97);
  queue.BeginInput();
  EXPECT_EQ(queue.ReadInput(), KMapInputQueue::kEmpty) << "the first Begin empties the queue";
  queue.BeginInput();
  queue.PostCode(97);
  queue.BeginInput();
  EXPECT_EQ(queue.ReadInput(), 97u) << "a nested Begin keeps it";
  EXPECT_EQ(os::showCursor(true) - 1, shown - 1);
  os::showCursor(false);
  queue.EndInput();
  queue.EndInput();
  EXPECT_EQ(os::showCursor(true) - 1, shown) << "Begin while on does not count: one End shows it";
  os::showCursor(false);
  queue.EndInput();
  EXPECT_EQ(os::showCursor(true) - 1, shown);
  os::showCursor(false);
}

}  // namespace
