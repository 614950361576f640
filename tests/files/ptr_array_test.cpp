#include <gtest/gtest.h>

#include "files/ptr_array.h"

namespace {

void* cell(uintptr_t n) { return reinterpret_cast<void*>(n); }

TEST(KPtrArrayTest, GrowthFollowsTheStepRule) {
  KPtrArray array;
  ASSERT_TRUE(array.SetSize(5));  // no step, no count: step 1 -> 5 + 1 - 0
  EXPECT_EQ(array.GetCount(), 5u);
  EXPECT_EQ(array.GetAllocated(), 6u);
  ASSERT_TRUE(array.SetSize(7));  // half the current count: 2 -> 7 + 2 - 1
  EXPECT_EQ(array.GetAllocated(), 8u);
  ASSERT_TRUE(array.SetSize(3, 4));  // stores the step; shrinking keeps the allocation
  EXPECT_EQ(array.GetCount(), 3u);
  EXPECT_EQ(array.GetAllocated(), 8u);
  ASSERT_TRUE(array.SetSize(10));  // stored step 4 -> 10 + 4 - 2
  EXPECT_EQ(array.GetAllocated(), 12u);
  ASSERT_TRUE(array.SetSize(12));  // within the allocation
  EXPECT_EQ(array.GetAllocated(), 12u);
  ASSERT_TRUE(array.SetSize(13));  // 13 + 4 - 1
  EXPECT_EQ(array.GetAllocated(), 16u);
}

TEST(KPtrArrayTest, NewCellsAreZeroedEvenAfterShrinking) {
  KPtrArray array;
  for (uintptr_t i = 0; i < 6; ++i) array.Add(cell(i + 1));
  array.SetSize(2);
  array.SetSize(6);
  EXPECT_EQ(array.GetAt(1), cell(2));
  for (uint32_t i = 2; i < 6; ++i) EXPECT_EQ(array.GetAt(i), nullptr) << i;
}

TEST(KPtrArrayTest, SetAtBeyondTheCountGrowsToIndexPlusOne) {
  KPtrArray array;
  ASSERT_TRUE(array.SetAt(9, cell(99)));
  EXPECT_EQ(array.GetCount(), 10u);
  EXPECT_EQ(array.GetAt(9), cell(99));
  EXPECT_EQ(array.GetAt(0), nullptr);
  EXPECT_EQ(array.GetAt(10), nullptr) << "reads beyond the count give null";
  EXPECT_EQ(array.GetAt(0xFFFFFFFF), nullptr);
}

TEST(KPtrArrayTest, RemovalMovesTheTailAndCutsTheCount) {
  KPtrArray array;
  for (uintptr_t i = 0; i < 6; ++i) array.Add(cell(i + 1));
  array.RemoveAt(1, 2);
  ASSERT_EQ(array.GetCount(), 4u);
  EXPECT_EQ(array.GetAt(0), cell(1));
  EXPECT_EQ(array.GetAt(1), cell(4));
  EXPECT_EQ(array.GetAt(3), cell(6));
  array.RemoveAt(4, 1);  // at the count: nothing
  EXPECT_EQ(array.GetCount(), 4u);
  array.RemoveAt(2, 100);  // cut back to what exists
  EXPECT_EQ(array.GetCount(), 2u);
  EXPECT_EQ(array.GetAt(1), cell(4));
  array.RemoveAll();
  EXPECT_EQ(array.GetCount(), 0u);
  EXPECT_EQ(array.GetAllocated(), 0u);
  EXPECT_TRUE(array.Add(cell(7)));
  EXPECT_EQ(array.GetAt(0), cell(7));
}

}  // namespace
