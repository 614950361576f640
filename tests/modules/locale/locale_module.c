/* Runs under a system code page other than Japanese: its window title, a file whose name holds
 * the backslash's code as a trail byte (表ソ.txt), its base directory (the module's own name is
 * ソフト表.zpe) and the characters typed into its window, which its WM_CHAR hook and its class
 * procedure must get as the bytes of Shift-JIS. Writes "client X Y" and "ready" for the typist,
 * writes "primed" once a "・" has come, then waits for "ソ表a", or gives up after twenty seconds
 * each. */
#include <windows.h>

#include "../module_log.h"

#define EXPECTED_BYTES 5

static const char kTitle[] = "\x95\x5C\x8E\xA6\x83\x5C\x83t\x83g"; /* 表示ソフト */
static const wchar_t kWideTitle[] = L"\u8868\u793a\u30bd\u30d5\u30c8";
static const char kFileName[] = "\x95\x5C\x83\x5C.txt"; /* 表ソ.txt */
static const unsigned char kTyped[EXPECTED_BYTES] = {0x83, 0x5C, 0x95, 0x5C, 'a'}; /* ソ表a */

static ZPKMODULE moduleHandle;
static unsigned char hookBytes[16];
static volatile LONG hookCount;
static unsigned char classBytes[16];
static volatile LONG classCount;

static void note(unsigned char* bytes, volatile LONG* count, uint32_t value) {
  if (*count < 16) bytes[*count] = (unsigned char)value;
  __sync_add_and_fetch(count, 1);
}

static uint32_t __stdcall charHook(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  note(hookBytes, &hookCount, wParam);
  return 0;
}

static LRESULT __stdcall classProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CHAR) note(classBytes, &classCount, (uint32_t)wParam);
  return DefWindowProcA(window, message, wParam, lParam);
}

static int sameBytes(const char* a, const char* b, uint32_t length) {
  for (uint32_t i = 0; i < length; ++i)
    if (a[i] != b[i]) return 0;
  return 1;
}

static int lastIsA(const unsigned char* bytes, volatile LONG* count) {
  return *count > 0 && *count <= 16 && bytes[*count - 1] == 'a';
}

/* "ソ表a" behind any number of "・". */
static int typedAsShiftJis(const unsigned char* bytes, LONG count) {
  LONG at = 0;
  while (at + 1 < count && bytes[at] == 0x81 && bytes[at + 1] == 0x45) at += 2;
  return count - at == EXPECTED_BYTES && sameBytes((const char*)bytes + at, (const char*)kTyped, EXPECTED_BYTES);
}

static void logBytes(const char* label, const unsigned char* bytes, LONG count) {
  static const char digits[] = "0123456789ABCDEF";
  logText(label);
  for (LONG i = 0; i < count && i < 16; ++i) {
    char hex[4] = {' ', digits[bytes[i] >> 4], digits[bytes[i] & 15], 0};
    logText(hex);
  }
  logText("\n");
}

static void checkFile(void) {
  KFILE file = File_OpenFile(kFileName, FILE_WRITE | FILE_CREATE);
  report("file-created", file != NULL && File_Write(file, "\x83\x5C\x95\x5C", 4) == 4);
  File_CloseFile(file);
  char name[MAX_PATH] = {0}, path[MAX_PATH] = {0}, text[8] = {0};
  file = File_OpenFile(kFileName, FILE_READ);
  report("file-found", file != NULL);
  report("file-read-back", File_Read(file, text, 8) == 4 && sameBytes(text, "\x83\x5C\x95\x5C", 4));
  File_GetFileName(file, name);
  File_GetFilePath(file, path);
  report("file-name", sameBytes(name, kFileName, sizeof kFileName));
  /* The base directory is where the module lies, whatever bytes its own name holds. */
  const char* base = ZPK_GetBaseDirectory(moduleHandle);
  uint32_t baseLength = textLength(base);
  report("base-directory", baseLength > 0 && base[baseLength - 1] == '\\' && sameBytes(path, base, baseLength) &&
                               sameBytes(path + baseLength, kFileName, sizeof kFileName));
  File_CloseFile(file);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  moduleHandle = module;
  openLog();
  logText("code page ");
  logNumber(GetACP());
  logText("\n");
  report("not-a-japanese-system", GetACP() != 932);
  checkFile();

  WNDCLASSA windowClass;
  GetDefaultWndClass(&windowClass);
  windowClass.lpfnWndProc = classProcedure;
  windowClass.lpszClassName = "LocaleTest";
  InitializeSystem(&windowClass, NULL, NULL, 0);
  RECT rect = {100, 100, 500, 400};
  InitializeMainWindow(kTitle, WS_CAPTION | WS_SYSMENU, 0, &rect);
  HWND window = ZPK_GetMainWindow();
  report("window-title", window != NULL && FindWindowW(NULL, kWideTitle) == window);
  ZPK_SetWndMessageProc(WM_CHAR, charHook);

  POINT corner = {0, 0};
  ClientToScreen(window, &corner);
  logText("client ");
  logNumber((uint32_t)corner.x);
  logText(" ");
  logNumber((uint32_t)corner.y);
  logText("\nready\n");
  for (int i = 0; i < 2000 && (hookCount < 2 || classCount < 2); ++i) Sleep(10);
  logText("primed\n");
  for (int i = 0; i < 2000 && !(lastIsA(hookBytes, &hookCount) && lastIsA(classBytes, &classCount)); ++i) Sleep(10);
  logBytes("hook", hookBytes, hookCount);
  logBytes("class", classBytes, classCount);
  report("typed-reach-hook", typedAsShiftJis(hookBytes, hookCount));
  report("typed-reach-class", typedAsShiftJis(classBytes, classCount));
  ZPK_SetWndMessageProc(WM_CHAR, NULL);
  logText("end\n");
  File_CloseFile(logFile);
  return 0;
}
