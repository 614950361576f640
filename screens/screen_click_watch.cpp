#include "screens/screen_click_watch.h"

#include <algorithm>

#include "graphics/graphic.h"
#include "host/exports/graphic.h"

ScreenClickWatch::ScreenClickWatch(ScreenHost& host) : host_(host), clicked_(os::createEvent(true, false)) {
  host_.OpenHook(Hook, this);
  hooked_ = true;
}

ScreenClickWatch::~ScreenClickWatch() {
  Close();
  os::closeEvent(clicked_);
}

void ScreenClickWatch::Close() {
  if (!hooked_) return;
  hooked_ = false;
  host_.CloseHook(this);
}

uint32_t RUNA1_API ScreenClickWatch::Hook(void* context, HWND, uint32_t message, uint32_t wParam, int32_t lParam) {
  static_cast<ScreenClickWatch*>(context)->OnWindowMessage(message, wParam, lParam);
  return 0;
}

void ScreenClickWatch::OnWindowMessage(uint32_t message, uint32_t, int32_t) {
  using namespace screen_message;
  if (message == kSetCursor) {
    host_.SetCursor(nullptr);
    return;
  }
  if (message != kLButtonDown && message != kRButtonDown) return;
  os::Lock hold(lock_);
  queue_.Add(reinterpret_cast<void*>(static_cast<uintptr_t>(message)));
  os::setEvent(clicked_);
}

int32_t ScreenClickWatch::WaitClick(uint32_t timeout) {
  if (timeout == os::kWaitForever) {
    os::waitEvent(clicked_);
  } else if (!os::waitEvent(clicked_, timeout)) {
    return -1;
  }
  os::Lock hold(lock_);
  int32_t message = 0;
  if (queue_.GetCount() > 0) {
    message = static_cast<int32_t>(reinterpret_cast<uintptr_t>(queue_.GetAt(0)));
    queue_.RemoveAt(0);
  }
  if (queue_.GetCount() == 0) os::resetEvent(clicked_);
  return message;
}

ScreenPanner::ScreenPanner(ScreenHost& host, Graphic* target)
    : ScreenClickWatch(host), target_(target), saved_(host.CursorScreenPosition()) {
  CentrePointer();
}

ScreenPanner::~ScreenPanner() {
  Close();
  host_.SetCursorScreenPosition(saved_);
}

void ScreenPanner::CentrePointer() { host_.SetCursorScreenPosition(host_.ClientToScreen(kCentre)); }

POINT ScreenPanner::Offset() {
  os::Lock hold(lock_);
  return offset_;
}

void ScreenPanner::SetPicture(Graphic* picture) {
  os::Lock hold(lock_);
  picture_ = picture;
  offset_ = POINT{0, 0};
  largest_ = POINT{0, 0};
  if (!picture) return;
  largest_.x = std::max<int32_t>(0, picture->Header().biWidth - target_->Header().biWidth);
  largest_.y = std::max<int32_t>(0, picture->Header().biHeight - target_->Header().biHeight);
  Draw();
  host_.Invalidate();
}

// The window does not paint while the target is written.
void ScreenPanner::Draw() {
  host_.StopMessageLoop();
  graphic_DrawBitmapToBitmap(picture_, target_, -offset_.x, -offset_.y, nullptr, 0, 0);
  host_.RestartMessageLoop();
}

// The mouse has no place here, only motion: moving it right shows what lies to the left.
void ScreenPanner::OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam) {
  if (message != screen_message::kMouseMove) {
    ScreenClickWatch::OnWindowMessage(message, wParam, lParam);
    return;
  }
  int32_t x = static_cast<int16_t>(lParam & 0xFFFF), y = static_cast<int16_t>(static_cast<uint32_t>(lParam) >> 16);
  {
    os::Lock hold(lock_);
    POINT old = offset_;
    offset_.x = std::clamp<int32_t>(offset_.x + kCentre.x - x, 0, largest_.x);
    offset_.y = std::clamp<int32_t>(offset_.y + kCentre.y - y, 0, largest_.y);
    if ((offset_.x != old.x || offset_.y != old.y) && picture_) {
      Draw();
      host_.Scroll(old.x - offset_.x, old.y - offset_.y);
    }
  }
  // Where the pointer is already, it stays: under Wine a move to the same point is reported as
  // a motion again, and the moves would follow each other for ever.
  if (x != kCentre.x || y != kCentre.y) CentrePointer();
}
