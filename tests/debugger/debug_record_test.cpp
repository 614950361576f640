// The debug record: written and read back, refused when cut short or when it lies about itself,
// and checked against the module it claims to describe.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "debugger/debug_record.h"
#include "debugger/debug_record_file.h"
#include "tests/temp_dir.h"

namespace {

drt::DebugRecord sample() {
  drt::DebugRecord record;
  record.imageSize = 0x400;
  record.codeEnd = 0x300;
  record.sourceFiles = {"/src/main.c", "/src/scenes.c"};
  record.procedures = {{"Begin", 0x10, 1}, {"StartingProc", 0x40, 0}, {"helper", 0x80, drt::kNoSource}};
  record.variables = {{"score", 0x300}, {"table", 0x310}};
  return record;
}

drt::ModuleTables tablesOf(const drt::DebugRecord& record) {
  drt::ModuleTables tables{record.imageSize, {}, {}, {}, {}};
  for (const drt::Procedure& p : record.procedures) {
    tables.procedureNames.push_back(p.name.c_str());
    tables.procedureOffsets.push_back(p.offset);
  }
  for (const drt::Variable& v : record.variables) {
    tables.variableNames.push_back(v.name.c_str());
    tables.variableOffsets.push_back(v.offset);
  }
  return tables;
}

bool parse(const std::vector<uint8_t>& bytes, drt::DebugRecord* record, std::string* error) {
  return drt::parseDebugRecord(bytes.data(), bytes.size(), record, error);
}

void put32(std::vector<uint8_t>* bytes, size_t at, uint32_t value) { std::memcpy(bytes->data() + at, &value, 4); }

TEST(DebugRecordTest, WhatIsWrittenIsReadBack) {
  drt::DebugRecord record = sample();
  std::vector<uint8_t> bytes = drt::writeDebugRecord(record);
  ASSERT_EQ(std::string(bytes.begin(), bytes.begin() + 4), "ZDRT");
  drt::DebugRecord read;
  std::string error;
  ASSERT_TRUE(parse(bytes, &read, &error)) << error;
  EXPECT_EQ(read.imageSize, 0x400u);
  EXPECT_EQ(read.codeEnd, 0x300u);
  EXPECT_EQ(read.sourceFiles, record.sourceFiles);
  ASSERT_EQ(read.procedures.size(), 3u);
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(read.procedures[i].name, record.procedures[i].name);
    EXPECT_EQ(read.procedures[i].offset, record.procedures[i].offset);
    EXPECT_EQ(read.procedures[i].source, record.procedures[i].source);
  }
  ASSERT_EQ(read.variables.size(), 2u);
  EXPECT_EQ(read.variables[1].name, "table");
  EXPECT_EQ(read.variables[1].offset, 0x310u);
  EXPECT_TRUE(drt::matchesModule(read, tablesOf(record), &error)) << error;
}

TEST(DebugRecordTest, EveryShortenedOrLengthenedRecordIsRefused) {
  std::vector<uint8_t> bytes = drt::writeDebugRecord(sample());
  drt::DebugRecord read;
  std::string error;
  for (size_t length = 0; length < bytes.size(); ++length) {
    std::vector<uint8_t> cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
    EXPECT_FALSE(parse(cut, &read, &error)) << length;
  }
  EXPECT_EQ(error, "the file's length differs from what its header announces");
  bytes.push_back(0);
  EXPECT_FALSE(parse(bytes, &read, &error));
  std::vector<uint8_t> header(bytes.begin(), bytes.begin() + 31);
  EXPECT_FALSE(parse(header, &read, &error));
  EXPECT_EQ(error, "the file is shorter than its header");
}

TEST(DebugRecordTest, ARecordThatLiesAboutItselfIsRefused) {
  const std::vector<uint8_t> good = drt::writeDebugRecord(sample());
  const size_t tables = 32, strings = tables + 4 * (2 + 3 * 3 + 2 * 2);
  struct Lie {
    size_t at;
    uint32_t value;
    const char* reason;
  } lies[] = {
      {0, 0x54524458, "the file is not a debug record"},
      {4, 2, "the record has version 2"},
      {16, 3, "the file's length differs from what its header announces"},
      {20, 0x40000000, "the file's length differs from what its header announces"},
      {tables, 0xFFFFFFF0, "a source file name lies outside the record"},
      {tables + 8, static_cast<uint32_t>(good.size() - strings), "a procedure name lies outside the record"},
      {tables + 8 + 8, 2, "procedure Begin names a source file that the record lacks"},
      {tables + 8 + 36, 1000, "a variable name lies outside the record"},
  };
  for (const Lie& lie : lies) {
    std::vector<uint8_t> bytes = good;
    put32(&bytes, lie.at, lie.value);
    drt::DebugRecord read;
    std::string error;
    EXPECT_FALSE(parse(bytes, &read, &error)) << lie.reason;
    EXPECT_EQ(error, lie.reason);
  }
  // The last name without its terminating NUL.
  std::vector<uint8_t> bytes = good;
  bytes.back() = 'x';
  drt::DebugRecord read;
  std::string error;
  EXPECT_FALSE(parse(bytes, &read, &error));
  EXPECT_EQ(error, "a variable name lies outside the record");
}

TEST(DebugRecordTest, ARecordOfAnotherModuleDoesNotMatch) {
  const drt::DebugRecord record = sample();
  struct Change {
    void (*apply)(drt::DebugRecord* other);
    const char* reason;
  } changes[] = {
      {[](drt::DebugRecord* r) { r->imageSize += 16; }, "the record was made for an image of another size"},
      {[](drt::DebugRecord* r) { r->procedures.pop_back(); },
       "the record lists other procedures or variables than the module"},
      {[](drt::DebugRecord* r) { r->variables.push_back({"extra", 0x320}); },
       "the record lists other procedures or variables than the module"},
      {[](drt::DebugRecord* r) { r->procedures[1].offset += 1; }, "procedure StartingProc is not the module's"},
      {[](drt::DebugRecord* r) { r->procedures[0].name = "Bogus"; }, "procedure Begin is not the module's"},
      {[](drt::DebugRecord* r) { r->variables[0].offset = 0x304; }, "variable score is not the module's"},
  };
  for (const Change& change : changes) {
    drt::DebugRecord module = record;
    change.apply(&module);
    std::string error;
    EXPECT_FALSE(drt::matchesModule(record, tablesOf(module), &error)) << change.reason;
    EXPECT_EQ(error, change.reason);
  }
  // A procedure whose entry lies in the data is no procedure to break at.
  drt::DebugRecord inData = record;
  inData.procedures[2].offset = 0x300;
  std::string error;
  EXPECT_FALSE(drt::matchesModule(inData, tablesOf(inData), &error));
  EXPECT_EQ(error, "procedure helper does not lie in the code");
}

TEST(DebugRecordFileTest, AMissingCutOrLyingFileLeavesTheModuleWithoutTheDebugger) {
  TempDir directory;
  const drt::DebugRecord record = sample();
  const std::vector<uint8_t> bytes = drt::writeDebugRecord(record);
  std::string good = directory.write("good.drt", std::string(bytes.begin(), bytes.end()));
  std::string cut = directory.write("cut.drt", std::string(bytes.begin(), bytes.end() - 3));
  drt::DebugRecord other = record;
  other.procedures[0].offset = 0x20;
  std::vector<uint8_t> otherBytes = drt::writeDebugRecord(other);
  std::string lying = directory.write("other.drt", std::string(otherBytes.begin(), otherBytes.end()));
  const drt::ModuleTables module = tablesOf(record);
  drt::DebugRecord read;
  struct Case {
    std::string path;
    std::string reason;
  } cases[] = {
      {directory.file("missing.drt"), "the file cannot be opened"},
      {cut, "the file's length differs from what its header announces"},
      {lying, "procedure Begin is not the module's"},
  };
  for (const Case& c : cases) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(drt::loadDebugRecord(c.path.c_str(), module, &read)) << c.path;
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "runa1: debug record " + c.path + ": " + c.reason + "; the module runs without the debugger\n");
  }
  testing::internal::CaptureStderr();
  EXPECT_TRUE(drt::loadDebugRecord(good.c_str(), module, &read));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(read.sourceFiles, record.sourceFiles);
}

}  // namespace
