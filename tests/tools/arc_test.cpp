#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/error.h"
#include "files/koral_archive.h"
#include "host/exports/archive.h"
#include "host/exports/file.h"
#include "tests/temp_dir.h"
#include "tools/arc/arc.h"

namespace fs = std::filesystem;

namespace {

fs::path utf8Path(const std::string& text) { return fs::path(std::u8string(text.begin(), text.end())); }

class ArcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(dir.path() / "src" / "Sub" / "deeper");
    fs::create_directories(dir.path() / "src" / "empty dir");
    dir.write("src/readme.txt", "read me");
    dir.write("src/zero.bin", "");
    big = std::string(200000, '\0');
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7 + i / 251);
    dir.write("src/Sub/big.bin", big);
    std::ofstream(dir.path() / "src" / "Sub" / "deeper" / utf8Path("日本語.txt"), std::ios::binary) << "nihongo";
  }

  std::string create() {
    std::string archive = dir.file("out.arc");
    std::string error;
    EXPECT_TRUE(arc::createArchive(dir.path() / "src", archive, &error)) << error;
    return archive;
  }

  static std::string member(KArcFileExp* archive, const char* name) {
    EXPECT_EQ(KORALArchive_DescendFile(archive, name), 0u) << name;
    std::string bytes(File_GetLength(archive), '\0');
    EXPECT_EQ(File_Read(archive, bytes.data(), static_cast<uint32_t>(bytes.size())), bytes.size());
    return bytes;
  }

  TempDir dir;
  std::string big;
};

TEST_F(ArcTest, CreatedArchivesReadThroughTheExports) {
  KArcFileExp* archive = KORALArchive_Open(create().c_str(), 1);
  ASSERT_NE(archive, nullptr);
  EXPECT_EQ(member(archive, "README.TXT"), "read me");
  EXPECT_EQ(member(archive, "zero.bin"), "");
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "sub"), 0u);
  EXPECT_EQ(member(archive, "big.bin"), big);
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "deeper"), 0u);
  EXPECT_EQ(member(archive, "\x93\xfa\x96\x7b\x8c\xea.txt"), "nihongo") << "names are stored in Shift-JIS";
  char* path = KORALArchive_GetCurrentDirecotry(archive);
  EXPECT_STREQ(path, "\\Sub\\deeper\\");
  os::heapFree(path);
  ASSERT_EQ(KORALArchive_AscendDirectory(archive), 0u);
  ASSERT_EQ(KORALArchive_AscendDirectory(archive), 0u);
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "empty dir"), 0u);
  EXPECT_EQ(archive->GetDirectory()->GetCount(), 0u);
  KORALArchive_Close(archive);
}

TEST_F(ArcTest, ListShowsTheTreeWithSizesAndExtractGivesItBack) {
  std::string archive = create();
  std::ostringstream listing;
  std::string error;
  ASSERT_TRUE(arc::listArchive(archive, listing, &error)) << error;
  EXPECT_EQ(listing.str(),
            "Sub/\n"
            "  big.bin  200000\n"
            "  deeper/\n"
            "    日本語.txt  7\n"
            "empty dir/\n"
            "readme.txt  7\n"
            "zero.bin  0\n");

  ASSERT_TRUE(arc::extractArchive(archive, dir.path() / "out", &error)) << error;
  EXPECT_EQ(dir.read("out/Sub/big.bin"), big);
  EXPECT_EQ(dir.read("out/readme.txt"), "read me");
  EXPECT_TRUE(fs::is_directory(dir.path() / "out" / "empty dir"));
  EXPECT_TRUE(fs::exists(dir.path() / "out" / "zero.bin"));
  std::ifstream in(dir.path() / "out" / "Sub" / "deeper" / utf8Path("日本語.txt"), std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "nihongo");
}

TEST_F(ArcTest, InputsThatCannotBeStoredAreRefusedAndNothingIsLeft) {
  std::string error;
  std::string archive = dir.file("bad.arc");
  EXPECT_FALSE(arc::createArchive(dir.path() / "missing", archive, &error));
  EXPECT_NE(error.find("not a directory"), std::string::npos) << error;

  std::ofstream(dir.path() / "src" / utf8Path("\xF0\x9F\x98\x80.txt")) << "emoji";
  EXPECT_FALSE(arc::createArchive(dir.path() / "src", archive, &error));
  EXPECT_NE(error.find("cannot be written in Shift-JIS"), std::string::npos) << error;
  EXPECT_FALSE(fs::exists(archive));
  fs::remove(dir.path() / "src" / utf8Path("\xF0\x9F\x98\x80.txt"));

  EXPECT_FALSE(arc::createArchive(dir.path() / "src", dir.file("no/such/dir/x.arc"), &error));
  EXPECT_NE(error.find("cannot create"), std::string::npos) << error;
}

TEST_F(ArcTest, ReadersRefuseDamagedArchivesAndUnsafeNames) {
  std::string error;
  std::ostringstream listing;
  EXPECT_FALSE(arc::listArchive(dir.file("src/readme.txt"), listing, &error));
  EXPECT_NE(error.find("not an archive: Invalid VRF file header ID!"), std::string::npos) << error;

  // A cut archive: the last member's record header is incomplete.
  create();
  std::string whole = dir.read("out.arc");
  dir.write("cut.arc", whole.substr(0, whole.size() - 10));
  EXPECT_FALSE(arc::extractArchive(dir.file("cut.arc"), dir.path() / "cut", &error));
  EXPECT_NE(error.find("zero.bin: Not found VRF record."), std::string::npos) << error;

  // An entry named ".." must not leave the output directory.
  KRawFile raw;
  ASSERT_EQ(raw.Open(dir.file("evil.arc").c_str(), FILE_WRITE), 0u);
  KORALDirectory root;
  root.Add(KORALDirEntry::Make("..", nullptr, 0));
  KORALArchive writer;
  ASSERT_EQ(writer.Open(&raw, &root), 0u);
  writer.DescendFile("..");
  writer.Write("x", 1);
  writer.Close();
  raw.Close();
  EXPECT_FALSE(arc::extractArchive(dir.file("evil.arc"), dir.path() / "evil", &error));
  EXPECT_NE(error.find("not a name that can be extracted"), std::string::npos) << error;
}

}  // namespace
