#include "screens/screen_manager.h"

#include "graphics/graphic.h"
#include "host/exports/graphic.h"

ScreenManager::ScreenManager(ScreenHost& host)
    : host_(host), queued_(os::createEvent(true, false)) {
  HCURSOR pointing = host.ProgramCursor("IDC_POINT");
  cursors_ = ScreenCursors{{host.ProgramCursor("IDC_ARROW"), pointing, pointing}, host.WaitCursor()};
}

ScreenManager::~ScreenManager() {
  Detach();
  RemoveAll();
  FlushEvents();
  os::closeEvent(queued_);
}

uint32_t RUNA1_API ScreenManager::Hook(void* context, HWND window, uint32_t message, uint32_t wParam,
                                       int32_t lParam) {
  static_cast<ScreenManager*>(context)->OnWindowMessage(message, wParam, lParam);
  return 0;
}

void ScreenManager::Attach(Graphic* target, Graphic* background) {
  if (!attached_) {
    target_ = target;
    background_ = background;
    attached_ = true;
    host_.OpenHook(Hook, this);
  }
  Enable(true);
}

void ScreenManager::Detach() {
  if (!attached_) return;
  attached_ = false;
  host_.CloseHook(this);
  Enable(false);
  RemoveAll();
  FlushEvents();
}

void ScreenManager::Enable(bool enable) {
  if (enable) inactive_ = 0;
  host_.Send(screen_message::kSetCursor, 0, 0);
  if (!enable) return;
  POINT point = host_.CursorClientPosition();
  host_.Send(screen_message::kMouseMove, 0, packPoint(point.x, point.y));
}

void ScreenManager::SetActive(bool active) {
  inactive_ = !active;
  host_.Send(screen_message::kSetCursor, 0, 0);
}

void ScreenManager::Add(ScreenControl* control, int32_t id) {
  os::Lock hold(lock_);
  controls_.Add(control);
  ids_.Add(reinterpret_cast<void*>(static_cast<intptr_t>(id)));
}

void ScreenManager::RemoveAll() {
  os::Lock hold(lock_);
  for (uint32_t i = 0; i < controls_.GetCount(); ++i) delete GetControl(i);
  controls_.RemoveAll();
  ids_.RemoveAll();
}

void ScreenManager::Repaint(const RECT* rect) {
  os::Lock hold(lock_);
  if (!target_) return;
  host_.StopMessageLoop();
  RECT area = rect ? *rect : RECT{0, 0, target_->Header().biWidth - 1, target_->Header().biHeight - 1};
  if (background_) graphic_DrawBitmapToBitmap(background_, target_, area.left, area.top, &area, 0, 0);
  for (uint32_t i = 0; i < controls_.GetCount(); ++i) {
    ScreenControl* control = GetControl(i);
    POINT at = control->GetPosition();
    RECT moved{area.left - at.x, area.top - at.y, area.right - at.x, area.bottom - at.y};
    control->Draw(target_, &moved);
  }
  host_.RestartMessageLoop();
  host_.Invalidate();
}

void ScreenManager::PostEvent(ScreenControl* control, uint32_t message, int32_t value) {
  auto* event = new ScreenEvent{control, message, -1, value, host_.TickCount(), host_.CursorScreenPosition()};
  os::Lock hold(lock_);
  for (uint32_t i = controls_.GetCount(); i-- > 0;) {
    if (controls_.GetAt(i) != control) continue;
    event->id = static_cast<int32_t>(reinterpret_cast<intptr_t>(ids_.GetAt(i)));
    break;
  }
  queue_.Add(event);
  os::setEvent(queued_);
}

uint32_t ScreenManager::GetEvent(ScreenEvent* event, uint32_t timeout) {
  if (timeout == os::kWaitForever) {
    os::waitEvent(queued_);
  } else if (!os::waitEvent(queued_, timeout)) {
    return kEventTimeout;
  }
  os::Lock hold(lock_);
  if (queue_.GetCount() == 0) return kEventTimeout;
  auto* first = static_cast<ScreenEvent*>(queue_.GetAt(0));
  *event = *first;
  delete first;
  queue_.RemoveAt(0);
  if (queue_.GetCount() == 0) os::resetEvent(queued_);
  return 0;
}

void ScreenManager::FlushEvents() {
  os::Lock hold(lock_);
  os::resetEvent(queued_);
  for (uint32_t i = 0; i < queue_.GetCount(); ++i) delete static_cast<ScreenEvent*>(queue_.GetAt(i));
  queue_.RemoveAll();
}

void ScreenManager::OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam) {
  using namespace screen_message;
  os::Lock hold(lock_);
  if (message == kUser) {
    host_.ShowCursor(false);
    host_.SetCursor(nullptr);
    return;
  }
  if (inactive_) {
    if (message == kSetCursor) host_.SetCursor(cursors_.wait);
    return;
  }
  uint32_t level = kHitNone;
  POINT pointer{};
  if (message == kSetCursor) {
    host_.ShowCursor(true);
    pointer = host_.CursorClientPosition();
  }
  for (uint32_t i = 0; i < controls_.GetCount(); ++i) {
    ScreenControl* control = GetControl(i);
    if (message == kSetCursor) {
      POINT at = control->GetPosition();
      uint32_t hit = control->HitTest(pointer.x - at.x, pointer.y - at.y);
      if (hit <= kHitHeld && hit >= level) level = hit;
    }
    control->OnMessage(*this, message, wParam, lParam);
  }
  if (message == kSetCursor) host_.SetCursor(cursors_.levels[level]);
  if (message == kRButtonDown) PostEvent(nullptr, kEventCancel, 0);
}
