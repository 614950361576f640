// The native window system: no screen. Frames are handles without a window, there are never
// messages, nothing is drawn, and the metrics are those of a classic Windows desktop.
#include "base/os/os.h"
#include "base/os/window.h"

struct HWND__ {};

namespace os {

namespace {

// How long a wait for the gate looks away from the module thread's end.
constexpr uint32_t kGateLookMilliseconds = 10;

class HeadlessWindowSystem : public WindowSystem {
 public:
  bool registerClass(const WNDCLASSA& windowClass) override { return windowClass.lpszClassName != nullptr; }
  HWND createFrame(FrameClient*, const char*, const char*, uint32_t style, uint32_t exStyle, const RECT&) override {
    style_ = style;
    exStyle_ = exStyle;
    return new HWND__;
  }
  void showFrame(HWND) override {}
  void setTimer(HWND, uint32_t, uint32_t) override {}
  void killTimer(HWND, uint32_t) override {}
  void destroyFrame(HWND frame) override { delete frame; }
  intptr_t defaultMessage(HWND, uint32_t, uintptr_t, intptr_t) override { return 0; }
  bool pumpMessages() override { return true; }
  bool dispatchNext(bool*) override { return false; }
  bool waitForWork(Thread* thread, EventHandle gate) override {
    while (waitThread(thread, 0)) {
      if (waitEvent(gate, kGateLookMilliseconds)) return !waitThread(thread, kGateLookMilliseconds);
    }
    return true;
  }
  void waitDispatching(void* event, Thread* thread) override {
    while (!waitEvent(event, kGateLookMilliseconds) && waitThread(thread, 0)) {
    }
  }
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
  uint32_t style_ = 0;
  uint32_t exStyle_ = 0;
  uint32_t priorityClass_ = NORMAL_PRIORITY_CLASS;
};

HeadlessWindowSystem headless;
WindowSystem* current = &headless;

}  // namespace

WindowSystem& windowSystem() { return *current; }
void setWindowSystem(WindowSystem* system) { current = system ? system : &headless; }

}  // namespace os
