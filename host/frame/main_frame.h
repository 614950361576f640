// CMainFrame: the one window of the game. It belongs to the main thread; the module reaches it
// through hooks at three levels (a stack of procedures of which only the top one listens, one
// main procedure, a procedure per message) and through the full-screen and cursor-clip
// operations, which run on the module's thread while the message loop is stopped. It paints its
// view, the list of screens, and implements the view's window operations. Full screen leaves
// with the window's deactivation and comes back with its activation.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "base/os/os.h"
#include "base/os/window.h"
#include "graphics/view.h"
#include "host/frame/picture_scale.h"

// The module's procedures; their results are thrown away.
using ZPKWndProc = uint32_t(RUNA1_API*)(HWND window, uint32_t message, uint32_t wParam, int32_t lParam);
using ZPKWndProcEx = uint32_t(RUNA1_API*)(void* context, HWND window, uint32_t message, uint32_t wParam,
                                          int32_t lParam);

class CMainFrame : public os::FrameClient, public ViewHost {
 public:
  explicit CMainFrame(os::WindowSystem& system);
  // Clears the main view, frees the cursor, destroys the window and the stack's records.
  ~CMainFrame() override;
  CMainFrame(const CMainFrame&) = delete;
  CMainFrame& operator=(const CMainFrame&) = delete;

  // Creates the window (null class name: the host's frame class), makes its view the main view
  // and the frame the current one, and starts the one-second timer 1. False when the system
  // refuses.
  bool Create(const char* className, const char* title, uint32_t style, uint32_t exStyle, const RECT& rect);
  // SW_SHOW, and to the foreground.
  void Show();
  // Ends timer 1, before the tear-down drains the queue.
  void StopTimer();
  HWND GetSafeHwnd() const { return window_; }
  View& GetView() { return view_; }

  // ---- Hooks: callable from any thread ----
  ZPKWndProc SetMainWndProc(ZPKWndProc procedure);
  void OpenMainWndProcEx(ZPKWndProcEx procedure, void* context);
  // 0 when the top record has `context` (it is removed) or the stack is empty; 1 otherwise.
  uint32_t CloseMainWndProcEx(void* context);
  // Null removes the message's procedure. The previous procedure, or null.
  ZPKWndProc SetWndMessageProc(uint32_t message, ZPKWndProc procedure);

  // ---- Window operations: on the main thread, or on the module's while the loop is stopped ----
  // The previous clip flag.
  uint32_t ClipCursor(bool enable);
  // A depth of 0 is the depth of the start's request. 0, or 1 when the display refused.
  uint32_t ChangeDisplayMode(uint32_t width, uint32_t height, uint32_t depth);
  uint32_t RestoreDisplayMode();
  // The depth that a change at depth 0 asks for.
  void SetRequestDepth(uint32_t depth) { requestDepth_ = depth; }

  bool IsFullScreen() const { return fullScreen_; }
  bool IsFullScreenPending() const { return pendingFullScreen_; }
  bool IsActive() const { return active_; }
  bool IsCursorClipped() const { return clip_; }
  // The placement of the picture while an emulated display mode is shown; none otherwise.
  std::optional<PictureScale> Scale() const;

  // The window procedure: the frame's own handling, then the top of the stack, the main
  // procedure and, while the game is active or for WM_ACTIVATE, the message's procedure. The
  // answer is always that of the frame's own handling. While the message loop waits outside its
  // lock, only the frame's own handling answers; an activation is done when the loop runs again.
  intptr_t frameMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) override;

  // ViewHost
  void InvalidateWindowRect(const RECT& area) override;
  void UpdateWindow() override;
  void ScrollWindow(int32_t dx, int32_t dy, const RECT& area) override;

  // The frame of the running application, which the exports serve; null when there is none.
  static CMainFrame* Current();

  static constexpr uint32_t kTimerId = 1;
  static constexpr uint32_t kTimerMilliseconds = 1000;

 private:
  struct StackRecord {
    void* context;
    ZPKWndProcEx procedure;
  };

  // Whether a message now is one that the waiting message loop answers: no hooks, no display work.
  static bool IsHeld();
  // The base handling with the frame's handlers; `held` leaves out the paint, the clip's renewal
  // and the activation's work, which is posted back for the loop.
  intptr_t HandleMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam, bool held);
  // The top of the stack, the main procedure and, while active or for WM_ACTIVATE, the message's.
  void CallHooks(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam);
  void OnActivate(HWND window, uint32_t state, HWND other);
  void ApplyClip();
  void EnterFullScreenWindow();
  void LeaveFullScreenWindow();
  void SetScale(const std::optional<PictureScale>& scale);

  os::WindowSystem& system_;
  HWND window_ = nullptr;
  std::atomic<ZPKWndProc> mainProcedure_{nullptr};  // one word, written without the lock
  std::vector<StackRecord*> stack_;
  std::vector<uint32_t> messages_;  // ascending, parallel to procedures_
  std::vector<ZPKWndProc> procedures_;
  View view_;
  std::atomic<uint32_t> fullScreen_{0};
  uint32_t width_ = 640;
  uint32_t height_ = 480;
  uint32_t requestDepth_ = 0;
  HMENU savedMenu_ = nullptr;
  uint32_t savedStyle_ = 0;
  uint32_t savedExStyle_ = 0;
  RECT savedRect_{};  // where an emulated full screen found the window
  std::atomic<uint32_t> clip_{0};
  std::atomic<uint32_t> active_{0};
  std::atomic<uint32_t> pendingFullScreen_{0};
  uint32_t savedPriorityClass_ = NORMAL_PRIORITY_CLASS;
  std::optional<PictureScale> scale_;  // read by both threads, under its own lock
  mutable os::CriticalSection scaleLock_;
  os::CriticalSection lock_;  // the stack and the message table
};
