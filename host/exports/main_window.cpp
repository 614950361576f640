#include "host/exports/main_window.h"

#include "host/frame/message_loop.h"

namespace {

// The frame, if the window operations may run on this thread now: only while the main thread's
// loop is stopped, so that the display state has one writer.
CMainFrame* frameBehindClosedGate() {
  CMainFrame* frame = CMainFrame::Current();
  MessageLoop* loop = MessageLoop::Current();
  if (!frame || !loop || loop->IsGateOpen()) return nullptr;
  return frame;
}

}  // namespace

HWND RUNA1_API ZPK_GetMainWindow() {
  CMainFrame* frame = CMainFrame::Current();
  return frame ? frame->GetSafeHwnd() : nullptr;
}

ZPKWndProc RUNA1_API ZPK_SetMainWndProc(ZPKWndProc procedure) {
  CMainFrame* frame = CMainFrame::Current();
  return frame ? frame->SetMainWndProc(procedure) : nullptr;
}

uint32_t RUNA1_API ZPK_OpenMainWndProcEx(ZPKWndProcEx procedure, void* context) {
  if (CMainFrame* frame = CMainFrame::Current()) frame->OpenMainWndProcEx(procedure, context);
  return 0;
}

uint32_t RUNA1_API ZPK_CloseMainWndProcEx(void* context) {
  CMainFrame* frame = CMainFrame::Current();
  return frame ? frame->CloseMainWndProcEx(context) : 0;
}

ZPKWndProc RUNA1_API ZPK_SetWndMessageProc(uint32_t message, ZPKWndProc procedure) {
  CMainFrame* frame = CMainFrame::Current();
  return frame ? frame->SetWndMessageProc(message, procedure) : nullptr;
}

uint32_t RUNA1_API ZPK_ClipCursor(int32_t enable) {
  CMainFrame* frame = frameBehindClosedGate();
  return frame ? frame->ClipCursor(enable != 0) : 1;
}

uint32_t RUNA1_API ZPK_ChangeDisplayMode(uint32_t width, uint32_t height) {
  CMainFrame* frame = frameBehindClosedGate();
  return frame ? frame->ChangeDisplayMode(width, height, 0) : 1;
}

uint32_t RUNA1_API ZPK_RestoreDisplayMode() {
  CMainFrame* frame = frameBehindClosedGate();
  return frame ? frame->RestoreDisplayMode() : 1;
}

uint32_t RUNA1_API ZPK_StopMessageLoop() {
  if (MessageLoop* loop = MessageLoop::Current()) loop->Stop();
  return 0;
}

uint32_t RUNA1_API ZPK_RestartMessageLoop() {
  if (MessageLoop* loop = MessageLoop::Current()) loop->Restart();
  return 0;
}
