// The start handshake between the module thread and the main thread. The module thread
// stores the window parameters through InitializeSystem or InitializeMainWindow, sets the
// window request event and blocks on the window ready event; the main thread, woken by the
// request, stands up the frame and sets the ready event. The parameters are written strictly
// before the request and read strictly after it, so they need no lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "base/os/os.h"
#include "base/os/window.h"

class CMainFrame;

class StartHandshake {
 public:
  StartHandshake();
  ~StartHandshake();
  StartHandshake(const StartHandshake&) = delete;
  StartHandshake& operator=(const StartHandshake&) = delete;

  // ---- Module thread ----
  // 0, or 2 when the display has no mode of `size` at `bitsPerPixel` nor at the desktop's
  // depth. A null size only stores the title and the class.
  uint32_t InitializeSystem(const WNDCLASSA* windowClass, const SIZE* size, const char* title,
                            uint32_t bitsPerPixel);
  uint32_t InitializeMainWindow(const char* title, uint32_t style, uint32_t exStyle, const RECT* rect);

  // ---- Main thread ----
  // Waits, dispatching messages, for the request or the end of the module thread, however it
  // ends; true for a request.
  bool WaitForRequest(os::WindowSystem& system, os::Thread* moduleThread);
  // Registers the class if one was given, creates the frame, asks it for full screen if a
  // display mode was asked for, hides the cursor, clips it to the client area, shows the frame
  // and releases the module thread. 0, or 1 when
  // the class could not be registered and the user did not answer Ignore: the module thread
  // then stays blocked.
  int StandUp(CMainFrame& frame, os::WindowSystem& system);

  // The parameters as the main thread reads them.
  const std::string& Title() const { return title_; }
  const std::optional<RECT>& WindowRect() const { return rect_; }
  uint32_t Style() const { return style_; }
  uint32_t ExStyle() const { return exStyle_; }
  const std::optional<SIZE>& DisplayMode() const { return displayMode_; }
  uint32_t DisplayDepth() const { return displayDepth_; }
  bool ClassGiven() const { return classGiven_; }
  const WNDCLASSA& WindowClass() const { return windowClass_; }

  // The handshake of the running application, which the exports serve; null when none runs.
  static StartHandshake* Current();
  static void SetCurrent(StartHandshake* handshake);

  static constexpr uint32_t kDefaultStyle = 0x00C00000;  // WS_CAPTION
  static constexpr uint32_t kNoDisplayMode = 2;

 private:
  void RequestWindowAndWait();

  os::EventHandle request_;
  os::EventHandle ready_;
  std::atomic<bool> requested_{false};
  WNDCLASSA windowClass_{};
  bool classGiven_ = false;
  std::string className_;
  std::string title_;
  std::optional<SIZE> displayMode_;
  uint32_t displayDepth_ = 0;
  std::optional<RECT> rect_;
  uint32_t style_ = kDefaultStyle;
  uint32_t exStyle_ = 0;
  bool systemInitialized_ = false;
  bool mainWindowInitialized_ = false;
};

// Grows a client rectangle to the window rectangle of a captioned, thick-framed window.
void calcDefaultWindowRect(RECT* rect, os::WindowSystem& system);
// The window rectangle whose client area of `size` is centred on a screen of `screen`.
RECT centredWindowRect(SIZE size, SIZE screen, os::WindowSystem& system);
