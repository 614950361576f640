#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/module/zpk_module.h"
#include "host/module/zpk_text.h"
#include "tests/host/fake_module_platform.h"
#include "tests/temp_dir.h"
#include "tools/zpelink/zpe_writer.h"

namespace {

uint32_t wordAt(const uint8_t* at) {
  uint32_t value;
  std::memcpy(&value, at, 4);
  return value;
}

// A module with two imports, one relocation, procedures, variables and both kinds of resource.
ZpeModule sampleModule() {
  ZpeModule module;
  module.code = {0xC3, 0x90, 0x90, 0x90, 0x08, 0x00, 0x00, 0x00};  // a word at code+4 holds image offset 8
  module.data = {'d', 'a', 't', 'a'};
  module.startingProc = 0x10;
  module.initializer = 0x11;
  module.finalizer = 0x12;
  module.libraries = {"KERNEL32.dll", "USER32.dll"};
  module.imports = {{"_File_Read@12", -1}, {"GetTickCount", 0}};
  module.relocations = {0x10 + 4};
  module.procedures = {{"StartingProc", 0x10}, {"Zeta", 0x13}, {"Alpha", 0x11}};
  module.variables = {{"counter", 0x18}};
  module.resources = {{"text", false, "", {'h', 'e', 'l', 'l', 'o'}, 0},
                      {"music", true, "sub\\tune.mid", {}, 3},
                      {"absolute", true, "C:\\x.bin", {}, 1}};
  return module;
}

std::string asText(const std::vector<uint8_t>& bytes) { return std::string(bytes.begin(), bytes.end()); }

// Offset of the section table entry of `type` in a written file.
size_t entryOf(const std::string& file, uint32_t type) {
  uint32_t count = wordAt(reinterpret_cast<const uint8_t*>(file.data()) + 0x40);
  for (size_t i = 0; i < count; ++i) {
    size_t at = 0x44 + 16 * i;
    if (wordAt(reinterpret_cast<const uint8_t*>(file.data()) + at + 8) == type) return at;
  }
  return std::string::npos;
}

void putWord(std::string* file, size_t at, uint32_t value) { std::memcpy(file->data() + at, &value, 4); }

class ZpkModuleTest : public ::testing::Test {
 protected:
  ZpkModuleTest() {
    platform.libraryTable["KERNEL32.dll"] = {{"GetTickCount", 0x7001}, {"_File_Read@12", 0x7002}};
    platform.libraryTable["USER32.dll"] = {{"MessageBoxA", 0x7101}};
    platform.hostTable["_File_Read@12"] = 0x5001;
  }

  int32_t load(const std::string& bytes) { return module.Load(dir.write("m.zpe", bytes).c_str()); }
  int32_t load(const ZpeModule& source) { return load(asText(writeZpe(source))); }

  void expectFailure(int32_t status, const std::string& message, const std::string& bytes) {
    CZPKModule fresh(platform);
    EXPECT_EQ(fresh.Load(dir.write("bad.zpe", bytes).c_str()), status);
    EXPECT_EQ(std::string(fresh.GetLastErrorMessage()), message);
    EXPECT_FALSE(fresh.IsLoaded());
  }

  TempDir dir;
  FakeModulePlatform platform;
  CZPKModule module{platform};
};

TEST_F(ZpkModuleTest, PlacesBindsRelocatesAndCallsTheInitialiser) {
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kSuccess);
  ASSERT_EQ(load(sampleModule()), CZPKModule::kLoaded) << module.GetLastErrorMessage();
  EXPECT_TRUE(module.IsLoaded());
  uint8_t* base = module.GetImageBase();
  EXPECT_EQ(reinterpret_cast<uintptr_t>(base) % 16, 0u);
  EXPECT_EQ(module.GetImportTableSize(), 16u);
  EXPECT_EQ(wordAt(base), 0x5001u) << "a negative index asks the host first";
  EXPECT_EQ(wordAt(base + 4), 0x7001u);
  EXPECT_EQ(base[16], 0xC3) << "code follows the import table";
  EXPECT_EQ(wordAt(base + 20), 8u + static_cast<uint32_t>(reinterpret_cast<uintptr_t>(base)));
  EXPECT_EQ(std::memcmp(base + 24, "data", 4), 0) << "data follows the code without padding";
  EXPECT_EQ(platform.loaded, (std::vector<std::string>{"KERNEL32.dll", "USER32.dll"}));
  ASSERT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(platform.calls[0], reinterpret_cast<uintptr_t>(base + 0x11));
  EXPECT_EQ(module.GetStartingProc(), base + 0x10);
  std::string directory = module.GetBaseDirectory();
  EXPECT_EQ(directory, (dir.path() / "").string()) << "cut behind the last separator";
  EXPECT_EQ(std::string(module.GetPath()), dir.file("m.zpe"));
}

TEST_F(ZpkModuleTest, DeleteRunsTheFinaliserBeforeFreeingLibrariesInOrder) {
  ASSERT_EQ(load(sampleModule()), 0);
  uint8_t* base = module.GetImageBase();
  platform.log.clear();
  module.Delete();
  EXPECT_EQ(platform.log, (std::vector<std::string>{"call", "free KERNEL32.dll", "free USER32.dll"}));
  EXPECT_EQ(platform.calls.back(), reinterpret_cast<uintptr_t>(base + 0x12));
  EXPECT_FALSE(module.IsLoaded());
  EXPECT_EQ(module.GetStartingProc(), nullptr);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kNotLoaded);
  ASSERT_EQ(load(sampleModule()), 0) << "a deleted object loads again";
}

TEST_F(ZpkModuleTest, ProceduresAndVariablesAreFoundByName) {
  ASSERT_EQ(load(sampleModule()), 0);
  uint8_t* base = module.GetImageBase();
  EXPECT_EQ(module.GetProcedureAddress("Alpha"), base + 0x11);
  EXPECT_EQ(module.GetProcedureAddress("StartingProc"), base + 0x10);
  EXPECT_EQ(module.GetProcedureAddress("Zeta"), base + 0x13);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kSuccess);
  EXPECT_EQ(module.GetProcedureAddress("Beta"), nullptr);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kProcedureNotFound);
  EXPECT_EQ(module.GetVariableAddress("counter"), base + 0x18);
  EXPECT_EQ(module.GetVariableAddress("Alpha"), nullptr);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kVariableNotFound);
}

TEST_F(ZpkModuleTest, ResourcesEmbeddedAndExternal) {
  dir.write("tune.mid", "MTh");
  std::filesystem::create_directories(dir.path() / "sub");
  dir.write("sub/tune.mid", "MTh");
  ZpeModule source = sampleModule();
  source.resources[1].fileName = "sub/tune.mid";
  ASSERT_EQ(load(source), 0);
  // Ids follow the names in sorted order: absolute, music, text.
  EXPECT_EQ(module.GetResourceID("absolute"), 0u);
  EXPECT_EQ(module.GetResourceID("music"), 1u);
  EXPECT_EQ(module.GetResourceID("text"), 2u);
  EXPECT_EQ(module.GetResourceID("none"), 0xFFFFFFFFu);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kResourceNameNotFound);
  EXPECT_EQ(module.GetResourceLength(2), 5u);
  EXPECT_EQ(module.GetResourceLength(1), 3u);

  KRawFile* text = module.OpenResource(2);
  ASSERT_NE(text, nullptr);
  char bytes[6] = {};
  EXPECT_EQ(text->Read(bytes, 5), 5u);
  EXPECT_STREQ(bytes, "hello");
  delete text;

  KRawFile* music = module.OpenResource(1);
  ASSERT_NE(music, nullptr) << "relative names resolve against the base directory";
  EXPECT_EQ(music->GetLength(), 3u);
  delete music;

  EXPECT_EQ(module.OpenResource(0), nullptr) << "a drive-rooted name is taken as it stands";
  EXPECT_EQ(std::string(module.GetLastErrorMessage()), std::string("C:\\x.bin") + zpk_text::kCannotOpenResource);

  for (int32_t id : {3, 100, -1}) {
    EXPECT_EQ(module.GetResourceLength(id), 0xFFFFFFFFu) << id;
    EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kBadResourceId);
    EXPECT_EQ(module.OpenResource(id), nullptr) << id;
    EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kBadResourceId);
  }
}

TEST_F(ZpkModuleTest, AnEmptyObjectRefusesEveryQuery) {
  EXPECT_EQ(module.GetProcedureAddress("Alpha"), nullptr);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kNotLoaded);
  EXPECT_EQ(module.GetVariableAddress("x"), nullptr);
  EXPECT_EQ(module.GetResourceID("x"), 0xFFFFFFFFu);
  EXPECT_EQ(module.GetResourceLength(0), 0xFFFFFFFFu);
  EXPECT_EQ(module.OpenResource(0), nullptr);
  EXPECT_EQ(module.GetStartingProc(), nullptr);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kNotLoaded);
}

TEST_F(ZpkModuleTest, EveryLoadFailureHasItsMessageAndStatus) {
  std::string good = asText(writeZpe(sampleModule()));
  ASSERT_EQ(load(good), 0);
  EXPECT_EQ(module.Load("/nonexistent.zpe"), CZPKModule::kRefused);
  EXPECT_STREQ(module.GetLastErrorMessage(), zpk_text::kAlreadyLoaded);

  CZPKModule fresh(platform);
  std::string missing = dir.file("none.zpe");
  EXPECT_EQ(fresh.Load(missing.c_str()), CZPKModule::kCannotOpen);
  EXPECT_EQ(std::string(fresh.GetLastErrorMessage()), missing + zpk_text::kCannotOpen);

  std::string signature = good;
  signature[4] = 'R';
  expectFailure(2, zpk_text::kBadFormat, signature);
  std::string format = good;
  format[8] = 1;
  expectFailure(2, zpk_text::kBadFormat, format);
  expectFailure(2, zpk_text::kBadFormat, good.substr(0, 10));

  std::string noSections = good.substr(0, 0x44);
  putWord(&noSections, 0x40, 0);
  expectFailure(2, zpk_text::kNoHeader, noSections);

  for (uint32_t type : {1u, 2u}) {
    std::string noCode = good;
    putWord(&noCode, entryOf(good, type) + 8, 0x999);
    expectFailure(2, zpk_text::kNoCode, noCode);
  }
  for (uint32_t type : {0x100u, 0x101u, 0x102u, 0x200u, 0x201u, 0x202u, 0x203u, 0x300u, 0x301u, 0x302u, 0x303u}) {
    std::string incomplete = good;
    putWord(&incomplete, entryOf(good, type) + 8, 0x999);
    SCOPED_TRACE(type);
    expectFailure(2, zpk_text::kBadFile, incomplete);
  }

  ZpeModule badLibrary = sampleModule();
  badLibrary.libraries.push_back("MISSING.dll");
  expectFailure(3, std::string("MISSING.dll") + zpk_text::kCannotLoadLibrary, asText(writeZpe(badLibrary)));

  ZpeModule badImport = sampleModule();
  badImport.imports.push_back({"_Nothing@4", -1});
  expectFailure(4, std::string("_Nothing@4") + zpk_text::kImportNotFound, asText(writeZpe(badImport)));

  platform.imageLimit = 64;
  expectFailure(-1, zpk_text::kNoMemory, good);
}

TEST_F(ZpkModuleTest, SignatureBytesFiveToSevenAreFree) {
  std::string file = asText(writeZpe(sampleModule()));
  file.replace(5, 3, "XYZ");
  EXPECT_EQ(load(file), 0);
}

TEST_F(ZpkModuleTest, ImportListAndSlotCountDisagree) {
  ZpeModule source = sampleModule();
  source.imports = {{"GetTickCount", 0}, {"_Missing@0", -1}};
  std::string file = asText(writeZpe(source));
  size_t headerAt = wordAt(reinterpret_cast<const uint8_t*>(file.data()) + entryOf(file, 0));
  putWord(&file, headerAt + 4, 1);
  ASSERT_EQ(load(file), 0) << "only the first slot-count entries are bound";
  EXPECT_EQ(module.GetImportTableSize(), 16u);
  EXPECT_EQ(wordAt(module.GetImageBase()), 0x7001u);
  module.Delete();

  source.imports = {{"GetTickCount", 0}};
  file = asText(writeZpe(source));
  headerAt = wordAt(reinterpret_cast<const uint8_t*>(file.data()) + entryOf(file, 0));
  putWord(&file, headerAt + 4, 9);
  ASSERT_EQ(load(file), 0) << "a shorter list leaves the other slots unset";
  EXPECT_EQ(module.GetImportTableSize(), 48u);
}

TEST_F(ZpkModuleTest, LibraryIndexDecidesWhereAnImportIsLookedUp) {
  ZpeModule source = sampleModule();
  // -5 behaves like -1: the host first, then every library in order.
  source.imports = {{"_File_Read@12", -5}, {"MessageBoxA", -1}, {"_File_Read@12", 0}};
  ASSERT_EQ(load(source), 0);
  uint8_t* base = module.GetImageBase();
  EXPECT_EQ(wordAt(base), 0x5001u) << "the host wins over a library";
  EXPECT_EQ(wordAt(base + 4), 0x7101u) << "the first library that has the name";
  EXPECT_EQ(wordAt(base + 8), 0x7002u) << "a library index never consults the host";
  module.Delete();

  source.imports = {{"MessageBoxA", 0}};
  EXPECT_EQ(load(source), 4) << "only the named library is asked";
  source.imports = {{"GetTickCount", 7}};
  EXPECT_EQ(load(source), 4) << "a library index past the list finds nothing";
}

TEST_F(ZpkModuleTest, InitialiserAndFinaliserOffsets) {
  ZpeModule source = sampleModule();
  source.initializer = zpe::kNoProcedure;
  source.finalizer = zpe::kNoProcedure;
  ASSERT_EQ(load(source), 0);
  module.Delete();
  EXPECT_TRUE(platform.calls.empty());

  source.initializer = 0;
  source.startingProc = 0;
  ASSERT_EQ(load(source), 0);
  ASSERT_EQ(platform.calls.size(), 1u);
  EXPECT_EQ(platform.calls[0], reinterpret_cast<uintptr_t>(module.GetImageBase())) << "offset 0 is a procedure";
  EXPECT_EQ(module.GetStartingProc(), module.GetImageBase()) << "an unset entry is not detected";
}

TEST(ZpeNameSearchTest, UpperBoundMovesToMidAndStillEnds) {
  std::vector<std::string> storage;
  for (int i = 0; i < 37; ++i) storage.push_back(std::string(1, static_cast<char>('A' + i)) + "x");
  storage.push_back("\xE0high");  // sorts last by unsigned bytes
  std::vector<const char*> names;
  for (const std::string& name : storage) names.push_back(name.c_str());
  for (size_t count = 0; count <= names.size(); ++count) {
    std::vector<const char*> table(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count));
    for (size_t i = 0; i < count; ++i) EXPECT_EQ(zpe::findName(table, table[i]), static_cast<int64_t>(i));
    for (const char* absent : {"", "0", "Ay", "zzz", "\xFF"}) EXPECT_EQ(zpe::findName(table, absent), -1);
  }
  EXPECT_EQ(zpe::findName({"one"}, "one"), 0);
}

TEST_F(ZpkModuleTest, CountsAndOffsetsPastTheirBlocksAreRefused) {
  std::string good = asText(writeZpe(sampleModule()));
  auto sectionStart = [&](uint32_t type) { return wordAt(reinterpret_cast<const uint8_t*>(good.data()) + entryOf(good, type)); };

  std::string manyNames = good;
  putWord(&manyNames, sectionStart(0x300), 100000);
  expectFailure(2, zpk_text::kBadFile, manyNames);

  std::string relocation = good;
  putWord(&relocation, sectionStart(0x102) + 4, 0x7FFFFFF0);
  expectFailure(2, zpk_text::kBadFile, relocation);

  std::string pastFile = good;
  putWord(&pastFile, entryOf(good, 0x200) + 4, 0xFFFFFFF0);
  expectFailure(2, zpk_text::kBadFile, pastFile);

  std::string manyImports = good;
  putWord(&manyImports, sectionStart(0x101), 0xFFFFFFFF);
  size_t headerAt = sectionStart(0);
  putWord(&manyImports, headerAt + 4, 0x40000000);
  expectFailure(-1, zpk_text::kNoMemory, manyImports);

  std::string hugeTable = good;
  putWord(&hugeTable, 0x40, 0xFFFFFFFF);
  EXPECT_EQ(load(hugeTable), 0) << "entries the file does not hold are not searched";
}

}  // namespace
