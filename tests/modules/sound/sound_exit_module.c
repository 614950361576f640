/* Leaves while sounds play: the host must close the mixer and end. */
#include "sound_module.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  report("mixer-open", WaveMixer_Open(200, 10, 44100, 2, 16) == 0);
  KPCMSOUND loop = loadWave("loop_m16_44k_440.wav"), once = loadWave("long_m16_22k_660.wav");
  report("loop", PCM_PlayWave(loop, 1, 0) == 0);
  report("once", PCM_PlayWave(once, 0, 0) == 0);
  Sleep(400);
  report("leaving", 1);
  File_CloseFile(logFile);
  return 0;
}
