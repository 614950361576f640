#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/exports/movie.h"
#include "sound/movie/movie_player.h"
#include "tests/test_support.h"

namespace {

using movie::Message;

HWND handle(uintptr_t value) { return reinterpret_cast<HWND>(value); }

const HWND kParent = handle(0x10);
const HWND kMovie = handle(0x20);
const HWND kMain = handle(0x30);
constexpr uint32_t kWmSetCursor = 0x0020;
constexpr uint32_t kWmRButtonDown = 0x0204;
constexpr uint32_t kWmLButtonDown = 0x0201;
constexpr uint32_t kEscape = 0x1B;

// A player whose movie moves one frame for every message taken, on a clock that moves 100 ms
// at every read; it writes down what is done to it. Messages come from `queue`; an empty queue
// gives WM_QUIT, so no test can hang.
class ScriptedSystem : public movie::MovieSystem {
 public:
  HWND created = kMovie;
  uint32_t openError = 0;
  std::string openErrorText;
  int32_t endFrame = 3;
  int32_t frameStep = 1;
  int32_t stopsAt = -1;  // the player stops by itself at this frame
  uint32_t playAnswer = 0;
  bool throwOnPlay = false;
  std::deque<Message> queue;
  std::deque<Message> waitingAfterEnd;
  uint32_t mainThread = 7;
  std::vector<std::string> calls;
  std::vector<uint32_t> dispatched;

  HWND create(HWND parent, const char*, uint32_t style) override {
    log("create " + hex(reinterpret_cast<uintptr_t>(parent)) + " " + hex(style));
    return created;
  }
  uint32_t error(HWND, char* text, uint32_t size) override {
    snprintf(text, size, "%s", openErrorText.c_str());
    return openError;
  }
  void putDestination(HWND, const RECT& r) override { log("dest " + rect(r.left, r.top, r.right, r.bottom)); }
  int32_t end(HWND) override { return endFrame; }
  int32_t position(HWND) override { return frame_; }
  uint32_t mode(HWND) override { return frame_ == stopsAt ? movie::kModeStopped : movie::kModePlaying; }
  uint32_t play(HWND) override {
    if (throwOnPlay) throw std::runtime_error("player fault");
    log("play");
    return playAnswer;
  }
  void stop(HWND) override { log("stop"); }
  void close(HWND) override { log("close"); }
  void blackenClass(HWND) override { log("blacken"); }
  HWND setFocus(HWND window) override {
    log("focus " + hex(reinterpret_cast<uintptr_t>(window)));
    return window == kMovie ? kMain : kMovie;
  }
  RECT clientRect(HWND window) override {
    return window == kMain ? RECT{5, 6, 320, 240} : RECT{0, 0, 640, 480};
  }
  void setWindowPos(HWND, int32_t x, int32_t y, int32_t w, int32_t h, uint32_t flags) override {
    log("pos " + rect(x, y, w, h) + " " + hex(flags));
  }
  void setTimer(HWND, uint32_t id, uint32_t ms) override {
    log("timer " + std::to_string(id) + " " + std::to_string(ms));
  }
  void killTimer(HWND, uint32_t id) override { log("kill " + std::to_string(id)); }
  bool getMessage(Message* message) override {
    std::deque<Message>& source = closed() ? waitingAfterEnd : queue;
    if (source.empty()) return false;
    *message = source.front();
    source.pop_front();
    if (!closed() && frame_ != stopsAt) frame_ += frameStep;
    return true;
  }
  bool messageWaits() override { return !waitingAfterEnd.empty(); }
  void dispatch(const Message& message) override { dispatched.push_back(message.message); }
  void hideCursor() override { log("hide cursor"); }
  uint32_t milliseconds() override { return clock_ += 100; }
  uint32_t currentThreadId() override { return 9; }
  uint32_t windowThread(HWND) override { return mainThread; }
  void detachInput(uint32_t thread, uint32_t other) override {
    log("detach " + std::to_string(thread) + " " + std::to_string(other));
  }

  bool called(const std::string& call) const {
    for (const std::string& c : calls) {
      if (c == call) return true;
    }
    return false;
  }

 private:
  bool closed() const { return called("close"); }
  void log(const std::string& call) { calls.push_back(call); }
  static std::string hex(uintptr_t value) {
    char text[20];
    snprintf(text, sizeof text, "%lx", static_cast<unsigned long>(value));
    return text;
  }
  static std::string rect(int32_t a, int32_t b, int32_t c, int32_t d) {
    return std::to_string(a) + "," + std::to_string(b) + "," + std::to_string(c) + "," + std::to_string(d);
  }

  int32_t frame_ = 0;
  uint32_t clock_ = 0;
};

Message message(uint32_t number, uintptr_t wParam = 0, intptr_t lParam = 0, HWND window = kMovie) {
  return Message{window, number, wParam, lParam, 0, POINT{0, 0}};
}

class MoviePlayerTest : public ::testing::Test {
 protected:
  uint32_t play(bool allowSkip, const RECT* destination = nullptr) {
    movie::PlayRequest request{kParent, "intro.avi", destination, allowSkip, kMain};
    return movie::PlayMovie(system, request, text, sizeof text);
  }
  void queueTimers(int count) {
    for (int i = 0; i < count; ++i) system.queue.push_back(message(WM_TIMER));
  }

  ScriptedSystem system;
  char text[64] = "old text";
  runa1_test::AutoAnswer answer{"ok"};
};

TEST_F(MoviePlayerTest, PlaysInAWindowOverTheParentUntilThePositionReachesTheEnd) {
  queueTimers(5);
  system.waitingAfterEnd.push_back(message(WM_PAINT));
  EXPECT_EQ(play(false), 0u);
  EXPECT_STREQ(text, "");
  std::vector<std::string> expected = {"create 10 5000400e", "pos 0,0,641,481 4", "blacken", "timer 0 66", "play",
                                       "kill 0", "close", "detach 9 7"};
  EXPECT_EQ(system.calls, expected) << "without a skip the keyboard stays where it was";
  // Three frames: the third message is dispatched, the fourth stays in the queue.
  EXPECT_EQ(system.dispatched, (std::vector<uint32_t>{WM_TIMER, WM_TIMER, WM_TIMER, WM_PAINT}));
  EXPECT_EQ(system.queue.size(), 2u);
}

TEST_F(MoviePlayerTest, DestinationAndCursor) {
  RECT destination{10, 20, 110, 220};
  system.queue = {message(kWmSetCursor), message(WM_TIMER), message(WM_TIMER)};
  EXPECT_EQ(play(false, &destination), 0u);
  EXPECT_TRUE(system.called("dest 10,20,110,220"));
  // The cursor is hidden after the dispatch of WM_SETCURSOR, once.
  EXPECT_EQ(std::count(system.calls.begin(), system.calls.end(), "hide cursor"), 1);
}

TEST_F(MoviePlayerTest, EscapeOrTheRightButtonSkipsOnlyWhenAllowed) {
  for (Message skip : {message(WM_KEYDOWN, kEscape), message(kWmRButtonDown)}) {
    ScriptedSystem fresh;
    system = fresh;
    system.endFrame = 10;
    system.queue = {message(WM_TIMER), message(WM_KEYDOWN, 'A'), message(kWmLButtonDown), skip, message(WM_TIMER)};
    EXPECT_EQ(play(true), 0u);
    EXPECT_TRUE(system.called("stop"));
    EXPECT_TRUE(system.called("focus 20")) << "the keyboard goes to the movie when a skip is allowed";
    auto closed = std::find(system.calls.begin(), system.calls.end(), "close");
    ASSERT_NE(closed, system.calls.end());
    EXPECT_EQ(*(closed + 1), "focus 30") << "and back to where it was after the close";
    EXPECT_TRUE(system.called("close"));
    EXPECT_EQ(system.dispatched, (std::vector<uint32_t>{WM_TIMER, WM_KEYDOWN, kWmLButtonDown}))
        << "other keys and the left button do not skip; the skip itself is not dispatched";
    EXPECT_EQ(system.queue.size(), 1u);

    system = fresh;
    system.endFrame = 3;
    system.queue = {skip, message(WM_TIMER), message(WM_TIMER), message(WM_TIMER)};
    EXPECT_EQ(play(false), 0u);
    EXPECT_FALSE(system.called("stop"));
    EXPECT_EQ(system.dispatched, (std::vector<uint32_t>{skip.message, WM_TIMER, WM_TIMER}));
  }
}

TEST_F(MoviePlayerTest, TheMainWindowsMovesAndSizesCarryTheMovie) {
  system.endFrame = 4;
  system.queue = {message(WM_SIZE, 0, (200 << 16) | 300, kMain), message(WM_MOVE, 0, 0, kMain),
                  message(WM_SIZE, 0, (50 << 16) | 60), message(WM_TIMER)};
  EXPECT_EQ(play(false), 0u);
  EXPECT_TRUE(system.called("pos 0,0,300,200 204"));
  EXPECT_TRUE(system.called("pos 5,6,0,0 5"));
  EXPECT_FALSE(system.called("pos 0,0,60,50 204")) << "a size of another window is not followed";
}

TEST_F(MoviePlayerTest, APlayerThatStopsOrStallsShortOfTheEndEndsTheLoop) {
  system.endFrame = 30;
  system.stopsAt = 2;
  queueTimers(40);
  EXPECT_EQ(play(false), 0u);
  EXPECT_EQ(system.dispatched.size(), 2u) << "left as soon as the player reported its stop";

  ScriptedSystem fresh;
  system = fresh;
  system.frameStep = 0;
  queueTimers(100);
  EXPECT_EQ(play(false), 0u);
  // The clock moves 100 ms per read: the stall limit is reached after 5000 ms, not before.
  EXPECT_EQ(system.dispatched.size(), movie::kStallMilliseconds / 100);
  EXPECT_TRUE(system.called("close"));
}

TEST_F(MoviePlayerTest, FailuresGiveOneWithTheirTextAndLeaveNoWindow) {
  system.openError = 263;
  system.openErrorText = "The specified file cannot be found.";
  EXPECT_EQ(play(false), 1u);
  EXPECT_STREQ(text, "The specified file cannot be found.");
  EXPECT_FALSE(system.called("play"));
  EXPECT_FALSE(system.called("focus 20")) << "a movie that did not open does not take the keyboard";
  EXPECT_TRUE(system.called("close"));

  system = ScriptedSystem();
  system.endFrame = 0;
  EXPECT_EQ(play(false), 1u);
  EXPECT_STREQ(text, "\x93\xE0\x95\x94\x83G\x83\x89\x81[(1)\x81\x46\x8D\xC4\x93x\x8E\xC0\x8Ds\x82\xB5\x82\xC4\x82\xAD"
                     "\x82\xBE\x82\xB3\x82\xA2\x81\x42");
  EXPECT_FALSE(system.called("play"));
  EXPECT_TRUE(system.called("close"));

  system = ScriptedSystem();
  system.playAnswer = 1;
  queueTimers(5);
  EXPECT_EQ(play(false), 1u);
  EXPECT_STREQ(text, "\x8D\xC4\x90\xB6\x82\xC9\x8E\xB8\x94s\x82\xB5\x82\xDC\x82\xB5\x82\xBD\x81\x42");
  EXPECT_TRUE(system.dispatched.empty());
  EXPECT_TRUE(system.called("close"));

  system = ScriptedSystem();
  system.created = nullptr;
  EXPECT_EQ(play(false), 1u);
  EXPECT_FALSE(system.called("close"));
  EXPECT_TRUE(system.called("detach 9 7"));
}

TEST_F(MoviePlayerTest, AFaultDuringPlayGivesTheFormatTextAndSkipsTheCleanUp) {
  system.throwOnPlay = true;
  EXPECT_EQ(play(false), 1u);
  std::string expected =
      "\x83V\x83X\x83\x65\x83\x80\x82\xC9\x83\x43\x83\x93\x83X\x83g\x81[\x83\x8B\x82\xB3\x82\xEA\x82\xC4\x82\xA2"
      "\x82\xC8\x82\xA2\x8C`\x8E\xAE\x82\xCC\x83t\x83@\x83\x43\x83\x8B\x82\xF0\x8D\xC4\x90\xB6\x82\xB5\x82\xE6"
      "\x82\xA4\x82\xC6\x82\xB5\x82\xBD\x89\xC2\x94\x5C\x90\xAB\x82\xAA\x82\xA0\x82\xE8\x82\xDC\x82\xB7\x81\x42";
  EXPECT_EQ(std::string(text), expected.substr(0, sizeof text - 1)) << "cut to the buffer";
  EXPECT_FALSE(system.called("close"));
  EXPECT_TRUE(system.called("detach 9 7"));

  system = ScriptedSystem();
  system.mainThread = 9;
  queueTimers(3);
  EXPECT_EQ(play(false), 0u);
  EXPECT_FALSE(system.called("detach 9 9")) << "no detach on the main window's own thread";
}

TEST_F(MoviePlayerTest, TheExportTakesAnyErrorBuffer) {
  system.openError = 1;
  system.openErrorText = "a long error text of the window";
  movie::setMovieSystem(&system);
  EXPECT_EQ(PlayMCIMovieFile(kParent, "x.avi", nullptr, 1, 2, 3, 1, nullptr, 0), 1u);
  char small[8] = "ZZZZZZZ";
  EXPECT_EQ(PlayMCIMovieFile(kParent, "x.avi", nullptr, 1, 2, 3, 1, small, 5), 1u);
  EXPECT_STREQ(small, "a lo");
  EXPECT_EQ(small[5], 'Z') << "nothing written past the given size";
  char untouched[4] = "abc";
  EXPECT_EQ(PlayMCIMovieFile(kParent, "x.avi", nullptr, 1, 2, 3, 1, untouched, 0), 1u);
  EXPECT_STREQ(untouched, "abc");
  movie::setMovieSystem(nullptr);
  EXPECT_EQ(PlayMCIMovieFile(kParent, "x.avi", nullptr, 0, 0, 0, 0, small, sizeof small), 1u)
      << "the native build has no player";
}

}  // namespace
