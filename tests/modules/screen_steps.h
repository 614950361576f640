/* The steps of a test module that runs menu screens in the main window while the runner
 * (tests/modules/play_screens.sh) plays the player: for each step the module writes "do N VERB
 * X Y" (client coordinates) to its log and waits for the runner's file "done-N"; it reads the
 * window's pixels back to check what the screen shows. A screen runs on a thread of the
 * module's own, so that the module's main thread can look and ask meanwhile. The module
 * imports USER32 GetDC, ReleaseDC, ClientToScreen, GDI32 GetPixel and KERNEL32 Sleep and
 * WaitForSingleObject. */
#ifndef SCREEN_STEPS_H
#define SCREEN_STEPS_H

#include <windows.h>

#include "module_log.h"
#include "player_steps.h"

#define SCREEN_WIDTH 640
#define SCREEN_HEIGHT 480

static HWND window;
static GRAPHIC target;

/* The main window with a 24-bit picture of the screen's size shown in it; the runner learns
 * where its client area lies from the log line "client X Y". */
static int openScreenWindow(const char* title) {
  RECT rect = {0, 0, SCREEN_WIDTH, SCREEN_HEIGHT};
  if (InitializeMainWindow(title, WS_POPUP, 0, &rect) != 0) return 0;
  window = ZPK_GetMainWindow();
  logClientOrigin(window);
  target = graphic_CreateBitmap(SCREEN_WIDTH, SCREEN_HEIGHT, 24);
  RECT whole = {0, 0, SCREEN_WIDTH - 1, SCREEN_HEIGHT - 1};
  View_AttachScreen(View_Create(target, &whole, NULL), NULL, 0);
  return 1;
}

static uint32_t pixel(int x, int y) {
  HDC dc = GetDC(window);
  COLORREF colour = GetPixel(dc, x, y);
  ReleaseDC(window, dc);
  return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

/* The window shows `colour` at (x, y) within a few seconds; the first miss is logged. */
static int shows(const char* what, int x, int y, uint32_t colour) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    if (pixel(x, y) == colour) return 1;
    Sleep(50);
  }
  logText(what);
  logText(": ");
  logNumber(pixel(x, y));
  logText(" where ");
  logNumber(colour);
  logText(" was due\n");
  return 0;
}

/* The window still shows `colour` at (x, y) after a while. */
static int stillShows(const char* what, int x, int y, uint32_t colour) {
  Sleep(500);
  return shows(what, x, y, colour);
}

/* Asks the runner to move, click, press or release at client (x, y), or to start or stop
 * recording x, and waits until it has and the window's thread has taken the input. */
static void act(const char* verb, int x, int y) { playerAct(verb, x, y, 300); }

/* ---- A screen on its own thread ------------------------------------------------------------ */

static ZPKTHREAD screen;
static volatile int32_t screenResult;

/* `body` runs the screen and leaves its result in screenResult. */
static void startScreenThread(uint32_t(__stdcall* body)(uint32_t)) {
  screenResult = -100;
  screen = ZPK_BeginThread(body, 0, THREAD_PRIORITY_NORMAL, 0);
}

/* The screen's result once it has ended; -100 when it did not end in 20 seconds. */
static int32_t screenEnd(void) {
  if (WaitForSingleObject(ZPK_GetThreadHandle(screen), 20000) != WAIT_OBJECT_0) return -100;
  ZPK_EndThread(screen);
  return screenResult;
}

static int running(void) { return WaitForSingleObject(ZPK_GetThreadHandle(screen), 200) == WAIT_TIMEOUT; }

#endif
