// Hooks of the main window for screens that show a picture instead of controls: the click watch
// hides the pointer and queues the presses of the mouse buttons for the screen's thread; the
// panner also shows a picture larger than the window and moves it with the mouse.
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "files/ptr_array.h"
#include "screens/screen_host.h"

class Graphic;

class ScreenClickWatch {
 public:
  // Hooks the window from the start.
  explicit ScreenClickWatch(ScreenHost& host);
  virtual ~ScreenClickWatch();
  ScreenClickWatch(const ScreenClickWatch&) = delete;
  ScreenClickWatch& operator=(const ScreenClickWatch&) = delete;

  // The hook's work, on the window's thread: the cursor is hidden, a press of the left (0x201)
  // or right (0x204) button is queued.
  virtual void OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam);
  // Waits up to `timeout` ms for a press: its message, or -1 when none came.
  int32_t WaitClick(uint32_t timeout);

 protected:
  // Unhooks the window, once; a derived class does it before it goes, so that no message
  // reaches a half-destroyed object.
  void Close();

  ScreenHost& host_;
  os::CriticalSection lock_;

 private:
  static uint32_t RUNA1_API Hook(void* context, HWND window, uint32_t message, uint32_t wParam, int32_t lParam);

  bool hooked_ = false;
  os::EventHandle clicked_;  // manual reset, set while the queue holds anything
  KPtrArray queue_;          // message numbers
};

// Shows a picture in the target from an offset that the mouse's motion moves: the pointer is
// held at the client point (320, 240), and each move away from it shifts the picture the other
// way, within the picture's edges. The pointer goes back where it was at the end.
class ScreenPanner : public ScreenClickWatch {
 public:
  static constexpr POINT kCentre{320, 240};

  ScreenPanner(ScreenHost& host, Graphic* target);
  ~ScreenPanner() override;

  // Shows `picture` (null: nothing) from its top left corner.
  void SetPicture(Graphic* picture);
  void OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam) override;
  POINT Offset();

 private:
  void CentrePointer();
  // Draws the picture into the target from the offset.
  void Draw();

  Graphic* target_;
  Graphic* picture_ = nullptr;
  POINT offset_{0, 0};
  POINT largest_{0, 0};
  POINT saved_;
};
