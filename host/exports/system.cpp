#include "host/exports/system.h"

#include "base/library.h"
#include "base/os/window.h"
#include "host/frame/start_handshake.h"

uint32_t RUNA1_API InitializeSystem(const WNDCLASSA* windowClass, const SIZE* size, const char* title,
                                    uint32_t bitsPerPixel) {
  StartHandshake* handshake = StartHandshake::Current();
  return handshake ? handshake->InitializeSystem(windowClass, size, title, bitsPerPixel) : 0;
}

uint32_t RUNA1_API InitializeMainWindow(const char* title, uint32_t style, uint32_t exStyle, const RECT* rect) {
  StartHandshake* handshake = StartHandshake::Current();
  return handshake ? handshake->InitializeMainWindow(title, style, exStyle, rect) : 0;
}

uint32_t RUNA1_API GetDefaultWndClass(WNDCLASSA* windowClass) {
  os::windowSystem().fillDefaultClass(windowClass);
  windowClass->style = kDefaultWindowClassStyle;
  windowClass->lpszClassName = kDefaultWindowClassName;
  return 0;
}

uint32_t RUNA1_API CalcDefaultWindowRect(RECT* rect) {
  calcDefaultWindowRect(rect, os::windowSystem());
  return 0;
}

namespace {

// The start record: what the new thread runs, freed by that thread.
struct ThreadStart {
  ZPKThreadProcedure procedure;
  uint32_t argument;
};

uint32_t runModuleProcedure(void* state) {
  vkAttachThread();
  ThreadStart* start = static_cast<ThreadStart*>(state);
  uint32_t result = start->procedure(start->argument);
  delete start;
  vkDetachThread();
  return result;
}

}  // namespace

os::Thread* RUNA1_API ZPK_BeginThread(ZPKThreadProcedure procedure, uint32_t argument, int32_t priority,
                                      uint32_t stackSize) {
  ThreadStart* start = new ThreadStart{procedure, argument};
  os::Thread* thread = os::startThread(runModuleProcedure, start, priority, stackSize);
  if (!thread) delete start;
  return thread;
}

void RUNA1_API ZPK_EndThread(os::Thread* thread) {
  if (thread) os::closeThread(thread);
}

uintptr_t RUNA1_API ZPK_GetThreadHandle(os::Thread* thread) { return thread ? os::threadHandle(thread) : 0; }

uint32_t RUNA1_API ZPK_GetThreadId(os::Thread* thread) { return thread ? os::threadId(thread) : 0; }
