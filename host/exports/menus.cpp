#include "host/exports/menus.h"

#include "host/exports/screens.h"
#include "screens/main_menu.h"
#include "screens/sound_config.h"

int32_t RUNA1_API Nodali_MainMenu(Graphic* target, Graphic* background) {
  return RunMainMenu(mainWindowScreenHost(), target, background);
}

int32_t RUNA1_API Nodali_StartupMenu(Graphic* target, int32_t kind) {
  return RunStartupMenu(mainWindowScreenHost(), target, kind);
}

int32_t RUNA1_API Nodali_OmakeSelectMenu(Graphic* target) { return RunOmakeSelectMenu(mainWindowScreenHost(), target); }

void RUNA1_API Nodali_SoundConfigMenu(Graphic* target, Graphic* background, CMIDIMusic* midi, KPCMSound* wave) {
  RunSoundConfigMenu(mainWindowScreenHost(), target, background, midi, wave);
}
