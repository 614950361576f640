/* The player's steps of an end-to-end test: the module writes "do N VERB X Y" (client
 * coordinates) to its log and waits for the runner's file "done-N"; player_steps.sh does the
 * step with xdotool (or starts and stops a recording of the sound rig). Needs KERNEL32 Sleep
 * among the module's imports. */
#ifndef PLAYER_STEPS_H
#define PLAYER_STEPS_H

#include <windows.h>

#include "module_log.h"

static uint32_t playerStep;

/* Tells the runner where the client area of `shown` lies on the screen: the log line "client
 * LEFT TOP", to which the steps' coordinates are relative. Needs USER32 ClientToScreen. */
static void logClientOrigin(HWND shown) {
  POINT origin = {0, 0};
  ClientToScreen(shown, &origin);
  logText("client ");
  logNumber((uint32_t)origin.x);
  logText(" ");
  logNumber((uint32_t)origin.y);
  logText("\n");
}

/* Asks the runner to do VERB at client (x, y) and waits until it has, `settle` milliseconds
 * more for the window's thread to take the input. */
static void playerAct(const char* verb, int x, int y, uint32_t settle) {
  char done[] = "done-000";
  ++playerStep;
  done[5] = (char)('0' + playerStep / 100 % 10);
  done[6] = (char)('0' + playerStep / 10 % 10);
  done[7] = (char)('0' + playerStep % 10);
  logText("do ");
  logNumber(playerStep);
  logText(" ");
  logText(verb);
  logText(" ");
  logNumber((uint32_t)x);
  logText(" ");
  logNumber((uint32_t)y);
  logText("\n");
  for (int attempt = 0; attempt < 600; ++attempt) {
    KFILE file = File_OpenFile(done, FILE_READ);
    if (file) {
      File_CloseFile(file);
      Sleep(settle);
      return;
    }
    Sleep(50);
  }
  logText("the runner did not act\n");
}

#endif
