// The window system of the main thread: class registration, the frame window, its messages and
// the few window operations the frame performs, and the metrics of window decoration. Over
// USER32 in the product; natively a headless system that makes handles without a screen. Tests
// may put a system of their own in its place. Texts are Shift-JIS.
#pragma once

#include <cstdint>
#include <functional>

#include "base/os/os.h"
#include "base/os/win32_types.h"

namespace os {

// Where the frame's messages go: the host's frame logic. Its answer is the window's answer.
class FrameClient {
 public:
  virtual ~FrameClient() = default;
  virtual intptr_t frameMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) = 0;
};

// A picture of `size` shown stretched into `destination` of the client area; the rest of the
// client area is black.
struct ScaledPicture {
  SIZE size;
  RECT destination;  // exclusive right and bottom
};

class WindowSystem {
 public:
  virtual ~WindowSystem() = default;
  // Registers a class that frames can be created with; false on failure. The class's procedure
  // becomes the base handling of frames of that class.
  virtual bool registerClass(const WNDCLASSA& windowClass) = 0;
  // Creates the frame window, with no parent and no menu. A null class name gives the host's
  // own frame class. Every message of the frame, from the first one during the creation on, goes
  // to `client`. One frame at a time. Null on failure.
  virtual HWND createFrame(FrameClient* client, const char* className, const char* title, uint32_t style,
                           uint32_t exStyle, const RECT& rect) = 0;
  // Shows the frame and brings it to the foreground.
  virtual void showFrame(HWND frame) = 0;
  virtual void setTimer(HWND frame, uint32_t id, uint32_t milliseconds) = 0;
  virtual void killTimer(HWND frame, uint32_t id) = 0;
  virtual void destroyFrame(HWND frame) = 0;
  // The base handling of a frame message: its class's procedure, or the system's default.
  virtual intptr_t defaultMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) = 0;

  // Puts a message in the queue of the frame's thread; any thread.
  virtual void postMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) = 0;
  // A message number of the host's own, which no module uses: what the frame posts to itself.
  virtual uint32_t hostMessage() = 0;

  // Takes, translates and dispatches every message waiting for this thread; false when one
  // of them was WM_QUIT.
  virtual bool pumpMessages() = 0;
  // Takes one waiting message and translates and dispatches it, or sets `*quit` when it is
  // WM_QUIT. False when none waits.
  virtual bool dispatchNext(bool* quit) = 0;
  // Waits until `thread` ends, or `gate` is set and a message waits (or may wait) for this
  // thread. Messages that other threads send to the frame are answered meanwhile, so that a
  // thread that works on the frame while the gate is closed is not stuck. True when the thread
  // has ended.
  virtual bool waitForWork(Thread* thread, EventHandle gate) = 0;
  // Waits for `event` while the thread's messages are dispatched.
  virtual void waitDispatching(void* event) = 0;

  // The paint bracket: `draw` gets the paint context of the invalid area. With `scaled`, it gets
  // a context of a picture of the scaled size instead, which is then stretched into place.
  virtual void paint(HWND frame, const ScaledPicture* scaled, const std::function<void(HDC)>& draw) = 0;
  // Null `area`: the whole client area. `area` is exclusive.
  virtual void invalidate(HWND frame, const RECT* area, bool erase) = 0;
  virtual void update(HWND frame) = 0;
  virtual void scroll(HWND frame, int32_t dx, int32_t dy, const RECT& scroll, const RECT& clip) = 0;

  virtual void styles(HWND frame, uint32_t* style, uint32_t* exStyle) = 0;
  // Sets both styles; WS_EX_TOPMOST puts the frame above all windows that lack it.
  virtual void setStyles(HWND frame, uint32_t style, uint32_t exStyle) = 0;
  virtual HMENU menu(HWND frame) = 0;
  // Sets the menu (null removes it) and redraws the menu bar.
  virtual void setMenu(HWND frame, HMENU menu) = 0;
  virtual void showWindow(HWND frame, int32_t command) = 0;
  virtual void setWindowPos(HWND frame, int32_t x, int32_t y, int32_t width, int32_t height, uint32_t flags) = 0;
  virtual RECT windowRect(HWND frame) = 0;
  virtual RECT clientRect(HWND frame) = 0;
  virtual POINT clientToScreen(HWND frame, POINT point) = 0;
  // The rectangle of the monitor that shows most of the frame (exclusive).
  virtual RECT monitorRect(HWND frame) = 0;
  virtual bool isChild(HWND parent, HWND window) = 0;
  // Confines the cursor to `area` (inclusive of its left and top, exclusive of its right and
  // bottom, as ClipCursor); null frees it.
  virtual void clipCursor(const RECT* area) = 0;
  virtual void beep() = 0;
  // The process's priority class, which the frame lowers while the game is in the background.
  virtual uint32_t priorityClass() = 0;
  virtual void setPriorityClass(uint32_t priorityClass) = 0;

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
