// Start of the library and of each thread that uses it, the processor probe and the version.
#pragma once

#include <cstdint>

constexpr uint32_t VK_LIBRARY_VERSION = 0x00020100;

// Starts the library; clients may race, and every one returns only after the first start
// (TLS slot, processor probe, attach of the first starter's thread) is done. Each call needs
// its vkUninitialize; the last one takes the library down.
void vkInitialize(uint32_t version);
// Also detaches the calling thread, at every call.
void vkUninitialize();
// Attaches the calling thread: resets its FPU and gives it a cleared record. Calls nest; the
// record is freed by the matching last detach (or when the thread ends).
void vkAttachThread();
void vkDetachThread();

// Processor feature bits.
enum : uint32_t {
  VK_CPU_FPU = 1,
  VK_CPU_ALWAYS = 2,
  VK_CPU_CPUID = 4,
  VK_CPU_INTEL = 8,
  VK_CPU_CMOV = 0x10,
  VK_CPU_MMX = 0x20,
};

// What the processor answered to the probes of vkDetectCPU.
struct VKCPUPROBE {
  bool fpu;
  bool cpuid;
  uint32_t leaf0[4];   // EAX (highest leaf), EBX, ECX, EDX (the vendor name in EBX, EDX, ECX)
  uint32_t leaf1Edx;   // consulted only for an Intel processor
};
// The feature bits of a probe. Conditional moves and MMX count on Intel processors only.
uint32_t vkCPUFeatureBits(const VKCPUPROBE& probe);
uint32_t vkDetectCPU();
// Stores the detected bits less those of `mask` as the library's feature word; the two low
// bits stay. Gives 0.
uint32_t vkSetCPUFeatureMask(uint32_t mask);
// The stored feature word (5 until the first start). Leaves the error record alone.
uint32_t vkGetCPUFeatures();

uint32_t vkGetVersion();
// The library's entry in the form of a shared library's: 1 starts (result 1), 0 stops,
// 2 attaches and 3 detaches the calling thread (result 0).
uint32_t vkLibraryEntry(uint32_t instance, uint32_t reason, uint32_t reserved);

// A look at the library's counters, for diagnostics; leaves the error record alone.
enum : uint32_t { VK_LIBRARY_DOWN, VK_LIBRARY_STARTING, VK_LIBRARY_UP };
struct VKLIBRARYSTATE {
  uint32_t phase;
  int32_t startCount;
  int32_t liveRecords;  // records of attached threads
  int32_t allRecords;   // also those made on first use by threads that never attached
  int32_t liveBlocks;   // blocks of vkAlloc not yet freed
  uint32_t tlsSlot;     // 0xFFFFFFFF when none
};
VKLIBRARYSTATE vkGetLibraryState();
