#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/os/os.h"
#include "base/os/window.h"
#include "host/display_environment.h"
#include "host/exports/system.h"
#include "host/frame/main_frame.h"
#include "host/frame/start_handshake.h"
#include "host/module/zpk_thread.h"
#include "tests/host/fake_window_system.h"
#include "tests/test_support.h"

namespace {

constexpr uint32_t kTimeoutMilliseconds = 5000;

using runa1_test::FakeWindowSystem;

class StartHandshakeTest : public ::testing::Test {
 protected:
  void SetUp() override { os::setWindowSystem(&windows); }
  void TearDown() override {
    os::setWindowSystem(nullptr);
    KDisplayEnvironment::Restore();
  }

  // Runs `request` on a module thread of its own and answers it as the main thread does;
  // gives what the request returned.
  template <typename Request>
  uint32_t handOver(Request request, StartHandshake& handshake, CMainFrame& frame) {
    std::packaged_task<uint32_t()> task(request);
    std::future<uint32_t> module = task.get_future();
    os::Thread* thread = os::startThread([](void* body) { (*static_cast<std::packaged_task<uint32_t()>*>(body))(); }, &task);
    EXPECT_TRUE(handshake.WaitForRequest(windows, thread));
    EXPECT_FALSE(windows.waitTimedOut);
    EXPECT_EQ(module.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout)
        << "the module thread waits for the window";
    EXPECT_EQ(handshake.StandUp(frame, windows), 0);
    EXPECT_EQ(module.wait_for(std::chrono::milliseconds(kTimeoutMilliseconds)), std::future_status::ready);
    os::waitThread(thread, os::kWaitForever);
    os::closeThread(thread);
    return module.get();
  }

  FakeWindowSystem windows;
};

TEST_F(StartHandshakeTest, CalcDefaultWindowRectGrowsEachEdgeByItsMetrics) {
  RECT rect{100, 100, 739, 579};
  EXPECT_EQ(CalcDefaultWindowRect(&rect), 0u);
  EXPECT_EQ(rect.top, 100 - (1 + 20 + 2 + 6));
  EXPECT_EQ(rect.bottom, 579 + 6 + 1);
  EXPECT_EQ(rect.left, 100 - (5 + 1));
  EXPECT_EQ(rect.right, 739 + 5 + 1);
}

TEST_F(StartHandshakeTest, ASizeWithoutADisplayModeIsRefusedWithNothingSet) {
  StartHandshake handshake;
  SIZE missing{1000, 700};
  EXPECT_EQ(handshake.InitializeSystem(nullptr, &missing, "T", 32), 2u);
  EXPECT_FALSE(handshake.DisplayMode().has_value());
  EXPECT_FALSE(handshake.WindowRect().has_value());
  EXPECT_EQ(handshake.Title(), "T");
  EXPECT_TRUE(windows.log.empty()) << "no request";
}

// These change the display mode: only the native build's stand-in display may be switched by a
// test. The module tests cover the real one.
#ifndef _WIN32
TEST_F(StartHandshakeTest, InitializeSystemCentresTheClientAreaAndWaitsForTheWindow) {
  StartHandshake handshake;
  CMainFrame frame(windows);
  SIZE size{640, 480};
  uint32_t result = handOver([&] { return handshake.InitializeSystem(nullptr, &size, "Title", 16); }, handshake, frame);
  EXPECT_EQ(result, 0u);
  ASSERT_EQ(windows.frames.size(), 1u);
  const FakeWindowSystem::Frame& made = windows.frames[0];
  EXPECT_EQ(made.className, "") << "no class given: the frame's own";
  EXPECT_EQ(made.title, "Title");
  EXPECT_EQ(made.style, 0x00C00000u);
  EXPECT_EQ(made.exStyle, 0u);
  // Client (192, 144)-(831, 623), grown by the frame metrics.
  EXPECT_EQ(made.rect.left, 192 - 6);
  EXPECT_EQ(made.rect.top, 144 - 29);
  EXPECT_EQ(made.rect.right, 831 + 6);
  EXPECT_EQ(made.rect.bottom, 623 + 7);
  EXPECT_TRUE(made.shown);
  EXPECT_EQ(made.timerId, 1u);
  EXPECT_EQ(windows.log, (std::vector<std::string>{"wait", "create", "show"}));
  EXPECT_EQ(os::screenSize().cx, 640) << "the first activation changed the display to the size";
  EXPECT_TRUE(frame.IsFullScreen());
  EXPECT_EQ(made.styleNow, WS_DLGFRAME | WS_MAXIMIZE);
  EXPECT_EQ(made.exStyleNow, WS_EX_TOPMOST);
  ASSERT_EQ(windows.clips.size(), 1u) << "clipped to the client area once active";
  EXPECT_EQ(windows.clips[0]->right, 100 + 640 - 1) << "the last column is left out";
  EXPECT_EQ(KDisplayEnvironment::IsCursorShown(), 0u);
  EXPECT_EQ(handshake.DisplayDepth(), 16u);

  // One window in the process's life: a second call does nothing and does not block.
  SIZE other{800, 600};
  EXPECT_EQ(handshake.InitializeSystem(nullptr, &other, "Again", 32), 0u);
  EXPECT_EQ(handshake.Title(), "Title");
  EXPECT_EQ(handshake.DisplayMode()->cx, 640);
}

TEST_F(StartHandshakeTest, DisplayModeTestsFallBackToTheDesktopDepth) {
  StartHandshake handshake;
  // The module tries again: 800x600 exists only at 32 bits, which is the desktop's depth.
  CMainFrame frame(windows);
  SIZE size{800, 600};
  uint32_t result = handOver([&] { return handshake.InitializeSystem(nullptr, &size, "T", 8); }, handshake, frame);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(handshake.DisplayDepth(), 8u) << "the depth is kept as asked";
  EXPECT_EQ(os::screenSize().cx, 800) << "the change falls back to the desktop's depth";
}

#endif

TEST_F(StartHandshakeTest, ANullSizeStoresTitleAndClassAndCanBeRepeated) {
  StartHandshake handshake;
  std::string name = "Module Class";
  WNDCLASSA windowClass{};
  windowClass.style = 3;
  windowClass.lpszClassName = name.c_str();
  EXPECT_EQ(handshake.InitializeSystem(&windowClass, nullptr, "First", 32), 0u);
  EXPECT_EQ(handshake.InitializeSystem(nullptr, nullptr, "Second", 32), 0u);
  name = "changed";  // the caller's structure and text are not kept
  EXPECT_EQ(handshake.Title(), "Second");
  ASSERT_TRUE(handshake.ClassGiven());
  EXPECT_EQ(handshake.WindowClass().style, 3u);
  EXPECT_STREQ(handshake.WindowClass().lpszClassName, "Module Class");

  // InitializeMainWindow follows with the stored class.
  CMainFrame frame(windows);
  RECT rect{10, 20, 330, 260};
  uint32_t result = handOver([&] { return handshake.InitializeMainWindow("Main", 0x10CF0000, 0x200, &rect); },
                             handshake, frame);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(windows.registered, std::vector<std::string>{"Module Class"});
  ASSERT_EQ(windows.frames.size(), 1u);
  EXPECT_EQ(windows.frames[0].className, "Module Class");
  EXPECT_EQ(windows.frames[0].title, "Main");
  EXPECT_EQ(windows.frames[0].style, 0x10CF0000u);
  EXPECT_EQ(windows.frames[0].exStyle, 0x200u);
  EXPECT_EQ(windows.frames[0].rect.left, 10);
  EXPECT_EQ(windows.frames[0].rect.bottom, 260);
  EXPECT_EQ(os::screenSize().cx, 1024) << "no display change for a main window";
  EXPECT_EQ(handshake.InitializeMainWindow("Again", 0, 0, &rect), 0u);
  EXPECT_EQ(handshake.Title(), "Main");
}

TEST_F(StartHandshakeTest, AFailedClassRegistrationAsksTheUser) {
  WNDCLASSA windowClass{};
  windowClass.lpszClassName = "Refused";
  windows.registerSucceeds = false;
  {
    // Ignore: the frame's own class.
    runa1_test::AutoAnswer ignore("ignore");
    StartHandshake handshake;
    CMainFrame frame(windows);
    handshake.InitializeSystem(&windowClass, nullptr, "T", 0);
    EXPECT_EQ(handshake.StandUp(frame, windows), 0);
    ASSERT_EQ(windows.frames.size(), 1u);
    EXPECT_EQ(windows.frames[0].className, "");
  }
  for (const char* answer : {"abort", "retry"}) {
    runa1_test::AutoAnswer giveUp(answer);
    StartHandshake handshake;
    CMainFrame frame(windows);
    handshake.InitializeSystem(&windowClass, nullptr, "T", 0);
    EXPECT_EQ(handshake.StandUp(frame, windows), 1) << answer;
    EXPECT_EQ(windows.frames.size(), 1u) << answer << ": no window";
  }
}

TEST_F(StartHandshakeTest, TheModulesEndWakesTheMainThreadWithoutAWindow) {
  StartHandshake handshake;
  // A thread that ends in any way, with no word to the handshake.
  os::Thread* module = os::startThread([](void*) {}, nullptr);
  EXPECT_FALSE(handshake.WaitForRequest(windows, module));
  EXPECT_FALSE(windows.waitTimedOut);
  os::closeThread(module);
  EXPECT_TRUE(windows.frames.empty());
}

TEST_F(StartHandshakeTest, AModuleThreadWithoutAModuleEndsWithOneAndWakesTheMainThread) {
  CZPKModule unloaded;
  StartHandshake handshake;
  CZPKThread direct(&unloaded);
  EXPECT_EQ(direct.Run(), 1u) << "no StartingProc: the box, and the end";

  CZPKThread thread(&unloaded);
  ASSERT_TRUE(thread.Start());
  EXPECT_FALSE(handshake.WaitForRequest(windows, thread.Handle()));
  EXPECT_FALSE(windows.waitTimedOut);
  EXPECT_FALSE(thread.IsRunningAfter(kTimeoutMilliseconds));
}

TEST_F(StartHandshakeTest, TheDefaultClassHasTheEnginesNameAndStyle) {
  WNDCLASSA windowClass{};
  EXPECT_EQ(GetDefaultWndClass(&windowClass), 0u);
  EXPECT_EQ(windowClass.style, 0x10803u);
  EXPECT_STREQ(windowClass.lpszClassName, "Vomar Game System");
}

std::atomic<uint32_t> procedureArgument{0};
std::atomic<uint32_t> procedureAttached{0};
std::atomic<uint32_t> procedureExport{0};

uint32_t RUNA1_API serviceProcedure(uint32_t argument) {
  procedureAttached = vkGetErrorRecord()->attachCount;
  vkSetError(0x10001, 7, nullptr, -1, nullptr);
  procedureExport = vkGetLastError();
  procedureArgument = argument;
  return argument;
}

TEST(ModuleThreadsTest, BeginThreadRunsTheProcedureAttachedAndGivesItsIdentity) {
  os::Thread* first = ZPK_BeginThread(serviceProcedure, 42, THREAD_PRIORITY_NORMAL, 0);
  ASSERT_NE(first, nullptr);
  EXPECT_FALSE(os::waitThread(first, kTimeoutMilliseconds)) << "the thread ends";
  EXPECT_EQ(procedureArgument, 42u);
  EXPECT_EQ(procedureAttached, 1u);
  EXPECT_EQ(procedureExport, 0x10001u);

  os::Thread* second = ZPK_BeginThread(serviceProcedure, 43, THREAD_PRIORITY_NORMAL, 1 << 20);
  ASSERT_NE(second, nullptr);
  EXPECT_FALSE(os::waitThread(second, kTimeoutMilliseconds));
  EXPECT_EQ(procedureArgument, 43u);
  EXPECT_NE(ZPK_GetThreadId(first), 0u);
  EXPECT_NE(ZPK_GetThreadId(first), ZPK_GetThreadId(second));
  EXPECT_NE(ZPK_GetThreadHandle(first), 0u);
  EXPECT_NE(ZPK_GetThreadHandle(first), ZPK_GetThreadHandle(second));
  ZPK_EndThread(first);
  ZPK_EndThread(second);

  EXPECT_EQ(ZPK_GetThreadId(nullptr), 0u);
  EXPECT_EQ(ZPK_GetThreadHandle(nullptr), 0u);
  ZPK_EndThread(nullptr);
}

}  // namespace
