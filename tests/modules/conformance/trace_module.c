/* Opens a file that is no archive, quietly: the archive channel of the trace says why. */
#include <windows.h>

#include "../module_log.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  KFILE plain = File_OpenFile("plain.txt", FILE_WRITE | FILE_CREATE);
  File_Write(plain, "no archive", 10);
  File_CloseFile(plain);
  report("refused", KORALArchive_Open("plain.txt", 1) == 0);
  File_CloseFile(logFile);
  return 0;
}
