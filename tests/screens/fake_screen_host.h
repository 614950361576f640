// A screen host without a window: it records what the screens ask of it, and hands the
// messages posted to the window to the hook on top, at once.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "screens/screen_host.h"

inline HCURSOR fakeCursor(uintptr_t value) { return reinterpret_cast<HCURSOR>(value); }

class FakeScreenHost : public ScreenHost {
 public:
  static constexpr uintptr_t kArrow = 0x10, kPoint = 0x20, kWait = 0x30, kFileCursors = 0x100;
  // Where the client area lies on the screen.
  static constexpr POINT kClientOrigin{100, 50};

  struct Hook {
    Procedure procedure;
    void* context;
  };

  void OpenHook(Procedure procedure, void* context) override {
    std::lock_guard<std::mutex> hold(lock_);
    hooks.push_back(Hook{procedure, context});
  }
  void CloseHook(void* context) override {
    std::lock_guard<std::mutex> hold(lock_);
    if (!hooks.empty() && hooks.back().context == context) hooks.pop_back();
  }
  void StopMessageLoop() override { ++stops; }
  void RestartMessageLoop() override { ++restarts; }
  void Invalidate() override { ++invalidations; }
  void Post(uint32_t message, uint32_t wParam, int32_t lParam) override {
    {
      std::lock_guard<std::mutex> hold(lock_);
      posted.push_back(message);
    }
    Deliver(message, wParam, lParam);
  }
  POINT CursorScreenPosition() override {
    POINT at = CursorClientPosition();
    return POINT{at.x + kClientOrigin.x, at.y + kClientOrigin.y};
  }
  POINT CursorClientPosition() override {
    std::lock_guard<std::mutex> hold(lock_);
    return pointer;
  }
  void ShowCursor(bool show) override { cursorShown = show; }
  void SetCursor(HCURSOR cursor) override { this->cursor = cursor; }
  HCURSOR LoadCursorFile(const char* path) override {
    loadedCursorFiles.push_back(path);
    return fakeCursor(kFileCursors + loadedCursorFiles.size());
  }
  HCURSOR ProgramCursor(const char* name) override {
    return fakeCursor(std::string(name) == "IDC_ARROW" ? kArrow : kPoint);
  }
  HCURSOR WaitCursor() override { return fakeCursor(kWait); }
  uint32_t TickCount() override { return ++ticks; }
  std::string WindowsDirectory() override { return "C:\\WINDOWS"; }
  void OpenWithDefaultAction(const char* path) override {
    std::lock_guard<std::mutex> hold(lock_);
    opened.push_back(path);
  }

  // A message as the window's procedure passes it to the top hook.
  void Deliver(uint32_t message, uint32_t wParam, int32_t lParam) {
    Hook top{nullptr, nullptr};
    {
      std::lock_guard<std::mutex> hold(lock_);
      if (!hooks.empty()) top = hooks.back();
    }
    if (top.procedure) top.procedure(top.context, nullptr, message, wParam, lParam);
  }
  // The pointer moved to (x, y) of the client area: the cursor question, then the move.
  void MoveTo(int32_t x, int32_t y) {
    {
      std::lock_guard<std::mutex> hold(lock_);
      pointer = POINT{x, y};
    }
    Deliver(screen_message::kSetCursor, 0, 0);
    Deliver(screen_message::kMouseMove, 0, packPoint(x, y));
  }
  void Press(uint32_t message) {
    POINT at = CursorClientPosition();
    Deliver(message, 0, packPoint(at.x, at.y));
  }
  void Click(int32_t x, int32_t y) {
    MoveTo(x, y);
    Press(screen_message::kLButtonDown);
    Press(screen_message::kLButtonUp);
  }
  size_t HookCount() {
    std::lock_guard<std::mutex> hold(lock_);
    return hooks.size();
  }

  std::vector<Hook> hooks;
  std::atomic<int> stops{0}, restarts{0}, invalidations{0};
  std::vector<uint32_t> posted;
  POINT pointer{0, 0};
  std::atomic<bool> cursorShown{false};
  std::atomic<HCURSOR> cursor{nullptr};
  std::vector<std::string> loadedCursorFiles;
  std::vector<std::string> opened;
  std::atomic<uint32_t> ticks{0};

 private:
  std::mutex lock_;
};
