/* Plays waves of every stored form one after another, each to its end, with silence between:
 * first one on a device of its own (the mixer is not open), then the rest through the mixer. */
#include "sound_module.h"

/* Plays once and waits for the end's signal, at most five seconds. */
static int playToEnd(KPCMSOUND sound, HANDLE done) {
  ResetEvent(done);
  if (PCM_PlayWave(sound, 0, done) != 0) return 0;
  return WaitForSingleObject(done, 5000) == WAIT_OBJECT_0;
}

/* `linger`: how long the sound stays after its end. A sound on a device of its own is told done
 * when the device has taken its data, which under Wine lies ahead of what is heard; deleting it
 * at once would cut off what the device still holds. */
static void playFile(const char* name, HANDLE done, DWORD linger) {
  KPCMSOUND sound = loadWave(name);
  report(name, sound != 0 && playToEnd(sound, done));
  Sleep(linger);
  report("deleted", PCM_Delete(sound) == 0);
  Sleep(300);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  HANDLE done = CreateEventA(0, TRUE, FALSE, 0);
  /* Wine sets up its audio with the first device a process opens, which can swallow the
   * first sound; an open and close of the mixer gets that done in silence. */
  report("warm-up", WaveMixer_Open(200, 10, 44100, 2, 16) == 0 && WaveMixer_Close() == 0);
  Sleep(500);
  playFile("own_s16_44k_1320.wav", done, 1500);
  report("mixer-open", WaveMixer_Open(200, 10, 44100, 2, 16) == 0);
  Sleep(1500); /* Wine's first stream takes a while to start */
  playFile("m8_11k_440.wav", done, 0);
  playFile("s16_22k_660.wav", done, 0);
  playFile("m16_44k_880.wav", done, 0);
  playFile("s8_22k_1100.wav", done, 0);
  playFile("ima_22k_550.wav", done, 0);
  report("mixer-close", WaveMixer_Close() == 0);
  CloseHandle(done);
  File_CloseFile(logFile);
  return 0;
}
