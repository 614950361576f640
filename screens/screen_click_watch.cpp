#include "screens/screen_click_watch.h"

ScreenClickWatch::ScreenClickWatch(ScreenHost& host) : host_(host), signal_(os::createEvent(true, false)) {
  host_.OpenHook(Hook, this);
}

ScreenClickWatch::~ScreenClickWatch() {
  host_.CloseHook(this);
  os::closeEvent(signal_);
}

uint32_t RUNA1_API ScreenClickWatch::Hook(void* context, HWND window, uint32_t message, uint32_t wParam,
                                          int32_t lParam) {
  static_cast<ScreenClickWatch*>(context)->OnWindowMessage(message, wParam, lParam);
  return 0;
}

void ScreenClickWatch::OnWindowMessage(uint32_t message, uint32_t wParam, int32_t lParam) {
  using namespace screen_message;
  if (message == kSetCursor) {
    host_.SetCursor(nullptr);
    return;
  }
  if (message != kLButtonDown && message != kRButtonDown) return;
  os::Lock hold(lock_);
  queue_.Add(reinterpret_cast<void*>(static_cast<uintptr_t>(message)));
  os::setEvent(signal_);
}

int32_t ScreenClickWatch::WaitClick(uint32_t timeout) {
  bool signalled = timeout == os::kWaitForever ? (os::waitEvent(signal_), true) : os::waitEvent(signal_, timeout);
  if (!signalled) return -1;
  os::Lock hold(lock_);
  if (queue_.GetCount() == 0) {
    os::resetEvent(signal_);
    return 0;
  }
  auto message = static_cast<int32_t>(reinterpret_cast<uintptr_t>(queue_.GetAt(0)));
  queue_.RemoveAt(0);
  if (queue_.GetCount() == 0) os::resetEvent(signal_);
  return message;
}
