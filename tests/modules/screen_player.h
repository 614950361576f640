/* What the menu screens' test modules share: a screen runs on a thread of the module's own
 * while the module asks its runner, through the log, to play the player ("do N VERB X Y" in
 * client coordinates, answered with the file "done-N"), and reads the window's pixels back.
 * Needs USER32 GetDC, ReleaseDC, GDI32 GetPixel, KERNEL32 Sleep and WaitForSingleObject among
 * the module's imports. */
#ifndef SCREEN_PLAYER_H
#define SCREEN_PLAYER_H

#include <windows.h>

#include "module_log.h"

static HWND window;
static uint32_t step;

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

static void logSigned(int value) {
  if (value < 0) logText("-");
  logNumber((uint32_t)(value < 0 ? -value : value));
}

/* Asks the runner to do `verb` at client (x, y), or by (x, y) for a motion, and waits until it
 * has. */
static void act(const char* verb, int x, int y) {
  char done[] = "done-000";
  ++step;
  done[5] = (char)('0' + step / 100 % 10);
  done[6] = (char)('0' + step / 10 % 10);
  done[7] = (char)('0' + step % 10);
  logText("do ");
  logNumber(step);
  logText(" ");
  logText(verb);
  logText(" ");
  logSigned(x);
  logText(" ");
  logSigned(y);
  logText("\n");
  for (int attempt = 0; attempt < 600; ++attempt) {
    KFILE file = File_OpenFile(done, FILE_READ);
    if (file) {
      File_CloseFile(file);
      Sleep(300); /* the window's thread takes the input in its own time */
      return;
    }
    Sleep(50);
  }
  logText("the runner did not act\n");
}

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
