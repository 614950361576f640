#include "files/ptr_array.h"

#include <cstring>

#include "base/alloc.h"

KPtrArray::~KPtrArray() { vkFree(cells_); }

bool KPtrArray::SetSize(uint32_t count, uint32_t step) {
  if (step != 0) step_ = step;
  uint32_t grow = step_ != 0 ? step_ : (count_ / 2 > 0 ? count_ / 2 : 1);
  if (count > allocated_) {
    uint64_t wanted = uint64_t{count} + grow - (count % grow);
    if (wanted * sizeof(void*) > 0xFFFFFFFFu) return false;
    void* grown = vkRealloc(cells_, static_cast<uint32_t>(wanted * sizeof(void*)), 0);
    if (!grown) return false;
    cells_ = static_cast<void**>(grown);
    allocated_ = static_cast<uint32_t>(wanted);
  }
  if (count > count_) std::memset(cells_ + count_, 0, (count - count_) * sizeof(void*));
  count_ = count;
  return true;
}

bool KPtrArray::SetAt(uint32_t index, void* value) {
  if (index >= count_ && (index == 0xFFFFFFFF || !SetSize(index + 1))) return false;
  cells_[index] = value;
  return true;
}

void KPtrArray::RemoveAt(uint32_t index, uint32_t count) {
  if (index >= count_) return;
  if (count > count_ - index) count = count_ - index;
  std::memmove(cells_ + index, cells_ + index + count, (count_ - index - count) * sizeof(void*));
  count_ -= count;
}

void KPtrArray::RemoveAll() {
  vkFree(cells_);
  cells_ = nullptr;
  count_ = allocated_ = 0;
}
