/* Asks for a window of a class of its own whose menu is an integer resource id, which the
 * class keeps as that id. */
#include <windows.h>

#include "../module_log.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  WNDCLASSA windowClass;
  GetDefaultWndClass(&windowClass);
  windowClass.lpszClassName = "Class With A Menu Id";
  windowClass.lpszMenuName = MAKEINTRESOURCEA(7);
  report("initialized", InitializeSystem(&windowClass, 0, "menu id", 0) == 0);
  RECT rect = {40, 30, 360, 270};
  report("main-window", InitializeMainWindow("menu id", WS_CAPTION | WS_SYSMENU, 0, &rect) == 0);
  WNDCLASSA registered;
  HINSTANCE instance = windowClass.hInstance ? windowClass.hInstance : GetModuleHandleA(0);
  report("registered-with-the-id", GetClassInfoA(instance, "Class With A Menu Id", &registered) &&
                                       registered.lpszMenuName == MAKEINTRESOURCEA(7));
  File_CloseFile(logFile);
  return 0;
}
