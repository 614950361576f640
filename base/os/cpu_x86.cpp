// Processor probes of the platform seam; the same in both builds, since both run on x86.
#include "base/os/os.h"

#if !defined(__i386__) && !defined(__x86_64__)
#error "the processor probes are written for x86"
#endif

namespace os {

namespace {

constexpr uintptr_t kIdFlag = 0x200000;

uintptr_t readFlags() {
  uintptr_t flags;
  asm volatile("pushf\n\tpop %0" : "=r"(flags));
  return flags;
}

void writeFlags(uintptr_t flags) { asm volatile("push %0\n\tpopf" : : "r"(flags) : "cc"); }

}  // namespace

bool fpuPresent() {
  // Without an FPU, fnstsw stores nothing and AX keeps its preset ones.
  uint16_t status = 0xFFFF;
  asm volatile("fninit\n\tfnstsw %0" : "+a"(status));
  return (status & 0x2800) == 0;
}

bool cpuidAvailable() {
  uintptr_t original = readFlags();
  writeFlags(original ^ kIdFlag);
  uintptr_t toggled = readFlags();
  writeFlags(original);
  return ((original ^ toggled) & kIdFlag) != 0;
}

void cpuid(uint32_t registers[4]) {
  asm volatile("cpuid" : "+a"(registers[0]), "+b"(registers[1]), "+c"(registers[2]), "+d"(registers[3]));
}

void resetFpu() { asm volatile("fninit"); }

}  // namespace os
