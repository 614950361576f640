#include "host/frame/main_frame.h"

#include <algorithm>

#include "host/display_environment.h"
#include "host/frame/message_loop.h"

namespace {

std::atomic<CMainFrame*> currentFrame{nullptr};

bool carriesClientPoint(uint32_t message) {
  return message >= WM_MOUSEMOVE && message <= WM_MOUSELAST && message != WM_MOUSEWHEEL;
}

intptr_t packPoint(POINT point) {
  return static_cast<intptr_t>(static_cast<uint32_t>(static_cast<uint16_t>(point.x)) |
                               static_cast<uint32_t>(static_cast<uint16_t>(point.y)) << 16);
}

POINT unpackPoint(intptr_t lParam) {
  return POINT{static_cast<int16_t>(lParam & 0xFFFF), static_cast<int16_t>((lParam >> 16) & 0xFFFF)};
}

}  // namespace

CMainFrame::CMainFrame(os::WindowSystem& system) : system_(system), view_(*this) {}

CMainFrame::~CMainFrame() {
  currentFrame = nullptr;
  setMainView(nullptr);
  ClipCursor(false);
  if (window_) system_.destroyFrame(window_);
  for (StackRecord* record : stack_) delete record;
}

CMainFrame* CMainFrame::Current() { return currentFrame; }

std::optional<PictureScale> CMainFrame::Scale() const {
  os::Lock hold(scaleLock_);
  return scale_;
}

void CMainFrame::SetScale(const std::optional<PictureScale>& scale) {
  os::Lock hold(scaleLock_);
  scale_ = scale;
}

bool CMainFrame::Create(const char* className, const char* title, uint32_t style, uint32_t exStyle,
                        const RECT& rect) {
  window_ = system_.createFrame(this, className, title, style, exStyle, rect);
  if (!window_) return false;
  setMainView(&view_);
  currentFrame = this;
  system_.setTimer(window_, kTimerId, kTimerMilliseconds);
  return true;
}

void CMainFrame::Show() {
  if (window_) system_.showFrame(window_);
}

void CMainFrame::StopTimer() {
  if (window_) system_.killTimer(window_, kTimerId);
}

ZPKWndProc CMainFrame::SetMainWndProc(ZPKWndProc procedure) { return mainProcedure_.exchange(procedure); }

void CMainFrame::OpenMainWndProcEx(ZPKWndProcEx procedure, void* context) {
  os::Lock hold(lock_);
  stack_.push_back(new StackRecord{context, procedure});
}

uint32_t CMainFrame::CloseMainWndProcEx(void* context) {
  os::Lock hold(lock_);
  if (stack_.empty()) return 0;
  if (stack_.back()->context != context) return 1;
  delete stack_.back();
  stack_.pop_back();
  return 0;
}

ZPKWndProc CMainFrame::SetWndMessageProc(uint32_t message, ZPKWndProc procedure) {
  os::Lock hold(lock_);
  auto at = std::lower_bound(messages_.begin(), messages_.end(), message);
  size_t index = static_cast<size_t>(at - messages_.begin());
  bool present = at != messages_.end() && *at == message;
  ZPKWndProc previous = present ? procedures_[index] : nullptr;
  if (procedure && present) {
    procedures_[index] = procedure;
  } else if (procedure) {
    messages_.insert(at, message);
    procedures_.insert(procedures_.begin() + static_cast<ptrdiff_t>(index), procedure);
  } else if (present) {
    messages_.erase(at);
    procedures_.erase(procedures_.begin() + static_cast<ptrdiff_t>(index));
  }
  return previous;
}

// While the message loop waits, stopped or between turns, messages that other threads send are
// answered, so that the module thread's own window operations cannot deadlock. Such a message
// reaches no hook and changes nothing of the display: an activation among them is posted back
// and done, with its hooks, when the loop dispatches again under its lock.
bool CMainFrame::IsHeld() {
  MessageLoop* loop = MessageLoop::Current();
  return loop && loop->IsWaiting();
}

intptr_t CMainFrame::frameMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  if (message == system_.hostMessage()) {  // an activation that was held
    OnActivate(window, static_cast<uint32_t>(wParam & 0xFFFF), reinterpret_cast<HWND>(lParam));
    CallHooks(window, WM_ACTIVATE, wParam, lParam);
    return 0;
  }
  // An emulated display mode shows the picture scaled: the game sees its own coordinates.
  if (carriesClientPoint(message)) {
    if (std::optional<PictureScale> scale = Scale()) lParam = packPoint(scale->ToPicture(unpackPoint(lParam)));
  }
  bool held = IsHeld();
  intptr_t result = HandleMessage(window, message, wParam, lParam, held);
  if (!held) CallHooks(window, message, wParam, lParam);
  return result;
}

void CMainFrame::CallHooks(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  uint32_t wValue = static_cast<uint32_t>(wParam);
  int32_t lValue = static_cast<int32_t>(lParam);

  StackRecord top{nullptr, nullptr};
  {
    os::Lock hold(lock_);
    if (!stack_.empty()) top = *stack_.back();
  }
  if (top.procedure) top.procedure(top.context, window, message, wValue, lValue);
  if (ZPKWndProc procedure = mainProcedure_.load()) procedure(window, message, wValue, lValue);
  if (!active_ && message != WM_ACTIVATE) return;

  ZPKWndProc procedure = nullptr;
  {
    os::Lock hold(lock_);
    auto at = std::lower_bound(messages_.begin(), messages_.end(), message);
    if (at != messages_.end() && *at == message) procedure = procedures_[static_cast<size_t>(at - messages_.begin())];
  }
  if (procedure) procedure(window, message, wValue, lValue);
}

intptr_t CMainFrame::HandleMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam, bool held) {
  switch (message) {
    case WM_PAINT: {
      if (held) return 0;  // the area stays invalid and is painted when the loop runs again
      std::optional<PictureScale> scale = Scale();
      os::ScaledPicture picture{};
      if (scale) picture = os::ScaledPicture{scale->picture, scale->destination};
      system_.paint(window, scale ? &picture : nullptr, [this](HDC dc) { view_.Paint(dc); });
      return 0;
    }
    case WM_GETMINMAXINFO: {
      auto* info = reinterpret_cast<MINMAXINFO*>(lParam);
      LONG frameX = system_.systemMetric(SM_CXDLGFRAME), frameY = system_.systemMetric(SM_CYDLGFRAME);
      info->ptMaxSize = POINT{static_cast<LONG>(width_) + 2 * frameX, static_cast<LONG>(height_) + 2 * frameY};
      info->ptMaxPosition = POINT{-frameX, -frameY};
      return system_.defaultMessage(window, message, wParam, lParam);
    }
    case WM_MOVE: {
      intptr_t result = system_.defaultMessage(window, message, wParam, lParam);
      uint32_t style = 0, exStyle = 0;
      system_.styles(window, &style, &exStyle);
      if (style & WS_MAXIMIZE)
        system_.setWindowPos(window, -system_.systemMetric(SM_CXDLGFRAME), -system_.systemMetric(SM_CYDLGFRAME), 0,
                             0, SWP_NOSIZE | SWP_NOZORDER);
      if (clip_ && !held) ApplyClip();
      return result;
    }
    case WM_SIZE: {
      intptr_t result = system_.defaultMessage(window, message, wParam, lParam);
      if (clip_ && !held) ApplyClip();
      return result;
    }
    case WM_PALETTECHANGED: {
      intptr_t result = system_.defaultMessage(window, message, wParam, lParam);
      HWND changer = reinterpret_cast<HWND>(wParam);
      if (changer != window && !system_.isChild(window, changer)) system_.invalidate(window, nullptr, false);
      return result;
    }
    case WM_CLOSE:
      system_.beep();
      return 0;
    case WM_ACTIVATE: {
      intptr_t result = system_.defaultMessage(window, message, wParam, lParam);
      if (held)
        system_.postMessage(window, system_.hostMessage(), wParam, lParam);
      else
        OnActivate(window, static_cast<uint32_t>(wParam & 0xFFFF), reinterpret_cast<HWND>(lParam));
      return result;
    }
    default:
      return system_.defaultMessage(window, message, wParam, lParam);
  }
}

// Only real changes of application count: a child of the frame taking the focus is none.
void CMainFrame::OnActivate(HWND window, uint32_t state, HWND other) {
  if (other && system_.isChild(window, other)) return;
  if (state == WA_INACTIVE) {
    if (!active_) return;
    savedPriorityClass_ = system_.priorityClass();
    system_.setPriorityClass(IDLE_PRIORITY_CLASS);
    pendingFullScreen_ = fullScreen_.load();
    if (fullScreen_) RestoreDisplayMode();
    system_.clipCursor(nullptr);  // the clip flag stays: the activation applies it again
    active_ = 0;
  } else {
    if (active_) return;
    active_ = 1;
    bool changed = pendingFullScreen_ && ChangeDisplayMode(width_, height_, 0) == 0;  // a change clips
    if (clip_ && !changed) ApplyClip();
    if (system_.priorityClass() == IDLE_PRIORITY_CLASS) system_.setPriorityClass(savedPriorityClass_);
  }
}

uint32_t CMainFrame::ClipCursor(bool enable) {
  uint32_t previous = clip_;
  if (enable) {
    clip_ = 1;
    ApplyClip();
  } else {
    if (previous) system_.clipCursor(nullptr);
    clip_ = 0;
  }
  return previous;
}

// The client area (or the picture of an emulated mode) less its last column and row, on the
// screen, cut to the screen.
void CMainFrame::ApplyClip() {
  if (!active_ || !window_) return;
  std::optional<PictureScale> scale = Scale();
  RECT area = scale ? scale->destination : system_.clientRect(window_);
  POINT topLeft = system_.clientToScreen(window_, POINT{area.left, area.top});
  POINT bottomRight = system_.clientToScreen(window_, POINT{area.right - 1, area.bottom - 1});
  RECT clip{std::max<LONG>(topLeft.x, 0), std::max<LONG>(topLeft.y, 0),
            std::min<LONG>(bottomRight.x, system_.systemMetric(SM_CXSCREEN) - 1),
            std::min<LONG>(bottomRight.y, system_.systemMetric(SM_CYSCREEN) - 1)};
  system_.clipCursor(&clip);
}

uint32_t CMainFrame::ChangeDisplayMode(uint32_t width, uint32_t height, uint32_t depth) {
  if (fullScreen_) return 0;
  width_ = width;
  height_ = height;
  if (!active_) {
    pendingFullScreen_ = 1;  // the activation changes the mode
    return 0;
  }
  fullScreen_ = 1;
  savedMenu_ = system_.menu(window_);
  system_.styles(window_, &savedStyle_, &savedExStyle_);
  if (KDisplayEnvironment::Change(width, height, depth ? depth : requestDepth_) != 0) return 1;
  EnterFullScreenWindow();
  if (clip_) ApplyClip();  // the frame's own WM_SIZE does not renew it while the loop waits
  return 0;
}

uint32_t CMainFrame::RestoreDisplayMode() {
  if (!fullScreen_) return 0;
  if (!active_) {
    pendingFullScreen_ = 0;
    return 0;
  }
  fullScreen_ = 0;
  KDisplayEnvironment::Restore();
  LeaveFullScreenWindow();
  if (clip_) ApplyClip();
  return 0;
}

// A real mode: a maximised window whose frame lies beyond the screen's edges. An emulated one: a
// borderless window over the whole monitor that shows the picture scaled.
void CMainFrame::EnterFullScreenWindow() {
  if (KDisplayEnvironment::IsEmulated()) {
    savedRect_ = system_.windowRect(window_);
    RECT monitor = system_.monitorRect(window_);
    SetScale(PictureScale::Fit(SIZE{static_cast<LONG>(width_), static_cast<LONG>(height_)},
                               RECT{0, 0, monitor.right - monitor.left, monitor.bottom - monitor.top}));
    system_.setStyles(window_, WS_POPUP | WS_VISIBLE, WS_EX_TOPMOST);
    system_.setMenu(window_, nullptr);
    system_.setWindowPos(window_, monitor.left, monitor.top, monitor.right - monitor.left,
                         monitor.bottom - monitor.top, 0);
    system_.invalidate(window_, nullptr, true);
    return;
  }
  system_.setStyles(window_, WS_DLGFRAME, WS_EX_TOPMOST);
  system_.setMenu(window_, nullptr);
  system_.showWindow(window_, SW_MAXIMIZE);
}

void CMainFrame::LeaveFullScreenWindow() {
  bool wasScaled = Scale().has_value();
  SetScale(std::nullopt);
  system_.setStyles(window_, savedStyle_, savedExStyle_);
  system_.setMenu(window_, savedMenu_);
  system_.showWindow(window_, SW_RESTORE);
  int32_t width = static_cast<int32_t>(width_) + 2 * system_.systemMetric(SM_CXFRAME) + 2;
  int32_t height = static_cast<int32_t>(height_) + 2 * system_.systemMetric(SM_CYFRAME) +
                   system_.systemMetric(SM_CYCAPTION) + system_.systemMetric(SM_CYBORDER) + 2;
  if (wasScaled) {
    system_.setWindowPos(window_, savedRect_.left, savedRect_.top, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
    system_.invalidate(window_, nullptr, true);
  } else {
    system_.setWindowPos(window_, 0, 0, width, height, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
  }
}

void CMainFrame::InvalidateWindowRect(const RECT& area) {
  if (!window_) return;
  std::optional<PictureScale> scale = Scale();
  RECT shown = scale ? scale->ToWindow(area) : area;
  system_.invalidate(window_, &shown, false);
}

void CMainFrame::UpdateWindow() {
  if (window_) system_.update(window_);
}

// Scaled, the moved pixels would land between the scale's rounding: the area is painted afresh.
void CMainFrame::ScrollWindow(int32_t dx, int32_t dy, const RECT& area) {
  if (!window_) return;
  if (Scale()) {
    InvalidateWindowRect(RECT{area.left, area.top, area.right + 1, area.bottom + 1});
    return;
  }
  system_.scroll(window_, dx, dy, area, area);
}
