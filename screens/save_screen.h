// The save and load screens: ten slots on each of five pages, each slot showing what its save
// file holds (kind, chapter picture, time of the save), lit under the pointer. The result is
// page * 10 + slot, or -1 when the player leaves; the module reads or writes the file itself.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class Graphic;

// "SaveMenu.arc" and the cursors come from the screens' folder, the save files from the save
// folder. The save screen asks before it overwrites a used slot; the load screen offers only
// valid slots, and pages that hold any. A page outside 1 to 5, or a missing archive, gives -1.
int32_t RunSaveScreen(ScreenHost& host, Graphic* target, int32_t page);
int32_t RunLoadScreen(ScreenHost& host, Graphic* target, int32_t page);
