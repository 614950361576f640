#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "base/error.h"
#include "base/library.h"
#include "tests/test_support.h"

namespace {

VKCPUPROBE probeOf(const char* vendor, uint32_t highestLeaf, uint32_t leaf1Edx) {
  VKCPUPROBE probe{};
  probe.fpu = true;
  probe.cpuid = true;
  probe.leaf0[0] = highestLeaf;
  std::memcpy(&probe.leaf0[1], vendor, 4);
  std::memcpy(&probe.leaf0[3], vendor + 4, 4);
  std::memcpy(&probe.leaf0[2], vendor + 8, 4);
  probe.leaf1Edx = leaf1Edx;
  return probe;
}

TEST(CpuTest, ConditionalMovesAndMmxCountOnIntelOnly) {
  constexpr uint32_t kCmovAndMmx = 0x8000 | 0x800000;
  EXPECT_EQ(vkCPUFeatureBits(probeOf("GenuineIntel", 1, kCmovAndMmx)), 0x3Fu);
  EXPECT_EQ(vkCPUFeatureBits(probeOf("GenuineIntel", 2, 0x800000)), 0x2Fu);
  EXPECT_EQ(vkCPUFeatureBits(probeOf("AuthenticAMD", 1, kCmovAndMmx)), 0x07u) << "another maker's MMX is not counted";
  EXPECT_EQ(vkCPUFeatureBits(probeOf("GenuineIntel", 0, kCmovAndMmx)), 0x07u) << "leaf 1 must exist";
  VKCPUPROBE old{};
  EXPECT_EQ(vkCPUFeatureBits(old), 0x02u) << "no FPU, no CPUID: only the bit that is always set";
  old.fpu = true;
  EXPECT_EQ(vkCPUFeatureBits(old), 0x03u);
}

TEST(CpuTest, ThisProcessorHasAnFpuAndCpuid) {
  vkSetError(VK_ERROR_FILE, 0, "unit", 1, "stale");
  uint32_t bits = vkDetectCPU();
  EXPECT_EQ(bits & 7, 7u);
  EXPECT_EQ(vkGetLastError(), 0u);
}

TEST(CpuTest, FeatureMaskKeepsTheTwoLowBits) {
  uint32_t detected = vkDetectCPU();
  EXPECT_EQ(vkGetCPUFeatures(), detected) << "the first start stores the unmasked bits";
  EXPECT_EQ(vkSetCPUFeatureMask(0xFFFFFFFF), 0u);
  EXPECT_EQ(vkGetCPUFeatures(), detected & 3);
  vkSetCPUFeatureMask(VK_CPU_MMX | VK_CPU_CPUID);
  EXPECT_EQ(vkGetCPUFeatures(), detected & ~(VK_CPU_MMX | VK_CPU_CPUID));
  vkSetCPUFeatureMask(0);
  EXPECT_EQ(vkGetCPUFeatures(), detected);
}

TEST(VersionTest, VersionIsFixedAndTheCallEndsWell) {
  vkSetError(VK_ERROR_FILE, 0, "unit", 1, "stale");
  EXPECT_EQ(vkGetVersion(), 0x00020100u);
  EXPECT_EQ(vkGetLastError(), 0u);
}

// Runs `body` on a thread of its own and waits for it.
template <typename Body>
void onNewThread(Body body) {
  std::thread thread(body);
  thread.join();
}

TEST(ThreadTest, AttachNestsAndTheLastDetachFreesTheRecord) {
  VKLIBRARYSTATE before = vkGetLibraryState();
  VKLIBRARYSTATE during{}, afterFirstDetach{}, afterSecondDetach{};
  uint32_t countAfterSecondAttach = 0, codeAfterSecondAttach = 1;
  bool sameRecord = false;
  onNewThread([&] {
    vkAttachThread();
    VKERRORRECORD* record = vkGetErrorRecord();
    vkSetError(VK_ERROR_FILE, 3, "unit", 9, "pending");
    vkAttachThread();
    sameRecord = vkGetErrorRecord() == record;
    countAfterSecondAttach = record->attachCount;
    codeAfterSecondAttach = record->code;
    during = vkGetLibraryState();
    vkDetachThread();
    afterFirstDetach = vkGetLibraryState();
    vkDetachThread();
    afterSecondDetach = vkGetLibraryState();
    vkDetachThread();  // no record any more: nothing happens
  });
  EXPECT_TRUE(sameRecord);
  EXPECT_EQ(countAfterSecondAttach, 2u);
  EXPECT_EQ(codeAfterSecondAttach, 0u) << "attaching clears the report";
  EXPECT_EQ(during.liveRecords, before.liveRecords + 1);
  EXPECT_EQ(during.allRecords, before.allRecords + 1);
  EXPECT_EQ(afterFirstDetach.liveRecords, before.liveRecords + 1);
  EXPECT_EQ(afterSecondDetach.liveRecords, before.liveRecords);
  EXPECT_EQ(afterSecondDetach.allRecords, before.allRecords);
  EXPECT_EQ(vkGetLibraryState().allRecords, before.allRecords);
}

TEST(ThreadTest, AThreadThatNeverAttachedGetsARecordFreedWhenItEnds) {
  VKLIBRARYSTATE before = vkGetLibraryState();
  VKLIBRARYSTATE during{};
  uint32_t attachCount = 1, code = 0;
  onNewThread([&] {
    vkSetError(VK_ERROR_FILE, 0, "unit", 1, "no attach");
    code = vkGetLastError();
    attachCount = vkGetErrorRecord()->attachCount;
    during = vkGetLibraryState();
  });
  EXPECT_EQ(code, VK_ERROR_FILE);
  EXPECT_EQ(attachCount, 0u);
  EXPECT_EQ(during.liveRecords, before.liveRecords) << "a record made on first use is no attach";
  EXPECT_EQ(during.allRecords, before.allRecords + 1);
  EXPECT_EQ(vkGetLibraryState().allRecords, before.allRecords);
}

TEST(ThreadTest, AnAttachedThreadThatEndsGivesBackItsRecord) {
  VKLIBRARYSTATE before = vkGetLibraryState();
  onNewThread([] {
    vkAttachThread();
    vkAttachThread();
  });
  VKLIBRARYSTATE after = vkGetLibraryState();
  EXPECT_EQ(after.liveRecords, before.liveRecords);
  EXPECT_EQ(after.allRecords, before.allRecords);
}

TEST(ThreadTest, DetachWithoutARecordAndLibraryEntry) {
  VKLIBRARYSTATE before = vkGetLibraryState();
  onNewThread([] { vkDetachThread(); });
  EXPECT_EQ(vkGetLibraryState().allRecords, before.allRecords) << "detach makes no record";

  uint32_t results[2] = {9, 9};
  VKLIBRARYSTATE attached{};
  onNewThread([&] {
    results[0] = vkLibraryEntry(0, 2, 0);
    attached = vkGetLibraryState();
    results[1] = vkLibraryEntry(0, 3, 0);
  });
  EXPECT_EQ(results[0], 0u);
  EXPECT_EQ(results[1], 0u);
  EXPECT_EQ(attached.liveRecords, before.liveRecords + 1);
  EXPECT_EQ(vkGetLibraryState().liveRecords, before.liveRecords);
}

// Takes the library down for a test, and brings it up again as the test main left it.
class LibraryStartTest : public testing::Test {
 protected:
  void SetUp() override {
    while (vkGetLibraryState().phase != VK_LIBRARY_DOWN) vkUninitialize();
  }
  void TearDown() override {
    while (vkGetLibraryState().phase != VK_LIBRARY_DOWN) vkUninitialize();
    vkInitialize(VK_LIBRARY_VERSION);
  }
};

struct StarterView {
  uint32_t phase;
  uint32_t features;
  uint32_t attachCount;
};

// Lets `count` threads call vkInitialize at once; gives what each saw on return, and the state
// while all of them were still alive.
std::vector<StarterView> raceStarters(int count, VKLIBRARYSTATE* whileAlive) {
  std::atomic<int> waiting{count};
  std::atomic<int> checked{0};
  std::atomic<bool> release{false};
  std::vector<StarterView> views(static_cast<size_t>(count));
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&, i] {
      waiting.fetch_sub(1);
      while (waiting.load() > 0) std::this_thread::yield();
      vkInitialize(VK_LIBRARY_VERSION);
      views[i] = {vkGetLibraryState().phase, vkGetCPUFeatures(), vkGetErrorRecord()->attachCount};
      checked.fetch_add(1);
      while (!release.load()) std::this_thread::yield();
    });
  }
  while (checked.load() < count) std::this_thread::yield();
  *whileAlive = vkGetLibraryState();
  release.store(true);
  for (std::thread& thread : threads) thread.join();
  return views;
}

TEST_F(LibraryStartTest, RacingStartersShareOneFirstStart) {
  constexpr int kThreads = 8;
  const uint32_t detected = vkDetectCPU();
  for (int round = 0; round < 25; ++round) {
    vkSetCPUFeatureMask(0xFFFFFFFF);
    ASSERT_NE(vkGetCPUFeatures(), detected);
    const VKLIBRARYSTATE before = vkGetLibraryState();
    ASSERT_EQ(before.phase, VK_LIBRARY_DOWN);

    VKLIBRARYSTATE up{};
    std::vector<StarterView> views = raceStarters(kThreads, &up);
    int firstStarters = 0;
    for (int i = 0; i < kThreads; ++i) {
      EXPECT_EQ(views[i].phase, VK_LIBRARY_UP) << "starter " << i << " returned before the start was done";
      EXPECT_EQ(views[i].features, detected) << "starter " << i << " returned before the start was done";
      firstStarters += views[i].attachCount == 1;
    }
    EXPECT_EQ(firstStarters, 1) << "only the first start attaches its thread";
    EXPECT_EQ(up.startCount, kThreads);
    EXPECT_EQ(up.liveRecords, before.liveRecords + 1);
    EXPECT_EQ(vkGetLibraryState().liveRecords, before.liveRecords);
    for (int i = 0; i < kThreads; ++i) vkUninitialize();
    ASSERT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN);
    if (HasFailure()) break;
  }
}

TEST_F(LibraryStartTest, EachStartNeedsItsStopAndEveryStopDetaches) {
  vkUninitialize();
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN) << "a stop without a start does nothing";
  EXPECT_EQ(vkGetLibraryState().startCount, 0);

  const int32_t liveRecords = vkGetLibraryState().liveRecords;
  vkInitialize(VK_LIBRARY_VERSION);
  vkInitialize(VK_LIBRARY_VERSION);
  VKLIBRARYSTATE twice = vkGetLibraryState();
  EXPECT_EQ(twice.phase, VK_LIBRARY_UP);
  EXPECT_EQ(twice.startCount, 2);
  EXPECT_EQ(twice.liveRecords, liveRecords + 1) << "only the first start attaches";
  EXPECT_EQ(vkGetErrorRecord()->attachCount, 1u);

  vkUninitialize();
  VKLIBRARYSTATE once = vkGetLibraryState();
  EXPECT_EQ(once.phase, VK_LIBRARY_UP);
  EXPECT_EQ(once.startCount, 1);
  EXPECT_EQ(once.liveRecords, liveRecords) << "the first stop already frees the thread's record";

  vkUninitialize();
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN);
  EXPECT_EQ(vkGetLibraryState().startCount, 0);
}

TEST_F(LibraryStartTest, TheSlotIsGivenBackOnlyWhenNoThreadHoldsARecord) {
  VKLIBRARYSTATE down = vkGetLibraryState();
  EXPECT_EQ(down.allRecords, 0);
  EXPECT_EQ(down.tlsSlot, 0xFFFFFFFFu);

  vkInitialize(VK_LIBRARY_VERSION);
  const uint32_t slot = vkGetLibraryState().tlsSlot;
  EXPECT_NE(slot, 0xFFFFFFFFu);
  std::atomic<bool> holding{false}, release{false};
  std::thread holder([&] {
    vkGetErrorRecord();
    holding.store(true);
    while (!release.load()) std::this_thread::yield();
  });
  while (!holding.load()) std::this_thread::yield();
  vkUninitialize();
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN);
  EXPECT_EQ(vkGetLibraryState().tlsSlot, slot) << "another thread still holds a record";
  release.store(true);
  holder.join();
  EXPECT_EQ(vkGetLibraryState().allRecords, 0);
  vkInitialize(VK_LIBRARY_VERSION);
  EXPECT_EQ(vkGetLibraryState().tlsSlot, slot) << "the slot left behind is reused";
}

TEST_F(LibraryStartTest, ATooNewVersionAsksAndTrapsUnlessIgnored) {
  runa1_test::TrapCounter traps;
  {
    runa1_test::AutoAnswer answer("ignore");
    testing::internal::CaptureStderr();
    vkInitialize(VK_LIBRARY_VERSION + 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "runa1: message box \"VomarKit Message\": Unsupported version number was specified.\n");
    EXPECT_EQ(traps.count(), 0u);
    EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_UP);
  }
  runa1_test::AutoAnswer answer("abort");
  testing::internal::CaptureStderr();
  vkInitialize(VK_LIBRARY_VERSION + 1);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(traps.count(), 1u);
  EXPECT_EQ(vkGetLibraryState().startCount, 2);
}

TEST_F(LibraryStartTest, LibraryEntryStartsAndStops) {
  EXPECT_EQ(vkLibraryEntry(0, 1, 0), 1u);
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_UP);
  EXPECT_EQ(vkLibraryEntry(0, 0, 0), 0u);
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN);
  EXPECT_EQ(vkLibraryEntry(0, 7, 0), 0u);
  EXPECT_EQ(vkGetLibraryState().phase, VK_LIBRARY_DOWN);
}

}  // namespace
