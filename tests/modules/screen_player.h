/* What the menu screens' test modules share: a screen runs on a thread of the module's own
 * while the module asks its runner to play the player (player_steps.h) and reads the window's
 * pixels back.
 * Needs USER32 GetDC, ReleaseDC, ClientToScreen, GDI32 GetPixel, KERNEL32 Sleep and WaitForSingleObject among
 * the module's imports. */
#ifndef SCREEN_PLAYER_H
#define SCREEN_PLAYER_H

#include <windows.h>

#include "module_log.h"
#include "player_steps.h"

static HWND window;

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

/* Opens the main window with a client area of 640 by 480, logs where that lies on the screen
 * ("client LEFT TOP", for the runner), and shows a 24-bit picture of its size, which is given
 * back: the screens' target. */
static GRAPHIC openScreenWindow(const char* title) {
  RECT rect = {0, 0, 640, 480};
  report("main-window", InitializeMainWindow(title, WS_POPUP, 0, &rect) == 0);
  window = ZPK_GetMainWindow();
  POINT origin = {0, 0};
  ClientToScreen(window, &origin);
  logText("client ");
  logNumber((uint32_t)origin.x);
  logText(" ");
  logNumber((uint32_t)origin.y);
  logText("\n");
  GRAPHIC picture = graphic_CreateBitmap(640, 480, 24);
  RECT whole = {0, 0, 639, 479};
  View_AttachScreen(View_Create(picture, &whole, NULL), NULL, 0);
  return picture;
}

/* How long the window's thread is given to take the input of a step (player_steps.h). */
#define SCREEN_SETTLE 300

/* The screen's thread, started by the module, and its result. */
static ZPKTHREAD screen;
static volatile int32_t screenResult;

/* The screen's result once its thread has ended, -100 if it runs on. */
static int32_t screenEnd(void) {
  if (WaitForSingleObject(ZPK_GetThreadHandle(screen), 20000) != WAIT_OBJECT_0) return -100;
  ZPK_EndThread(screen);
  return screenResult;
}

static int running(void) { return WaitForSingleObject(ZPK_GetThreadHandle(screen), 200) == WAIT_TIMEOUT; }

#endif
