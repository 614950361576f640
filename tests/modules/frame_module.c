/* Hooks into the main window's messages at all three levels, checks their order, the close box,
 * the one-second timer, the stop of the message loop and its gate, and full screen by hand. */
#include <windows.h>

#include "module_log.h"

#define MESSAGE_PROBE (WM_USER + 1)
#define MESSAGE_WHILE_STOPPED (WM_USER + 2)
#define MESSAGE_SENT_WHILE_STOPPED (WM_USER + 3)

static char order[16];
static volatile LONG orderLength;
static volatile LONG timerTicks;
static volatile LONG closesSeen;
static volatile LONG stoppedMessageSeen;
static volatile LONG sentWhileStoppedSeen;
static volatile LONG deactivations;
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
  if (message == MESSAGE_SENT_WHILE_STOPPED) __sync_add_and_fetch(&sentWhileStoppedSeen, 1);
  return 6;
}

static uint32_t __stdcall probeProcedure(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  note('P');
  return 7;
}

static uint32_t __stdcall activateProcedure(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  if ((wParam & 0xFFFF) == WA_INACTIVE) __sync_add_and_fetch(&deactivations, 1);
  return 0;
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

/* The same, while this thread's own window gets its messages, as a thread with a window must. */
static int waitPumping(volatile LONG* flag) {
  MSG message;
  for (int i = 0; i < 500 && !*flag; ++i) {
    while (PeekMessageA(&message, NULL, 0, 0, PM_REMOVE)) DispatchMessageA(&message);
    Sleep(10);
  }
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

/* A service thread of the module sends to the frame while the module thread holds the stop. */
static uint32_t __stdcall sendFromServiceThread(uint32_t window) {
  SendMessageA((HWND)window, MESSAGE_SENT_WHILE_STOPPED, 0, 0);
  return 1;
}

static void checkStops(HWND window) {
  report("change-refused-while-running", ZPK_ChangeDisplayMode(1024, 768) == 1);
  report("clip-refused-while-running", ZPK_ClipCursor(1) == 1);
  report("restore-refused-while-running", ZPK_RestoreDisplayMode() == 1);

  ZPK_StopMessageLoop();
  PostMessageA(window, MESSAGE_WHILE_STOPPED, 0, 0);
  Sleep(300);
  report("stopped-holds-messages", !stoppedMessageSeen);
  /* Sent messages are answered, so nothing deadlocks, but no hook hears them while stopped. */
  SendMessageA(window, MESSAGE_SENT_WHILE_STOPPED, 0, 0);
  ZPKTHREAD sender = ZPK_BeginThread(sendFromServiceThread, (uint32_t)window, 0, 0);
  report("stopped-answers-sends", WaitForSingleObject(ZPK_GetThreadHandle(sender), 5000) == WAIT_OBJECT_0);
  ZPK_EndThread(sender);
  report("stopped-sends-reach-no-hook", sentWhileStoppedSeen == 0);
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
  report("answered-sends-stay-answered", sentWhileStoppedSeen == 0);
}

/* Full screen, then a window of this thread takes the foreground while the loop is stopped: the
 * frame's deactivation, and with it the return of the desktop, waits for the restart. */
static void checkActivationWhileStopped(HWND window) {
  ZPK_SetWndMessageProc(WM_ACTIVATE, activateProcedure);
  ZPK_StopMessageLoop();
  report("full-screen-again", ZPK_ChangeDisplayMode(1024, 768) == 0);
  HWND other = CreateWindowExA(0, "STATIC", "Other", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50, NULL, NULL, NULL, NULL);
  SetForegroundWindow(other);
  Sleep(300);
  LONG style = GetWindowLongA(window, GWL_STYLE);
  report("other-window-in-front", other != NULL && GetForegroundWindow() == other);
  report("stopped-deactivation-waits", deactivations == 0 && (style & WS_MAXIMIZE));
  ZPK_RestartMessageLoop();
  report("restart-brings-deactivation", waitPumping(&deactivations));
  style = GetWindowLongA(window, GWL_STYLE);
  report("background-gives-desktop-back", !(style & WS_MAXIMIZE));
  DestroyWindow(other);
  ZPK_SetWndMessageProc(WM_ACTIVATE, NULL);
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
  checkActivationWhileStopped(window);
  ZPK_SetMainWndProc(NULL);
  File_CloseFile(logFile);
  return 0;
}
