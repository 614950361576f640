// The native window system: no screen. Frames are handles without a window, there are never
// messages, and the metrics are those of a classic Windows desktop.
#include "base/os/os.h"
#include "base/os/window.h"

struct HWND__ {};

namespace os {

namespace {

class HeadlessWindowSystem : public WindowSystem {
 public:
  bool registerClass(const WNDCLASSA& windowClass) override { return windowClass.lpszClassName != nullptr; }
  HWND createFrame(const char*, const char*, uint32_t, uint32_t, const RECT&) override { return new HWND__; }
  void showFrame(HWND) override {}
  void setTimer(HWND, uint32_t, uint32_t) override {}
  void destroyFrame(HWND frame) override { delete frame; }
  bool pumpMessages() override { return true; }
  void waitDispatching(void* event) override { waitEvent(event); }
  int32_t systemMetric(int32_t index) override {
    switch (index) {
      case SM_CXSCREEN: return screenSize().cx;
      case SM_CYSCREEN: return screenSize().cy;
      case SM_CYCAPTION: return 18;
      case SM_CYBORDER: return 1;
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
};

HeadlessWindowSystem headless;
WindowSystem* current = &headless;

}  // namespace

WindowSystem& windowSystem() { return *current; }
void setWindowSystem(WindowSystem* system) { current = system ? system : &headless; }

}  // namespace os
