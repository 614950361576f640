/* The float exports seen from module code: the slot that float_Scale writes, and the rounding
 * control of the calling thread. */
#include <windows.h>

#include "../module_log.h"

enum { kOne = 0x3F800000u, kOneAndAHalf = 0x3FC00000u, kThree = 0x40400000u, kTwelve = 0x41400000u };
enum { kTwoToMinus30 = 0x30800000u, kAboveOne = 0x3F800001u, kBelowOne = 0x3F7FFFFFu, kTwoToMinus1 = 0x3F000000u };
enum { kRoundingBits = 0x0C00u, kRoundUp = 0x0800u, kRoundDown = 0x0400u };

/* Calls float_Scale(a, b) on an argument area of its own and reads back both slots once the
 * call has popped them: the second holds the scaled value. */
static uint32_t scaleWithSlots(uint32_t a, uint32_t b, uint32_t* firstSlot, uint32_t* secondSlot) {
  uint32_t(__stdcall * scale)(uint32_t, uint32_t) = float_Scale;
  uint32_t result, first, second;
  __asm__ volatile(
      "pushl %[b]\n\t"
      "pushl %[a]\n\t"
      "call *%[scale]\n\t"
      "movl -8(%%esp), %[first]\n\t"
      "movl -4(%%esp), %[second]\n\t"
      : "=a"(result), [first] "=c"(first), [second] "=d"(second)
      : [a] "r"(a), [b] "r"(b), [scale] "r"(scale)
      : "memory", "cc");
  *firstSlot = first;
  *secondSlot = second;
  return result;
}

static uint16_t controlWord(void) {
  uint16_t control;
  __asm__ volatile("fnstcw %0" : "=m"(control));
  return control;
}

static void setRounding(uint16_t rounding) {
  uint16_t control = (uint16_t)((controlWord() & ~kRoundingBits) | rounding);
  __asm__ volatile("fldcw %0" : : "m"(control));
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  uint32_t first, second;
  uint32_t result = scaleWithSlots(kThree, kOneAndAHalf, &first, &second);
  report("scale-gives-a", result == kThree);
  report("scale-stores-b-times-2-to-trunc-a", second == kTwelve && first == kThree);
  scaleWithSlots(kOneAndAHalf, kThree, &first, &second);
  report("scale-truncates-a", second == 0x40C00000u); /* 3 * 2^1 */

  report("add-to-nearest", float_Add(kOne, kTwoToMinus30) == kOne);
  setRounding(kRoundUp);
  report("add-rounds-up", float_Add(kOne, kTwoToMinus30) == kAboveOne);
  report("int-rounds-up", float_Int(kOneAndAHalf) == 2 && float_Int(kTwoToMinus1) == 1);
  setRounding(kRoundDown);
  report("sub-rounds-down", float_Sub(kOne, kTwoToMinus30) == kBelowOne);
  report("int-rounds-down", float_Int(kOneAndAHalf) == 1);
  report("control-word-kept", (controlWord() & kRoundingBits) == kRoundDown);
  float_Init();
  report("init-rounds-to-nearest", (controlWord() & kRoundingBits) == 0 &&
                                       float_Sub(kOne, kTwoToMinus30) == kOne);
  File_CloseFile(logFile);
  return 0;
}
