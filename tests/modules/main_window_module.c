/* Stores its class through InitializeSystem with no size, then asks for a window of its own
 * rectangle and style through InitializeMainWindow. */
#include <windows.h>

#include "module_log.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  WNDCLASSA windowClass;
  GetDefaultWndClass(&windowClass);
  report("default-class", windowClass.style == 0x10803 && windowClass.lpfnWndProc != NULL &&
                              windowClass.hCursor != NULL && windowClass.hbrBackground != NULL);
  windowClass.lpszClassName = "Runa1 Test Class";
  report("store-class", InitializeSystem(&windowClass, NULL, "stored", 0) == 0);
  RECT rect = {40, 30, 360, 270};
  report("main-window", InitializeMainWindow("Main Window", WS_CAPTION | WS_SYSMENU, 0, &rect) == 0);
  HWND window = FindWindowA("Runa1 Test Class", "Main Window");
  report("window-of-class", window != NULL);
  RECT actual = {0, 0, 0, 0};
  GetWindowRect(window, &actual);
  report("window-rectangle", actual.left == 40 && actual.top == 30 && actual.right == 360 && actual.bottom == 270);
  report("window-visible", IsWindowVisible(window));
  report("window-refuses-close", SendMessageA(window, WM_CLOSE, 0, 0) == 0 && IsWindow(window));
  report("cursor-hidden", ZPK_IsShowCursor() == 0);
  File_CloseFile(logFile);
  return 0;
}
