// KMapInputQueue: the input of the map selection, between the main window's message hooks
// (the window thread posts) and the selection's loop (the module thread waits and reads). Codes
// are those of the numeric keypad (graphics/3d/map_scene.h); the mouse acts as a joystick
// around the centre of the client area.
#pragma once

#include <cstdint>
#include <vector>

#include "base/os/os.h"
#include "host/frame/main_frame.h"

class KMapInputQueue {
 public:
  static constexpr uint32_t kEmpty = 0xFFFFFFFF;

  KMapInputQueue();
  ~KMapInputQueue();
  KMapInputQueue(const KMapInputQueue&) = delete;
  KMapInputQueue& operator=(const KMapInputQueue&) = delete;

  // The first Begin installs the hooks of keys, mouse moves and both buttons (keeping the
  // procedures they replace), empties the queue, hides the cursor and puts it in the centre of
  // the client area. Begin while input is on changes nothing; End takes one level back, and
  // the last one puts the old procedures back and shows the cursor.
  void BeginInput();
  void EndInput();
  void ClearInput();
  // The hook of WM_KEYDOWN: appends the code of the key. Gives 0.
  uint32_t PostInput(HWND window, uint32_t message, uint32_t wParam, int32_t lParam);
  void PostCode(uint32_t code);
  // Waits up to `milliseconds` (os::kWaitForever: without limit) for a code; true when one is
  // there.
  bool WaitInput(uint32_t milliseconds);
  // The first code, taken out of the queue, or kEmpty.
  uint32_t ReadInput();

 private:
  std::vector<uint32_t> codes_;
  os::EventHandle waiting_;  // manual reset: set while codes wait
  int32_t nesting_ = 0;
  ZPKWndProc saved_[4] = {};  // WM_KEYDOWN, WM_MOUSEMOVE, WM_LBUTTONDOWN, WM_RBUTTONDOWN
  os::CriticalSection lock_;
};

// The one queue of the process.
KMapInputQueue& mapInputQueue();

// The centre of the main window's client area, in screen coordinates.
POINT mainClientCentre();
