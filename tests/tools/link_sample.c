/* A module for the linker's tests: host and system imports, data with a pointer in it,
 * uninitialised data, a static that stays private, and 64-bit division from libgcc. */
#include <windows.h>

#include <runa1.h>

uint32_t table[4] = {1, 2, 3, 4};
uint32_t* pointer = &table[2];
uint32_t zeroed[64];
static uint32_t hidden;
const char* greeting = "hello";

uint32_t __stdcall StartingProc(void* module) { return GetTickCount() + File_GetLength(module) + hidden; }

uint64_t __cdecl divide(uint64_t a, uint64_t b) { return a / b; }

void __stdcall Begin(void) { hidden = 1; }

void __stdcall End(void) { hidden = 0; }
