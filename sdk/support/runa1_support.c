/* The few C library functions that the compiler calls by itself even in freestanding code
 * (structure copies, zeroed arrays, loops it recognises). Linked into every module. */
#include <stddef.h>

void* memcpy(void* destination, const void* source, size_t count) {
  unsigned char* to = (unsigned char*)destination;
  const unsigned char* from = (const unsigned char*)source;
  while (count--) *to++ = *from++;
  return destination;
}

void* memmove(void* destination, const void* source, size_t count) {
  unsigned char* to = (unsigned char*)destination;
  const unsigned char* from = (const unsigned char*)source;
  if (to < from) {
    while (count--) *to++ = *from++;
  } else {
    while (count--) to[count] = from[count];
  }
  return destination;
}

void* memset(void* destination, int value, size_t count) {
  unsigned char* to = (unsigned char*)destination;
  while (count--) *to++ = (unsigned char)value;
  return destination;
}

int memcmp(const void* a, const void* b, size_t count) {
  const unsigned char* x = (const unsigned char*)a;
  const unsigned char* y = (const unsigned char*)b;
  for (; count; --count, ++x, ++y)
    if (*x != *y) return *x - *y;
  return 0;
}

size_t strlen(const char* text) {
  const char* end = text;
  while (*end) ++end;
  return (size_t)(end - text);
}
