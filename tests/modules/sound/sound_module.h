/* What the sound test modules share: reading a wave file into a sound. */
#ifndef SOUND_MODULE_H
#define SOUND_MODULE_H

#include <windows.h>

#include "../module_log.h"

static KPCMSOUND loadWave(const char* path) {
  KFILE file = File_OpenFile(path, FILE_READ);
  KPCMSOUND sound = file ? PCM_ReadWave(file) : 0;
  if (file) File_CloseFile(file);
  return sound;
}

#endif
