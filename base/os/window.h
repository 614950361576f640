// The window system of the main thread: class registration, the frame window, its messages and
// the metrics of window decoration. Over USER32 in the product; natively a headless system
// that makes handles without a screen. Tests may put a system of their own in its place.
// Texts are Shift-JIS.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

namespace os {

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;
  // Registers a class that frames can be created with; false on failure.
  virtual bool registerClass(const WNDCLASSA& windowClass) = 0;
  // Creates the frame window, with no parent and no menu. A null class name gives the host's
  // own frame class. Whatever the class, the frame answers WM_CLOSE with a beep and stays.
  // Null on failure.
  virtual HWND createFrame(const char* className, const char* title, uint32_t style, uint32_t exStyle,
                           const RECT& rect) = 0;
  // Shows the frame and brings it to the foreground.
  virtual void showFrame(HWND frame) = 0;
  virtual void setTimer(HWND frame, uint32_t id, uint32_t milliseconds) = 0;
  virtual void destroyFrame(HWND frame) = 0;
  // Takes, translates and dispatches every message waiting for this thread; false when one
  // of them was WM_QUIT.
  virtual bool pumpMessages() = 0;
  // Waits for `event` while the thread's messages are dispatched.
  virtual void waitDispatching(void* event) = 0;
  virtual int32_t systemMetric(int32_t index) = 0;
  // The module's default class: DefWindowProcA, the executable's instance and icon 0x80, the
  // arrow cursor, the black brush. Style and name are left to the caller.
  virtual void fillDefaultClass(WNDCLASSA* windowClass) = 0;
};

// The system in use.
WindowSystem& windowSystem();
// Puts `system` in place of the platform's one; null puts the platform's back.
void setWindowSystem(WindowSystem* system);

}  // namespace os
