// CMainFrame: the one window of the game, created by the main thread when the module asks for
// it. It lives on the window system of the platform seam; destroying the object destroys the
// window.
#pragma once

#include <cstdint>

#include "base/os/window.h"

class CMainFrame {
 public:
  explicit CMainFrame(os::WindowSystem& system) : system_(system) {}
  ~CMainFrame();
  CMainFrame(const CMainFrame&) = delete;
  CMainFrame& operator=(const CMainFrame&) = delete;

  // Creates the window (null class name: the host's frame class) and starts its one-second
  // timer 1. False when the system refuses.
  bool Create(const char* className, const char* title, uint32_t style, uint32_t exStyle, const RECT& rect);
  // SW_SHOW, and to the foreground.
  void Show();
  HWND GetSafeHwnd() const { return window_; }

  static constexpr uint32_t kTimerId = 1;
  static constexpr uint32_t kTimerMilliseconds = 1000;

 private:
  os::WindowSystem& system_;
  HWND window_ = nullptr;
};
