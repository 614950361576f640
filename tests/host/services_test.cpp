#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "base/os/os.h"
#include "host/exports/services.h"

namespace {

std::string takeText(char* text) {
  std::string copy = text ? text : "<null>";
  os::heapFree(text);
  return copy;
}

class ProfileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ZPK_SetRegistryKey("runa1 tests", ::testing::UnitTest::GetInstance()->current_test_info()->name());
    ZPK_WriteProfileString("Config", nullptr, nullptr);
    ZPK_WriteProfileString("Installed", nullptr, nullptr);
  }
  void TearDown() override {
    ZPK_WriteProfileString("Config", nullptr, nullptr);
    ZPK_WriteProfileString("Installed", nullptr, nullptr);
    ZPK_SetRegistryKey(kDefaultRegistryCompany, kApplicationName);
  }
};

TEST_F(ProfileTest, IntegersAndStringsComeBackAsWritten) {
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Volume", 77), 77u) << "a miss gives the default";
  EXPECT_NE(ZPK_WriteProfileInt("Config", "Volume", 0xFFFFFFF0u), 0u);
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Volume", 77), 0xFFFFFFF0u);
  EXPECT_NE(ZPK_WriteProfileInt("Config", "Volume", 5), 0u);
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Volume", 77), 5u);

  const char* japanese = "\x83\x5a\x81\x5b\x83\x75";  // セーブ: second bytes 0x5C-like ranges included
  EXPECT_NE(ZPK_WriteProfileString("Installed", "SaveDir", japanese), 0u);
  EXPECT_EQ(takeText(ZPK_GetProfileString("Installed", "SaveDir", "")), japanese);
  EXPECT_NE(ZPK_WriteProfileString("Installed", "BinDir", ""), 0u);
  EXPECT_EQ(takeText(ZPK_GetProfileString("Installed", "BinDir", "default")), "") << "an empty value is a value";
}

TEST_F(ProfileTest, MissingStringsGiveANewCopyOfTheDefault) {
  const char* fallback = "C:\\Games\\";
  char* text = ZPK_GetProfileString("Installed", "Nothing", fallback);
  ASSERT_NE(text, nullptr);
  EXPECT_NE(text, fallback);
  EXPECT_EQ(takeText(text), fallback);
  EXPECT_EQ(takeText(ZPK_GetProfileString("Installed", "Nothing", nullptr)), "");
  EXPECT_EQ(ZPK_GetProfileInt("Installed", "Nothing", 3), 3u);
}

TEST_F(ProfileTest, AnIntegerIsNotAStringAndNullsDelete) {
  ZPK_WriteProfileInt("Config", "Speed", 9);
  EXPECT_EQ(takeText(ZPK_GetProfileString("Config", "Speed", "none")), "none");
  ZPK_WriteProfileString("Config", "Name", "abc");
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Name", 4), 4u);

  EXPECT_NE(ZPK_WriteProfileString("Config", "Name", nullptr), 0u) << "a null value deletes the entry";
  EXPECT_EQ(takeText(ZPK_GetProfileString("Config", "Name", "gone")), "gone");
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Speed", 0), 9u) << "other entries stay";
  EXPECT_NE(ZPK_WriteProfileString("Config", nullptr, nullptr), 0u) << "a null entry deletes the section";
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Speed", 0), 0u);
}

TEST_F(ProfileTest, TheRegistryKeySeparatesApplications) {
  ZPK_WriteProfileInt("Config", "Level", 12);
  ZPK_SetRegistryKey("runa1 tests", "another game");
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Level", 0), 0u);
  ZPK_WriteProfileInt("Config", "Level", 34);
  ZPK_WriteProfileString("Config", nullptr, nullptr);
  ZPK_SetRegistryKey("runa1 tests", ::testing::UnitTest::GetInstance()->current_test_info()->name());
  EXPECT_EQ(ZPK_GetProfileInt("Config", "Level", 0), 12u);
}

// The display count, read without changing it.
int cursorCount() {
  int count = os::showCursor(true) - 1;
  os::showCursor(false);
  return count;
}

TEST(CursorTest, HidingTwiceLowersTheCountOnce) {
  ASSERT_EQ(ZPK_IsShowCursor(), 1u);
  int shown = cursorCount();
  ASSERT_GE(shown, 0);
  EXPECT_EQ(ZPK_SetShowCursor(0), 1u);
  EXPECT_EQ(ZPK_IsShowCursor(), 0u);
  int hidden = cursorCount();
  EXPECT_LT(hidden, 0);
  EXPECT_EQ(ZPK_SetShowCursor(0), 0u);
  EXPECT_EQ(cursorCount(), hidden) << "the second hide leaves the count alone";

  // Someone else hid the cursor further: showing still brings the count to 0 or above.
  os::showCursor(false);
  os::showCursor(false);
  EXPECT_EQ(ZPK_SetShowCursor(5), 0u);
  EXPECT_EQ(ZPK_IsShowCursor(), 1u);
  EXPECT_GE(cursorCount(), 0);
}

TEST(DisplayTest, SizeGivesTheHeightAndBothSides) {
  SIZE size{-1, -1};
  uint32_t height = ZPK_GetDisplaySize(&size);
  EXPECT_GT(size.cx, 0);
  EXPECT_GT(size.cy, 0);
  EXPECT_EQ(height, static_cast<uint32_t>(size.cy));
  uint32_t bits = ZPK_GetDisplayBitsPerPixel();
  EXPECT_TRUE(bits == 8 || bits == 16 || bits == 24 || bits == 32) << bits;
}

TEST(CompareExchangeTest, GivesTheOldValueAndSwapsOnlyOnAMatch) {
  uint32_t target = 5;
  EXPECT_EQ(ZPK_CompareExchange(&target, 4, 9), 5u);
  EXPECT_EQ(target, 5u);
  EXPECT_EQ(ZPK_CompareExchange(&target, 5, 9), 5u);
  EXPECT_EQ(target, 9u);

  // As a lock between threads: every increment made under it survives.
  uint32_t lock = 0, counter = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 20000; ++i) {
        while (ZPK_CompareExchange(&lock, 0, 1) != 0) {
        }
        ++counter;
        ZPK_CompareExchange(&lock, 1, 0);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(counter, 80000u);
}

}  // namespace
