/* A module that another one loads: procedures in each calling convention and a variable
 * that its initialiser sets. */
#include <stdint.h>

uint32_t initialized;

void __stdcall SecondInit(void) { initialized = 1; }

uint32_t __stdcall Add3(uint32_t a, uint32_t b, uint32_t c) { return a + b + c; }

uint32_t __cdecl Sub2(uint32_t a, uint32_t b) { return a - b; }

uint32_t __attribute__((thiscall)) Multiply(uint32_t* self, uint32_t factor) { return *self * factor; }

uint32_t __stdcall Seven(void) { return 7; }
