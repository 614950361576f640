/* Hooks into the main window's messages at all three levels, checks their order, the close box,
 * the one-second timer, the stop of the message loop and its gate, and full screen by hand. */
#include <windows.h>

#include "module_log.h"

#define MESSAGE_PROBE (WM_USER + 1)
#define MESSAGE_WHILE_STOPPED (WM_USER + 2)

static char order[16];
static volatile LONG orderLength;
static volatile LONG timerTicks;
static volatile LONG closesSeen;
static volatile LONG stoppedMessageSeen;
static char stackContext[] = "stack";

static void note(char what) {
  if (orderLength < (LONG)sizeof order - 1) order[orderLength++] = what;
}

static uint32_t __stdcall stackProcedure(void* context, HWND window, uint32_t message, uint32_t wParam,
                                         int32_t lParam) {
  if (message == MESSAGE_PROBE && context == stackContext) note('S');
  return 5;
}

static uint32_t __stdcall mainProcedure(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  if (message == MESSAGE_PROBE) note('M');
  if (message == WM_TIMER && wParam == 1) __sync_add_and_fetch(&timerTicks, 1);
  if (message == WM_CLOSE) __sync_add_and_fetch(&closesSeen, 1);
  if (message == MESSAGE_WHILE_STOPPED) stoppedMessageSeen = 1;
  return 6;
}

static uint32_t __stdcall probeProcedure(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  note('P');
  return 7;
}

static int same(const char* a, const char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

/* Waits up to two seconds for *flag to become nonzero. */
static int waitFor(volatile LONG* flag) {
  for (int i = 0; i < 200 && !*flag; ++i) Sleep(10);
  return *flag != 0;
}

static void checkHooks(HWND window) {
  report("no-previous-main-procedure", ZPK_SetMainWndProc(mainProcedure) == NULL);
  report("stack-opened", ZPK_OpenMainWndProcEx(stackProcedure, stackContext) == 0);
  report("message-procedure-set", ZPK_SetWndMessageProc(MESSAGE_PROBE, probeProcedure) == NULL);
  report("active", GetForegroundWindow() == window);
  /* A message sent from this thread is handled by the main thread, which answers for the frame:
   * the default handling's 0, not what the hooks return. */
  LRESULT answer = SendMessageA(window, MESSAGE_PROBE, 0, 0);
  order[orderLength] = 0;
  report("hook-order", same(order, "SMP"));
  report("answer-of-the-frame", answer == 0);
  logText("order ");
  logText(order);
  logText("\n");
  report("timer-reaches-hooks", waitFor(&timerTicks));

  report("close-answered", SendMessageA(window, WM_CLOSE, 0, 0) == 0);
  report("close-seen-by-hooks", closesSeen == 1);
  report("close-keeps-window", IsWindow(window) && ZPK_GetMainWindow() == window);

  report("close-other-context", ZPK_CloseMainWndProcEx(order) == 1);
  report("close-own-context", ZPK_CloseMainWndProcEx(stackContext) == 0);
  report("message-procedure-removed", ZPK_SetWndMessageProc(MESSAGE_PROBE, NULL) == probeProcedure);
}

static void checkStops(HWND window) {
  report("change-refused-while-running", ZPK_ChangeDisplayMode(1024, 768) == 1);
  report("clip-refused-while-running", ZPK_ClipCursor(1) == 1);
  report("restore-refused-while-running", ZPK_RestoreDisplayMode() == 1);

  ZPK_StopMessageLoop();
  PostMessageA(window, MESSAGE_WHILE_STOPPED, 0, 0);
  Sleep(300);
  report("stopped-holds-messages", !stoppedMessageSeen);
  /* The start clipped the cursor to the client area. */
  report("clip-was-on", ZPK_ClipCursor(1) == 1);
  RECT client, clip;
  GetClientRect(window, &client);
  POINT corner = {0, 0};
  ClientToScreen(window, &corner);
  GetClipCursor(&clip);
  report("clip-is-client-area", clip.left == (corner.x > 0 ? corner.x : 0) && clip.top == (corner.y > 0 ? corner.y : 0));
  report("clip-off", ZPK_ClipCursor(0) == 1 && ZPK_ClipCursor(0) == 0);

  /* Full screen by hand, on this thread, while the main thread only answers what is sent. */
  report("change", ZPK_ChangeDisplayMode(1024, 768) == 0);
  LONG style = GetWindowLongA(window, GWL_STYLE);
  report("full-screen", (style & WS_MAXIMIZE) && (style & WS_DLGFRAME) && !(style & WS_SYSMENU));
  report("restore", ZPK_RestoreDisplayMode() == 0);
  style = GetWindowLongA(window, GWL_STYLE);
  report("windowed", !(style & WS_MAXIMIZE) && (style & WS_SYSMENU));
  RECT restored;
  GetClientRect(window, &restored);
  logText("restored client ");
  logNumber((uint32_t)restored.right);
  logText("x");
  logNumber((uint32_t)restored.bottom);
  logText("\n");

  ZPK_StopMessageLoop();
  ZPK_RestartMessageLoop();
  Sleep(300);
  report("nested-stop-holds", !stoppedMessageSeen);
  ZPK_RestartMessageLoop();
  report("restart-delivers", waitFor(&stoppedMessageSeen));
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  report("no-window-yet", ZPK_GetMainWindow() == NULL && ZPK_SetMainWndProc(mainProcedure) == NULL);
  RECT rect = {100, 80, 500, 380};
  InitializeMainWindow("Frame Test", WS_CAPTION | WS_SYSMENU, 0, &rect);
  HWND window = FindWindowA(NULL, "Frame Test");
  report("main-window", window != NULL && ZPK_GetMainWindow() == window);
  checkHooks(window);
  checkStops(window);
  ZPK_SetMainWndProc(NULL);
  File_CloseFile(logFile);
  return 0;
}
