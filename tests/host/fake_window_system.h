// A window system for the frame's tests: it records what the host asks of it, sends messages to
// the frame's logic as the system would, keeps a queue of posted messages for the message loop,
// answers messages that other threads send while the loop waits, and has metrics of its own.
// Handles are the frame's number, counted from 1.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "base/os/os.h"
#include "base/os/window.h"

namespace runa1_test {

class FakeWindowSystem : public os::WindowSystem {
 public:
  static constexpr uint32_t kTimeoutMilliseconds = 5000;

  struct Frame {
    std::string className;  // empty: the host's frame class
    std::string title;
    uint32_t style = 0;  // as created
    uint32_t exStyle = 0;
    uint32_t styleNow = 0;  // as the frame set them since
    uint32_t exStyleNow = 0;
    RECT rect{};
    bool shown = false;
    uint32_t timerId = 0;
    os::FrameClient* client = nullptr;
    HMENU menu = nullptr;
    std::vector<int32_t> showCommands;
  };
  struct Invalidation {
    bool whole;
    RECT area;
    bool erase;
  };
  struct Scroll {
    int32_t dx, dy;
    RECT scroll, clip;
  };
  struct Position {
    int32_t x, y, width, height;
    uint32_t flags;
  };

  // ---- What the system does ----
  bool registerSucceeds = true;
  bool activateOnShow = true;  // showing activates the frame, as SetForegroundWindow does
  RECT clientArea{0, 0, 640, 480};
  POINT clientOrigin{100, 50};  // where the client area stands on the screen
  RECT monitor{0, 0, 1920, 1080};
  std::set<HWND> children;

  // ---- What the host asked ----
  std::vector<std::string> registered;
  std::vector<Frame> frames;
  std::vector<std::string> log;  // registrations, creations, showings, destructions, waits
  bool waitTimedOut = false;
  std::vector<uint32_t> defaultMessages;
  std::vector<std::optional<os::ScaledPicture>> paints;
  std::vector<Invalidation> invalidations;
  int updates = 0;
  std::vector<Scroll> scrolls;
  std::vector<std::optional<RECT>> clips;
  int beeps = 0;
  uint32_t priority = NORMAL_PRIORITY_CLASS;
  std::vector<Position> positions;

  static HWND handleOf(size_t index) { return reinterpret_cast<HWND>(index + 1); }
  Frame& frameOf(HWND frame) { return frames.at(reinterpret_cast<uintptr_t>(frame) - 1); }

  // Sends a message to the last frame's logic, as the system does; its answer.
  intptr_t send(uint32_t message, uintptr_t wParam = 0, intptr_t lParam = 0) {
    return frames.back().client->frameMessage(handleOf(frames.size() - 1), message, wParam, lParam);
  }
  void activate(bool active, HWND other = nullptr) {
    send(WM_ACTIVATE, active ? WA_ACTIVE : WA_INACTIVE, reinterpret_cast<intptr_t>(other));
  }
  // Posts a message for the message loop; any thread.
  void post(uint32_t message, uintptr_t wParam = 0, intptr_t lParam = 0) {
    std::lock_guard<std::mutex> hold(queueLock_);
    queue_.push_back(Message{message, wParam, lParam});
  }
  size_t posted() {
    std::lock_guard<std::mutex> hold(queueLock_);
    return queue_.size();
  }
  // Sends a message from another thread, as SendMessage does: the loop's thread handles it in its
  // wait or before its next posted message, and this waits for the answer (false on a timeout).
  bool sendFromOtherThread(uint32_t message, uintptr_t wParam = 0, intptr_t lParam = 0) {
    {
      std::lock_guard<std::mutex> hold(queueLock_);
      sent_.push_back(Message{message, wParam, lParam});
    }
    for (uint32_t waited = 0; waited < kTimeoutMilliseconds; ++waited) {
      {
        std::lock_guard<std::mutex> hold(queueLock_);
        if (sent_.empty() && !answering_) return true;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }

  bool registerClass(const WNDCLASSA& windowClass) override {
    log.push_back("register");
    registered.push_back(windowClass.lpszClassName ? windowClass.lpszClassName : "");
    return registerSucceeds;
  }
  HWND createFrame(os::FrameClient* client, const char* className, const char* title, uint32_t style,
                   uint32_t exStyle, const RECT& rect) override {
    log.push_back("create");
    Frame frame;
    frame.className = className ? className : "";
    frame.title = title;
    frame.style = style;
    frame.exStyle = exStyle;
    frame.styleNow = style;
    frame.exStyleNow = exStyle;
    frame.rect = rect;
    frame.client = client;
    frames.push_back(frame);
    return handleOf(frames.size() - 1);
  }
  void showFrame(HWND frame) override {
    log.push_back("show");
    frameOf(frame).shown = true;
    if (activateOnShow) frameOf(frame).client->frameMessage(frame, WM_ACTIVATE, WA_ACTIVE, 0);
  }
  void setTimer(HWND frame, uint32_t id, uint32_t milliseconds) override {
    EXPECT_EQ(milliseconds, 1000u);
    frameOf(frame).timerId = id;
  }
  void killTimer(HWND, uint32_t) override {}
  void destroyFrame(HWND) override { log.push_back("destroy"); }
  intptr_t defaultMessage(HWND, uint32_t message, uintptr_t, intptr_t) override {
    defaultMessages.push_back(message);
    return kDefaultAnswer;
  }
  void postMessage(HWND, uint32_t message, uintptr_t wParam, intptr_t lParam) override { post(message, wParam, lParam); }
  uint32_t hostMessage() override { return kHostMessage; }

  bool pumpMessages() override {
    bool quit = false;
    while (dispatchNext(&quit) && !quit) {
    }
    return !quit;
  }
  bool dispatchNext(bool* quit) override {
    answerSent();
    Message next;
    {
      std::lock_guard<std::mutex> hold(queueLock_);
      if (queue_.empty()) return false;
      next = queue_.front();
      queue_.pop_front();
    }
    if (next.message == WM_QUIT)
      *quit = true;
    else
      send(next.message, next.wParam, next.lParam);
    return true;
  }
  bool waitForWork(os::Thread* thread, os::EventHandle gate) override {
    for (;;) {
      answerSent();
      if (!os::waitThread(thread, 0)) return true;
      if (os::waitEvent(gate, 1) && posted() > 0) return false;
      os::waitThread(thread, 1);
    }
  }
  void waitDispatching(void* event) override {
    log.push_back("wait");
    waitTimedOut = !os::waitEvent(event, kTimeoutMilliseconds);
  }

  void paint(HWND, const os::ScaledPicture* scaled, const std::function<void(HDC)>& draw) override {
    paints.push_back(scaled ? std::optional<os::ScaledPicture>(*scaled) : std::nullopt);
    draw(kPaintContext);
  }
  void invalidate(HWND, const RECT* area, bool erase) override {
    invalidations.push_back({area == nullptr, area ? *area : RECT{}, erase});
  }
  void update(HWND) override { ++updates; }
  void scroll(HWND, int32_t dx, int32_t dy, const RECT& scroll, const RECT& clip) override {
    scrolls.push_back({dx, dy, scroll, clip});
  }
  void styles(HWND frame, uint32_t* style, uint32_t* exStyle) override {
    *style = frameOf(frame).styleNow;
    *exStyle = frameOf(frame).exStyleNow;
  }
  void setStyles(HWND frame, uint32_t style, uint32_t exStyle) override {
    frameOf(frame).styleNow = style;
    frameOf(frame).exStyleNow = exStyle;
  }
  HMENU menu(HWND frame) override { return frameOf(frame).menu; }
  void setMenu(HWND frame, HMENU menu) override { frameOf(frame).menu = menu; }
  void showWindow(HWND frame, int32_t command) override {
    Frame& shown = frameOf(frame);
    shown.showCommands.push_back(command);
    if (command == SW_MAXIMIZE) shown.styleNow |= WS_MAXIMIZE;
    if (command == SW_RESTORE) shown.styleNow &= ~WS_MAXIMIZE;
  }
  void setWindowPos(HWND, int32_t x, int32_t y, int32_t width, int32_t height, uint32_t flags) override {
    positions.push_back({x, y, width, height, flags});
  }
  RECT windowRect(HWND frame) override { return frameOf(frame).rect; }
  RECT clientRect(HWND) override { return clientArea; }
  POINT clientToScreen(HWND, POINT point) override {
    return POINT{point.x + clientOrigin.x, point.y + clientOrigin.y};
  }
  RECT monitorRect(HWND) override { return monitor; }
  bool isChild(HWND, HWND window) override { return children.count(window) > 0; }
  void clipCursor(const RECT* area) override { clips.push_back(area ? std::optional<RECT>(*area) : std::nullopt); }
  void beep() override { ++beeps; }
  uint32_t priorityClass() override { return priority; }
  void setPriorityClass(uint32_t priorityClass) override { priority = priorityClass; }
  int32_t systemMetric(int32_t index) override {
    switch (index) {
      case SM_CXSCREEN: return 1024;
      case SM_CYSCREEN: return 768;
      case SM_CYCAPTION: return 20;
      case SM_CYBORDER: return 2;
      case SM_CXDLGFRAME: return 3;
      case SM_CYDLGFRAME: return 4;
      case SM_CXFRAME: return 5;
      case SM_CYFRAME: return 6;
      default: return 0;
    }
  }
  void fillDefaultClass(WNDCLASSA* windowClass) override { *windowClass = WNDCLASSA{}; }

  static constexpr intptr_t kDefaultAnswer = 77;
  static constexpr uint32_t kHostMessage = 0xC123;
  static inline HDC const kPaintContext = reinterpret_cast<HDC>(0x1000);

 private:
  struct Message {
    uint32_t message;
    uintptr_t wParam;
    intptr_t lParam;
  };

  // Handles what other threads sent, on the calling thread.
  void answerSent() {
    for (;;) {
      Message next;
      {
        std::lock_guard<std::mutex> hold(queueLock_);
        if (sent_.empty()) return;
        next = sent_.front();
        sent_.pop_front();
        answering_ = true;
      }
      send(next.message, next.wParam, next.lParam);
      std::lock_guard<std::mutex> hold(queueLock_);
      answering_ = false;
    }
  }

  std::mutex queueLock_;
  std::deque<Message> queue_;
  std::deque<Message> sent_;
  bool answering_ = false;
};

}  // namespace runa1_test
