#include "base/alloc.h"

#include <cstdlib>
#include <cstring>

#include "base/error.h"

namespace {

constexpr uint32_t kSurplus = 0x30;  // room for the header and the rounding to 16

struct BlockHeader {
  void* raw;
  uint32_t unused1;
  uint32_t size;
  uint32_t unused3;
};

BlockHeader* headerOf(void* block) { return static_cast<BlockHeader*>(block) - 1; }

}  // namespace

void* vkAlloc(uint32_t size, uint32_t zero) {
  size_t total = static_cast<size_t>(size) + kSurplus + sizeof(BlockHeader);
  void* raw = zero ? std::calloc(1, total) : std::malloc(total);
  if (!raw) {
    vkSetError(VK_ERROR_ALLOCATION, 0, "vkAlloc", __LINE__,
               "The allocation of global memory was failed.");
    return nullptr;
  }
  uintptr_t at = (reinterpret_cast<uintptr_t>(raw) + sizeof(BlockHeader) + 15) & ~uintptr_t{15};
  void* block = reinterpret_cast<void*>(at);
  headerOf(block)->raw = raw;
  headerOf(block)->size = size;
  vkSucceed();
  return block;
}

void* vkRealloc(void* block, uint32_t size, uint32_t zero) {
  if (!block) return vkAlloc(size, zero);
  uint32_t old = headerOf(block)->size;
  if (((old + 15) & ~15u) > size) {
    headerOf(block)->size = size;
    vkSucceed();
    return block;
  }
  void* grown = vkAlloc(size, zero);
  if (!grown) return nullptr;
  std::memcpy(grown, block, old < size ? old : size);
  vkFree(block);
  return grown;
}

uint32_t vkGetAllocSize(void* block) { return block ? headerOf(block)->size : 0; }

uint32_t vkFree(void* block) {
  if (block) std::free(headerOf(block)->raw);
  return vkSucceed();
}
