// The main window's exports: the module's hooks into its messages, the cursor clip, full
// screen, and the stop of the main thread's message loop.
#pragma once

#include <cstdint>

#include "host/frame/main_frame.h"

extern "C" {
HWND RUNA1_API ZPK_GetMainWindow();
ZPKWndProc RUNA1_API ZPK_SetMainWndProc(ZPKWndProc procedure);
uint32_t RUNA1_API ZPK_OpenMainWndProcEx(ZPKWndProcEx procedure, void* context);
uint32_t RUNA1_API ZPK_CloseMainWndProcEx(void* context);
ZPKWndProc RUNA1_API ZPK_SetWndMessageProc(uint32_t message, ZPKWndProc procedure);
// These three run on the calling thread and are refused (1) unless the message loop is stopped.
uint32_t RUNA1_API ZPK_ClipCursor(int32_t enable);
uint32_t RUNA1_API ZPK_ChangeDisplayMode(uint32_t width, uint32_t height);
uint32_t RUNA1_API ZPK_RestoreDisplayMode();
uint32_t RUNA1_API ZPK_StopMessageLoop();
uint32_t RUNA1_API ZPK_RestartMessageLoop();
}
