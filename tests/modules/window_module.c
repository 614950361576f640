/* Asks for its window through InitializeSystem, first at a size the display lacks, and checks
 * the full-screen window, then starts service threads and calls the numeric exports. */
#include <windows.h>

#include "module_log.h"

/* ゲーム Test, in Shift-JIS for the host and in UTF-16 as the window holds it. */
static const char kTitle[] = "\x83Q\x81[\x83\x80 Test";
static const wchar_t kWideTitle[] = L"\x30B2\x30FC\x30E0 Test";

static int sameWide(const wchar_t* a, const wchar_t* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

static void checkWindow(void) {
  HWND window = FindWindowW(NULL, kWideTitle);
  report("window-found", window != NULL);
  if (!window) return;
  report("window-visible", IsWindowVisible(window));
  wchar_t text[32] = {0};
  GetWindowTextW(window, text, 32);
  report("window-title", sameWide(text, kWideTitle));
  report("window-owned-by-main-thread", GetWindowThreadProcessId(window, NULL) != GetCurrentThreadId());

  /* The display mode of the request makes the window full screen on its first activation: a
   * maximised dialog-framed topmost window whose frame lies beyond the screen's edges. */
  LONG frameX = GetSystemMetrics(SM_CXDLGFRAME), frameY = GetSystemMetrics(SM_CYDLGFRAME);
  RECT actual;
  GetWindowRect(window, &actual);
  report("window-rectangle", actual.left == -frameX && actual.top == -frameY && actual.right == 1024 + frameX &&
                                 actual.bottom == 768 + frameY);
  LONG style = GetWindowLongA(window, GWL_STYLE), exStyle = GetWindowLongA(window, GWL_EXSTYLE);
  report("full-screen-style", (style & (WS_DLGFRAME | WS_MAXIMIZE)) == (WS_DLGFRAME | WS_MAXIMIZE) &&
                                  !(style & WS_BORDER) && (exStyle & WS_EX_TOPMOST));
  RECT client;
  GetClientRect(window, &client);
  report("client-size", client.right == 1024 && client.bottom == 768);
  logText("client ");
  logNumber((uint32_t)client.right);
  logText("x");
  logNumber((uint32_t)client.bottom);
  logText("\n");
}

static volatile uint32_t threadIdSeen;
static volatile uint32_t threadFlag;

static uint32_t __stdcall serviceThread(uint32_t argument) {
  threadIdSeen = GetCurrentThreadId();
  /* Library exports from the new thread: an atomic exchange and a failing open. */
  ZPK_CompareExchange((uint32_t*)&threadFlag, 0, argument);
  File_CloseFile(File_OpenFile("no-such-file.bin", FILE_READ));
  return argument + 1;
}

static void checkThreads(void) {
  ZPKTHREAD thread = ZPK_BeginThread(serviceThread, 7, THREAD_PRIORITY_BELOW_NORMAL, 0x10000);
  report("thread-begun", thread != 0);
  if (!thread) return;
  HANDLE handle = ZPK_GetThreadHandle(thread);
  report("thread-ended", WaitForSingleObject(handle, 10000) == WAIT_OBJECT_0);
  DWORD exitCode = 0;
  report("thread-result", GetExitCodeThread(handle, &exitCode) && exitCode == 8);
  report("thread-id", ZPK_GetThreadId(thread) == threadIdSeen && threadIdSeen != GetCurrentThreadId());
  report("thread-called-exports", threadFlag == 7);
  ZPK_EndThread(thread);
  report("thread-null", ZPK_GetThreadId(0) == 0 && ZPK_GetThreadHandle(0) == 0);
  ZPK_EndThread(0);
}

typedef union {
  double value;
  uint64_t bits;
} Double;

static void checkNumerics(void) {
  report("float-add", float_Add(0x3FC00000u, 0x40100000u) == 0x40700000u);
  report("float-idiv-by-zero", float_IDiv(0x3F800000u, 0) == 0x7F800000u);
  report("float-com-nan", float_Com(0x3F800000u, 0x7FC00000u) == 0);
  report("float-round-even", float_Round(0x40200000u) == 0x40000000u);
  report("float-int", float_Int(0x40600000u) == 4);
  report("float-scale", float_Scale(0x40400000u, 0x3FC00000u) == 0x40400000u);
  Double a = {.bits = 0x3FF8000000000000ull}, b = {.bits = 0x4002000000000000ull};
  double* sum = double_Add(&a.value, &b.value);
  report("double-add", sum == &a.value && a.bits == 0x400E000000000000ull && b.bits == 0x4002000000000000ull);
  Double s = {.bits = 0x4008000000000000ull}, t = {.bits = 0x3FF8000000000000ull};
  double_Scale(&s.value, &t.value);
  report("double-scale", s.bits == 0x4028000000000000ull);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  SIZE missing = {1000, 700};
  report("mode-missing", ZPK_TestDisplayMode(1000, 700, 0) == 1);
  report("system-no-mode", InitializeSystem(NULL, &missing, kTitle, 32) == 2);
  report("no-window-yet", FindWindowW(NULL, kWideTitle) == NULL);
  SIZE size = {1024, 768};
  report("mode-present", ZPK_TestDisplayMode(1024, 768, 0) == 0);
  report("system", InitializeSystem(NULL, &size, kTitle, 32) == 0);
  checkWindow();
  report("cursor-hidden", ZPK_IsShowCursor() == 0);
  SIZE other = {640, 480};
  report("system-again", InitializeSystem(NULL, &other, "other", 16) == 0 && FindWindowA(NULL, "other") == NULL);
  checkThreads();
  checkNumerics();
  File_CloseFile(logFile);
  return 0;
}
