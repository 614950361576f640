// The click watch with a host that has no window: presses reach it through the hook at once.
#include "screens/screen_click_watch.h"

#include <gtest/gtest.h>

#include <future>

#include "tests/screens/fake_screen_host.h"

namespace {

using namespace screen_message;

constexpr int32_t kNoClick = -1;  // nothing came in time

TEST(ScreenClickWatchTest, QueuesTheButtonsInOrderAndHidesThePointer) {
  FakeScreenHost host;
  {
    ScreenClickWatch watch(host);
    EXPECT_EQ(host.HookCount(), 1u);
    EXPECT_EQ(watch.WaitClick(0), kNoClick);
    host.SetCursor(fakeCursor(FakeScreenHost::kArrow));
    host.MoveTo(10, 20);
    EXPECT_EQ(host.cursor, nullptr) << "the pointer is hidden";
    for (uint32_t message : {kLButtonDown, kLButtonUp, kRButtonUp, kLButtonDoubleClick, kRButtonDown, kUser})
      host.Press(message);
    EXPECT_EQ(watch.WaitClick(0), static_cast<int32_t>(kLButtonDown));
    EXPECT_EQ(watch.WaitClick(0), static_cast<int32_t>(kRButtonDown));
    EXPECT_EQ(watch.WaitClick(0), kNoClick) << "the queue is empty again";
  }
  EXPECT_EQ(host.HookCount(), 0u);
}

TEST(ScreenClickWatchTest, AWaitEndsWithAPressFromTheWindowsThread) {
  FakeScreenHost host;
  ScreenClickWatch watch(host);
  auto waited = std::async(std::launch::async, [&] { return watch.WaitClick(os::kWaitForever); });
  EXPECT_EQ(waited.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
  host.Press(kRButtonDown);
  EXPECT_EQ(waited.get(), static_cast<int32_t>(kRButtonDown));
  EXPECT_EQ(watch.WaitClick(20), kNoClick);
}

}  // namespace
