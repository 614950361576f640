// Whether the processor runs the vector variants of the kernels.
#include "graphics/core/molaq.h"

bool mqProcessorHasVectorUnit() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("sse2");
#else
  return false;
#endif
}
