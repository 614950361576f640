// Whether the processor runs the vector variants of the kernels, and their AVX2 members (the
// compiler's test includes the system's saving of the wide registers).
#include "graphics/core/molaq.h"

bool mqProcessorHasVectorUnit() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("sse2");
#else
  return false;
#endif
}

bool mqProcessorHasAVX2() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
#else
  return false;
#endif
}
