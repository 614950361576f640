#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "files/kstring.h"

namespace {

TEST(KStringTest, NewStringIsEmptyWithCapacity16) {
  KString text;
  EXPECT_STREQ(text.GetText(), "");
  EXPECT_EQ(text.GetLength(), 0u);
  EXPECT_EQ(text.GetCapacity(), 16u);
}

TEST(KStringTest, AssignmentGrowsOnlyWhenCapacityIsBelowTheLength) {
  KString text;
  text.Assign("0123456789abcdef");  // exactly 16: no growth, the terminator still stands
  EXPECT_EQ(text.GetCapacity(), 16u);
  EXPECT_EQ(text.GetLength(), 16u);
  EXPECT_STREQ(text.GetText(), "0123456789abcdef");
  text.Assign("0123456789abcdefg");  // 17 -> (17 + 15) & ~15
  EXPECT_EQ(text.GetCapacity(), 32u);
  text.Assign(std::string(33, 'x').c_str());
  EXPECT_EQ(text.GetCapacity(), 48u);
  text.Assign("short");  // never shrinks
  EXPECT_EQ(text.GetCapacity(), 48u);
  EXPECT_EQ(text.GetLength(), 5u);
  EXPECT_STREQ(text.GetText(), "short");
}

TEST(KStringTest, CopyTakesLengthPlus16RoundedDown) {
  KString source;
  for (auto [length, capacity] : {std::pair{0u, 16u}, {15u, 16u}, {16u, 32u}, {31u, 32u}, {40u, 48u}}) {
    source.Assign(std::string(length, 'a').c_str());
    KString copy(source);
    EXPECT_EQ(copy.GetCapacity(), capacity) << length;
    EXPECT_EQ(copy.GetLength(), length);
    EXPECT_EQ(std::string(copy.GetText()), std::string(length, 'a'));
  }
  KString target;
  source.Assign("assigned");
  target = source;
  EXPECT_STREQ(target.GetText(), "assigned");
  KString& same = target;
  target = same;
  EXPECT_STREQ(target.GetText(), "assigned");
}

TEST(KStringTest, AppendGrowsToNewLengthPlusOldLength) {
  KString text;
  text.Assign("0123456789");
  text.Append("abcde");  // 15 < 16: fits
  EXPECT_EQ(text.GetCapacity(), 16u);
  text.Append("f");  // 16: capacity not above the new length -> 16 + 15
  EXPECT_EQ(text.GetCapacity(), 31u);
  EXPECT_EQ(text.GetLength(), 16u);
  EXPECT_STREQ(text.GetText(), "0123456789abcdef");
  text.Append(text.GetText());  // appending itself: 32 -> capacity 32 + 16
  EXPECT_EQ(text.GetCapacity(), 48u);
  EXPECT_STREQ(text.GetText(), "0123456789abcdef0123456789abcdef");
}

TEST(KStringTest, RawBufferGrowsToTheAskedSizeAndRecountsOnRelease) {
  KString text;
  char* buffer = text.GetBuffer(100);
  EXPECT_EQ(text.GetCapacity(), 100u);
  std::memset(buffer, 'q', 100);  // filled to the brim: the spare byte still ends it
  text.ReleaseBuffer();
  EXPECT_EQ(text.GetLength(), 100u);
  buffer = text.GetBuffer(10);
  EXPECT_EQ(text.GetCapacity(), 100u) << "a smaller request keeps the capacity";
  std::strcpy(buffer, "abc");
  text.ReleaseBuffer();
  EXPECT_EQ(text.GetLength(), 3u);
  EXPECT_STREQ(text.GetText(), "abc");
}

}  // namespace
