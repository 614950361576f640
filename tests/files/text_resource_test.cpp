#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "base/error.h"
#include "host/exports/file.h"
#include "host/exports/string_stream.h"
#include "host/exports/text_resource.h"
#include "tests/temp_dir.h"

namespace {

std::string int32Bytes(int32_t value) {
  std::string bytes(4, '\0');
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

// The bytes of a resource file: count, table, length, text.
std::string resourceBytes(const std::vector<std::pair<int32_t, int32_t>>& labels, const std::string& text) {
  std::string bytes = int32Bytes(static_cast<int32_t>(labels.size()));
  for (auto [index, second] : labels) bytes += int32Bytes(index) + int32Bytes(second);
  return bytes + int32Bytes(static_cast<int32_t>(text.size())) + text;
}

class TextResourceTest : public ::testing::Test {
 protected:
  TempDir dir;

  // Reads a resource from `bytes`, starting `skip` bytes into the file.
  TextResource* read(const std::string& bytes, int32_t skip = 0) {
    KRawFile* file = File_OpenFile(dir.write("r.bin", bytes).c_str(), FILE_READ);
    EXPECT_NE(file, nullptr);
    File_Seek(file, skip, 0);
    TextResource* res = TextRes_ReadText(file);
    File_CloseFile(file);
    return res;
  }
};

TEST_F(TextResourceTest, LabelsLeadIntoTheText) {
  TextResource* res = read(resourceBytes({{0, 1}, {6, 3}, {12, 9}}, "first\nsecond\nthird 42"));
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(res->GetLabelCount(), 3);
  EXPECT_EQ(TextRes_GetLabelIndex(res, 0), 0);
  EXPECT_EQ(TextRes_GetLabelIndex(res, 2), 12);
  EXPECT_EQ(TextRes_GetLabelIndex(res, 3), -1) << "a label equal to the count";
  EXPECT_EQ(TextRes_GetLabelIndex(res, -1), -1);
  EXPECT_EQ(strmstr_GetLength(res), 21);

  strmstr_GetChar(res);
  int32_t lastIndex = strmstr_GetLastIndex(res);
  EXPECT_EQ(TextRes_MoveToLabel(res, 2), 0u);
  EXPECT_EQ(strmstr_GetIndex(res), 12);
  EXPECT_EQ(strmstr_GetLastIndex(res), lastIndex) << "the last index isn't touched";
  StringStream* word = strmstr_GetString(res, 1);
  EXPECT_STREQ(strmstr_GetBuffer(word), "third");
  strmstr_Delete(word);
  EXPECT_EQ(strmstr_GetInteger(res), 42);

  TextRes_MoveToLabel(res, 1);
  StringStream* line = strmstr_GetLine(res, 1);
  EXPECT_STREQ(strmstr_GetBuffer(line), "second");
  strmstr_Delete(line);
  TextRes_MoveToLabel(res, 7);
  EXPECT_EQ(strmstr_GetIndex(res), 13) << "a missing label leaves the cursor";
  EXPECT_EQ(TextRes_Delete(res), 0u);
  EXPECT_EQ(TextRes_Delete(nullptr), 0u);
}

TEST_F(TextResourceTest, NoLabelsPutTheLengthAtOffsetFour) {
  TextResource* res = read(resourceBytes({}, "only text"));
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(res->GetLabelCount(), 0);
  for (int32_t label : {0, 1, 100}) EXPECT_EQ(TextRes_GetLabelIndex(res, label), -1);
  EXPECT_EQ(std::string(strmstr_GetBuffer(res)), "only text");
  TextRes_Delete(res);

  // A negative count means no table too.
  res = read(int32Bytes(-3) + int32Bytes(2) + "ok");
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(TextRes_GetLabelIndex(res, 0), -1);
  EXPECT_STREQ(strmstr_GetBuffer(res), "ok");
  TextRes_Delete(res);
}

TEST_F(TextResourceTest, NegativeTextIndexIsGivenButNotMovedTo) {
  TextResource* res = read(resourceBytes({{-5, 0}, {2, 0}}, "abcd"));
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(TextRes_GetLabelIndex(res, 0), -5);
  TextRes_MoveToLabel(res, 1);
  TextRes_MoveToLabel(res, 0);
  EXPECT_EQ(strmstr_GetIndex(res), 2);
  TextRes_Delete(res);
}

TEST_F(TextResourceTest, ReadsFromTheFilesPositionAndKeepsEveryByte) {
  std::string text("a\0b\x82\xA0", 5);
  TextResource* res = read("junk" + resourceBytes({{3, 0}}, text), 4);
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(std::string(strmstr_GetBuffer(res), strmstr_GetLength(res)), text);
  TextRes_MoveToLabel(res, 0);
  EXPECT_EQ(strmstr_GetChar(res), 0x82A0u);
  TextRes_Delete(res);

  res = read(resourceBytes({}, ""));
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(strmstr_GetLength(res), 0);
  EXPECT_EQ(strmstr_GetChar(res), 0u);
  TextRes_Delete(res);
}

TEST_F(TextResourceTest, FilesShorterThanTheyDeclareAreRefused) {
  std::string whole = resourceBytes({{0, 0}, {1, 0}}, "xyz");
  for (size_t cut : {size_t{0}, size_t{2}, size_t{10}, size_t{20}, size_t{22}, whole.size() - 1}) {
    vkSucceed();
    EXPECT_EQ(read(whole.substr(0, cut)), nullptr) << cut;
    EXPECT_EQ(vkGetLastError(), VK_ERROR_FILE) << cut;
    EXPECT_STREQ(vkGetErrorRecord()->source, "TextResource");
  }
  EXPECT_EQ(read(int32Bytes(0x7FFFFFFF) + "small"), nullptr) << "a huge count is not allocated";
  EXPECT_EQ(read(int32Bytes(0) + int32Bytes(-1)), nullptr);
  TextResource* res = read(whole);
  ASSERT_NE(res, nullptr);
  EXPECT_EQ(vkGetLastError(), 0u);
  TextRes_Delete(res);
}

}  // namespace
