/* Runs the main menu, the title screens, the bonus menu and the sound configuration in the main
 * window while the runner plays the player (tests/modules/screen_steps.h), and checks their
 * results and what the window shows. The bitmaps come from the screens' art generator (folder
 * "art"); the runner has made the help page's kind open by copying the page to
 * "help-opened.html". The sound configuration acts on a looping tone that the runner records
 * before and after the volume changes. */
#include "../screen_steps.h"
#include "../../../tools/screen_art/menus_look.h"

#define BACKGROUND_COLOUR 0x102030u
#define PANEL_X (MENU_ART_PANEL_LEFT + 2)
#define PANEL_Y (MENU_ART_PANEL_TOP + 2)
#define BOX_LEFT ((SCREEN_WIDTH - MENU_ART_BOX_WIDTH) >> 1)
#define BOX_TOP ((SCREEN_HEIGHT - MENU_ART_BOX_HEIGHT) >> 1)
#define BOX_YES_X (BOX_LEFT + 0x23 + 10)
#define BOX_NO_X (BOX_LEFT + 0x8B + 10)
#define BOX_BUTTON_Y (BOX_TOP + 0x60 + 10)

static GRAPHIC background;

enum { MAIN_MENU, STARTUP_MENU, OMAKE_MENU, SOUND_CONFIG };
static int screenKind, startupKind;
static KPCMSOUND music;

static uint32_t __stdcall screenThread(uint32_t argument) {
  switch (screenKind) {
    case MAIN_MENU: screenResult = Nodali_MainMenu(target, background); break;
    case STARTUP_MENU: screenResult = Nodali_StartupMenu(target, startupKind); break;
    case OMAKE_MENU: screenResult = Nodali_OmakeSelectMenu(target); break;
    default: Nodali_SoundConfigMenu(target, background, NULL, music); screenResult = 0; break;
  }
  return 0;
}

static void startScreen(int kind, int startup) {
  screenKind = kind;
  startupKind = startup;
  startScreenThread(screenThread);
}

static int fileAppears(const char* name) {
  for (int attempt = 0; attempt < 100; ++attempt) {
    KFILE file = File_OpenFile(name, FILE_READ);
    if (file) {
      File_CloseFile(file);
      return 1;
    }
    Sleep(100);
  }
  return 0;
}

/* ---- Main menu ------------------------------------------------------------------------------ */

#define MAIN_X (88 + MENU_ART_BUTTON_WIDTH / 2)
static int mainY(int id) { return 62 + 55 * id + MENU_ART_BUTTON_HEIGHT / 2; }

static void mainMenu(void) {
  startScreen(MAIN_MENU, 0);
  report("main-over-background", shows("background", 20, 20, BACKGROUND_COLOUR) &&
                                     shows("panel", PANEL_X, PANEL_Y, MENU_ART_PANEL_COLOUR) &&
                                     shows("unlit", MAIN_X, mainY(2), MENU_ART_PANEL_COLOUR));
  act("move", MAIN_X, mainY(2));
  report("main-lights-button", shows("lit", MAIN_X, mainY(2), MENU_ART_BUTTON_COLOUR(2)) &&
                                   shows("edge", 88, 62 + 110, MENU_ART_PANEL_COLOUR));
  act("click", MAIN_X, mainY(3));
  report("help-opens-page", fileAppears("help-opened.html") && running());
  act("click", MAIN_X, mainY(4));
  report("restart-asks", shows("restart box", BOX_LEFT + 10, BOX_TOP + 10, MENU_ART_RESTART_BOX_COLOUR));
  act("rclick", BOX_LEFT + 10, BOX_TOP + 10);
  report("right-button-ignored-in-box",
         stillShows("box stays", BOX_LEFT + 10, BOX_TOP + 10, MENU_ART_RESTART_BOX_COLOUR));
  act("click", BOX_NO_X, BOX_BUTTON_Y);
  report("no-back-to-menu", shows("box gone", BOX_LEFT + 10, BOX_TOP + 10, MENU_ART_PANEL_COLOUR) && running());
  act("click", MAIN_X, mainY(0));
  report("main-returns-0", screenEnd() == 0);

  startScreen(MAIN_MENU, 0);
  shows("panel", PANEL_X, PANEL_Y, MENU_ART_PANEL_COLOUR);
  act("click", MAIN_X, mainY(5));
  report("quit-asks", shows("quit box", BOX_LEFT + 10, BOX_TOP + 10, MENU_ART_QUIT_BOX_COLOUR));
  act("click", BOX_YES_X, BOX_BUTTON_Y);
  report("quit-yes-returns-5", screenEnd() == 5);

  startScreen(MAIN_MENU, 0);
  shows("panel", PANEL_X, PANEL_Y, MENU_ART_PANEL_COLOUR);
  act("click", MAIN_X, mainY(4));
  shows("restart box", BOX_LEFT + 10, BOX_TOP + 10, MENU_ART_RESTART_BOX_COLOUR);
  act("click", BOX_YES_X, BOX_BUTTON_Y);
  report("restart-yes-returns-4", screenEnd() == 4);

  startScreen(MAIN_MENU, 0);
  shows("panel", PANEL_X, PANEL_Y, MENU_ART_PANEL_COLOUR);
  act("click", 516 + 40, 430 + 20);
  report("corner-leaves", screenEnd() == -1);
  startScreen(MAIN_MENU, 0);
  shows("panel", PANEL_X, PANEL_Y, MENU_ART_PANEL_COLOUR);
  act("rclick", 300, 300);
  report("main-right-button-leaves", screenEnd() == -1);
}

/* ---- Title screens and bonus menu ----------------------------------------------------------- */

/* Lights each row of the column of `kind` and checks the button shown there. */
static int column(int kind, int top, const int* ids, int count) {
  int passed = shows("title background", 5, 5, STARTUP_ART_BACKGROUND_COLOUR(kind));
  for (int row = 0; row < count; ++row) {
    int y = top + 55 * row;
    act("move", 222 + 100, y + 26);
    passed = shows("lit row", 222 + 1, y + 1, STARTUP_ART_BUTTON_COLOUR(kind, ids[row])) && passed;
  }
  act("move", 222 + 100, top + 55 * count + 10);
  return stillShows("below", 222 + 100, top + 55 * count + 10, STARTUP_ART_BACKGROUND_COLOUR(kind)) && passed;
}

static void titleScreens(void) {
  static const int kind1[] = {0, 2, 4}, kind2[] = {0, 1, 2, 4}, kind3[] = {0, 1, 2, 3, 4};
  report("unknown-kinds", Nodali_StartupMenu(target, 0) == -1 && Nodali_StartupMenu(target, 4) == -1);

  startScreen(STARTUP_MENU, 1);
  report("kind-1-column", column(1, 159, kind1, 3));
  act("rclick", 300, 300);
  report("title-ignores-right-button", running());
  act("click", 222 + 100, 214 + 26);
  report("kind-1-returns-2", screenEnd() == 2);

  startScreen(STARTUP_MENU, 2);
  report("kind-2-column", column(2, 131, kind2, 4));
  act("click", 222 + 100, 131 + 55 + 26);
  report("kind-2-returns-1", screenEnd() == 1);

  startScreen(STARTUP_MENU, 3);
  report("kind-3-column", column(3, 104, kind3, 5));
  act("click", 222 + 100, 104 + 4 * 55 + 26);
  report("quit-gives-minus-1", screenEnd() == -1);

  startScreen(OMAKE_MENU, 0);
  report("bonus-shows", shows("bonus background", 5, 5, OMAKE_ART_BACKGROUND_COLOUR));
  act("move", 222 + 100, 214 + 26);
  report("bonus-lights-music", shows("music", 222 + 100, 214 + 26, OMAKE_ART_BUTTON_COLOUR(1)));
  act("click", 222 + 100, 214 + 26);
  report("bonus-returns-1", screenEnd() == 1);
  startScreen(OMAKE_MENU, 0);
  shows("bonus background", 5, 5, OMAKE_ART_BACKGROUND_COLOUR);
  act("click", 222 + 100, 269 + 26);
  report("bonus-back-gives-minus-1", screenEnd() == -1);
}

/* ---- Sound configuration -------------------------------------------------------------------- */

#define MUSIC_ROW 162
#define KNOB_X(step) (322 + 16 * (step) + 10)

static int32_t config(const char* entry) { return (int32_t)ZPK_GetProfileInt("Config", entry, 99); }

static void soundConfig(void) {
  KFILE file = File_OpenFile("tone.wav", FILE_READ);
  music = PCM_ReadWave(file);
  File_CloseFile(file);
  report("tone-plays", music && PCM_PlayWave(music, 1, NULL) == 0);

  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  ZPK_WriteProfileInt("Config", "VolumeOfBGM", 8);
  ZPK_WriteProfileInt("Config", "MessageSpeed", 3);
  startScreen(SOUND_CONFIG, 0);
  report("config-shows", shows("background", 20, 20, BACKGROUND_COLOUR) &&
                             shows("wave chosen", 270 + 50, 84 + 18, SOUND_ART_WAVE_COLOUR(1)) &&
                             shows("midi not", 417 + 50, 84 + 18, SOUND_ART_MIDI_COLOUR(0)) &&
                             shows("knob at 8", KNOB_X(8), MUSIC_ROW + 10, SOUND_ART_KNOB_COLOUR) &&
                             shows("speed knob at 3", 322 + 32 * 3 + 10, 326 + 10, SOUND_ART_KNOB_COLOUR));
  act("record-start", 1, 0);
  Sleep(1000);
  act("record-stop", 1, 0);
  for (int click = 0; click < 3; ++click) act("click", 306 + 6, MUSIC_ROW + 15);
  report("arrow-moves-knob", shows("knob at 5", KNOB_X(5), MUSIC_ROW + 10, SOUND_ART_KNOB_COLOUR));
  act("record-start", 2, 0);
  Sleep(1000);
  act("record-stop", 2, 0);
  act("press", KNOB_X(5), MUSIC_ROW + 10);
  act("move", KNOB_X(6), MUSIC_ROW + 10);
  act("move", KNOB_X(7), MUSIC_ROW + 10);
  act("release", KNOB_X(7), MUSIC_ROW + 10);
  report("drag-moves-knob", shows("knob at 7", KNOB_X(7), MUSIC_ROW + 10, SOUND_ART_KNOB_COLOUR));
  act("record-start", 3, 0);
  Sleep(1000);
  act("record-stop", 3, 0);
  act("click", 417 + 50, 84 + 18);
  report("midi-chosen", shows("midi lit", 417 + 50, 84 + 18, SOUND_ART_MIDI_COLOUR(1)) &&
                            shows("wave dark", 270 + 50, 84 + 18, SOUND_ART_WAVE_COLOUR(0)));
  act("click", 474 + 6, 244 + 15);
  act("click", 516 + 40, 430 + 20);
  screenEnd();
  report("config-saved", config("BgmSelection") == 1 && config("VolumeOfBGM") == 7 && config("VolumeOfVoice") == 8 &&
                             config("MessageSpeed") == 3);
  PCM_StopWave(music);
  PCM_Delete(music);

  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 0);
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  startScreen(SOUND_CONFIG, 0);
  report("without-wave-music-midi", shows("midi lit", 417 + 50, 84 + 18, SOUND_ART_MIDI_COLOUR(1)));
  act("click", 270 + 50, 84 + 18);
  report("wave-button-dead", stillShows("wave dark", 270 + 50, 84 + 18, SOUND_ART_WAVE_COLOUR(0)));
  act("rclick", 300, 300);
  screenEnd();
  report("right-button-saves-midi", config("BgmSelection") == 1);
}

/* ---- Bad input ------------------------------------------------------------------------------ */

static void missingArchives(void) {
  ZPK_WriteProfileString("Installed", "BinDir", "nothing");
  ZPK_WriteProfileString("Config", NULL, NULL);
  report("missing-archives", Nodali_MainMenu(target, background) == -1 && Nodali_StartupMenu(target, 1) == -1 &&
                                 Nodali_OmakeSelectMenu(target) == -1);
  Nodali_SoundConfigMenu(target, background, NULL, NULL);
  report("missing-config-writes-nothing", config("VolumeOfBGM") == 99);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  ZPK_SetRegistryKey("Runa1 Tests", "menus_module");
  ZPK_WriteProfileString("Installed", "BinDir", "art");
  report("main-window", openScreenWindow("Menus Test"));
  background = graphic_CreateBitmap(SCREEN_WIDTH, SCREEN_HEIGHT, 24);
  RECT whole = {0, 0, SCREEN_WIDTH - 1, SCREEN_HEIGHT - 1};
  graphic_DrawFullRectangle(background, &whole, BACKGROUND_COLOUR, 0, 0);

  mainMenu();
  titleScreens();
  soundConfig();
  missingArchives();
  ZPK_WriteProfileString("Installed", NULL, NULL);
  ZPK_WriteProfileString("Config", NULL, NULL);
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
