#include "host/exports/galleries.h"

#include "host/exports/screens.h"
#include "screens/cg_mode.h"
#include "screens/music_mode.h"

int32_t RUNA1_API Nodali_MusicMode(Graphic* target, KArcFileExp* music) {
  return RunMusicMode(mainWindowScreenHost(), target, music);
}

int32_t RUNA1_API Nodali_CGMode(Graphic* target, KArcFileExp* pictures, const uint32_t* flags, uint32_t count) {
  return RunCGMode(mainWindowScreenHost(), target, pictures, flags, static_cast<int32_t>(count));
}
