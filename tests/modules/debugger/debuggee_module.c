/* A module to debug. Its procedures Alpha, Beta, Gamma, Watched and Spin are global, so that
 * each has a breakpoint under the debugger; the helpers are static and have none. What it does
 * is chosen by RUNA1_DEBUGGEE:
 *   "history"  calls Alpha, Beta and Gamma and compares the call history pane's rows with the
 *              same texts drawn in the panes' font;
 *   "stop"     waits for go.txt, then calls Watched (which the test puts on the stop list);
 *   "spin"     stands up its window and calls Spin until the debug frame is gone, then checks
 *              that its entries hold their own bytes again;
 *   "trap"     stands up its window and executes a breakpoint that no procedure owns;
 *   "plain"    checks that no debugger runs: no debug frame, no breakpoint at an entry.
 * The finaliser checks the entries once more and calls the procedures on them. */
#include <windows.h>

#include "../module_log.h"
#include "../window_pixels.h"

static unsigned char entryBytes[4];
static volatile int spins;

__attribute__((noinline)) int Alpha(int value) { return value * 3 + 1; }
__attribute__((noinline)) int Beta(int value) { return Alpha(value) + 2; }
__attribute__((noinline)) int Gamma(int value) { return value ^ 0x55; }
__attribute__((noinline)) int Watched(int value) { return value + 40; }
__attribute__((noinline)) void Spin(void) { ++spins; }

static unsigned char entryOf(int index) {
  switch (index) {
    case 0: return *(volatile unsigned char*)&Alpha;
    case 1: return *(volatile unsigned char*)&Beta;
    case 2: return *(volatile unsigned char*)&Gamma;
    default: return *(volatile unsigned char*)&Watched;
  }
}

static int entriesAreOwn(void) {
  for (int i = 0; i < 4; ++i)
    if (entryOf(i) != entryBytes[i] || entryBytes[i] == 0xCC) return 0;
  return 1;
}

static int breakpointsAtEntries(void) {
  for (int i = 0; i < 4; ++i)
    if (entryOf(i) != 0xCC) return 0;
  return 1;
}

static int named(const char* a, const char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

static HWND debugFrame(void) { return FindWindowW(L"Runa1DebugFrame", NULL); }

static HWND historyPane(void) {
  HWND client = FindWindowExW(debugFrame(), NULL, L"MDICLIENT", NULL);
  return client ? FindWindowExW(client, NULL, L"Runa1DebugPane", L"関数呼び出し履歴(過去256回)") : NULL;
}

/* Draws `text` as the pane draws a row, at (16, 2) of a row of `width` x 20, and compares it
 * with the pane's row `row` in `shown`. */
static int rowShows(const uint32_t* shown, int width, int row, const wchar_t* text, int length) {
  BITMAPINFO info = {0};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -20;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  uint32_t* drawn;
  HDC memory = CreateCompatibleDC(NULL);
  HBITMAP bitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, (void**)&drawn, NULL, 0);
  HGDIOBJ oldBitmap = SelectObject(memory, bitmap);
  HFONT font = CreateFontW(16, 8, 0, 0, 400, 0, 0, 0, SHIFTJIS_CHARSET, OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS,
                           DEFAULT_QUALITY, FIXED_PITCH, L"System");
  HGDIOBJ oldFont = SelectObject(memory, font);
  HBRUSH background = CreateSolidBrush(GetSysColor(COLOR_WINDOW));
  RECT all = {0, 0, width, 20};
  FillRect(memory, &all, background);
  SetBkColor(memory, GetSysColor(COLOR_WINDOW));
  SetTextColor(memory, GetSysColor(COLOR_WINDOWTEXT));
  TextOutW(memory, 16, 2, text, length);
  GdiFlush();
  int same = 1, ink = 0;
  for (int i = 0; i < width * 20; ++i) {
    if ((drawn[i] & 0xFFFFFF) != (shown[row * 20 * width + i] & 0xFFFFFF)) same = 0;
    if ((drawn[i] & 0xFFFFFF) != (drawn[0] & 0xFFFFFF)) ++ink;
  }
  SelectObject(memory, oldFont);
  SelectObject(memory, oldBitmap);
  DeleteObject(font);
  DeleteObject(bitmap);
  DeleteObject(background);
  DeleteDC(memory);
  return same && ink > 0;
}

static void checkHistory(void) {
  report("calls-run", Alpha(4) == 13 && Beta(1) == 6 && Gamma(0x50) == 5);
  report("breakpoints-set", breakpointsAtEntries());
  HWND pane = historyPane();
  report("history-pane", pane != NULL);
  if (!pane) return;
  RECT client;
  GetClientRect(pane, &client);
  int width = client.right, rows = client.bottom / 20;
  report("history-rows-visible", rows >= 6);
  if (rows < 6) return;
  Sleep(200);
  UpdateWindow(pane);
  uint32_t* shown = readWindow(pane, width, rows * 20);
  /* Newest first: Gamma, then Beta and the Alpha it called, the Alpha before, StartingProc. */
  report("history-row-0", rowShows(shown, width, 0, L"Gamma", 5));
  report("history-row-1", rowShows(shown, width, 1, L"Alpha", 5));
  report("history-row-2", rowShows(shown, width, 2, L"Beta", 4));
  report("history-row-3", rowShows(shown, width, 3, L"Alpha", 5));
  report("history-row-4", rowShows(shown, width, 4, L"StartingProc", 12));
  report("history-row-5", rowShows(shown, width, 5, L"履歴はありません", 8));
  report("history-differs", !rowShows(shown, width, 0, L"Alpha", 5));
}

static int fileExists(const char* name) {
  KFILE file = File_OpenFile(name, FILE_READ);
  if (!file) return 0;
  File_CloseFile(file);
  return 1;
}

static void stopAtWatched(void) {
  report("waiting", 1);
  for (int i = 0; i < 600 && !fileExists("go.txt"); ++i) Sleep(50);
  report("go", fileExists("go.txt"));
  report("watched", Watched(2) == 42);
}

static void standUpWindow(void) {
  RECT rect = {700, 560, 1000, 760};
  report("window", InitializeMainWindow("Debuggee", WS_CAPTION | WS_SYSMENU, 0, &rect) == 0);
}

static void spinUntilAlone(void) {
  standUpWindow();
  report("spinning", breakpointsAtEntries());
  for (int i = 0; i < 3000 && debugFrame(); ++i) {
    Spin();
    Sleep(10);
  }
  report("frame-gone", debugFrame() == NULL);
  report("entries-own", entriesAreOwn());
  report("calls-run", Alpha(4) == 13 && Beta(1) == 6 && Gamma(0x50) == 5 && Watched(2) == 42);
}

static void trap(void) {
  standUpWindow();
  __asm__ volatile("int3");
  report("after-trap", 1);
}

void ModuleInit(void) {
  for (int i = 0; i < 4; ++i) entryBytes[i] = entryOf(i);
}

void ModuleFini(void) {
  logText("fini\n");
  report("fini-entries-own", entriesAreOwn());
  report("fini-calls-run", Alpha(4) == 13 && Watched(2) == 42);
  File_CloseFile(logFile);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  char scenario[16];
  openLog();
  if (!GetEnvironmentVariableA("RUNA1_DEBUGGEE", scenario, sizeof scenario)) scenario[0] = 0;
  if (named(scenario, "history")) checkHistory();
  else if (named(scenario, "stop")) stopAtWatched();
  else if (named(scenario, "spin")) spinUntilAlone();
  else if (named(scenario, "trap")) trap();
  else if (named(scenario, "plain")) {
    report("no-frame", debugFrame() == NULL);
    report("entries-own", entriesAreOwn());
    report("calls-run", Alpha(4) == 13 && Beta(1) == 6);
  }
  logText("end\n");
  return 0;
}
