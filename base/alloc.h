// The block allocator of the library: 16-byte aligned blocks behind a header that records the
// raw allocation and the size asked for. `zero` nonzero asks for zero-filled memory.
#pragma once

#include <cstdint>

// A failed allocation shows the retry dialog; when the user cancels it, the result is null
// and the report is code 1.
void* vkAlloc(uint32_t size, uint32_t zero);
// Null `block` allocates. A block whose rounded size (to 16) exceeds `size` stays where it is;
// otherwise the contents move to a new block. 0, with code 3, for an address that is no block.
void* vkRealloc(void* block, uint32_t size, uint32_t zero);
// 0 for null, and, with code 3, for an address that is no block.
uint32_t vkGetAllocSize(void* block);
// Always 0; an address that is no block is reported with code 3 and left alone.
uint32_t vkFree(void* block);
