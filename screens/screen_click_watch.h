// A hook on the main window for screens without controls that only wait for a button: it hides
// the pointer and queues the presses of the left and right buttons, which the screen's own
// thread takes out with WaitClick.
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "files/ptr_array.h"
#include "screens/screen_host.h"

class ScreenClickWatch {
 public:
  // Hooks the main window until destruction.
  explicit ScreenClickWatch(ScreenHost& host);
  virtual ~ScreenClickWatch();
  ScreenClickWatch(const ScreenClickWatch&) = delete;
  ScreenClickWatch& operator=(const ScreenClickWatch&) = delete;

  // Waits up to `timeout` ms: the first queued press (WM_LBUTTONDOWN or WM_RBUTTONDOWN), 0 when
  // signalled with an empty queue, -1 when nothing came.
  int32_t WaitClick(uint32_t timeout);

  // The hook's work, on the window's thread.
  virtual void OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam);

 protected:
  ScreenHost& host_;
  os::CriticalSection lock_;

 private:
  static uint32_t RUNA1_API Hook(void* context, HWND window, uint32_t message, uint32_t wParam, int32_t lParam);

  os::EventHandle signal_;  // manual reset, set while a press waits
  KPtrArray queue_;
};
