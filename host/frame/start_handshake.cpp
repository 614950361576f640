#include "host/frame/start_handshake.h"

#include "host/display_environment.h"
#include "host/frame/main_frame.h"
#include "host/module/zpk_text.h"

namespace {

std::atomic<StartHandshake*> current{nullptr};

// What a null rectangle asks for: a client area of this size in the middle of the screen.
constexpr SIZE kFallbackClientSize{640, 480};

}  // namespace

void calcDefaultWindowRect(RECT* rect, os::WindowSystem& system) {
  int32_t frameX = system.systemMetric(SM_CXFRAME);
  int32_t frameY = system.systemMetric(SM_CYFRAME);
  rect->top -= 1 + system.systemMetric(SM_CYCAPTION) + system.systemMetric(SM_CYBORDER) + frameY;
  rect->bottom += frameY + 1;
  rect->left -= frameX + 1;
  rect->right += frameX + 1;
}

RECT centredWindowRect(SIZE size, SIZE screen, os::WindowSystem& system) {
  LONG x = (screen.cx - size.cx) / 2;
  LONG y = (screen.cy - size.cy) / 2;
  RECT rect{x, y, x + size.cx - 1, y + size.cy - 1};
  calcDefaultWindowRect(&rect, system);
  return rect;
}

StartHandshake::StartHandshake()
    : request_(os::createEvent(true, false)), ready_(os::createEvent(true, false)) {}

StartHandshake::~StartHandshake() {
  os::closeEvent(request_);
  os::closeEvent(ready_);
}

StartHandshake* StartHandshake::Current() { return current; }
void StartHandshake::SetCurrent(StartHandshake* handshake) { current = handshake; }

uint32_t StartHandshake::InitializeSystem(const WNDCLASSA* windowClass, const SIZE* size, const char* title,
                                          uint32_t bitsPerPixel) {
  if (systemInitialized_) return 0;
  if (title) title_ = title;
  if (windowClass) {
    windowClass_ = *windowClass;
    classGiven_ = true;
    if (windowClass->lpszClassName) {
      className_ = windowClass->lpszClassName;
      windowClass_.lpszClassName = className_.c_str();
    }
  }
  displayMode_.reset();
  if (!size) return 0;
  if (KDisplayEnvironment::Test(size->cx, size->cy, bitsPerPixel) != 0 &&
      KDisplayEnvironment::Test(size->cx, size->cy, 0) != 0)
    return kNoDisplayMode;

  systemInitialized_ = true;
  os::WindowSystem& system = os::windowSystem();
  SIZE screen{system.systemMetric(SM_CXSCREEN), system.systemMetric(SM_CYSCREEN)};
  rect_ = centredWindowRect(*size, screen, system);
  displayMode_ = *size;
  displayDepth_ = bitsPerPixel;
  style_ = kDefaultStyle;
  exStyle_ = 0;
  RequestWindowAndWait();
  return 0;
}

uint32_t StartHandshake::InitializeMainWindow(const char* title, uint32_t style, uint32_t exStyle, const RECT* rect) {
  if (mainWindowInitialized_) return 0;
  if (title) title_ = title;
  style_ = style;
  exStyle_ = exStyle;
  if (rect) {
    rect_ = *rect;
  } else {
    os::WindowSystem& system = os::windowSystem();
    rect_ = centredWindowRect(kFallbackClientSize,
                              SIZE{system.systemMetric(SM_CXSCREEN), system.systemMetric(SM_CYSCREEN)}, system);
  }
  mainWindowInitialized_ = true;
  RequestWindowAndWait();
  return 0;
}

void StartHandshake::RequestWindowAndWait() {
  requested_ = true;
  os::setEvent(request_);
  os::waitEvent(ready_);
}

bool StartHandshake::WaitForRequest(os::WindowSystem& system, os::Thread* moduleThread) {
  system.waitDispatching(request_, moduleThread);
  return requested_;
}

int StartHandshake::StandUp(CMainFrame& frame, os::WindowSystem& system) {
  const char* className = className_.empty() ? nullptr : className_.c_str();
  if (classGiven_ && !system.registerClass(windowClass_)) {
    int answer = os::messageBox(zpk_text::kClassRegistrationFailed, zpk_text::kModuleCaption,
                                MB_ABORTRETRYIGNORE | MB_ICONQUESTION);
    if (answer != IDIGNORE) return 1;
    className = nullptr;
  }
  frame.Create(className, title_.c_str(), style_, exStyle_, rect_.value_or(RECT{0, 0, 0, 0}));
  // The frame is not active yet: the change waits for the first activation.
  frame.SetRequestDepth(displayDepth_);
  if (displayMode_)
    frame.ChangeDisplayMode(static_cast<uint32_t>(displayMode_->cx), static_cast<uint32_t>(displayMode_->cy),
                            displayDepth_);
  KDisplayEnvironment::SetCursorShown(0);
  frame.ClipCursor(true);
  frame.Show();
  os::setEvent(ready_);
  return 0;
}
