#include "base/alloc.h"

#include <atomic>
#include <cstring>

#include "base/error.h"
#include "base/internal.h"
#include "base/os/os.h"

namespace {

constexpr const char* kSource = "vkMemory";
constexpr const char* kInvalidBlock = "Invalid memory pointer is specified to Reallocation.";
// Each block takes this much more than asked: the header and the rounding of its address.
constexpr uint64_t kSurplus = 0x30;

struct BlockHeader {
  uint64_t raw;     // what the platform allocation returned (words 0 and 1)
  uint32_t size;    // the size asked for (word 2)
  uint32_t unused;  // word 3
};
static_assert(sizeof(BlockHeader) == 16);

std::atomic<int32_t> liveBlocks{0};

BlockHeader* headerOf(void* block) {
  return reinterpret_cast<BlockHeader*>(reinterpret_cast<uintptr_t>(block) - sizeof(BlockHeader));
}

// An address is taken for a block when its low four bits are clear and its header can be read.
bool isBlock(void* block) {
  return (reinterpret_cast<uintptr_t>(block) & 15) == 0 && os::canRead(headerOf(block), sizeof(BlockHeader));
}

void reportInvalidBlock(int line) { vkSetError(VK_ERROR_INVALID_ADDRESS, 0, kSource, line, kInvalidBlock); }

uint32_t roundUp16(uint32_t size) { return static_cast<uint32_t>((uint64_t{size} + 15) & ~uint64_t{15}); }

}  // namespace

void* vkAlloc(uint32_t size, uint32_t zero) {
  uint64_t total = size + kSurplus;
  void* raw = nullptr;
  // A request beyond the address space cannot succeed; asking the user to retry it is pointless.
  if (total <= SIZE_MAX) {
    size_t bytes = static_cast<size_t>(total);
    raw = vk_internal::allocateWithRetry(bytes, [bytes, zero] { return os::globalAlloc(bytes, zero != 0); });
  }
  if (!raw) {
    vkSetError(VK_ERROR_ALLOCATION, 0, kSource, __LINE__, "The allocation of global memory was failed.");
    return nullptr;
  }
  uintptr_t at = (reinterpret_cast<uintptr_t>(raw) + 15) & ~uintptr_t{15};
  BlockHeader* header = reinterpret_cast<BlockHeader*>(at);
  header->raw = reinterpret_cast<uintptr_t>(raw);
  header->size = size;
  liveBlocks.fetch_add(1);
  vkSucceed();
  return header + 1;
}

void* vkRealloc(void* block, uint32_t size, uint32_t zero) {
  if (!block) return vkAlloc(size, zero);
  if (!isBlock(block)) {
    reportInvalidBlock(__LINE__);
    return nullptr;
  }
  uint32_t old = headerOf(block)->size;
  if (roundUp16(old) > size) {
    headerOf(block)->size = size;
    vkSucceed();
    return block;
  }
  void* moved = vkAlloc(size, zero);
  if (!moved) return nullptr;
  std::memcpy(moved, block, old < size ? old : size);
  vkFree(block);
  return moved;
}

uint32_t vkGetAllocSize(void* block) {
  if (!block) return vkSucceed();
  if (!isBlock(block)) {
    reportInvalidBlock(__LINE__);
    return 0;
  }
  uint32_t size = headerOf(block)->size;
  vkSucceed();
  return size;
}

uint32_t vkFree(void* block) {
  if (!block) return vkSucceed();
  if (!isBlock(block) || !os::globalFree(reinterpret_cast<void*>(static_cast<uintptr_t>(headerOf(block)->raw)))) {
    reportInvalidBlock(__LINE__);
    return 0;
  }
  liveBlocks.fetch_sub(1);
  return vkSucceed();
}

namespace vk_internal {

int32_t liveBlockCount() { return liveBlocks.load(); }

}  // namespace vk_internal
