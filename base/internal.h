// What the parts of the foundation library share among themselves.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/os/win32_types.h"

namespace vk_internal {

// A text table of codes: walked in order, its last pair (code 0xFFFFFFFF) stands for every
// code not listed.
struct CodeText {
  uint32_t code;
  const char* text;
};

inline const char* textOfCode(const CodeText* table, uint32_t code) {
  while (table->code != code && table->code != 0xFFFFFFFF) ++table;
  return table->text;
}

// The retry dialog of a failed allocation of `requestedBytes`: the button pressed (IDRETRY,
// IDCANCEL), or 0 when the box itself failed.
int retryAllocation(size_t requestedBytes);

// Calls `allocate` until it gives memory or the user gives up in the retry dialog. Then the
// box's answer stands in the place of the address: the first write through it faults, and the
// user meets the fault dialog, which is how an allocation given up ends. Null only when the
// box could not be shown.
template <typename Allocate>
void* allocateWithRetry(size_t requestedBytes, Allocate allocate) {
  for (;;) {
    if (void* memory = allocate()) return memory;
    int answer = retryAllocation(requestedBytes);
    if (answer != IDRETRY) return reinterpret_cast<void*>(static_cast<uintptr_t>(answer));
  }
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
