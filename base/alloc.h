// The block allocator of the library: 16-byte aligned blocks with a header that records the
// raw allocation and the size asked for.
#pragma once

#include <cstdint>

void* vkAlloc(uint32_t size, uint32_t zero);
void* vkRealloc(void* block, uint32_t size, uint32_t zero);
uint32_t vkGetAllocSize(void* block);
uint32_t vkFree(void* block);
