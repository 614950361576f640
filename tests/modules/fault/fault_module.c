/* Faults on purpose, the one that RUNA1_TEST_FAULT names, with known values in the registers:
 * "null-write" stores EAX through a null pointer, "divide" divides by zero, "trap" executes a
 * breakpoint. The log says "ok before" ahead of the fault and "ok after-NAME" when the module
 * goes on behind it. */
#include <windows.h>

#include "../module_log.h"

static int named(const char* a, const char* b) {
  while (*a && *a == *b) ++a, ++b;
  return *a == *b;
}

static void nullWrite(void) {
  __asm__ volatile(
      "movl $0x11111111, %%eax\n\t"
      "movl $0x33333333, %%ecx\n\t"
      "movl $0x44444444, %%edx\n\t"
      "movl %%eax, 0"
      :
      :
      : "eax", "ecx", "edx", "memory");
}

static void divide(void) {
  __asm__ volatile(
      "movl $1234, %%eax\n\t"
      "xorl %%edx, %%edx\n\t"
      "xorl %%ecx, %%ecx\n\t"
      "divl %%ecx"
      :
      :
      : "eax", "ecx", "edx");
}

static void trap(void) { __asm__ volatile("int3"); }

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  char fault[16];
  openLog();
  if (!GetEnvironmentVariableA("RUNA1_TEST_FAULT", fault, sizeof fault)) fault[0] = 0;
  report("before", 1);
  if (named(fault, "null-write")) nullWrite();
  else if (named(fault, "divide")) divide();
  else if (named(fault, "trap")) trap();
  logText("ok after-");
  logText(fault);
  logText("\n");
  File_CloseFile(logFile);
  return 0;
}
