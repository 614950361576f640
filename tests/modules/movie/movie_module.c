/* Plays the test movies in the main window while the runner plays the player. The movie runs
 * on this thread; a watcher thread reads the window's pixels back during the play and asks the
 * runner for keys and clicks (player_steps.h). frames.avi: 50 frames at 10 per second, frame N
 * all of the grey 20 + 4N; damaged.avi: the same cut off in its third frame. */
#include <windows.h>

#include "../module_log.h"
#include "../player_steps.h"

#define WIDTH 640
#define HEIGHT 480
#define FRAMES 50
#define MOVIE_MILLISECONDS 5000

static HWND window;

/* What the watcher saw, read by this thread after the watcher has ended. */
static volatile LONG watcherDone;
static int firstFrame, laterFrame;
static uint32_t outsideColour;
static DWORD actionsDoneAt;

static uint32_t pixel(int x, int y) {
  HDC dc = GetDC(window);
  COLORREF colour = GetPixel(dc, x, y);
  ReleaseDC(window, dc);
  return (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF);
}

/* The frame whose grey the window shows at (x, y), or -1. */
static int frameAt(int x, int y) {
  uint32_t colour = pixel(x, y);
  uint32_t grey = colour & 0xFF;
  if (colour != (grey << 16 | grey << 8 | grey) || grey < 20 || (grey - 20) % 4 != 0) return -1;
  return (int)(grey - 20) / 4 < FRAMES ? (int)(grey - 20) / 4 : -1;
}

/* Waits up to two seconds for a frame of the movie at (x, y). */
static int waitForFrame(int x, int y) {
  for (int attempt = 0; attempt < 40; ++attempt) {
    int frame = frameAt(x, y);
    if (frame >= 0) return frame;
    Sleep(50);
  }
  return -1;
}

/* The watcher of a play: two looks a second apart at (x, y), where the movie shows, one at
 * (outsideX, outsideY), then the actions. */
struct Watch {
  int x, y, outsideX, outsideY;
  const char* actions[3];
};
static struct Watch watch;

static uint32_t __stdcall watcher(uint32_t argument) {
  (void)argument;
  firstFrame = waitForFrame(watch.x, watch.y);
  Sleep(1000);
  laterFrame = frameAt(watch.x, watch.y);
  outsideColour = pixel(watch.outsideX, watch.outsideY);
  for (int i = 0; i < 3 && watch.actions[i]; ++i) playerAct(watch.actions[i], watch.x, watch.y, 0);
  actionsDoneAt = GetTickCount();
  watcherDone = 1;
  return 0;
}

/* Plays frames.avi with the watcher running; the milliseconds the call took. */
static DWORD playWatched(RECT* destination, int allowSkip, uint32_t* result) {
  char text[256];
  watcherDone = 0;
  firstFrame = laterFrame = -1;
  ZPKTHREAD thread = ZPK_BeginThread(watcher, 0, 0, 0);
  DWORD start = GetTickCount();
  *result = PlayMCIMovieFile(window, "frames.avi", destination, 0, 0, 0, allowSkip, text, sizeof text);
  DWORD took = GetTickCount() - start;
  for (int attempt = 0; attempt < 400 && !watcherDone; ++attempt) Sleep(25);
  ZPK_EndThread(thread);
  return took;
}

static void logFrames(void) {
  logText("frames seen ");
  logNumber((uint32_t)firstFrame);
  logText(" ");
  logNumber((uint32_t)laterFrame);
  logText("\n");
}

static int isMovieTurnedToFrames(void) { return firstFrame >= 0 && laterFrame > firstFrame; }

static void checkBadFiles(void) {
  char text[256] = "untouched";
  DWORD start = GetTickCount();
  report("missing-file-fails", PlayMCIMovieFile(window, "nosuch.avi", NULL, 0, 0, 0, 1, text, sizeof text) == 1);
  report("missing-file-has-text", text[0] != 0 && text[0] != 'u');
  report("missing-file-returns-at-once", GetTickCount() - start < 3000);
  report("missing-file-leaves-no-window", GetWindow(window, GW_CHILD) == NULL);
  report("missing-file-without-buffer",
         PlayMCIMovieFile(window, "nosuch.avi", NULL, 0, 0, 0, 1, NULL, 0) == 1);
  start = GetTickCount();
  uint32_t result = PlayMCIMovieFile(window, "damaged.avi", NULL, 0, 0, 0, 0, text, sizeof text);
  logText("damaged result ");
  logNumber(result);
  logText(" after ");
  logNumber(GetTickCount() - start);
  logText("\n");
  report("damaged-file-returns", result <= 1 && GetTickCount() - start < 12000);
}

static void checkPlaysToTheEnd(void) {
  RECT destination = {160, 120, 479, 359};
  struct Watch look = {320, 240, 40, 40, {"escape", "rclick", "click"}};
  watch = look;
  uint32_t result;
  DWORD took = playWatched(&destination, 0, &result);
  DWORD returnedAt = GetTickCount();
  logFrames();
  logText("played in ");
  logNumber(took);
  logText("\n");
  report("plays-frames-change", isMovieTurnedToFrames());
  report("plays-in-destination-on-black", outsideColour == 0);
  report("plays-to-the-end", result == 0 && took >= MOVIE_MILLISECONDS - 700);
  report("plays-keys-and-clicks-do-not-skip", watcherDone && actionsDoneAt < returnedAt - 300);
  report("plays-leaves-no-window", GetWindow(window, GW_CHILD) == NULL);
}

static void checkSkip(const char* name, const char* action) {
  struct Watch look = {80, 60, 400, 400, {action, NULL, NULL}};
  watch = look;
  uint32_t result;
  DWORD took = playWatched(NULL, 1, &result);
  logFrames();
  logText(name);
  logText(" took ");
  logNumber(took);
  logText("\n");
  report(name, result == 0 && watcherDone && isMovieTurnedToFrames() && took < MOVIE_MILLISECONDS - 1500);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  (void)module;
  openLog();
  RECT rect = {0, 0, WIDTH, HEIGHT};
  report("main-window", InitializeMainWindow("Movie Test", WS_POPUP, 0, &rect) == 0);
  window = ZPK_GetMainWindow();
  logClientOrigin(window);
  Sleep(500);
  checkBadFiles();
  checkPlaysToTheEnd();
  checkSkip("escape-skips", "escape");
  checkSkip("right-button-skips", "rclick");
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
