// The start of the system (the window handshake with the main thread), the default window
// class and rectangle, and the service threads of a module.
#pragma once

#include <cstdint>

#include "base/os/os.h"

extern "C" {
uint32_t RUNA1_API InitializeSystem(const WNDCLASSA* windowClass, const SIZE* size, const char* title,
                                    uint32_t bitsPerPixel);
uint32_t RUNA1_API InitializeMainWindow(const char* title, uint32_t style, uint32_t exStyle, const RECT* rect);
uint32_t RUNA1_API GetDefaultWndClass(WNDCLASSA* windowClass);
uint32_t RUNA1_API CalcDefaultWindowRect(RECT* rect);

// A thread object is an os::Thread; the procedure takes its argument and pops it.
using ZPKThreadProcedure = uint32_t(RUNA1_API*)(uint32_t argument);
os::Thread* RUNA1_API ZPK_BeginThread(ZPKThreadProcedure procedure, uint32_t argument, int32_t priority,
                                      uint32_t stackSize);
void RUNA1_API ZPK_EndThread(os::Thread* thread);
uintptr_t RUNA1_API ZPK_GetThreadHandle(os::Thread* thread);
uint32_t RUNA1_API ZPK_GetThreadId(os::Thread* thread);
}

// The class name of GetDefaultWndClass.
inline constexpr const char kDefaultWindowClassName[] = "Vomar Game System";
inline constexpr uint32_t kDefaultWindowClassStyle = CS_IME | CS_SAVEBITS | CS_HREDRAW | CS_VREDRAW;
