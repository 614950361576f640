#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "host/exports/export_table.h"
#include "host/exports/file.h"

namespace {

// Every name is "_" + plain name + "@" + its argument bytes, except the one float oddity.
TEST(ExportTableTest, NamesAreDecoratedWithTheirArgumentBytes) {
  std::set<std::string> seen;
  for (const ExportEntry& row : exportTable()) {
    std::string name(row.name);
    EXPECT_TRUE(seen.insert(name).second) << "duplicate " << name;
    EXPECT_NE(row.function, nullptr) << name;
    if (name == "__stdcallfloat_Log2T") continue;
    ASSERT_EQ(name[0], '_') << name;
    size_t at = name.rfind('@');
    ASSERT_NE(at, std::string::npos) << name;
    EXPECT_EQ(name.substr(at + 1), std::to_string(row.argumentBytes)) << name;
    EXPECT_EQ(row.argumentBytes % 4, 0u) << name;
  }
}

TEST(ExportTableTest, LookupFindsEveryRowAndNothingElse) {
  auto rows = exportTable();
  for (size_t i = 1; i < rows.size(); ++i) EXPECT_LT(std::strcmp(rows[i - 1].name, rows[i].name), 0);
  for (const ExportEntry& row : rows) EXPECT_EQ(findExport(row.name), &row);
  EXPECT_EQ(findExport("_File_Read@8"), nullptr) << "the byte count is part of the name";
  EXPECT_EQ(findExport("File_Read"), nullptr);
  EXPECT_EQ(findExport(""), nullptr);
  EXPECT_EQ(findExport("_zzz@0"), nullptr);
  const ExportEntry* read = findExport("_File_Read@12");
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->function, reinterpret_cast<const void*>(&File_Read));
}

TEST(ExportTableTest, ArgumentBytesFollowThe32BitStack) {
  EXPECT_EQ(export_abi::argumentBytes(&File_Seek), 12u);
  EXPECT_EQ(export_abi::stackBytes<double>(), 8u);
  EXPECT_EQ(export_abi::stackBytes<char>(), 4u);
  EXPECT_EQ(export_abi::stackBytes<void*>(), 4u);
  EXPECT_EQ(export_abi::stackBytes<int64_t>(), 8u);
}

}  // namespace
