/* A looping sound whose volume falls to a quarter, two more sounds over it, then a stop, after
 * which nothing may sound. */
#include "sound_module.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  HANDLE doneB = CreateEventA(0, TRUE, FALSE, 0), doneC = CreateEventA(0, TRUE, FALSE, 0);
  report("mixer-open", WaveMixer_Open(200, 10, 44100, 2, 16) == 0);
  KPCMSOUND loop = loadWave("loop_m16_44k_440.wav");
  KPCMSOUND b = loadWave("long_m16_22k_660.wav"), c = loadWave("long_s16_44k_880.wav");
  report("read", loop && b && c);
  Sleep(1500); /* Wine's first stream takes a while to start */
  report("loop", PCM_PlayWave(loop, 1, 0) == 0);
  Sleep(900);
  report("playing", PCM_IsPlaying(loop) == 1);
  report("volume", PCM_SetVolume(loop, 16384, 16384) == 0);
  Sleep(900);
  report("play-b", PCM_PlayWave(b, 0, doneB) == 0);
  report("play-c", PCM_PlayWave(c, 0, doneC) == 0);
  report("b-done", WaitForSingleObject(doneB, 5000) == WAIT_OBJECT_0);
  report("c-done", WaitForSingleObject(doneC, 5000) == WAIT_OBJECT_0);
  report("stop", PCM_StopWave(loop) == 0);
  report("stopped", PCM_IsPlaying(loop) == 0);
  Sleep(800);
  PCM_Delete(loop);
  PCM_Delete(b);
  PCM_Delete(c);
  report("mixer-close", WaveMixer_Close() == 0);
  File_CloseFile(logFile);
  return 0;
}
