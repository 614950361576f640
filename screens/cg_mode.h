// The CG mode: a table of thumbnails, four across and four down, scrolled by rows, of the
// pictures that the player has unlocked, and a viewer that shows a picture over the whole window
// and pans it with the mouse. The module gives one flag word per picture: 0 locked, else bit b
// set for each variant b that is unlocked. The thumbnails come from "cgmode.arc", the pictures
// ("bg<500 + position><variant digit>.bmp") from the archive that the module hands in.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class Graphic;
class KArcFileExp;

// -1 when "cgmode.arc" cannot be opened; else the id of the last button pressed (10 for the exit
// button), -1 if none was.
int32_t RunCGMode(ScreenHost& host, Graphic* target, KArcFileExp* pictures, const uint32_t* flags, int32_t count);
