/* Runs the music mode and the CG mode in the main window while the test runner plays the
 * player: for each step the module writes "do N VERB X Y" to its log (client coordinates, or a
 * motion for "nudge") and waits for the runner's file "done-N", then reads the window's pixels
 * back. The screens run on a thread of the module's own, so that this one can look and ask.
 * The runner records what the sound device plays meanwhile. The files come from screen_art:
 * "art" holds the screens' archives and cursors, and "tracks.arc" and "pictures.arc", what the
 * module hands the screens. */
#include "../screen_steps.h"
#include "../../../tools/screen_art/gallery_look.h"


/* ---- The screens on their thread ----------------------------------------------------------- */

enum { MUSIC, CG };
static int screenKind;
static KARCHIVE screenArchive;
static uint32_t screenFlags[32];
static uint32_t screenCount;

static uint32_t __stdcall screenThread(uint32_t argument) {
  screenResult = screenKind == MUSIC ? Nodali_MusicMode(target, screenArchive)
                                     : Nodali_CGMode(target, screenArchive, screenFlags, screenCount);
  return 0;
}

static void startScreen(int kind, KARCHIVE archive) {
  screenKind = kind;
  screenArchive = archive;
  startScreenThread(screenThread);
}

/* ---- The music mode ------------------------------------------------------------------------ */

static int trackX(int track) { return (track % 2 ? 328 : 8) + 150; }
static int trackY(int track) { return 24 + 56 * (track / 2) + 20; }
#define WAVE_X (8 + 50)
#define MIDI_X (128 + 50)
#define SOURCE_Y (424 + 18)
#define LEFT_X (290 + 6)
#define ARROW_Y (427 + 15)

/* The sound the runner listens for: track 3 looping for 2 s, track 10 once (1 s), track 6 at
 * full volume, then at step 6 (a quarter), then silence. */
static void musicMode(KARCHIVE tracks) {
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  ZPK_WriteProfileInt("Config", "VolumeOfBGM", 8);
  startScreen(MUSIC, tracks);
  report("music-shows-screen", shows("background", 5, 5, MUSIC_ART_BACKGROUND_COLOUR) &&
                                   shows("wave chosen", WAVE_X, SOURCE_Y, MUSIC_ART_WAVE_COLOUR) &&
                                   shows("midi not", MIDI_X, SOURCE_Y, MUSIC_ART_BACKGROUND_COLOUR));
  act("click", trackX(3), trackY(3));
  report("track-lit", shows("track 3 lit", trackX(3), trackY(3), MUSIC_ART_TRACK_COLOUR(3)));
  Sleep(3000); /* three times the wave: it loops */
  act("click", trackX(10), trackY(10));
  report("one-lit-at-a-time", shows("track 10 lit", trackX(10), trackY(10), MUSIC_ART_TRACK_COLOUR(10)) &&
                                  shows("track 3 dark", trackX(3), trackY(3), MUSIC_ART_BACKGROUND_COLOUR));
  Sleep(2500);
  report("ended-track-stays-lit", shows("track 10 still lit", trackX(10), trackY(10), MUSIC_ART_TRACK_COLOUR(10)));
  act("click", trackX(6), trackY(6));
  Sleep(1500);
  act("click", LEFT_X, ARROW_Y);
  act("click", LEFT_X, ARROW_Y);
  Sleep(1500);
  act("click", trackX(6), trackY(6));
  report("second-click-clears", shows("track 6 dark", trackX(6), trackY(6), MUSIC_ART_BACKGROUND_COLOUR));
  Sleep(1000);
  act("click", MIDI_X, SOURCE_Y);
  report("midi-chosen", shows("midi", MIDI_X, SOURCE_Y, MUSIC_ART_MIDI_COLOUR) &&
                            shows("wave not", WAVE_X, SOURCE_Y, MUSIC_ART_BACKGROUND_COLOUR));
  act("click", trackX(1), trackY(1));
  report("midi-track-lit", shows("track 1 lit", trackX(1), trackY(1), MUSIC_ART_TRACK_COLOUR(1)) && running());
  act("click", trackX(MUSIC_ART_BROKEN_TRACK), trackY(MUSIC_ART_BROKEN_TRACK));
  report("broken-track-runs-on", shows("broken lit", trackX(MUSIC_ART_BROKEN_TRACK), trackY(MUSIC_ART_BROKEN_TRACK),
                                       MUSIC_ART_TRACK_COLOUR(MUSIC_ART_BROKEN_TRACK)) &&
                                     running());
  act("rclick", 600, 20);
  report("music-right-button-ends", screenEnd() == MUSIC_ART_BROKEN_TRACK + 1);
  report("music-settings-stored", ZPK_GetProfileInt("Config", "BgmSelection", 7) == 1 &&
                                      ZPK_GetProfileInt("Config", "VolumeOfBGM", 7) == 6);
  startScreen(MUSIC, tracks);
  report("music-again", shows("midi stored", MIDI_X, SOURCE_Y, MUSIC_ART_MIDI_COLOUR));
  act("click", 544 + 40, 425 + 18);
  report("music-exit-gives-0", screenEnd() == 0);
}

/* ---- The CG mode --------------------------------------------------------------------------- */

static int cellX(int column) { return 8 + 144 * column + 64; }
static int cellY(int row) { return 24 + 112 * row + 48; }

static void cgMode(KARCHIVE pictures) {
  /* 22 positions: 6 rows; position 2 locked; position 0 in variants 0 and 2, 1 small, 3 missing. */
  screenCount = 22;
  for (uint32_t i = 0; i < screenCount; ++i) screenFlags[i] = 1;
  screenFlags[0] = 5;
  screenFlags[2] = 0;
  startScreen(CG, pictures);
  report("cg-shows-unlocked", shows("background", 5, 5, CG_ART_BACKGROUND_COLOUR) &&
                                  shows("position 0", cellX(0), cellY(0), CG_ART_THUMBNAIL_COLOUR(0)) &&
                                  shows("position 1", cellX(1), cellY(0), CG_ART_THUMBNAIL_COLOUR(1)) &&
                                  shows("position 2 locked", cellX(2), cellY(0), CG_ART_BACKGROUND_COLOUR) &&
                                  shows("position 15", cellX(3), cellY(3), CG_ART_THUMBNAIL_COLOUR(15)));
  act("click", 591 + 16, 394 + 9);
  report("cg-page-down", shows("position 8 on top", cellX(0), cellY(0), CG_ART_THUMBNAIL_COLOUR(8)) &&
                             shows("black past the count", cellX(2), cellY(3), CG_ART_BLACK_COLOUR));
  act("click", 591 + 16, 43 + 7);
  report("cg-row-up", shows("position 4 on top", cellX(0), cellY(0), CG_ART_THUMBNAIL_COLOUR(4)));
  act("click", 591 + 16, 20 + 9);
  report("cg-page-up", shows("position 0 on top", cellX(0), cellY(0), CG_ART_THUMBNAIL_COLOUR(0)));

  act("click", cellX(0), cellY(0));
  report("viewer-shows-picture", shows("corner", 10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)) &&
                                     shows("far", 630, 470, CG_ART_PICTURE_COLOUR(0, 630, 470)));
  act("nudge", -100, -50);
  report("viewer-pans-against-the-mouse", shows("moved", 10, 20, CG_ART_PICTURE_COLOUR(0, 110, 70)));
  act("nudge", 40, 0);
  report("viewer-pans-back", shows("moved back", 10, 20, CG_ART_PICTURE_COLOUR(0, 70, 70)));
  act("nudge", -300, -300);
  report("viewer-stops-at-the-edge",
         shows("edge", 639, 479, CG_ART_PICTURE_COLOUR(0, CG_ART_LARGE_WIDTH - 1, CG_ART_LARGE_HEIGHT - 1)));
  act("click", 320, 240);
  report("viewer-next-variant", shows("variant 2", 10, 20, CG_ART_PICTURE_COLOUR(2, 10, 20)));
  act("rclick", 320, 240);
  report("viewer-right-button-leaves", shows("table", cellX(0), cellY(0), CG_ART_THUMBNAIL_COLOUR(0)));

  act("click", cellX(1), cellY(0));
  report("small-picture", shows("corner", 10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)) && shows("black", 400, 300, 0));
  act("nudge", -100, -50);
  report("small-picture-stays", stillShows("corner", 10, 20, CG_ART_PICTURE_COLOUR(0, 10, 20)));
  act("rclick", 320, 240);
  report("back-to-table", shows("table", cellX(1), cellY(0), CG_ART_THUMBNAIL_COLOUR(1)));
  act("click", cellX(3), cellY(0));
  report("missing-picture", stillShows("table", cellX(3), cellY(0), CG_ART_THUMBNAIL_COLOUR(3)) && running());
  act("click", 579 + 29, 436 + 18);
  report("cg-exit-gives-10", screenEnd() == 10);

  /* Every bit set, and a table of five that stands two rows lower. */
  screenCount = 5;
  for (uint32_t i = 0; i < screenCount; ++i) screenFlags[i] = 0xFFFFFFFF;
  startScreen(CG, pictures);
  report("short-table-lower", shows("row 2", cellX(0), cellY(2), CG_ART_THUMBNAIL_COLOUR(0)) &&
                                  shows("row 3", cellX(0), cellY(3), CG_ART_THUMBNAIL_COLOUR(4)) &&
                                  shows("row 0 empty", cellX(0), cellY(0), CG_ART_BACKGROUND_COLOUR));
  act("rclick", 600, 20);
  report("cg-right-button-gives-minus-1", screenEnd() == -1);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  ZPK_SetRegistryKey("Runa1 Tests", "galleries_module");
  ZPK_WriteProfileString("Installed", "BinDir", "art");
  report("main-window", openScreenWindow("Galleries Test"));

  KARCHIVE tracks = KORALArchive_Open("art\\tracks.arc", 0);
  KARCHIVE pictures = KORALArchive_Open("art\\pictures.arc", 0);
  report("archives", tracks && pictures);
  musicMode(tracks);
  cgMode(pictures);
  ZPK_WriteProfileString("Installed", "BinDir", "nothing");
  report("missing-archives", Nodali_MusicMode(target, tracks) == -1 &&
                                 Nodali_CGMode(target, pictures, screenFlags, screenCount) == -1);
  KORALArchive_Close(tracks);
  KORALArchive_Close(pictures);
  ZPK_WriteProfileString("Installed", NULL, NULL);
  ZPK_WriteProfileString("Config", NULL, NULL);
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
