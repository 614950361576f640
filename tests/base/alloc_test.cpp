#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "base/alloc.h"
#include "base/error.h"
#include "base/library.h"
#include "tests/test_support.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace {

int32_t liveBlocks() { return vkGetLibraryState().liveBlocks; }

void expectInvalidAddressReport() {
  const VKERRORRECORD* record = vkGetErrorRecord();
  EXPECT_EQ(record->code, VK_ERROR_INVALID_ADDRESS);
  EXPECT_STREQ(record->message, "Invalid memory pointer is specified to Reallocation.");
}

// An aligned address whose memory has been given back to the system.
void* releasedAddress() {
#ifdef _WIN32
  char* page = static_cast<char*>(VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  VirtualFree(page, 0, MEM_RELEASE);
#else
  char* page = static_cast<char*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  munmap(page, 4096);
#endif
  return page + 64;
}

TEST(AllocTest, BlocksAreAlignedSizedAndCounted) {
  int32_t before = liveBlocks();
  std::vector<void*> blocks;
  for (uint32_t size : {0u, 1u, 15u, 16u, 17u, 100u, 4096u, 100000u}) {
    vkSetError(VK_ERROR_FILE, 0, "unit", 1, "stale");
    unsigned char* block = static_cast<unsigned char*>(vkAlloc(size, 1));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(vkGetLastError(), 0u);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) & 15, 0u) << size;
    EXPECT_EQ(vkGetAllocSize(block), size);
    for (uint32_t i = 0; i < size; ++i) ASSERT_EQ(block[i], 0) << "zero-filled block of " << size;
    std::memset(block, 0x5A, size);
    blocks.push_back(block);
  }
  EXPECT_EQ(liveBlocks(), before + static_cast<int32_t>(blocks.size()));
  for (void* block : blocks) {
    vkSetError(VK_ERROR_FILE, 0, "unit", 1, "stale");
    EXPECT_EQ(vkFree(block), 0u);
    EXPECT_EQ(vkGetLastError(), 0u);
  }
  EXPECT_EQ(liveBlocks(), before);
}

TEST(AllocTest, NullIsFreedAndReallocatedWithoutComplaint) {
  vkSetError(VK_ERROR_FILE, 0, "unit", 1, "stale");
  EXPECT_EQ(vkFree(nullptr), 0u);
  EXPECT_EQ(vkGetLastError(), 0u);
  EXPECT_EQ(vkGetAllocSize(nullptr), 0u);
  void* block = vkRealloc(nullptr, 40, 0);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(vkGetAllocSize(block), 40u);
  vkFree(block);
}

TEST(AllocTest, ReallocStaysInPlaceOnlyBelowTheRoundedSize) {
  // 20 bytes round to 32: 31 stays, 32 moves.
  char* block = static_cast<char*>(vkAlloc(20, 0));
  std::memcpy(block, "nineteen characters", 20);
  EXPECT_EQ(vkRealloc(block, 31, 0), block);
  EXPECT_EQ(vkGetAllocSize(block), 31u);
  EXPECT_EQ(vkRealloc(block, 20, 0), block) << "shrinking stays too";
  int32_t before = liveBlocks();
  char* moved = static_cast<char*>(vkRealloc(block, 32, 0));
  ASSERT_NE(moved, nullptr);
  EXPECT_NE(moved, block);
  EXPECT_EQ(vkGetAllocSize(moved), 32u);
  EXPECT_STREQ(moved, "nineteen characters");
  EXPECT_EQ(liveBlocks(), before) << "the old block was freed";

  // A size already a multiple of 16 is not served in place for the same size.
  void* sixteen = vkAlloc(16, 0);
  void* again = vkRealloc(sixteen, 16, 0);
  EXPECT_NE(again, sixteen);
  vkFree(again);
  vkFree(moved);
}

TEST(AllocTest, ReallocZeroFillsOnlyTheNewPart) {
  unsigned char* block = static_cast<unsigned char*>(vkAlloc(20, 0));
  std::memset(block, 0xAB, 20);
  unsigned char* grown = static_cast<unsigned char*>(vkRealloc(block, 200, 1));
  ASSERT_NE(grown, nullptr);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(grown[i], 0xAB) << i;
  for (int i = 20; i < 200; ++i) ASSERT_EQ(grown[i], 0) << i;
  vkFree(grown);
}

TEST(AllocTest, MisalignedAddressesAreReportedAndTheBlockIsLeftAlone) {
  char* block = static_cast<char*>(vkAlloc(64, 0));
  std::memset(block, 'k', 64);
  int32_t before = liveBlocks();
  runa1_test::ErrorExceptionCounter raised;
  for (uintptr_t offset = 1; offset < 16; ++offset) {
    EXPECT_EQ(vkRealloc(block + offset, 1000, 0), nullptr);
    expectInvalidAddressReport();
    EXPECT_EQ(vkGetAllocSize(block + offset), 0u);
    expectInvalidAddressReport();
    EXPECT_EQ(vkFree(block + offset), 0u);
    expectInvalidAddressReport();
    EXPECT_EQ(raised.count(), 3 * offset) << "code 3 is fatal";
  }
  EXPECT_EQ(liveBlocks(), before);
  EXPECT_EQ(vkGetAllocSize(block), 64u);
  EXPECT_EQ(std::string(block, 64), std::string(64, 'k'));
  EXPECT_EQ(vkFree(block), 0u);
  EXPECT_EQ(vkGetLastError(), 0u);
}

TEST(AllocTest, UnreadableAddressesAreReportedWithoutAFault) {
  runa1_test::ErrorExceptionCounter raised;
  for (void* address : {reinterpret_cast<void*>(16), reinterpret_cast<void*>(0x1000), releasedAddress()}) {
    EXPECT_EQ(vkGetAllocSize(address), 0u);
    expectInvalidAddressReport();
    EXPECT_EQ(vkRealloc(address, 8, 0), nullptr);
    expectInvalidAddressReport();
    EXPECT_EQ(vkFree(address), 0u);
    expectInvalidAddressReport();
  }
  EXPECT_EQ(raised.count(), 9u);
}

#ifndef _WIN32
TEST(AllocTest, NativelyOnlyLiveBlocksCountAsBlocks) {
  alignas(16) static char notABlock[64];
  runa1_test::ErrorExceptionCounter raised;
  EXPECT_EQ(vkFree(notABlock + 16), 0u);
  expectInvalidAddressReport();
  void* block = vkAlloc(8, 0);
  EXPECT_EQ(vkFree(block), 0u);
  EXPECT_EQ(vkFree(block), 0u);
  expectInvalidAddressReport();
  EXPECT_EQ(raised.count(), 2u);
}
#endif

TEST(AllocTest, ARequestBeyondTheAddressSpaceIsReportedWithoutADialog) {
#ifdef _WIN32
  runa1_test::ErrorExceptionCounter raised;
  // Beyond a 32-bit address space with the header: no dialog, just the report. (A request the
  // user gives up in the retry dialog ends in the fault dialog: tests/modules/fault.)
  EXPECT_EQ(vkAlloc(0xFFFFFFF0u, 0), nullptr);
  EXPECT_EQ(vkGetLastError(), VK_ERROR_ALLOCATION);
  EXPECT_STREQ(vkGetErrorRecord()->message, "The allocation of global memory was failed.");
  EXPECT_EQ(raised.count(), 1u);
#else
  GTEST_SKIP() << "a 64-bit process gets any 32-bit size from the C heap";
#endif
}

TEST(AllocTest, ThreadsThatNeverAttachedAllocateAndFree) {
  int32_t before = liveBlocks();
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&failures, t] {
      for (int i = 0; i < 500; ++i) {
        void* block = vkAlloc(static_cast<uint32_t>(16 * t + i), 0);
        void* grown = vkRealloc(block, static_cast<uint32_t>(16 * t + 2 * i + 1), 0);
        if (!grown || vkGetLastError() != 0 || vkFree(grown) != 0 || vkGetLastError() != 0) ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(liveBlocks(), before);
}

}  // namespace
