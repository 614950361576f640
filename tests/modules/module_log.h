/* The log of a test module: lines "ok NAME" or "FAIL NAME" and values, in run.log in the
 * working directory, which is the module's directory once StartingProc runs. */
#ifndef MODULE_LOG_H
#define MODULE_LOG_H

#include <runa1.h>

static KFILE logFile;

static uint32_t textLength(const char* text) {
  uint32_t count = 0;
  while (text[count]) ++count;
  return count;
}

static void logText(const char* text) { File_Write(logFile, text, textLength(text)); }

static __attribute__((unused)) void logNumber(uint32_t value) {
  char digits[12];
  int position = 11;
  digits[position] = 0;
  do {
    digits[--position] = (char)('0' + value % 10);
    value /= 10;
  } while (value);
  logText(digits + position);
}

/* Others may read the log while it is written: a runner that follows the module's requests. */
static void openLog(void) { logFile = File_OpenFile("run.log", FILE_WRITE | FILE_CREATE | FILE_SHARE_READ); }

static void report(const char* name, int passed) {
  logText(passed ? "ok " : "FAIL ");
  logText(name);
  logText("\n");
}

#endif
