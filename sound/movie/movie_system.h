// The movie window and the calling thread's messages: what movie playback asks of the system.
// Over the MCI window class of MSVFW32 and USER32 in the product. The native build has no
// video player: its system makes no window and says so. Tests may put a system of their own in
// its place.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

namespace movie {

// A message of the calling thread's queue, laid out as MSG.
struct Message {
  HWND window;
  uint32_t message;
  uintptr_t wParam;
  intptr_t lParam;
  uint32_t time;
  POINT point;
};

// Modes of the player, as MCI gives them.
constexpr uint32_t kModeStopped = 525;
constexpr uint32_t kModePlaying = 526;

class MovieSystem {
 public:
  virtual ~MovieSystem() = default;

  // ---- The movie window ----
  // A child window of `parent` with the movie of `fileName` (Shift-JIS) opened in it; null
  // when no window came.
  virtual HWND create(HWND parent, const char* fileName, uint32_t style) = 0;
  // The window's last error text into `text` (at most `size` bytes with its terminator) and its
  // error number, 0 when there is none. A null window: the text of why none came, if known.
  virtual uint32_t error(HWND movie, char* text, uint32_t size) = 0;
  virtual void putDestination(HWND movie, const RECT& destination) = 0;
  // The end and the position, in the player's unit (frames).
  virtual int32_t end(HWND movie) = 0;
  virtual int32_t position(HWND movie) = 0;
  virtual uint32_t mode(HWND movie) = 0;
  // 0 when the player started.
  virtual uint32_t play(HWND movie) = 0;
  virtual void stop(HWND movie) = 0;
  // WM_CLOSE, sent.
  virtual void close(HWND movie) = 0;
  // The window's class shows no cursor and a black background; the window is redrawn whole.
  virtual void blackenClass(HWND movie) = 0;

  // ---- Windows and the calling thread ----
  virtual RECT clientRect(HWND window) = 0;
  // Gives the keyboard to `window` (null: to none); the window that had it.
  virtual HWND setFocus(HWND window) = 0;
  virtual void setWindowPos(HWND window, int32_t x, int32_t y, int32_t width, int32_t height, uint32_t flags) = 0;
  virtual void setTimer(HWND window, uint32_t id, uint32_t milliseconds) = 0;
  virtual void killTimer(HWND window, uint32_t id) = 0;
  // Waits for a message of the calling thread; false for WM_QUIT.
  virtual bool getMessage(Message* message) = 0;
  // Whether a message waits, without taking it.
  virtual bool messageWaits() = 0;
  // TranslateMessage and DispatchMessageA.
  virtual void dispatch(const Message& message) = 0;
  virtual void hideCursor() = 0;
  // A millisecond clock.
  virtual uint32_t milliseconds() = 0;
  virtual uint32_t currentThreadId() = 0;
  // The thread that made `window`; 0 for none.
  virtual uint32_t windowThread(HWND window) = 0;
  // Ends the sharing of input state between the two threads.
  virtual void detachInput(uint32_t thread, uint32_t other) = 0;
};

// The system in use.
MovieSystem& movieSystem();
// Puts `system` in place of the platform's one; null puts the platform's back.
void setMovieSystem(MovieSystem* system);

}  // namespace movie
