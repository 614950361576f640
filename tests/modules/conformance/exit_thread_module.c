/* Ends its thread by ExitThread without asking for a window. The initialiser, on the main thread
 * before the start, lowers the process's priority class, which the start sets back to normal. */
#include <windows.h>

#include "../module_log.h"

void __stdcall ModuleInit(void) { SetPriorityClass(GetCurrentProcess(), IDLE_PRIORITY_CLASS); }

void __stdcall ModuleFini(void) {
  KFILE fini = File_OpenFile("fini.log", FILE_WRITE | FILE_CREATE);
  File_Write(fini, "ok fini\n", 8);
  File_CloseFile(fini);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  report("normal-priority-class", GetPriorityClass(GetCurrentProcess()) == NORMAL_PRIORITY_CLASS);
  File_CloseFile(logFile);
  ExitThread(0);
}
