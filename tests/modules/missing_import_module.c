/* A module that imports a host export that does not exist. */
#include <stdint.h>

__declspec(dllimport) uint32_t __stdcall NoSuchExport(uint32_t value);

uint32_t __stdcall StartingProc(void* module) { return NoSuchExport(1); }
