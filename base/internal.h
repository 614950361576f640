// What the parts of the foundation library share among themselves.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vk_internal {

// The retry dialog of a failed allocation of `requestedBytes`: true when the user asks to try
// again, false on Cancel.
bool retryAllocation(size_t requestedBytes);

// Calls `allocate` until it gives memory or the user cancels the retry dialog; null then.
template <typename Allocate>
void* allocateWithRetry(size_t requestedBytes, Allocate allocate) {
  void* memory;
  while (!(memory = allocate()) && retryAllocation(requestedBytes)) {
  }
  return memory;
}

// The TLS slot of the error records: made when missing (first start, or first use by a thread
// that never attached), and given back at the last stop when no thread holds a record.
void ensureRecordSlot();
void releaseRecordSlotIfUnused();

struct RecordCounts {
  int32_t attached;  // records of attached threads: the live record count
  int32_t all;       // also those made on first use by threads that never attached
  uint32_t slot;
};
RecordCounts recordCounts();

int32_t liveBlockCount();

}  // namespace vk_internal
