#include "host/map/map_input_queue.h"

#include "base/os/window.h"
#include "graphics/3d/map_scene.h"

namespace {

enum : uint32_t { kKeyDown = 0x100, kMouseMove = 0x200, kLeftButtonDown = 0x201, kRightButtonDown = 0x204 };
constexpr uint32_t kHookedMessages[4] = {kKeyDown, kMouseMove, kLeftButtonDown, kRightButtonDown};

uint32_t RUNA1_API onKeyDown(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  return mapInputQueue().PostInput(window, message, wParam, lParam);
}

// lParam holds the cursor's client coordinates as two signed 16-bit halves.
uint32_t RUNA1_API onMouseMove(HWND window, uint32_t, uint32_t, int32_t lParam) {
  const POINT client{static_cast<int16_t>(lParam & 0xFFFF), static_cast<int16_t>(uint32_t(lParam) >> 16)};
  const POINT cursor = os::windowSystem().clientToScreen(window, client);
  const POINT centre = mainClientCentre();
  const k3d::MouseInput input = k3d::inputOfMouse(cursor, centre);
  if (input.code == 0) return 0;
  mapInputQueue().PostCode(input.code);
  os::setCursorPosition({input.outsideX ? centre.x : cursor.x, input.outsideY ? centre.y : cursor.y});
  return 0;
}

uint32_t RUNA1_API onLeftButtonDown(HWND, uint32_t, uint32_t, int32_t) {
  mapInputQueue().PostCode(k3d::kInputDecide);
  return 0;
}

uint32_t RUNA1_API onRightButtonDown(HWND, uint32_t, uint32_t, int32_t) {
  mapInputQueue().PostCode(k3d::kInputIgnored);
  return 0;
}

constexpr ZPKWndProc kHooks[4] = {onKeyDown, onMouseMove, onLeftButtonDown, onRightButtonDown};

}  // namespace

KMapInputQueue::KMapInputQueue() : waiting_(os::createEvent(true, false)) {}

KMapInputQueue::~KMapInputQueue() { os::closeEvent(waiting_); }

void KMapInputQueue::BeginInput() {
  os::Lock hold(lock_);
  if (nesting_ != 0) return;
  ClearInput();
  if (CMainFrame* frame = CMainFrame::Current())
    for (int i = 0; i < 4; ++i) saved_[i] = frame->SetWndMessageProc(kHookedMessages[i], kHooks[i]);
  nesting_ = 1;
  os::showCursor(false);
  os::setCursorPosition(mainClientCentre());
}

void KMapInputQueue::EndInput() {
  os::Lock hold(lock_);
  if (nesting_ > 1) {
    --nesting_;
  } else if (nesting_ == 1) {
    nesting_ = 0;
    if (CMainFrame* frame = CMainFrame::Current())
      for (int i = 0; i < 4; ++i) frame->SetWndMessageProc(kHookedMessages[i], saved_[i]);
    os::showCursor(true);
  }
}

void KMapInputQueue::ClearInput() {
  os::Lock hold(lock_);
  codes_.clear();
  os::resetEvent(waiting_);
}

uint32_t KMapInputQueue::PostInput(HWND, uint32_t, uint32_t wParam, int32_t) {
  PostCode(k3d::inputOfKey(wParam));
  return 0;
}

void KMapInputQueue::PostCode(uint32_t code) {
  os::Lock hold(lock_);
  codes_.push_back(code);
  os::setEvent(waiting_);
}

bool KMapInputQueue::WaitInput(uint32_t milliseconds) {
  if (milliseconds == os::kWaitForever) {
    os::waitEvent(waiting_);
    return true;
  }
  return os::waitEvent(waiting_, milliseconds);
}

uint32_t KMapInputQueue::ReadInput() {
  os::Lock hold(lock_);
  uint32_t code = kEmpty;
  if (!codes_.empty()) {
    code = codes_.front();
    codes_.erase(codes_.begin());
  }
  if (codes_.empty()) os::resetEvent(waiting_);
  return code;
}

namespace {

KMapInputQueue theQueue;  // made at program start

}  // namespace

KMapInputQueue& mapInputQueue() { return theQueue; }

POINT mainClientCentre() {
  CMainFrame* frame = CMainFrame::Current();
  if (!frame || !frame->GetSafeHwnd()) return {0, 0};
  os::WindowSystem& system = os::windowSystem();
  const RECT client = system.clientRect(frame->GetSafeHwnd());
  return system.clientToScreen(frame->GetSafeHwnd(), {client.right / 2, client.bottom / 2});
}
