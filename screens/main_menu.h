// The three plain menus: the in-game main menu, the title screen and the bonus menu. Each is a
// column of buttons that light up under the pointer; the result is the id of the button
// chosen, or -1 when the player leaves or the screen's archive is missing.
#pragma once

#include <cstdint>

#include "screens/screen_host.h"

class Graphic;

// "MainMenu.arc": 0, 1 or 2 at once; 3 opens the help page (HELP\INDEX.HTML in the screens'
// folder) with the system's default action and stays; 4 and 5 only when the player confirms.
// The menu is drawn over `background`.
int32_t RunMainMenu(ScreenHost& host, Graphic* target, Graphic* background);
// "Startup.arc", the title screen of `kind` 1 to 3, whose column holds 3 to 5 of the buttons
// 0 to 4; 4 (quit) gives -1, and so does a `kind` outside 1 to 3 before anything opens.
int32_t RunStartupMenu(ScreenHost& host, Graphic* target, int32_t kind);
// "Startup.arc", the bonus menu: 0 (pictures) or 1 (music); its third button gives -1.
int32_t RunOmakeSelectMenu(ScreenHost& host, Graphic* target);
