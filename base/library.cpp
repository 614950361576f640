#include "base/library.h"

#include <atomic>
#include <cstring>

#include "base/error.h"
#include "base/fault.h"
#include "base/internal.h"
#include "base/os/os.h"

namespace {

// The first starter's event; the others wait on it. Null while the library is down.
std::atomic<os::EventHandle> gate{nullptr};
std::atomic<int32_t> startCount{0};
std::atomic<bool> started{false};
std::atomic<uint32_t> cpuFeatures{VK_CPU_FPU | VK_CPU_CPUID};

VKCPUPROBE probeCpu() {
  VKCPUPROBE probe{};
  probe.fpu = os::fpuPresent();
  probe.cpuid = os::cpuidAvailable();
  if (probe.cpuid) os::cpuid(probe.leaf0);  // leaf 0: all inputs zero
  uint32_t leaf1[4] = {1, 0, 0, 0};
  if (probe.cpuid && probe.leaf0[0] >= 1) os::cpuid(leaf1);
  probe.leaf1Edx = leaf1[3];
  return probe;
}

bool isIntel(const VKCPUPROBE& probe) {
  if (!probe.cpuid || probe.leaf0[0] < 1) return false;
  char vendor[12];
  std::memcpy(vendor, &probe.leaf0[1], 4);
  std::memcpy(vendor + 4, &probe.leaf0[3], 4);
  std::memcpy(vendor + 8, &probe.leaf0[2], 4);
  return std::memcmp(vendor, "GenuineIntel", 12) == 0;
}

void firstStart() {
  os::initCommonControls();
  os::setFaultFilter(vkFilterException);
  vk_internal::ensureRecordSlot();
  vkAttachThread();
  vkSetCPUFeatureMask(0);
  started.store(true);
}

}  // namespace

void vkInitialize(uint32_t version) {
  if (version > VK_LIBRARY_VERSION &&
      vkMessageBox("Unsupported version number was specified.",
                   MB_ABORTRETRYIGNORE | MB_ICONHAND | MB_SETFOREGROUND) != IDIGNORE) {
    os::breakpointTrap();
  }
  os::EventHandle own = os::createEvent(true, false);
  os::EventHandle held = nullptr;
  if (!gate.compare_exchange_strong(held, own)) {
    startCount.fetch_add(1);
    os::waitEvent(held);
    os::closeEvent(own);
    return;
  }
  // Holding the gate means no start is under way or done. The count is above 0 here only when
  // a stop raced with a start; this start then serves those clients as well.
  startCount.fetch_add(1);
  firstStart();
  os::setEvent(own);
}

void vkUninitialize() {
  os::EventHandle event = gate.load();
  if (!event) return;
  os::waitEvent(event);
  vkDetachThread();
  int32_t previous = startCount.fetch_sub(1);
  if (previous <= 0) {
    startCount.fetch_add(1);  // a stop without a start
    return;
  }
  if (previous != 1) return;
  // The last stop. Blocks still allocated are tolerated; threads still holding records keep
  // the slot, which the next start reuses.
  started.store(false);
  os::closeEvent(gate.exchange(nullptr));
  vk_internal::releaseRecordSlotIfUnused();
}

uint32_t vkCPUFeatureBits(const VKCPUPROBE& probe) {
  uint32_t bits = VK_CPU_ALWAYS;
  if (probe.fpu) bits |= VK_CPU_FPU;
  if (probe.cpuid) bits |= VK_CPU_CPUID;
  if (isIntel(probe)) {
    bits |= VK_CPU_INTEL;
    if (probe.leaf1Edx & 0x8000) bits |= VK_CPU_CMOV;
    if (probe.leaf1Edx & 0x800000) bits |= VK_CPU_MMX;
  }
  return bits;
}

uint32_t vkDetectCPU() {
  uint32_t bits = vkCPUFeatureBits(probeCpu());
  vkSucceed();
  return bits;
}

uint32_t vkSetCPUFeatureMask(uint32_t mask) {
  cpuFeatures.store(vkDetectCPU() & (~mask | VK_CPU_FPU | VK_CPU_ALWAYS));
  return vkSucceed();
}

uint32_t vkGetCPUFeatures() { return cpuFeatures.load(); }

uint32_t vkGetVersion() {
  vkSucceed();
  return VK_LIBRARY_VERSION;
}

uint32_t vkLibraryEntry(uint32_t instance, uint32_t reason, uint32_t reserved) {
  switch (reason) {
    case 1:
      vkInitialize(VK_LIBRARY_VERSION);
      return 1;
    case 0: vkUninitialize(); break;
    case 2: vkAttachThread(); break;
    case 3: vkDetachThread(); break;
  }
  return 0;
}

VKLIBRARYSTATE vkGetLibraryState() {
  vk_internal::RecordCounts records = vk_internal::recordCounts();
  uint32_t phase = !gate.load() ? VK_LIBRARY_DOWN : started.load() ? VK_LIBRARY_UP : VK_LIBRARY_STARTING;
  return {phase, startCount.load(), records.attached, records.all, vk_internal::liveBlockCount(),
          records.slot};
}
