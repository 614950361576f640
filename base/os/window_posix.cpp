// The native window system: no screen. Frames are handles without a window, nothing is drawn,
// and the metrics are those of a classic Windows desktop. Its only messages are the posted ones
// and the ticks of the frame's timer, so that the hooks hear WM_TIMER as on Windows.
#include <chrono>
#include <deque>
#include <mutex>

#include "base/os/os.h"
#include "base/os/window.h"

struct HWND__ {};

namespace os {

namespace {

// How long a wait for the gate looks away from the module thread's end.
constexpr uint32_t kGateLookMilliseconds = 10;

using Clock = std::chrono::steady_clock;

struct Posted {
  uint32_t message;
  uintptr_t wParam;
  intptr_t lParam;
};

class HeadlessWindowSystem : public WindowSystem {
 public:
  bool registerClass(const WNDCLASSA& windowClass) override { return windowClass.lpszClassName != nullptr; }
  HWND createFrame(FrameClient* client, const char*, const char*, uint32_t style, uint32_t exStyle,
                   const RECT&) override {
    style_ = style;
    exStyle_ = exStyle;
    std::lock_guard<std::mutex> hold(lock_);
    frame_ = new HWND__;
    client_ = client;
    return frame_;
  }
  void showFrame(HWND) override {}
  void setTimer(HWND, uint32_t id, uint32_t milliseconds) override {
    std::lock_guard<std::mutex> hold(lock_);
    timerId_ = id;
    period_ = std::chrono::milliseconds(milliseconds);
    due_ = Clock::now() + period_;
  }
  void killTimer(HWND, uint32_t id) override {
    std::lock_guard<std::mutex> hold(lock_);
    if (id == timerId_) timerId_ = 0;
  }
  void destroyFrame(HWND frame) override {
    std::lock_guard<std::mutex> hold(lock_);
    if (frame == frame_) {
      frame_ = nullptr;
      client_ = nullptr;
      timerId_ = 0;
      queue_.clear();
    }
    delete frame;
  }
  intptr_t defaultMessage(HWND, uint32_t, uintptr_t, intptr_t) override { return 0; }
  void postMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) override {
    std::lock_guard<std::mutex> hold(lock_);
    if (frame == frame_) queue_.push_back(Posted{message, wParam, lParam});
  }
  uint32_t hostMessage() override { return WM_APP + 0x3FFF; }
  bool pumpMessages() override {
    bool quit = false;
    while (dispatchNext(&quit) && !quit) {
    }
    return !quit;
  }
  // Posted messages first, then the timer's tick when it is due.
  bool dispatchNext(bool* quit) override {
    Posted next{};
    FrameClient* client;
    HWND frame;
    {
      std::lock_guard<std::mutex> hold(lock_);
      if (!queue_.empty()) {
        next = queue_.front();
        queue_.pop_front();
      } else if (timerId_ && Clock::now() >= due_) {
        next = Posted{WM_TIMER, timerId_, 0};
        due_ += period_;
      } else {
        return false;
      }
      client = client_;
      frame = frame_;
    }
    if (next.message == WM_QUIT) *quit = true;
    else if (client) client->frameMessage(frame, next.message, next.wParam, next.lParam);
    return true;
  }
  bool waitForWork(Thread* thread, EventHandle gate) override {
    while (waitThread(thread, 0)) {
      if (waitEvent(gate, kGateLookMilliseconds)) {
        if (hasWork()) return false;
        waitThread(thread, kGateLookMilliseconds);
      }
    }
    return true;
  }
  void waitDispatching(void* event) override { waitEvent(event); }
  void paint(HWND, const ScaledPicture*, const std::function<void(HDC)>&) override {}
  void invalidate(HWND, const RECT*, bool) override {}
  void update(HWND) override {}
  void scroll(HWND, int32_t, int32_t, const RECT&, const RECT&) override {}
  void styles(HWND, uint32_t* style, uint32_t* exStyle) override {
    *style = style_;
    *exStyle = exStyle_;
  }
  void setStyles(HWND, uint32_t style, uint32_t exStyle) override {
    style_ = style;
    exStyle_ = exStyle;
  }
  HMENU menu(HWND) override { return nullptr; }
  void setMenu(HWND, HMENU) override {}
  void showWindow(HWND, int32_t) override {}
  void setWindowPos(HWND, int32_t, int32_t, int32_t, int32_t, uint32_t) override {}
  RECT windowRect(HWND) override { return RECT{0, 0, 0, 0}; }
  RECT clientRect(HWND) override { return RECT{0, 0, 0, 0}; }
  POINT clientToScreen(HWND, POINT point) override { return point; }
  RECT monitorRect(HWND) override { return RECT{0, 0, screenSize().cx, screenSize().cy}; }
  bool isChild(HWND, HWND) override { return false; }
  void clipCursor(const RECT*) override {}
  void beep() override {}
  uint32_t priorityClass() override { return priorityClass_; }
  void setPriorityClass(uint32_t priorityClass) override { priorityClass_ = priorityClass; }
  int32_t systemMetric(int32_t index) override {
    switch (index) {
      case SM_CXSCREEN: return screenSize().cx;
      case SM_CYSCREEN: return screenSize().cy;
      case SM_CYCAPTION: return 18;
      case SM_CYBORDER: return 1;
      case SM_CXDLGFRAME:
      case SM_CYDLGFRAME: return 3;
      case SM_CXFRAME:
      case SM_CYFRAME: return 4;
      default: return 0;
    }
  }
  void fillDefaultClass(WNDCLASSA* windowClass) override {
    windowClass->lpfnWndProc = nullptr;
    windowClass->cbClsExtra = 0;
    windowClass->cbWndExtra = 0;
    windowClass->hInstance = processModule();
    windowClass->hIcon = nullptr;
    windowClass->hCursor = nullptr;
    windowClass->hbrBackground = nullptr;
    windowClass->lpszMenuName = nullptr;
  }

 private:
  bool hasWork() {
    std::lock_guard<std::mutex> hold(lock_);
    return !queue_.empty() || (timerId_ && Clock::now() >= due_);
  }

  uint32_t style_ = 0;
  uint32_t exStyle_ = 0;
  uint32_t priorityClass_ = NORMAL_PRIORITY_CLASS;
  std::mutex lock_;  // the frame, its queue and its timer
  HWND frame_ = nullptr;
  FrameClient* client_ = nullptr;
  std::deque<Posted> queue_;
  uint32_t timerId_ = 0;  // 0: no timer
  Clock::duration period_{};
  Clock::time_point due_{};
};

HeadlessWindowSystem headless;
WindowSystem* current = &headless;

}  // namespace

WindowSystem& windowSystem() { return *current; }
void setWindowSystem(WindowSystem* system) { current = system ? system : &headless; }

}  // namespace os
