#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "base/os/os.h"
#include "base/os/paint.h"
#include "graphics/graphic.h"
#include "host/display_environment.h"
#include "host/exports/graphic.h"
#include "host/exports/main_window.h"
#include "host/exports/services.h"
#include "host/exports/view.h"
#include "host/frame/main_frame.h"
#include "host/frame/message_loop.h"
#include "tests/host/fake_window_system.h"
#include "tests/test_support.h"

namespace {

using runa1_test::FakeWindowSystem;

// What the hooks saw, in order: "<hook> <message>".
std::vector<std::string> heard;

void hear(const char* hook, uint32_t message) { heard.push_back(std::string(hook) + " " + std::to_string(message)); }

uint32_t RUNA1_API mainProcedure(HWND, uint32_t message, uint32_t, int32_t) {
  hear("main", message);
  return 1;
}
uint32_t RUNA1_API otherMainProcedure(HWND, uint32_t message, uint32_t, int32_t) {
  hear("other-main", message);
  return 1;
}
uint32_t RUNA1_API keyProcedure(HWND, uint32_t message, uint32_t, int32_t) {
  hear("key", message);
  return 1;
}
uint32_t RUNA1_API activateProcedure(HWND, uint32_t message, uint32_t wParam, int32_t) {
  hear(wParam == WA_INACTIVE ? "deactivate" : "activate", message);
  return 1;
}
uint32_t RUNA1_API closeProcedure(HWND, uint32_t message, uint32_t, int32_t) {
  hear("close", message);
  return 1;
}
uint32_t RUNA1_API stackProcedure(void* context, HWND, uint32_t message, uint32_t, int32_t) {
  hear(static_cast<const char*>(context), message);
  return 1;
}

const char kLower[] = "lower";
const char kUpper[] = "upper";

// A stack procedure that closes its own record from within the call.
uint32_t RUNA1_API selfClosingProcedure(void* context, HWND, uint32_t message, uint32_t, int32_t) {
  hear("self-closing", message);
  ZPK_CloseMainWndProcEx(context);
  return 1;
}

// A stack procedure that has another thread use the hook tables while it runs: that thread would
// wait for ever if the frame held its lock across the call.
std::atomic<bool> otherThreadGotThrough{false};
uint32_t RUNA1_API lockProbingProcedure(void*, HWND, uint32_t, uint32_t, int32_t) {
  std::thread other([] {
    ZPK_SetWndMessageProc(WM_USER + 9, keyProcedure);
    otherThreadGotThrough = true;
  });
  for (int i = 0; i < 500 && !otherThreadGotThrough; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  other.detach();
  return 1;
}

// Paints recorded by the device: the context and the rectangle drawn.
class RecordingDevice : public os::PaintDevice {
 public:
  struct Draw {
    HDC dc;
    int32_t x, y, width, height, srcX, srcY, srcWidth, srcHeight;
  };
  std::vector<Draw> draws;
  std::vector<HDC> realised;

  HPALETTE createPalette(const LOGPALETTE*) override { return reinterpret_cast<HPALETTE>(this); }
  bool resizePalette(HPALETTE, uint32_t) override { return true; }
  uint32_t setPaletteEntries(HPALETTE, uint32_t, uint32_t count, const PALETTEENTRY*) override { return count; }
  bool deletePalette(HPALETTE) override { return true; }
  HPALETTE selectPalette(HDC, HPALETTE, bool) override { return nullptr; }
  uint32_t realizePalette(HDC dc) override {
    realised.push_back(dc);
    return 0;
  }
  int32_t stretchDIBits(HDC dc, int32_t x, int32_t y, int32_t width, int32_t height, int32_t srcX, int32_t srcY,
                        int32_t srcWidth, int32_t srcHeight, const void*, const BITMAPINFO*) override {
    draws.push_back({dc, x, y, width, height, srcX, srcY, srcWidth, srcHeight});
    return height;
  }
};

bool sameRect(const RECT& a, const RECT& b) {
  return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

class MainFrameTest : public ::testing::Test {
 protected:
  void SetUp() override {
    heard.clear();
    MessageLoop::SetCurrent(&loop);
    windows.activateOnShow = false;
    ASSERT_TRUE(frame.Create(nullptr, "Game", WS_CAPTION, 0, RECT{10, 20, 660, 520}));
    windows.frames[0].menu = kMenu;
  }
  void TearDown() override {
    MessageLoop::SetCurrent(nullptr);
    KDisplayEnvironment::Restore();
    runa1_test::setEnvironment(kEmulateDisplaySetting, nullptr);
  }

  // Runs `operation` with the message loop stopped, as a module must.
  template <typename Operation>
  uint32_t stopped(Operation operation) {
    ZPK_StopMessageLoop();
    uint32_t result = operation();
    ZPK_RestartMessageLoop();
    return result;
  }

  static inline HMENU const kMenu = reinterpret_cast<HMENU>(0x44);
  FakeWindowSystem windows;
  MessageLoop loop;
  CMainFrame frame{windows};
};

TEST_F(MainFrameTest, HooksRunAfterTheFramesOwnHandlingInStackMainMessageOrder) {
  EXPECT_EQ(ZPK_GetMainWindow(), FakeWindowSystem::handleOf(0));
  windows.activate(true);
  heard.clear();
  EXPECT_EQ(ZPK_SetMainWndProc(mainProcedure), nullptr);
  EXPECT_EQ(ZPK_OpenMainWndProcEx(stackProcedure, const_cast<char*>(kLower)), 0u);
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_KEYDOWN, keyProcedure), nullptr);
  windows.defaultMessages.clear();

  EXPECT_EQ(windows.send(WM_KEYDOWN, 0x41, 0), FakeWindowSystem::kDefaultAnswer)
      << "the answer is the base handling's, whatever the hooks return";
  EXPECT_EQ(windows.defaultMessages, std::vector<uint32_t>{WM_KEYDOWN});
  EXPECT_EQ(heard, (std::vector<std::string>{"lower 256", "main 256", "key 256"}));

  heard.clear();
  EXPECT_EQ(ZPK_SetMainWndProc(otherMainProcedure), mainProcedure);
  windows.send(WM_TIMER, 1, 0);
  EXPECT_EQ(heard, (std::vector<std::string>{"lower 275", "other-main 275"})) << "no procedure for WM_TIMER";
  EXPECT_EQ(ZPK_SetMainWndProc(nullptr), otherMainProcedure);
}

TEST_F(MainFrameTest, OnlyTheTopOfTheStackListensAndClosingFollowsTheNesting) {
  EXPECT_EQ(ZPK_CloseMainWndProcEx(nullptr), 0u) << "an empty stack";
  ZPK_OpenMainWndProcEx(stackProcedure, const_cast<char*>(kLower));
  ZPK_OpenMainWndProcEx(stackProcedure, const_cast<char*>(kUpper));
  windows.send(WM_USER);
  EXPECT_EQ(heard, std::vector<std::string>{"upper 1024"});

  EXPECT_EQ(ZPK_CloseMainWndProcEx(const_cast<char*>(kLower)), 1u) << "not on top: refused";
  heard.clear();
  windows.send(WM_USER);
  EXPECT_EQ(heard, std::vector<std::string>{"upper 1024"}) << "the stack stayed";

  EXPECT_EQ(ZPK_CloseMainWndProcEx(const_cast<char*>(kUpper)), 0u);
  heard.clear();
  windows.send(WM_USER);
  EXPECT_EQ(heard, std::vector<std::string>{"lower 1024"}) << "the lower record listens again";

  // A record may close itself from within its call; the next message finds the one below.
  ZPK_OpenMainWndProcEx(selfClosingProcedure, const_cast<char*>(kUpper));
  heard.clear();
  windows.send(WM_USER);
  windows.send(WM_USER + 1);
  EXPECT_EQ(heard, (std::vector<std::string>{"self-closing 1024", "lower 1025"}));
}

TEST_F(MainFrameTest, TheLockIsNotHeldWhileAHookRuns) {
  otherThreadGotThrough = false;
  ZPK_OpenMainWndProcEx(lockProbingProcedure, nullptr);
  windows.send(WM_USER);
  EXPECT_TRUE(otherThreadGotThrough);
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_USER + 9, nullptr), keyProcedure);
}

TEST_F(MainFrameTest, MessageProceduresAreSilentInTheBackgroundExceptForActivation) {
  ZPK_SetWndMessageProc(WM_KEYDOWN, keyProcedure);
  ZPK_SetWndMessageProc(WM_ACTIVATE, activateProcedure);
  ZPK_SetMainWndProc(mainProcedure);
  windows.send(WM_KEYDOWN);
  EXPECT_EQ(heard, std::vector<std::string>{"main 256"}) << "inactive: the main procedure only";

  heard.clear();
  windows.activate(true);
  windows.send(WM_KEYDOWN);
  windows.activate(false);
  windows.send(WM_KEYDOWN);
  EXPECT_EQ(heard, (std::vector<std::string>{"main 6", "activate 6", "main 256", "key 256", "main 6", "deactivate 6",
                                             "main 256"}));
  ZPK_SetMainWndProc(nullptr);
}

TEST_F(MainFrameTest, TheMessageTableStaysSortedThroughInsertionsReplacementsAndRemovals) {
  windows.activate(true);
  const uint32_t messages[] = {WM_USER + 5, WM_KEYDOWN, WM_USER + 1, WM_CLOSE, WM_USER + 3, WM_MOVE};
  for (uint32_t message : messages) EXPECT_EQ(ZPK_SetWndMessageProc(message, keyProcedure), nullptr);
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_USER + 3, closeProcedure), keyProcedure) << "replaced: the old one back";
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_USER + 4, nullptr), nullptr) << "removing an absent message";
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_USER + 1, nullptr), keyProcedure);
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_USER + 1, nullptr), nullptr) << "gone";

  heard.clear();
  for (uint32_t message : {WM_MOVE, WM_KEYDOWN, WM_USER + 1, WM_USER + 3, WM_USER + 4, WM_USER + 5})
    windows.send(message);
  // Every message that is in the table is found, whatever its place; the others are not.
  EXPECT_EQ(heard, (std::vector<std::string>{"key 3", "key 256", "close 1027", "key 1029"}));
}

TEST_F(MainFrameTest, TheCloseBoxBeepsAndTheModuleDecides) {
  ZPK_SetMainWndProc(closeProcedure);
  EXPECT_EQ(windows.send(WM_CLOSE), 0);
  EXPECT_EQ(windows.beeps, 1);
  EXPECT_EQ(heard, std::vector<std::string>{"close 16"}) << "the hooks still see it";
  EXPECT_TRUE(windows.defaultMessages.empty()) << "no default handling would close the window";
  EXPECT_EQ(std::count(windows.log.begin(), windows.log.end(), "destroy"), 0);
  ZPK_SetMainWndProc(nullptr);
}

TEST_F(MainFrameTest, WindowOperationsAreRefusedWhileTheLoopRunsAndStopsNest) {
  windows.activate(true);
  EXPECT_TRUE(loop.IsGateOpen());
  EXPECT_EQ(ZPK_ChangeDisplayMode(640, 480), 1u);
  EXPECT_EQ(ZPK_RestoreDisplayMode(), 1u);
  EXPECT_EQ(ZPK_ClipCursor(1), 1u);
  EXPECT_FALSE(frame.IsFullScreen());
  EXPECT_FALSE(frame.IsCursorClipped()) << "a refused call does nothing";

  EXPECT_EQ(ZPK_StopMessageLoop(), 0u);
  EXPECT_EQ(ZPK_StopMessageLoop(), 0u);
  EXPECT_EQ(ZPK_RestartMessageLoop(), 0u);
  EXPECT_FALSE(loop.IsGateOpen()) << "two stops and one restart";
  EXPECT_EQ(ZPK_ClipCursor(1), 0u) << "the old flag";
  EXPECT_EQ(ZPK_ClipCursor(1), 1u);
  EXPECT_EQ(ZPK_RestartMessageLoop(), 0u);
  EXPECT_TRUE(loop.IsGateOpen());
  EXPECT_EQ(loop.StopCount(), 0);
}

TEST_F(MainFrameTest, WithoutAFrameTheHookExportsGiveZeroAndTheOperationsOne) {
  {
    FakeWindowSystem others;
    CMainFrame gone(others);
    ASSERT_TRUE(gone.Create(nullptr, "Gone", 0, 0, RECT{}));
  }
  ZPK_StopMessageLoop();
  EXPECT_EQ(ZPK_GetMainWindow(), nullptr);
  EXPECT_EQ(ZPK_SetMainWndProc(mainProcedure), nullptr);
  EXPECT_EQ(ZPK_OpenMainWndProcEx(stackProcedure, nullptr), 0u);
  EXPECT_EQ(ZPK_CloseMainWndProcEx(nullptr), 0u);
  EXPECT_EQ(ZPK_SetWndMessageProc(WM_KEYDOWN, keyProcedure), nullptr);
  EXPECT_EQ(ZPK_ClipCursor(1), 1u);
  EXPECT_EQ(ZPK_ChangeDisplayMode(640, 480), 1u);
  EXPECT_EQ(ZPK_RestoreDisplayMode(), 1u);
  EXPECT_EQ(View_GetFirstScreen(), nullptr) << "the view went with its frame";
  ZPK_RestartMessageLoop();
}

TEST_F(MainFrameTest, TheClipIsTheClientAreaLessItsLastColumnAndRowOnTheScreen) {
  windows.clientArea = RECT{0, 0, 1000, 700};
  windows.clientOrigin = POINT{-5, 200};
  EXPECT_EQ(frame.ClipCursor(true), 0u);
  EXPECT_TRUE(windows.clips.empty()) << "inactive: only the flag";
  windows.activate(true);
  ASSERT_EQ(windows.clips.size(), 1u);
  // (-5, 200)-(994, 899), cut to the 1024x768 screen.
  EXPECT_TRUE(sameRect(*windows.clips[0], RECT{0, 200, 994, 767}));

  windows.send(WM_SIZE);
  windows.send(WM_MOVE);
  EXPECT_EQ(windows.clips.size(), 3u) << "size and move renew the clip";
  windows.activate(false);
  EXPECT_FALSE(windows.clips.back().has_value()) << "released in the background";
  EXPECT_TRUE(frame.IsCursorClipped()) << "but the flag stays";
  windows.activate(true);
  EXPECT_TRUE(windows.clips.back().has_value());
  EXPECT_EQ(frame.ClipCursor(false), 1u);
  EXPECT_FALSE(windows.clips.back().has_value());
  size_t count = windows.clips.size();
  EXPECT_EQ(frame.ClipCursor(false), 0u);
  EXPECT_EQ(windows.clips.size(), count) << "nothing to release";
}

// These change the display mode: only the native build's stand-in display may be switched by a
// test. The module tests cover the real one.
#ifndef _WIN32
TEST_F(MainFrameTest, FullScreenWaitsForTheActivationAndFollowsIt) {
  EXPECT_EQ(stopped([] { return ZPK_ChangeDisplayMode(640, 480); }), 0u);
  EXPECT_FALSE(frame.IsFullScreen());
  EXPECT_TRUE(frame.IsFullScreenPending()) << "inactive: the activation will do it";
  EXPECT_EQ(os::screenSize().cx, 1024);

  windows.activate(true);
  EXPECT_TRUE(frame.IsFullScreen());
  EXPECT_EQ(os::screenSize().cx, 640);
  const FakeWindowSystem::Frame& shown = windows.frames[0];
  EXPECT_EQ(shown.styleNow, WS_DLGFRAME | WS_MAXIMIZE);
  EXPECT_EQ(shown.exStyleNow, WS_EX_TOPMOST);
  EXPECT_EQ(shown.menu, nullptr);
  EXPECT_EQ(shown.showCommands.back(), SW_MAXIMIZE);

  // Alt-tab: the desktop's mode and the window's frame come back, at idle priority.
  windows.activate(false);
  EXPECT_FALSE(frame.IsFullScreen());
  EXPECT_TRUE(frame.IsFullScreenPending());
  EXPECT_EQ(os::screenSize().cx, 1024);
  EXPECT_EQ(shown.styleNow, WS_CAPTION);
  EXPECT_EQ(shown.menu, kMenu);
  EXPECT_EQ(shown.showCommands.back(), SW_RESTORE);
  ASSERT_FALSE(windows.positions.empty());
  const FakeWindowSystem::Position& size = windows.positions.back();
  EXPECT_EQ(size.width, 640 + 2 * 5 + 2);
  EXPECT_EQ(size.height, 480 + 2 * 6 + 20 + 2 + 2);
  EXPECT_EQ(size.flags, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  EXPECT_EQ(windows.priority, IDLE_PRIORITY_CLASS);

  // And back: full screen at the previous size, the priority as it was.
  windows.activate(true);
  EXPECT_TRUE(frame.IsFullScreen());
  EXPECT_EQ(os::screenSize().cx, 640);
  EXPECT_EQ(windows.priority, NORMAL_PRIORITY_CLASS);

  // A child of the frame taking the focus is no change of application.
  HWND child = reinterpret_cast<HWND>(0x99);
  windows.children.insert(child);
  windows.activate(false, child);
  EXPECT_TRUE(frame.IsActive());
  EXPECT_TRUE(frame.IsFullScreen());

  EXPECT_EQ(stopped([] { return ZPK_RestoreDisplayMode(); }), 0u);
  EXPECT_FALSE(frame.IsFullScreen());
  EXPECT_EQ(os::screenSize().cx, 1024);
  EXPECT_EQ(stopped([] { return ZPK_RestoreDisplayMode(); }), 0u) << "windowed already";
}

TEST_F(MainFrameTest, AMissingModeFailsAndLeavesTheWindowAlone) {
  windows.activate(true);
  EXPECT_EQ(stopped([] { return ZPK_ChangeDisplayMode(333, 222); }), 1u);
  EXPECT_EQ(windows.frames[0].styleNow, WS_CAPTION) << "the window is untouched";
  EXPECT_TRUE(frame.IsFullScreen()) << "the flag stays set as it stands";
  EXPECT_EQ(stopped([] { return ZPK_ChangeDisplayMode(640, 480); }), 0u) << "full screen already";
  EXPECT_EQ(os::screenSize().cx, 1024);
}

TEST_F(MainFrameTest, InactiveRestoreOnlyDropsThePendingWish) {
  windows.activate(true);
  stopped([] { return ZPK_ChangeDisplayMode(800, 600); });
  windows.activate(false);
  EXPECT_TRUE(frame.IsFullScreenPending());
  // Full screen again through the activation, then a restore while in the background.
  windows.activate(true);
  windows.activate(false);
  EXPECT_EQ(stopped([] { return ZPK_ChangeDisplayMode(800, 600); }), 0u);
  EXPECT_EQ(stopped([] { return ZPK_RestoreDisplayMode(); }), 0u);
  EXPECT_TRUE(frame.IsFullScreenPending()) << "windowed: a restore has nothing to do";
}

#endif

TEST_F(MainFrameTest, MaximisedTheFrameLiesBeyondTheScreenEdges) {
  frame.ChangeDisplayMode(800, 600, 0);  // stores the size; the frame is not active
  MINMAXINFO info{};
  windows.send(WM_GETMINMAXINFO, 0, reinterpret_cast<intptr_t>(&info));
  EXPECT_EQ(info.ptMaxSize.x, 800 + 2 * 3);
  EXPECT_EQ(info.ptMaxSize.y, 600 + 2 * 4);
  EXPECT_EQ(info.ptMaxPosition.x, -3);
  EXPECT_EQ(info.ptMaxPosition.y, -4);
  EXPECT_EQ(windows.defaultMessages.back(), WM_GETMINMAXINFO) << "then the default handling";

  windows.send(WM_MOVE);
  EXPECT_TRUE(windows.positions.empty()) << "not maximised: it may move";
  windows.frames[0].styleNow |= WS_MAXIMIZE;
  windows.send(WM_MOVE);
  ASSERT_EQ(windows.positions.size(), 1u);
  EXPECT_EQ(windows.positions[0].x, -3);
  EXPECT_EQ(windows.positions[0].y, -4);
  EXPECT_EQ(windows.positions[0].flags, SWP_NOSIZE | SWP_NOZORDER);
}

TEST_F(MainFrameTest, AnotherApplicationsPaletteRepaintsTheWholeWindowWithoutErasing) {
  windows.send(WM_PALETTECHANGED, reinterpret_cast<uintptr_t>(FakeWindowSystem::handleOf(0)));
  HWND child = reinterpret_cast<HWND>(0x77);
  windows.children.insert(child);
  windows.send(WM_PALETTECHANGED, reinterpret_cast<uintptr_t>(child));
  EXPECT_TRUE(windows.invalidations.empty()) << "the frame's own change";
  windows.send(WM_PALETTECHANGED, 0x1234);
  ASSERT_EQ(windows.invalidations.size(), 1u);
  EXPECT_TRUE(windows.invalidations[0].whole);
  EXPECT_FALSE(windows.invalidations[0].erase);
}

TEST_F(MainFrameTest, ThePaintComposesTheScreensOfTheViewOnThePaintContext) {
  RecordingDevice device;
  os::setPaintDevice(&device);
  Graphic* back = graphic_CreateBitmap(64, 32, 8);
  Graphic* front = graphic_CreateBitmap(16, 16, 24);
  RECT backWindow{0, 0, 127, 63}, frontWindow{10, 20, 25, 35}, frontPort{0, 0, 15, 15};
  Screen* first = View_Create(back, &backWindow, nullptr);
  Screen* second = View_Create(front, &frontWindow, &frontPort);
  EXPECT_EQ(View_AttachScreen(first, nullptr, 0), 0u);
  EXPECT_EQ(View_AttachScreen(second, nullptr, 0), 0u);

  windows.send(WM_PAINT);
  ASSERT_EQ(windows.paints.size(), 1u);
  EXPECT_FALSE(windows.paints[0].has_value()) << "unscaled";
  ASSERT_EQ(device.draws.size(), 2u);
  EXPECT_EQ(device.draws[0].dc, FakeWindowSystem::kPaintContext);
  EXPECT_EQ(device.draws[0].width, 128) << "stretched from 64";
  EXPECT_EQ(device.draws[0].srcWidth, 64);
  EXPECT_EQ(device.draws[1].x, 10);
  EXPECT_EQ(device.draws[1].width, 16);
  EXPECT_EQ(device.realised, std::vector<HDC>{FakeWindowSystem::kPaintContext}) << "the first image's palette";

  View_DetachAllScreen();
  View_Delete(first);
  View_Delete(second);
  graphic_DeleteBitmap(back);
  graphic_DeleteBitmap(front);
  os::setPaintDevice(nullptr);
}

TEST_F(MainFrameTest, TheViewReachesTheWindowThroughTheFrame) {
  Graphic* image = graphic_CreateBitmap(32, 32, 24);
  RECT window{5, 6, 36, 37};
  Screen* screen = View_Create(image, &window, nullptr);
  View_AttachScreen(screen, nullptr, 0);
  ASSERT_EQ(windows.invalidations.size(), 1u);
  EXPECT_TRUE(sameRect(windows.invalidations[0].area, RECT{5, 6, 37, 38})) << "one past right and bottom";
  EXPECT_FALSE(windows.invalidations[0].erase);

  RECT changed{2, 3, 4, 5};
  graphic_InvalidateRect(image, &changed);
  ASSERT_EQ(windows.invalidations.size(), 2u);
  EXPECT_EQ(windows.invalidations[1].area.left, 7);
  EXPECT_EQ(windows.invalidations[1].area.top, 9);

  EXPECT_EQ(View_ScrollViewWindow(screen, 3, -2), 0u);
  EXPECT_EQ(windows.updates, 1) << "brought up to date before the scroll";
  ASSERT_EQ(windows.scrolls.size(), 1u);
  EXPECT_EQ(windows.scrolls[0].dx, 3);
  EXPECT_EQ(windows.scrolls[0].dy, -2);
  EXPECT_TRUE(sameRect(windows.scrolls[0].scroll, window));
  EXPECT_TRUE(sameRect(windows.scrolls[0].clip, window));

  View_Delete(screen);
  graphic_DeleteBitmap(image);
}

// ---- Emulated display modes ----

TEST_F(MainFrameTest, WithoutTheSettingAMissingModeStaysMissing) {
  EXPECT_EQ(ZPK_TestDisplayMode(320, 200, 8), 1u);
  runa1_test::setEnvironment(kEmulateDisplaySetting, "0");
  EXPECT_EQ(ZPK_TestDisplayMode(320, 200, 8), 1u) << "0 switches it off";
  runa1_test::setEnvironment(kEmulateDisplaySetting, "1");
  EXPECT_EQ(ZPK_TestDisplayMode(320, 200, 8), 0u);
  EXPECT_EQ(ZPK_TestDisplayMode(320, 200, 0), 0u);
  EXPECT_EQ(ZPK_TestDisplayMode(320, 200, 12), 1u) << "no images of 12 bits";
  EXPECT_EQ(ZPK_TestDisplayMode(0, 200, 8), 1u);
  EXPECT_EQ(ZPK_TestDisplayMode(100000, 200, 8), 1u);
}

#ifndef _WIN32
// The last point a mouse message brought to the main procedure.
std::atomic<int32_t> lastPoint{0};
uint32_t RUNA1_API pointProcedure(HWND, uint32_t, uint32_t, int32_t lParam) {
  lastPoint = lParam;
  return 0;
}

intptr_t pointParam(int32_t x, int32_t y) {
  return static_cast<intptr_t>((static_cast<uint32_t>(y) & 0xFFFF) << 16 | (static_cast<uint32_t>(x) & 0xFFFF));
}

TEST_F(MainFrameTest, AnEmulatedModeCoversTheMonitorWithThePictureScaled) {
  runa1_test::setEnvironment(kEmulateDisplaySetting, "1");
  windows.monitor = RECT{0, 0, 1920, 1080};
  windows.activate(true);
  EXPECT_EQ(stopped([] { return ZPK_ChangeDisplayMode(320, 240); }), 0u);
  EXPECT_EQ(os::screenSize().cx, 1024) << "the display has no 320x240: no real change";
  ASSERT_TRUE(KDisplayEnvironment::IsEmulated());
  const FakeWindowSystem::Frame& shown = windows.frames[0];
  EXPECT_EQ(shown.styleNow, WS_POPUP | WS_VISIBLE);
  EXPECT_EQ(shown.exStyleNow, WS_EX_TOPMOST);
  ASSERT_FALSE(windows.positions.empty());
  EXPECT_EQ(windows.positions.back().width, 1920);
  EXPECT_EQ(windows.positions.back().height, 1080);
  ASSERT_TRUE(frame.Scale().has_value());
  // Four times the size fits, five times doesn't: 1280x960 in the middle.
  EXPECT_TRUE(sameRect(frame.Scale()->destination, RECT{320, 60, 1600, 1020}));

  windows.send(WM_PAINT);
  ASSERT_TRUE(windows.paints.back().has_value());
  EXPECT_EQ(windows.paints.back()->size.cx, 320);
  EXPECT_TRUE(sameRect(windows.paints.back()->destination, frame.Scale()->destination));

  // The mouse in the game's own coordinates.
  ZPK_SetMainWndProc(pointProcedure);
  windows.send(WM_LBUTTONDOWN, 0, pointParam(320 + 4 * 100 + 3, 60 + 4 * 50));
  EXPECT_EQ(static_cast<uint32_t>(lastPoint.load()), static_cast<uint32_t>(pointParam(100, 50)));
  windows.send(WM_MOUSEMOVE, 0, pointParam(5, 1079));
  EXPECT_EQ(static_cast<uint32_t>(lastPoint.load()), static_cast<uint32_t>(pointParam(0, 239))) << "held to the picture";
  ZPK_SetMainWndProc(nullptr);

  // Invalidation in picture pixels reaches the window scaled.
  frame.InvalidateWindowRect(RECT{10, 10, 20, 30});
  EXPECT_TRUE(sameRect(windows.invalidations.back().area, RECT{360, 100, 400, 180}));

  // The background gives the desktop back; the return shows the picture again.
  windows.activate(false);
  EXPECT_FALSE(KDisplayEnvironment::IsEmulated());
  EXPECT_FALSE(frame.Scale().has_value());
  EXPECT_EQ(shown.styleNow, WS_CAPTION);
  EXPECT_EQ(windows.positions.back().x, 10) << "back where it stood";
  windows.activate(true);
  EXPECT_TRUE(frame.Scale().has_value());
}

#endif

// ---- The picture's placement ----

TEST(PictureScaleTest, WholeFactorsWhereTheyFitFractionsWhereNot) {
  PictureScale twice = PictureScale::Fit(SIZE{640, 480}, RECT{0, 0, 1920, 1080});
  EXPECT_TRUE(sameRect(twice.destination, RECT{320, 60, 1600, 1020}));
  PictureScale same = PictureScale::Fit(SIZE{640, 480}, RECT{0, 0, 1000, 900});
  EXPECT_TRUE(sameRect(same.destination, RECT{180, 210, 820, 690})) << "factor 1 with bars all round";
  PictureScale smaller = PictureScale::Fit(SIZE{800, 600}, RECT{0, 0, 640, 1000});
  EXPECT_TRUE(sameRect(smaller.destination, RECT{0, 260, 640, 740})) << "shrunk, aspect kept";
  PictureScale tall = PictureScale::Fit(SIZE{400, 800}, RECT{0, 0, 1000, 600});
  EXPECT_TRUE(sameRect(tall.destination, RECT{350, 0, 650, 600}));
}

TEST(PictureScaleTest, PointsMapBackAndAreasMapOutwards) {
  PictureScale thrice = PictureScale::Fit(SIZE{320, 200}, RECT{0, 0, 1024, 768});
  ASSERT_TRUE(sameRect(thrice.destination, RECT{32, 84, 992, 684}));
  EXPECT_EQ(thrice.ToPicture(POINT{32, 84}).x, 0);
  EXPECT_EQ(thrice.ToPicture(POINT{34, 86}).y, 0);
  EXPECT_EQ(thrice.ToPicture(POINT{35, 87}).x, 1);
  EXPECT_EQ(thrice.ToPicture(POINT{991, 683}).x, 319);
  EXPECT_EQ(thrice.ToPicture(POINT{2000, -50}).x, 319);
  EXPECT_EQ(thrice.ToPicture(POINT{2000, -50}).y, 0);
  EXPECT_TRUE(sameRect(thrice.ToWindow(RECT{0, 0, 320, 200}), thrice.destination));

  PictureScale shrunk = PictureScale::Fit(SIZE{300, 300}, RECT{0, 0, 200, 200});
  RECT area = shrunk.ToWindow(RECT{1, 1, 2, 2});
  EXPECT_TRUE(sameRect(area, RECT{0, 0, 2, 2})) << "a changed pixel is never lost between window pixels";
}

// ---- The message loop ----

struct LoopRun {
  os::EventHandle done = os::createEvent(true, false);
  ~LoopRun() { os::closeEvent(done); }
};

TEST(MessageLoopTest, MessagesWaitWhileStoppedAndTheLoopEndsWithTheModuleThreadOrAQuit) {
  FakeWindowSystem windows;
  CMainFrame frame(windows);
  ASSERT_TRUE(frame.Create(nullptr, "Loop", 0, 0, RECT{}));
  MessageLoop loop;
  LoopRun module;
  os::Thread* thread = os::startThread([](void* run) { os::waitEvent(static_cast<LoopRun*>(run)->done); }, &module);
  ASSERT_NE(thread, nullptr);

  ZPK_SetMainWndProc(mainProcedure);
  heard.clear();
  loop.Stop();
  windows.post(WM_USER + 1);
  std::thread main([&] { loop.Run(windows, thread); });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(windows.posted(), 1u) << "stopped: nothing is taken";
  loop.Restart();
  for (int i = 0; i < 500 && windows.posted() > 0; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  EXPECT_EQ(windows.posted(), 0u);
  os::setEvent(module.done);
  main.join();
  EXPECT_EQ(heard, std::vector<std::string>{"main 1025"});

  // A quit ends the loop although the module thread runs on.
  LoopRun endless;
  os::Thread* running = os::startThread([](void* run) { os::waitEvent(static_cast<LoopRun*>(run)->done); }, &endless);
  windows.post(WM_QUIT);
  windows.post(WM_USER + 2);
  loop.Run(windows, running);
  EXPECT_EQ(windows.posted(), 1u) << "what follows the quit stays for the tear-down";
  os::setEvent(endless.done);
  os::waitThread(running, FakeWindowSystem::kTimeoutMilliseconds);
  os::waitThread(thread, FakeWindowSystem::kTimeoutMilliseconds);
  os::closeThread(running);
  os::closeThread(thread);
  ZPK_SetMainWndProc(nullptr);
}


// Runs the loop on a thread of its own, as the main thread, until the module's stand-in ends.
class LoopOnItsThread {
 public:
  LoopOnItsThread(MessageLoop& loop, os::WindowSystem& windows)
      : module_(os::startThread([](void* run) { os::waitEvent(static_cast<LoopRun*>(run)->done); }, &run_)),
        main_([&loop, &windows, this] { loop.Run(windows, module_); }) {}
  ~LoopOnItsThread() {
    os::setEvent(run_.done);
    main_.join();
    os::closeThread(module_);
  }

 private:
  LoopRun run_;
  os::Thread* module_;
  std::thread main_;
};

template <typename Condition>
bool waitUntil(Condition condition) {
  for (int i = 0; i < 2500 && !condition(); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  return condition();
}

TEST(MessageLoopTest, WhileTheLoopIsStoppedSentMessagesAreAnsweredWithoutHooksOrDisplayWork) {
  FakeWindowSystem windows;
  windows.activateOnShow = false;
  CMainFrame frame(windows);
  ASSERT_TRUE(frame.Create(nullptr, "Held", 0, 0, RECT{}));
  MessageLoop loop;
  MessageLoop::SetCurrent(&loop);
  windows.activate(true);
  frame.ClipCursor(true);
  ZPK_SetMainWndProc(mainProcedure);
  ZPK_SetWndMessageProc(WM_ACTIVATE, activateProcedure);
  heard.clear();
  size_t clips = windows.clips.size();
  auto activations = [&] { return std::count(windows.defaultMessages.begin(), windows.defaultMessages.end(), WM_ACTIVATE); };
  long activationsBefore = activations();
  {
    loop.Stop();
    LoopOnItsThread running(loop, windows);
    // The module thread's own window work is answered: no deadlock, and the frame's own answers.
    MINMAXINFO info{};
    ASSERT_TRUE(windows.sendFromOtherThread(WM_GETMINMAXINFO, 0, reinterpret_cast<intptr_t>(&info)));
    EXPECT_EQ(info.ptMaxSize.x, 640 + 2 * 3);
    ASSERT_TRUE(windows.sendFromOtherThread(WM_USER + 3));
    // Another thread's activation, a size and a paint change nothing until the restart.
    ASSERT_TRUE(windows.sendFromOtherThread(WM_ACTIVATE, WA_INACTIVE, 0));
    ASSERT_TRUE(windows.sendFromOtherThread(WM_SIZE));
    ASSERT_TRUE(windows.sendFromOtherThread(WM_PAINT));
    EXPECT_TRUE(heard.empty()) << "no hook hears a message while the loop is stopped";
    EXPECT_TRUE(frame.IsActive()) << "the activation's display work waits";
    EXPECT_EQ(windows.priority, NORMAL_PRIORITY_CLASS);
    EXPECT_EQ(windows.clips.size(), clips) << "the clip stays as the module thread left it";
    EXPECT_TRUE(windows.paints.empty()) << "the area stays invalid";
    EXPECT_EQ(activations(), activationsBefore + 1) << "the system's own handling answered";

    loop.Restart();
    EXPECT_TRUE(waitUntil([&] { return !frame.IsActive(); })) << "the restart brings the activation";
  }
  EXPECT_EQ(windows.priority, IDLE_PRIORITY_CLASS);
  ASSERT_FALSE(windows.clips.empty());
  EXPECT_FALSE(windows.clips.back().has_value()) << "the clip released in the background";
  EXPECT_EQ(heard, (std::vector<std::string>{"main 6", "deactivate 6"})) << "the hooks hear it after the restart";
  EXPECT_EQ(activations(), activationsBefore + 1) << "the base handling is not repeated";
  ZPK_SetMainWndProc(nullptr);
  MessageLoop::SetCurrent(nullptr);
}

#ifndef _WIN32
std::atomic<int> timerTicks{0};
uint32_t RUNA1_API tickProcedure(HWND, uint32_t message, uint32_t wParam, int32_t) {
  if (message == WM_TIMER && wParam == CMainFrame::kTimerId) ++timerTicks;
  return 0;
}

TEST(MessageLoopTest, TheHeadlessWindowSystemTicksTheHooksOnceASecond) {
  os::WindowSystem& headless = os::windowSystem();
  CMainFrame frame(headless);
  ASSERT_TRUE(frame.Create(nullptr, "Ticks", 0, 0, RECT{}));
  MessageLoop loop;
  timerTicks = 0;
  ZPK_SetMainWndProc(tickProcedure);
  {
    LoopOnItsThread running(loop, headless);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    EXPECT_EQ(timerTicks, 0) << "not before the second is over";
    EXPECT_TRUE(waitUntil([] { return timerTicks >= 1; }));
  }
  ZPK_SetMainWndProc(nullptr);
}
#endif

}  // namespace
