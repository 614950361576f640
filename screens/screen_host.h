// What the menu screens need of the host: the hook on the main window's procedure, the stop of
// the message loop around drawing, messages to the window, the cursor, the clock, the system's
// folder and the opening of documents. The product's goes through the window exports and the
// platform's pointer calls (host/exports/screens.cpp); native tests put a recording one in its
// place.
#pragma once

#include <cstdint>
#include <string>

#include "base/os/win32_types.h"

// Window messages that the toolkit handles.
namespace screen_message {
constexpr uint32_t kSetCursor = 0x0020;
constexpr uint32_t kMouseMove = 0x0200;
constexpr uint32_t kLButtonDown = 0x0201;
constexpr uint32_t kLButtonUp = 0x0202;
constexpr uint32_t kLButtonDoubleClick = 0x0203;
constexpr uint32_t kRButtonDown = 0x0204;
constexpr uint32_t kRButtonUp = 0x0205;
constexpr uint32_t kHScroll = 0x0114;
constexpr uint32_t kVScroll = 0x0115;
constexpr uint32_t kUser = 0x0400;
}  // namespace screen_message

// A client point in a message's lParam: two signed 16-bit numbers.
constexpr int32_t packPoint(int32_t x, int32_t y) {
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint16_t>(x)) |
                              static_cast<uint32_t>(static_cast<uint16_t>(y)) << 16);
}

class ScreenHost {
 public:
  // The procedure of the hook: what the window's procedure calls for each message.
  using Procedure = uint32_t(RUNA1_API*)(void* context, HWND window, uint32_t message, uint32_t wParam,
                                         int32_t lParam);

  virtual ~ScreenHost() = default;
  // Puts `procedure` with `context` on top of the window's stack of hooks, and takes it off;
  // CloseHook returns once the window is out of any call of the procedure.
  virtual void OpenHook(Procedure procedure, void* context) = 0;
  virtual void CloseHook(void* context) = 0;
  // The bracket around drawing into the picture that the window shows.
  virtual void StopMessageLoop() = 0;
  virtual void RestartMessageLoop() = 0;
  // The whole client area is to be painted again, without erasing.
  virtual void Invalidate() = 0;
  // Posts a message to the window, which hands it to the hooks in its turn.
  virtual void Post(uint32_t message, uint32_t wParam, int32_t lParam) = 0;
  // The pointer on the screen, and in the window's client coordinates.
  virtual POINT CursorScreenPosition() = 0;
  virtual POINT CursorClientPosition() = 0;
  // The host's cursor flag (ZPK_SetShowCursor), and the cursor shown now.
  virtual void ShowCursor(bool show) = 0;
  virtual void SetCursor(HCURSOR cursor) = 0;
  // Cursors: a cursor file, a cursor resource of the program by name, the system's wait cursor.
  virtual HCURSOR LoadCursorFile(const char* path) = 0;
  virtual HCURSOR ProgramCursor(const char* name) = 0;
  virtual HCURSOR WaitCursor() = 0;
  // Milliseconds, for the time stamps of events.
  virtual uint32_t TickCount() = 0;
  // The system's Windows folder (GetWindowsDirectoryA), where the default save folder lies.
  virtual std::string WindowsDirectory() = 0;
  // Opens a document with the system's default action for its kind; what follows isn't awaited.
  virtual void OpenWithDefaultAction(const char* path) = 0;
};
