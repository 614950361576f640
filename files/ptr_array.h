// Growable array of pointer-sized cells on the library's allocator.
#pragma once

#include <cstdint>

class KPtrArray {
 public:
  KPtrArray() = default;
  ~KPtrArray();
  KPtrArray(const KPtrArray&) = delete;
  KPtrArray& operator=(const KPtrArray&) = delete;

  // Sets the count. New cells are zeroed. A step of 0 keeps the stored step; with no stored
  // step the allocation grows by half the current count, at least 1.
  bool SetSize(uint32_t count, uint32_t step = 0);
  // Stores `value` at `index`, growing the array to index + 1 cells when needed.
  bool SetAt(uint32_t index, void* value);
  bool Add(void* value) { return SetAt(count_, value); }
  // Null beyond the count.
  void* GetAt(uint32_t index) const { return index < count_ ? cells_[index] : nullptr; }
  // Removes up to `count` cells at `index`, moving the tail down.
  void RemoveAt(uint32_t index, uint32_t count = 1);
  void RemoveAll();

  uint32_t GetCount() const { return count_; }
  uint32_t GetAllocated() const { return allocated_; }
  void** GetData() const { return cells_; }

 private:
  void** cells_ = nullptr;
  uint32_t count_ = 0;
  uint32_t allocated_ = 0;
  uint32_t step_ = 0;
};
