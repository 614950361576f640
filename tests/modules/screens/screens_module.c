/* Runs the save and load screens in the main window while the test runner plays the player:
 * for each step the module writes "do N VERB X Y" (client coordinates) to its log and waits for
 * the runner's file "done-N", then reads the window's pixels back and checks what the screen
 * shows (tests/modules/screen_steps.h).
 * Save files are written here in the layout the screens read; the bitmaps come from the screens'
 * art generator (folders "art" and "sparse", the latter with bitmaps left out). */
#include "../screen_steps.h"
#include "../../../tools/screen_art/save_menu_look.h"

#define BOX_LEFT ((SCREEN_WIDTH - SAVE_ART_BOX_WIDTH) >> 1)
#define BOX_TOP ((SCREEN_HEIGHT - SAVE_ART_BOX_HEIGHT) >> 1)

/* ---- Save files ---------------------------------------------------------------------------- */

static void putWord(uint8_t* bytes, uint32_t offset, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[offset + i] = (uint8_t)(value >> (8 * i));
}

static uint8_t saveBytes[20000];

/* A file of `size` bytes with the four fields, written at the given local time. */
static void writeSave(int page, int slot, uint32_t status, uint32_t chapter, uint32_t picture, uint32_t kind,
                      uint32_t size, WORD year, WORD month, WORD day, WORD hour, WORD minute) {
  char name[] = "saves\\nodali00.sav";
  name[12] = (char)('0' + page);
  name[13] = (char)('0' + slot);
  for (uint32_t i = 0; i < size; ++i) saveBytes[i] = (uint8_t)(i * 7 + 3);
  putWord(saveBytes, 0, status);
  if (size >= 12) {
    putWord(saveBytes, 4, chapter);
    putWord(saveBytes, 8, picture);
  }
  if (size >= 12364) putWord(saveBytes, 12360, kind);
  KFILE file = File_OpenFile(name, FILE_WRITE | FILE_CREATE);
  File_Write(file, saveBytes, size);
  SYSTEMTIME local = {year, month, 0, day, hour, minute, 0, 0};
  FILETIME localTime, fileTime;
  SystemTimeToFileTime(&local, &localTime);
  LocalFileTimeToFileTime(&localTime, &fileTime);
  SetFileTime(File_GetFileHandle(file), NULL, NULL, &fileTime);
  File_CloseFile(file);
}

static void writeSaves(void) {
  CreateDirectoryA("saves", NULL);
  writeSave(1, 9, 2, 5, 1, 2, 12424, 2001, 1, 1, 0, 0);
  writeSave(2, 0, 2, 1, 2, 1, 12424, 1999, 3, 7, 9, 5);
  writeSave(2, 1, 2, 3, 6, 0x8002, sizeof saveBytes, 2024, 12, 25, 23, 59); /* oversized */
  writeSave(2, 2, 2, 6, 1, 1, 12424, 2000, 1, 1, 0, 0);                       /* chapter 6 */
  writeSave(2, 3, 2, 1, 1, 1, 100, 2000, 1, 1, 0, 0);                         /* short */
  writeSave(2, 4, 0x5A5A5A5A, 0, 0, 0, 5000, 2000, 1, 1, 0, 0);               /* garbage */
  writeSave(4, 0, 2, 2, 1, 1, 12424, 2010, 6, 1, 12, 0);
}

/* ---- The screens on their thread ----------------------------------------------------------- */

enum { SAVE, LOAD };
static int screenKind, screenPage;

static uint32_t __stdcall screenThread(uint32_t argument) {
  screenResult = screenKind == SAVE ? Nodali_SaveContextMenu(target, screenPage) : Nodali_LoadContextMenu(target, screenPage);
  return 0;
}

static void startScreen(int kind, int page) {
  screenKind = kind;
  screenPage = page;
  startScreenThread(screenThread);
}

/* ---- Places on a page ---------------------------------------------------------------------- */

static int slotX(int slot) { return slot < 5 ? 36 : 322; }
static int slotY(int slot) { return 40 + 74 * (slot % 5); }
/* A spot of the slot that its data never covers; and (1, 1) into a glyph of the slot. */
static int groundX(int slot) { return slotX(slot) + 20; }
static int groundY(int slot) { return slotY(slot) + 50; }
static int inX(int slot, int dx) { return slotX(slot) + dx + 1; }
static int inY(int slot, int dy) { return slotY(slot) + dy + 1; }

#define PREVIOUS_X (8 + 50)
#define NEXT_X (527 + 50)
#define BACK_X (278 + 40)
#define BUTTONS_Y (435 + 18)

/* ---- The cases ----------------------------------------------------------------------------- */

static void loadScreen(void) {
  startScreen(LOAD, 2);
  report("load-shows-page", shows("page 2", 5, 5, SAVE_ART_PAGE_COLOUR(2)));
  report("load-kind-marks", shows("kind 1", inX(0, 48), inY(0, 3), SAVE_ART_KIND_COLOUR(1, 0)) &&
                                shows("kind 2", inX(1, 48), inY(1, 3), SAVE_ART_KIND_COLOUR(2, 0)));
  report("load-pictures", shows("chapter 1 picture 2", inX(0, 46), inY(0, 36), SAVE_ART_PICTURE_COLOUR(1, 2, 0)) &&
                              shows("chapter 3 picture 6", inX(1, 46), inY(1, 36), SAVE_ART_PICTURE_COLOUR(3, 6, 0)));
  report("load-date-glyphs", shows("1 of 1999", inX(0, 140), inY(0, 3), SAVE_ART_GLYPH_COLOUR(1, 0)) &&
                                 shows("9 of 1999", inX(0, 176), inY(0, 3), SAVE_ART_GLYPH_COLOUR(9, 0)) &&
                                 shows("blank of march", inX(0, 202), inY(0, 3), SAVE_ART_PAGE_COLOUR(2)) &&
                                 shows("3 of march", inX(0, 214), inY(0, 3), SAVE_ART_GLYPH_COLOUR(3, 0)) &&
                                 shows("5 of 23:59", inX(1, 228), inY(1, 19), SAVE_ART_GLYPH_COLOUR(5, 0)));
  report("load-empty-slots", shows("damaged", inX(2, 46), inY(2, 36), SAVE_ART_PICTURE_COLOUR(0, 0, 0)) &&
                                 shows("short", inX(3, 140), inY(3, 3), SAVE_ART_GLYPH_COLOUR(10, 0)) &&
                                 shows("garbage", inX(4, 118), inY(4, 19), SAVE_ART_GLYPH_COLOUR(10, 0)));
  report("load-page-buttons", shows("previous", PREVIOUS_X, BUTTONS_Y, SAVE_ART_PREVIOUS_COLOUR(0)) &&
                                  shows("next", NEXT_X, BUTTONS_Y, SAVE_ART_NEXT_COLOUR(0)));
  act("move", groundX(0), groundY(0));
  report("hover-lights-slot", shows("lit slot 0", groundX(0), groundY(0), SAVE_ART_HOVER_COLOUR(0)) &&
                                  shows("lit glyph", inX(0, 140), inY(0, 3), SAVE_ART_GLYPH_COLOUR(1, 1)));
  act("move", groundX(2), groundY(2));
  report("damaged-slot-stays-dark", shows("slot 0 dark again", groundX(0), groundY(0), SAVE_ART_PAGE_COLOUR(2)) &&
                                        stillShows("slot 2", groundX(2), groundY(2), SAVE_ART_PAGE_COLOUR(2)));
  act("click", groundX(2), groundY(2));
  report("damaged-slot-not-taken", running());
  act("click", NEXT_X, BUTTONS_Y);
  report("next-skips-to-page-4", shows("page 4", 5, 5, SAVE_ART_PAGE_COLOUR(4)));
  act("click", PREVIOUS_X, BUTTONS_Y);
  report("previous-to-page-2", shows("page 2 again", 5, 5, SAVE_ART_PAGE_COLOUR(2)));
  act("click", PREVIOUS_X, BUTTONS_Y);
  report("previous-to-page-1", shows("page 1", 5, 5, SAVE_ART_PAGE_COLOUR(1)));
  act("click", groundX(9), groundY(9));
  report("load-click-returns-slot", screenEnd() == 19);
}

static void saveScreenConfirmation(void) {
  startScreen(SAVE, 2);
  report("save-shows-page", shows("page 2", 5, 5, SAVE_ART_PAGE_COLOUR(2)));
  report("save-has-no-page-buttons", shows("no previous", PREVIOUS_X, BUTTONS_Y, SAVE_ART_PAGE_COLOUR(2)));
  act("click", groundX(0), groundY(0));
  report("used-slot-asks", shows("the box", BOX_LEFT + 10, BOX_TOP + 10, SAVE_ART_BOX_COLOUR));
  act("rclick", BOX_LEFT + 10, BOX_TOP + 10);
  report("right-button-ignored-in-box", stillShows("box stays", BOX_LEFT + 10, BOX_TOP + 10, SAVE_ART_BOX_COLOUR));
  act("click", BOX_LEFT + 0x8B + 10, BOX_TOP + 0x60 + 10);
  report("no-closes-box", shows("box gone", BOX_LEFT + 10, BOX_TOP + 10, SAVE_ART_PAGE_COLOUR(2)) && running());
  act("click", groundX(1), groundY(1));
  report("asks-again", shows("the box again", BOX_LEFT + 10, BOX_TOP + 10, SAVE_ART_BOX_COLOUR));
  act("click", BOX_LEFT + 0x23 + 10, BOX_TOP + 0x60 + 10);
  report("yes-returns-slot", screenEnd() == 21);
}

static void pressMovedOff(void) {
  startScreen(SAVE, 2);
  shows("page 2", 5, 5, SAVE_ART_PAGE_COLOUR(2));
  act("press", groundX(5), groundY(5));
  act("move", 600, 20);
  act("release", 600, 20);
  act("press", groundX(6), groundY(6));
  act("move", 600, 20);
  act("move", groundX(6), groundY(6));
  act("release", groundX(6), groundY(6));
  report("press-moved-off-gives-nothing", running());
  act("rclick", 600, 20);
  report("right-button-cancels", screenEnd() == -1);

  startScreen(SAVE, 2);
  shows("page 2", 5, 5, SAVE_ART_PAGE_COLOUR(2));
  act("click", groundX(3), groundY(3));
  report("empty-slot-taken-at-once", screenEnd() == 23);
}

static void badInput(void) {
  report("bad-page", Nodali_SaveContextMenu(target, 0) == -1 && Nodali_LoadContextMenu(target, 6) == -1);
  ZPK_WriteProfileString("Installed", "BinDir", "nothing");
  report("missing-archive", Nodali_LoadContextMenu(target, 1) == -1);

  ZPK_WriteProfileString("Installed", "BinDir", "sparse\\");
  startScreen(LOAD, 2);
  report("sparse-shows-page", shows("page 2", 5, 5, SAVE_ART_PAGE_COLOUR(2)));
  report("sparse-draws-no-glyphs", stillShows("no glyph", inX(0, 140), inY(0, 3), SAVE_ART_PAGE_COLOUR(2)));
  act("rclick", 600, 20);
  report("sparse-cancels", screenEnd() == -1);
}

static void cursorFiles(void) {
  HCURSOR arrow = LoadCursorFromFileA("art\\Arrow.cur"), hand = LoadCursorFromFileA("art\\GripHand.cur");
  report("cursor-files-load", arrow && hand);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  ZPK_SetRegistryKey("Runa1 Tests", "screens_module");
  ZPK_WriteProfileString("Installed", "BinDir", "art");
  ZPK_WriteProfileString("Installed", "SaveDir", "saves");
  writeSaves();
  report("main-window", openScreenWindow("Screens Test"));

  cursorFiles();
  loadScreen();
  saveScreenConfirmation();
  pressMovedOff();
  badInput();
  ZPK_WriteProfileString("Installed", NULL, NULL);
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
