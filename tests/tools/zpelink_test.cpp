#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>

#include "debugger/debug_record.h"
#include "host/module/zpk_module.h"
#include "tests/host/fake_module_platform.h"
#include "tests/temp_dir.h"
#include "tools/zpelink/linker.h"

namespace {

uint32_t low32(const void* address) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(address)); }

class LinkedModuleTest : public ::testing::Test {
 protected:
  LinkedModuleTest() {
    platform.libraryTable["KERNEL32.dll"] = {{"GetTickCount", 0x7001}};
    platform.hostTable["_File_GetLength@4"] = 0x5001;
  }
  FakeModulePlatform platform;
  CZPKModule module{platform};
};

TEST_F(LinkedModuleTest, ImportsBindToTheHostAndToTheNamedLibrary) {
  ASSERT_EQ(module.Load(LINK_SAMPLE), CZPKModule::kLoaded) << module.GetLastErrorMessage();
  uint32_t slots[2];
  std::memcpy(slots, module.GetImageBase(), sizeof slots);
  EXPECT_TRUE((slots[0] == 0x7001 && slots[1] == 0x5001) || (slots[0] == 0x5001 && slots[1] == 0x7001));
  EXPECT_EQ(platform.loaded, std::vector<std::string>{"KERNEL32.dll"});
}

TEST_F(LinkedModuleTest, TablesHoldTheObjectsGlobalsUndecorated) {
  ASSERT_EQ(module.Load(LINK_SAMPLE), CZPKModule::kLoaded);
  for (const char* name : {"StartingProc", "divide", "Begin", "End"})
    EXPECT_NE(module.GetProcedureAddress(name), nullptr) << name;
  for (const char* name : {"_StartingProc@4", "__udivdi3", "memcpy", "hidden", "table"})
    EXPECT_EQ(module.GetProcedureAddress(name), nullptr) << name << ": decorated, from a library, static or data";
  for (const char* name : {"table", "pointer", "zeroed", "greeting"})
    EXPECT_NE(module.GetVariableAddress(name), nullptr) << name;
  EXPECT_EQ(module.GetVariableAddress("hidden"), nullptr);
  EXPECT_EQ(module.GetStartingProc(), module.GetProcedureAddress("StartingProc"));
  ASSERT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(platform.calls[0], reinterpret_cast<uintptr_t>(module.GetProcedureAddress("Begin")));
}

TEST_F(LinkedModuleTest, DataIsPlacedAndRelocated) {
  ASSERT_EQ(module.Load(LINK_SAMPLE), CZPKModule::kLoaded);
  auto* table = static_cast<const uint32_t*>(module.GetVariableAddress("table"));
  EXPECT_EQ(table[0], 1u);
  EXPECT_EQ(table[3], 4u);
  uint32_t pointer;
  std::memcpy(&pointer, module.GetVariableAddress("pointer"), 4);
  EXPECT_EQ(pointer, low32(table + 2)) << "a pointer in data is fixed up by the image base";
  uint32_t greeting;
  std::memcpy(&greeting, module.GetVariableAddress("greeting"), 4);
  EXPECT_STREQ(reinterpret_cast<const char*>(module.GetImageBase() + (greeting - low32(module.GetImageBase()))),
               "hello");
  auto* zeroed = static_cast<const uint8_t*>(module.GetVariableAddress("zeroed"));
  for (int i = 0; i < 256; ++i) ASSERT_EQ(zeroed[i], 0) << "uninitialised data is zeroed in the file";
  EXPECT_LT(module.GetProcedureAddress("StartingProc"), module.GetVariableAddress("table")) << "code before data";
}

TEST_F(LinkedModuleTest, ResourcesEmbeddedAndExternal) {
  ASSERT_EQ(module.Load(LINK_SAMPLE), CZPKModule::kLoaded);
  uint32_t data = module.GetResourceID("data");
  EXPECT_EQ(module.GetResourceLength(static_cast<int32_t>(data)), 14u);
  KRawFile* file = module.OpenResource(static_cast<int32_t>(data));
  ASSERT_NE(file, nullptr);
  char bytes[15] = {};
  file->Read(bytes, 14);
  EXPECT_STREQ(bytes, "embedded bytes");
  delete file;
  EXPECT_EQ(module.GetResourceLength(static_cast<int32_t>(module.GetResourceID("music"))), 14u);
}

TEST_F(LinkedModuleTest, TheDebugRecordDescribesTheModuleAndNamesTheSource) {
  ASSERT_EQ(module.Load(LINK_SAMPLE), CZPKModule::kLoaded);
  std::string path = LINK_SAMPLE;
  std::ifstream in(path.substr(0, path.size() - 4) + ".drt", std::ios::binary);
  std::vector<uint8_t> record(std::istreambuf_iterator<char>(in), {});
  drt::DebugRecord parsed;
  std::string error;
  ASSERT_TRUE(drt::parseDebugRecord(record.data(), record.size(), &parsed, &error)) << error;
  drt::ModuleTables tables{module.GetImageSize(), module.GetProcedureNames(), module.GetProcedureOffsets(),
                           module.GetVariableNames(), module.GetVariableOffsets()};
  EXPECT_TRUE(drt::matchesModule(parsed, tables, &error)) << error;
  ASSERT_EQ(parsed.procedures.size(), 4u);
  const char* names[] = {"Begin", "End", "StartingProc", "divide"};
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(parsed.procedures[i].name, names[i]);
    ASSERT_LT(parsed.procedures[i].source, parsed.sourceFiles.size()) << names[i];
  }
  ASSERT_EQ(parsed.sourceFiles.size(), 1u) << "the support archive's procedures are not the module's";
  EXPECT_EQ(parsed.sourceFiles[0], LINK_SAMPLE_SOURCE);
  EXPECT_EQ(parsed.variables.size(), 4u);
}

// Runs zpelink and gives its exit status; its diagnostics land in `output`.
int runLinker(const std::string& arguments, std::string* output) {
  TempDir dir;
  std::string command = std::string(ZPELINK) + " " + arguments + " > " + dir.file("out.txt") + " 2>&1";
  int status = std::system(command.c_str());
  *output = dir.read("out.txt");
  return status;
}

TEST(ZpelinkToolTest, RefusesWhatAModuleCannotHoldAndNamesIt) {
  TempDir dir;
  std::string output;
  std::string objects = OBJECT_DIR;
  EXPECT_NE(runLinker("-o " + dir.file("a.zpe") + " " + objects + "/undefined_symbol.o", &output), 0);
  EXPECT_NE(output.find("undefined symbol _missing referenced in " + objects + "/undefined_symbol.o"), std::string::npos)
      << output;
  EXPECT_NE(runLinker("-o " + dir.file("b.zpe") + " " + objects + "/section_relative.o", &output), 0);
  EXPECT_NE(output.find("section_relative.o: unsupported relocation type 11 against .text in .text"), std::string::npos) << output;
  EXPECT_NE(runLinker("--entry Nothing -o " + dir.file("c.zpe") + " " + LINK_SAMPLE, &output), 0) << "not an object";
  EXPECT_NE(runLinker("--bogus", &output), 0);
  EXPECT_NE(output.find("unknown option --bogus"), std::string::npos);
  EXPECT_EQ(runLinker("--help", &output), 0);
  EXPECT_NE(output.find("--import-dll"), std::string::npos);
}

TEST(UndecorateTest, StripsUnderscoreAndArgumentBytes) {
  EXPECT_EQ(undecorate("_StartingProc@4"), "StartingProc");
  EXPECT_EQ(undecorate("_table"), "table");
  EXPECT_EQ(undecorate("@fast@8"), "fast");
  EXPECT_EQ(undecorate("_odd@name"), "odd@name");
  EXPECT_EQ(undecorate("plain"), "plain");
}

}  // namespace
