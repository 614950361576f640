/* Run without an audio server: every sound call is refused with its code, and the module goes
 * on. Also the answers to bad arguments and null handles. */
#include "sound_module.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  report("bad-channels", WaveMixer_Open(200, 10, 44100, 3, 16) == 0x10002);
  report("bad-bits", WaveMixer_Open(200, 10, 44100, 2, 12) == 0x10002);
  report("open-refused", WaveMixer_Open(200, 10, 44100, 2, 16) == 0x10002);
  KPCMSOUND sound = loadWave("m16_44k_880.wav");
  report("read", sound != 0);
  report("play-refused", PCM_PlayWave(sound, 0, 0) == 0x10002);
  report("not-playing", PCM_IsPlaying(sound) == 0);
  report("stop-unopened", PCM_StopWave(sound) == 0x10002);
  report("volume-kept", PCM_SetVolume(sound, 30000, 30000) == 0);
  report("format", PCM_GetWaveFormat(sound) != 0 && PCM_GetWaveFormat(sound)->nSamplesPerSec == 44100);
  report("not-a-wave", loadWave("sound_fault_module.zpe") == 0);
  report("null-play", PCM_PlayWave(0, 0, 0) == 1);
  report("null-stop", PCM_StopWave(0) == 1);
  report("null-playing", PCM_IsPlaying(0) == 0);
  report("null-delete", PCM_Delete(0) == 0);
  PCM_Delete(sound);
  report("close", WaveMixer_Close() == 0);
  File_CloseFile(logFile);
  return 0;
}
