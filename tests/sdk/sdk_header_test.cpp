#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <string>

#include "host/exports/export_table.h"

namespace {

// The names the module compiler imports for the header's declarations ("__imp_" stripped).
std::set<std::string> headerImports() {
  std::ifstream in(HEADER_IMPORTS);
  std::set<std::string> names;
  std::string word;
  while (in >> word) {
    if (word.rfind("__imp_", 0) == 0) names.insert(word.substr(6));
  }
  return names;
}

TEST(SdkHeaderTest, EveryDeclarationIsAnExportOfThatName) {
  std::set<std::string> imports = headerImports();
  ASSERT_GT(imports.size(), 50u) << "the header's imports were not read";
  for (const std::string& name : imports) EXPECT_NE(findExport(name.c_str()), nullptr) << name;
}

TEST(SdkHeaderTest, EveryExportIsDeclared) {
  std::set<std::string> imports = headerImports();
  for (const ExportEntry& row : exportTable()) EXPECT_EQ(imports.count(row.name), 1u) << row.name;
}

}  // namespace
