#include "host/frame/main_frame.h"

CMainFrame::~CMainFrame() {
  if (window_) system_.destroyFrame(window_);
}

bool CMainFrame::Create(const char* className, const char* title, uint32_t style, uint32_t exStyle,
                        const RECT& rect) {
  window_ = system_.createFrame(className, title, style, exStyle, rect);
  if (!window_) return false;
  system_.setTimer(window_, kTimerId, kTimerMilliseconds);
  return true;
}

void CMainFrame::Show() {
  if (window_) system_.showFrame(window_);
}
