/* Counts its runs in the profile and leaves a text for the next run. */
#include <windows.h>

#include "module_log.h"

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  ZPK_SetRegistryKey("Runa1 Tests", "profile_module");
  uint32_t runs = ZPK_GetProfileInt("Config", "Runs", 0);
  char* last = ZPK_GetProfileString("Config", "Last", "none");
  logText("runs ");
  logNumber(runs);
  logText("\nlast ");
  logText(last);
  logText("\n");
  HeapFree(GetProcessHeap(), 0, last);

  char text[16] = "run ";
  uint32_t digits = runs, length = 4;
  do ++length; while (digits /= 10);
  text[length] = 0;
  for (digits = runs; length > 4; digits /= 10) text[--length] = (char)('0' + digits % 10);
  report("write-int", ZPK_WriteProfileInt("Config", "Runs", runs + 1) != 0);
  report("write-string", ZPK_WriteProfileString("Config", "Last", text) != 0);
  File_CloseFile(logFile);
  return 0;
}
