/* A module whose StartingProc returns at once, without asking for a window. */
#include <stdint.h>

uint32_t __stdcall StartingProc(void* module) { return 0; }
