// The per-thread error records: the TLS slot that holds them, attach and detach, and the record
// made on first use for a thread that never attached.
#include <atomic>

#include "base/error.h"
#include "base/fault.h"
#include "base/internal.h"
#include "base/library.h"
#include "base/os/os.h"

namespace {

constexpr const char* kSource = "vkThread";

std::atomic<uint32_t> recordSlot{os::kNoTlsSlot};
std::atomic<int32_t> attachedRecords{0};
std::atomic<int32_t> allRecords{0};

// Stands in for the record of a thread when none can be had (no TLS slot left, or no box to
// ask the user for memory).
thread_local VKERRORRECORD fallbackRecord{0, 0, nullptr, -1, nullptr, 0};

void clearReport(VKERRORRECORD* record) {
  record->code = 0;
  record->extra = 0;
  record->source = nullptr;
  record->line = -1;
  record->message = nullptr;
}

VKERRORRECORD* findRecord() {
  uint32_t slot = recordSlot.load();
  return slot == os::kNoTlsSlot ? nullptr : static_cast<VKERRORRECORD*>(os::tlsGet(slot));
}

void freeRecord(VKERRORRECORD* record) {
  if (record->attachCount != 0) attachedRecords.fetch_sub(1);
  allRecords.fetch_sub(1);
  os::heapFree(record);
}

// A thread that ends with a record, attached or not, gives it back here.
void WINAPI onThreadEnd(void* value) { freeRecord(static_cast<VKERRORRECORD*>(value)); }

// A clear record with no attach, stored in this thread's slot; null when none can be had.
VKERRORRECORD* makeRecord() {
  vk_internal::ensureRecordSlot();
  uint32_t slot = recordSlot.load();
  if (slot == os::kNoTlsSlot) return nullptr;
  void* memory = vk_internal::allocateWithRetry(sizeof(VKERRORRECORD),
                                                 [] { return os::heapAlloc(sizeof(VKERRORRECORD), true); });
  if (!memory) return nullptr;
  VKERRORRECORD* record = static_cast<VKERRORRECORD*>(memory);
  clearReport(record);
  allRecords.fetch_add(1);
  os::tlsSet(slot, record);
  return record;
}

}  // namespace

VKERRORRECORD* vkGetErrorRecord() {
  if (VKERRORRECORD* record = findRecord()) return record;
  VKERRORRECORD* record = makeRecord();
  return record ? record : &fallbackRecord;
}

void vkAttachThread() {
  // Whatever filter was set in between loses.
  os::setFaultFilter(vkFilterException);
  os::resetFpu();
  VKERRORRECORD* record = findRecord();
  if (!record && !(record = makeRecord())) {
    vkSetError(VK_ERROR_ALLOCATION, 0, kSource, __LINE__, "The allocation of heap memory was failed.");
    os::breakpointTrap();
    return;
  }
  clearReport(record);
  if (record->attachCount++ == 0) attachedRecords.fetch_add(1);
}

void vkDetachThread() {
  VKERRORRECORD* record = findRecord();
  if (!record) return;
  if (record->attachCount > 1) {
    --record->attachCount;
    return;
  }
  os::tlsSet(recordSlot.load(), nullptr);
  freeRecord(record);
}

namespace vk_internal {

void ensureRecordSlot() {
  if (recordSlot.load() != os::kNoTlsSlot) return;
  uint32_t made = os::tlsAlloc(onThreadEnd);
  if (made == os::kNoTlsSlot) return;
  uint32_t expected = os::kNoTlsSlot;
  if (!recordSlot.compare_exchange_strong(expected, made)) os::tlsFree(made);
}

void releaseRecordSlotIfUnused() {
  if (allRecords.load() != 0) return;
  uint32_t slot = recordSlot.exchange(os::kNoTlsSlot);
  if (slot != os::kNoTlsSlot) os::tlsFree(slot);
}

RecordCounts recordCounts() { return {attachedRecords.load(), allRecords.load(), recordSlot.load()}; }

}  // namespace vk_internal
