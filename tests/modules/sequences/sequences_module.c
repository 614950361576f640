/* Runs the opening and the ending in the main window while this thread reads the window's pixels
 * back, and writes what it saw to its log for the test to analyse: lines "s TICK A B C D" with
 * the colours at four points. The runner clicks where the module asks. The pictures come from the sequences'
 * art generator ("Sequence.arc"), the music "m11.wav" and the sound "se990800.wav" from the
 * test's own archives. */
#include <windows.h>

#include "../module_log.h"
#include "../../../tools/screen_art/sequence_look.h"

#define WIDTH 640
#define HEIGHT 480
#define MAX_SAMPLES 12000

/* The points read: the top left (full pictures and the scrolled rows), the band's left and
 * right halves, and the middle of the composed pictures. */
static const POINT points[4] = {{10, 10}, {100, 200}, {500, 200}, {366, 199}};

static HWND window;
static GRAPHIC target;
static KARCHIVE images, music, sounds;
static uint32_t step;
static KFILE runLog;
static uint32_t samples[MAX_SAMPLES][5];
static uint32_t sampleCount;

static uint32_t pixel(HDC dc, int x, int y) {
  COLORREF colour = GetPixel(dc, x, y);
  return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

static uint32_t pixelNow(int x, int y) {
  HDC dc = GetDC(window);
  uint32_t colour = pixel(dc, x, y);
  ReleaseDC(window, dc);
  return colour;
}

static void sample(void) {
  if (sampleCount == MAX_SAMPLES) return;
  HDC dc = GetDC(window);
  uint32_t* row = samples[sampleCount++];
  row[0] = GetTickCount();
  for (int i = 0; i < 4; ++i) row[i + 1] = pixel(dc, points[i].x, points[i].y);
  ReleaseDC(window, dc);
}

static void writeSamples(void) {
  for (uint32_t i = 0; i < sampleCount; ++i) {
    logText("s");
    for (int j = 0; j < 5; ++j) {
      logText(" ");
      logNumber(samples[i][j]);
    }
    logText("\n");
  }
  sampleCount = 0;
}

static void logTick(const char* what) {
  logText(what);
  logText(" ");
  logNumber(GetTickCount());
  logText("\n");
}

/* Asks the runner for a right click at client (x, y) with the file "ask-N", which holds the
 * screen point, and waits for its answer, the file "done-N". */
static void rightClick(int x, int y) {
  char ask[] = "ask-000", done[] = "done-000";
  ++step;
  ask[6] = done[7] = (char)('0' + step % 10);
  POINT at = {x, y};
  ClientToScreen(window, &at);
  KFILE file = File_OpenFile(ask, FILE_WRITE | FILE_CREATE);
  logFile = file;
  logNumber((uint32_t)at.x);
  logText(" ");
  logNumber((uint32_t)at.y);
  logText("\n");
  File_CloseFile(file);
  logFile = runLog;
  for (int attempt = 0; attempt < 600; ++attempt) {
    file = File_OpenFile(done, FILE_READ);
    if (file) {
      File_CloseFile(file);
      return;
    }
    Sleep(20);
  }
  logText("the runner did not act\n");
}

/* ---- The sequences on their thread --------------------------------------------------------- */

enum { OPENING, ENDING };
static int which;
static KARCHIVE runImages, runMusic, runSounds;
static volatile int32_t result;
static ZPKTHREAD sequence;

static uint32_t __stdcall sequenceThread(uint32_t argument) {
  result = which == OPENING ? Nodali_PerformOpening(target, runImages, runMusic, runSounds)
                            : Nodali_PerformEnding(target, runImages, runMusic, runSounds);
  return 0;
}

static void start(int kind, KARCHIVE pictures, KARCHIVE songs, KARCHIVE effects) {
  which = kind;
  runImages = pictures;
  runMusic = songs;
  runSounds = effects;
  result = -100;
  sequence = ZPK_BeginThread(sequenceThread, 0, THREAD_PRIORITY_NORMAL, 0);
}

static int running(uint32_t milliseconds) {
  return WaitForSingleObject(ZPK_GetThreadHandle(sequence), milliseconds) == WAIT_TIMEOUT;
}

static int32_t finish(void) {
  if (running(20000)) return -100;
  ZPK_EndThread(sequence);
  return result;
}

/* ---- The cases ----------------------------------------------------------------------------- */

/* A moment of the music before the sequences: the first sound through a new device may be lost
 * before it reaches the audio server, and the sequences' sounds are listened for. */
static void warmUp(void) {
  KPCMSOUND warm = KORALArchive_DescendFile(music, "m11.wav") == 0 ? PCM_ReadWave(music) : NULL;
  report("warm-up", warm && PCM_PlayWave(warm, 0, NULL) == 0);
  Sleep(400);
  PCM_StopWave(warm);
  PCM_Delete(warm);
}

/* The whole opening, read every few milliseconds. */
static void opening(void) {
  logTick("opening-start");
  start(OPENING, images, music, sounds);
  while (running(0)) {
    sample();
    Sleep(8);
  }
  logTick("opening-end");
  report("opening-runs-to-its-end", finish() == 0);
  report("opening-ends-black", pixelNow(10, 10) == 0 && pixelNow(320, 240) == 0);
  writeSamples();
}

/* The ending with wave music, cut short with a right click once its second picture is up. */
static void endingCut(void) {
  logTick("ending-start");
  start(ENDING, images, music, sounds);
  int second = 0;
  for (int attempt = 0; attempt < 2000 && !second && running(0); ++attempt) {
    sample();
    second = pixelNow(10, 10) == SEQ_ART_COLOUR(6470);
    Sleep(8);
  }
  report("ending-shows-second-picture", second);
  logTick("click");
  rightClick(WIDTH / 2, HEIGHT / 2);
  int32_t cut = finish();
  logTick("ending-end");
  report("ending-cut-short", cut == 1);
  report("ending-stops-at-second-picture", pixelNow(10, 10) == SEQ_ART_COLOUR(6470));
  writeSamples();
}

/* Without archives the ending shows black and still ends with the right button. */
static void endingWithoutFiles(void) {
  graphic_DrawFullRectangle(target, NULL, 0xFFFFFF, 0, 0);
  start(ENDING, NULL, NULL, NULL);
  Sleep(500);
  report("blank-without-pictures", pixelNow(10, 10) == 0);
  logTick("bare-click");
  rightClick(WIDTH / 2, HEIGHT / 2);
  report("bare-ending-cut-short", finish() == 1);
  logTick("bare-end");
  report("no-target", Nodali_PerformOpening(NULL, images, music, sounds) == 0);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  runLog = logFile;
  ZPK_SetRegistryKey("Runa1 Tests", "sequences_module");
  ZPK_WriteProfileInt("Config", "BgmSelection", 0);
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
  report("mixer-open", WaveMixer_Open(200, 10, 44100, 2, 16) == 0);
  RECT rect = {0, 0, WIDTH, HEIGHT};
  report("main-window", InitializeMainWindow("Sequences Test", WS_POPUP, 0, &rect) == 0);
  window = ZPK_GetMainWindow();
  target = graphic_CreateBitmap(WIDTH, HEIGHT, 24);
  RECT whole = {0, 0, WIDTH - 1, HEIGHT - 1};
  View_AttachScreen(View_Create(target, &whole, NULL), NULL, 0);
  images = KORALArchive_Open("Sequence.arc", 0);
  music = KORALArchive_Open("music.arc", 0);
  sounds = KORALArchive_Open("sounds.arc", 0);
  report("archives", images && music && sounds);

  warmUp();
  opening();
  endingCut();
  endingWithoutFiles();

  KORALArchive_Close(images);
  KORALArchive_Close(music);
  KORALArchive_Close(sounds);
  ZPK_WriteProfileString("Config", NULL, NULL);
  ZPK_WriteProfileString("Installed", NULL, NULL);
  WaveMixer_Close();
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
