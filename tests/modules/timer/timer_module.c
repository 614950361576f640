/* Drives a timer through the Timer_* exports on the real clock of the host. */
#include <windows.h>

#include "../module_log.h"

static uint32_t counterOf(KTIMER timer) {
  uint64_t counter = 0;
  uint32_t low = Timer_GetCounter(timer, &counter);
  return low == (uint32_t)counter && counter >> 32 == 0 ? low : 0xFFFFFFFF;
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  KTIMER timer = Timer_Create(10, 100, 0);
  report("create", timer != 0);
  Timer_Sleep(30);
  report("stopped-at-zero", counterOf(timer) == 0);

  Timer_StartTimer(timer);
  uint32_t slept = Timer_Sleep(200);
  uint32_t counted = counterOf(timer);
  logText("slept ");
  logNumber(slept);
  logText("\ncounted ");
  logNumber(counted);
  logText("\n");
  report("sleep-measured", slept >= 190 && slept < 2000);
  /* One count per 10 ms of what the clock measured, give or take the reads around the sleep. */
  report("counts-per-interval", counted + 2 >= slept / 10 && counted <= slept / 10 + 2);

  Timer_PauseTimer(timer);
  uint32_t paused = counterOf(timer);
  Timer_Sleep(50);
  report("paused-holds", counterOf(timer) == paused);

  Timer_StartTimer(timer);
  Timer_Sleep(1100);
  report("held-at-limit", counterOf(timer) == 100);
  Timer_Delete(timer);
  Timer_Delete(0);
  File_CloseFile(logFile);
  return 0;
}
