#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "base/error.h"
#include "base/trace.h"
#include "files/koral_archive.h"
#include "host/exports/archive.h"
#include "host/exports/file.h"
#include "tests/files/memory_file.h"
#include "tests/files/record_bytes.h"
#include "tests/temp_dir.h"
#include "tests/test_support.h"

namespace {

std::vector<std::string> traces;
void keepTrace(TraceChannel, const char* text) { traces.push_back(text); }

void expectReport(uint32_t result, const char* source, const char* message) {
  EXPECT_EQ(result, VK_ERROR_FILE);
  const VKERRORRECORD* record = vkGetErrorRecord();
  EXPECT_EQ(record->code, VK_ERROR_FILE);
  EXPECT_STREQ(record->source, source);
  EXPECT_STREQ(record->message, message);
}

KORALDirEntry* entryNamed(const char* name, uint32_t word = 0) {
  KORALDirEntry* entry = KORALDirEntry::Make(name, nullptr, 0);
  entry->words[0] = word;
  return entry;
}

std::string member(KFileObj* file) {
  std::string bytes(File_GetLength(file) + 16, '\0');
  File_Seek(file, 0, 0);
  bytes.resize(File_Read(file, bytes.data(), static_cast<uint32_t>(bytes.size())));
  return bytes;
}

// root: "Readme.txt", "data" { "one.bin", "empty" (0 bytes), "\x83\x41", "\x83\x61" },
// "last.txt"; written through the class, as the tool does.
std::string writeSample(const std::string& path) {
  KRawFile raw;
  EXPECT_EQ(raw.Open(path.c_str(), FILE_WRITE), 0u);
  KORALDirectory root, data;
  root.Add(entryNamed("Readme.txt"));
  root.Add(entryNamed("data"));
  root.Add(entryNamed("last.txt"));
  data.Add(entryNamed("one.bin"));
  data.Add(entryNamed("empty"));
  data.Add(entryNamed("\x83\x41"));
  data.Add(entryNamed("\x83\x61"));
  KORALArchive archive;
  EXPECT_EQ(archive.Open(&raw, &root), 0u);
  EXPECT_EQ(archive.DescendFile("README.TXT"), 0u);
  archive.Write("read me", 7);
  EXPECT_EQ(archive.DescendDirectory("data", &data), 0u) << "a descent ends the open member";
  EXPECT_EQ(archive.GetOpenMember(), kNoMember);
  archive.DescendFile("one.bin");
  archive.Write("11111", 5);
  archive.DescendFile("empty");
  archive.DescendFile("\x83\x41");
  archive.Write("katakana a", 10);
  archive.DescendFile("\x83\x61");
  archive.Write("small ya", 8);
  EXPECT_EQ(archive.AscendDirectory(), 0u);
  archive.DescendFile("last.txt");
  archive.Write("the end", 7);
  archive.Close();
  return path;
}

class KORALArchiveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    traces.clear();
    setTraceSink(keepTrace);
  }
  void TearDown() override { setTraceSink(nullptr); }

  TempDir dir;
};

TEST_F(KORALArchiveTest, MembersReadThroughTheFileExports) {
  KArcFileExp* archive = KORALArchive_Open(writeSample(dir.file("sample.arc")).c_str(), 1);
  ASSERT_NE(archive, nullptr);
  EXPECT_EQ(archive->GetHeader().fileType, kKORALArchiveType);
  EXPECT_STREQ(archive->GetHeader().description, "KORAL-Binary Archive-2");
  ASSERT_EQ(KORALArchive_DescendFile(archive, "readme.txt"), 0u);
  EXPECT_EQ(member(archive), "read me");
  ASSERT_EQ(KORALArchive_DescendFile(archive, "last.txt"), 0u) << "no ascent needed between members";
  EXPECT_EQ(member(archive), "the end");
  EXPECT_EQ(File_Seek(archive, 4, 0), 4u);
  EXPECT_EQ(File_GetPosition(archive), 4u);

  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "DATA"), 0u);
  ASSERT_EQ(KORALArchive_DescendFile(archive, "one.bin"), 0u);
  char buffer[64];
  EXPECT_EQ(File_Read(archive, buffer, sizeof buffer), 5u) << "reads stop at the member's end";
  EXPECT_EQ(std::string(buffer, 5), "11111");
  EXPECT_EQ(File_Read(archive, buffer, sizeof buffer), 0u);
  ASSERT_EQ(KORALArchive_DescendFile(archive, "empty"), 0u);
  EXPECT_EQ(File_GetLength(archive), 0u);
  EXPECT_EQ(File_Read(archive, buffer, sizeof buffer), 0u);
  EXPECT_EQ(KORALArchive_AscendFile(archive), 0u);
  EXPECT_EQ(KORALArchive_AscendFile(archive), 0u) << "with no member open it is a success";
  EXPECT_EQ(KORALArchive_AscendDirectory(archive), 0u);
  EXPECT_NE(KORALArchive_GetRawFile(archive), nullptr);
  EXPECT_EQ(KORALArchive_GetFileHandle(archive), archive->GetRawFile()->GetHandle());
  KORALArchive_Close(archive);
  KORALArchive_Close(nullptr);
}

TEST_F(KORALArchiveTest, NamesFoldAsciiCaseButNotShiftJisSecondBytes) {
  EXPECT_TRUE(KORALNamesMatch("Readme.TXT", "rEADME.txt"));
  EXPECT_FALSE(KORALNamesMatch("Readme.TXT", "Readme.TX"));
  EXPECT_FALSE(KORALNamesMatch("Readme", "Readme.TXT"));
  EXPECT_FALSE(KORALNamesMatch("\x83\x41", "\x83\x61")) << "the byte after a lead byte is exact";
  EXPECT_TRUE(KORALNamesMatch("\x83\x41x", "\x83\x41X"));
  EXPECT_TRUE(KORALNamesMatch("\xB1\x61", "\xB1\x41")) << "half-width katakana are single bytes";
  EXPECT_TRUE(KORALNamesMatch("\x83", "\x83")) << "a lead byte at the end";
  EXPECT_FALSE(KORALNamesMatch("[", "{")) << "only letters fold";

  KArcFileExp* archive = KORALArchive_Open(writeSample(dir.file("sample.arc")).c_str(), 1);
  ASSERT_NE(archive, nullptr);
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "Data"), 0u);
  ASSERT_EQ(KORALArchive_DescendFile(archive, "\x83\x61"), 0u);
  EXPECT_EQ(member(archive), "small ya");
  ASSERT_EQ(KORALArchive_DescendFile(archive, "\x83\x41"), 0u);
  EXPECT_EQ(member(archive), "katakana a");
  KORALArchive_Close(archive);
}

TEST_F(KORALArchiveTest, CurrentDirectoryNamesEachLevel) {
  MemoryFile bytes({}, FILE_WRITE);
  KORALDirectory root, outer, inner;
  root.Add(entryNamed("Outer"));
  outer.Add(entryNamed("x"));
  outer.Add(entryNamed("Inner"));
  KORALArchive writer;
  ASSERT_EQ(writer.Open(&bytes, &root), 0u);
  ASSERT_EQ(writer.DescendDirectory("outer", &outer), 0u);
  ASSERT_EQ(writer.DescendDirectory("inner", &inner), 0u);
  writer.Close();

  MemoryFile in(bytes.bytes());
  KArcFileExp* archive = new KArcFileExp;
  ASSERT_EQ(archive->Open(&in, nullptr), 0u);
  char* path = KORALArchive_GetCurrentDirecotry(archive);
  EXPECT_STREQ(path, "\\");
  os::heapFree(path);
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "OUTER"), 0u);
  ASSERT_EQ(KORALArchive_DescendDirectory(archive, "Inner"), 0u);
  path = KORALArchive_GetCurrentDirecotry(archive);
  EXPECT_STREQ(path, "\\Outer\\Inner\\") << "stored names, not the names asked for";
  os::heapFree(path);
  EXPECT_EQ(archive->GetDirectory()->GetCount(), 0u);
  ASSERT_EQ(KORALArchive_AscendDirectory(archive), 0u);
  ASSERT_EQ(KORALArchive_AscendDirectory(archive), 0u);
  expectReport(KORALArchive_AscendDirectory(archive), "KFileObj", "Current directory is root directory.");
  EXPECT_EQ(archive->GetDepth(), 1u);
  KORALArchive_Close(archive);
}

TEST_F(KORALArchiveTest, FailedDescentsKeepTheStackAndCloseTheMember) {
  KArcFileExp* archive = KORALArchive_Open(writeSample(dir.file("sample.arc")).c_str(), 1);
  ASSERT_NE(archive, nullptr);
  ASSERT_EQ(KORALArchive_DescendFile(archive, "readme.txt"), 0u);
  expectReport(KORALArchive_DescendFile(archive, "missing.txt"), "KFileObj", "Not found specified file.");
  EXPECT_EQ(traces, std::vector<std::string>{"Not found file entry \"missing.txt\"\n"});
  EXPECT_EQ(archive->GetOpenMember(), kNoMember);
  EXPECT_EQ(archive->GetDepth(), 1u);
  expectReport(KORALArchive_DescendDirectory(archive, "readme.tx"), "KFileObj", "Not found specified file.");
  // A member is not a directory: its body holds no "DirEntry" record.
  expectReport(KORALArchive_DescendDirectory(archive, "readme.txt"), "KFileObj", "Not found VRF record.");
  EXPECT_EQ(archive->GetDepth(), 1u);
  ASSERT_EQ(KORALArchive_DescendFile(archive, "last.txt"), 0u) << "the archive is still usable";
  EXPECT_EQ(member(archive), "the end");
  KORALArchive_Close(archive);
}

TEST_F(KORALArchiveTest, EntryWordsInfoAndStampsAreCarriedUnchanged) {
  MemoryFile bytes({}, FILE_WRITE);
  KORALDirectory root;
  KORALDirEntry* entry = KORALDirEntry::Make("a", "info!", 5);
  entry->words[0] = 0x11111111;
  entry->words[3] = 0x44444444;
  entry->timeStamp = {{1, 2, 3, 4, 5, 6}, 0x0708};
  root.Add(entry);
  KORALArchive writer;
  ASSERT_EQ(writer.Open(&bytes, &root), 0u);
  writer.DescendFile("a");
  writer.Close();

  MemoryFile in(bytes.bytes());
  KORALArchive reader;
  ASSERT_EQ(reader.Open(&in, nullptr), 0u);
  const KORALDirEntry* read = reader.GetDirectory()->GetAt(0);
  EXPECT_EQ(read->words[0], 0x11111111u);
  EXPECT_EQ(read->words[3], 0x44444444u);
  EXPECT_EQ(read->timeStamp.parts[5], 6);
  EXPECT_EQ(read->timeStamp.word, 0x0708);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(read->info), read->infoLength), "info!");
  EXPECT_EQ(read->nameLength, 2u) << "the stored name length counts the terminator";
  EXPECT_EQ(read->recordPosition, 16u + 4 + 36 + 5 + 4 + 2) << "the member follows the directory record";
}

TEST_F(KORALArchiveTest, DamagedDirectoriesFailWithTheirTexts) {
  std::string header = vrfHeaderBytes(kKORALArchiveType, kKORALArchiveDescription);
  // No "DirEntry" record at the start.
  std::string noDirectory = dir.write("nodir.arc", header + recordBytes(0, "abc"));
  EXPECT_EQ(KORALArchive_Open(noDirectory.c_str(), 1), nullptr);
  expectReport(vkGetLastError(), "KFileObj", "Not found VRF record.");
  ASSERT_EQ(traces.size(), 1u);
  EXPECT_NE(traces[0].find("nodir.arc"), std::string::npos);

  struct Case {
    const char* what;
    std::string body;
  };
  std::string fixed(32, '\0');  // words, record position, time stamp
  const Case cases[] = {
      {"count cut", littleBytes(1, 2)},
      {"entry missing", littleBytes(1, 4)},
      {"info longer than the record", littleBytes(1, 4) + fixed + littleBytes(0xFFFFFFF0, 4)},
      {"name cut", littleBytes(1, 4) + fixed + littleBytes(0, 4) + littleBytes(5, 4) + "ab"},
      {"second entry missing", littleBytes(2, 4) + fixed + littleBytes(0, 4) + littleBytes(2, 4) + std::string("a\0", 2)},
  };
  for (const Case& c : cases) {
    MemoryFile bytes(header + recordBytes(kDirEntryId, c.body));
    KORALArchive archive;
    EXPECT_EQ(archive.Open(&bytes, nullptr), VK_ERROR_FILE) << c.what;
    EXPECT_STREQ(vkGetErrorRecord()->message, "Failed reading directory information.") << c.what;
  }
}

TEST_F(KORALArchiveTest, EntriesWithoutTheirRecordAreNotFound) {
  // Two entries whose members were never written: one points beyond the end, one at 0.
  KORALDirectory root;
  root.Add(KORALDirEntry::Make("far", nullptr, 0));
  root.Add(KORALDirEntry::Make("none", nullptr, 0));
  root.GetAt(0)->recordPosition = 0x1000;
  MemoryFile bytes({}, FILE_WRITE);
  KORALArchive writer;
  ASSERT_EQ(writer.Open(&bytes, &root), 0u);
  writer.Close();

  MemoryFile in(bytes.bytes());
  KORALArchive reader;
  ASSERT_EQ(reader.Open(&in, nullptr), 0u);
  traces.clear();
  expectReport(reader.DescendFile("FAR"), "KFileObj", "Not found specified file.");
  EXPECT_EQ(traces, (std::vector<std::string>{"Warring : VRF record boundary overflow.\n", "Can't seek \"FAR\".\n"}));
  // At 0 stands the "DirEntry" record, and the search for record 0 runs past it to the end.
  expectReport(reader.DescendFile("none"), "KFileObj", "Not found VRF record.");
  EXPECT_EQ(reader.GetOpenMember(), kNoMember);
  EXPECT_EQ(reader.GetLength(), in.GetLength() - 64) << "the archive is back at the root level";
}

TEST_F(KORALArchiveTest, OpenAsksAgainUnlessQuiet) {
  std::string missing = dir.file("missing.arc");
  EXPECT_EQ(KORALArchive_Open(missing.c_str(), 1), nullptr);
  expectReport(vkGetLastError(), "KFileObj", "Failed to open file.");

  runa1_test::AutoAnswer cancel("cancel");
  testing::internal::CaptureStderr();
  EXPECT_EQ(KORALArchive_Open(missing.c_str(), 0), nullptr);
  std::string shown = testing::internal::GetCapturedStderr();
  expectReport(vkGetLastError(), "KArcFileExp", "Failed open file");
  EXPECT_NE(shown.find("\"" + missing + "\"ファイルをオープンできません。ファイルを確認してください。"),
            std::string::npos)
      << shown;

  // An automatic OK retries once and then gives up, so that nothing waits for a person.
  runa1_test::AutoAnswer ok("ok");
  testing::internal::CaptureStderr();
  EXPECT_EQ(KORALArchive_Open(missing.c_str(), 0), nullptr);
  shown = testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(shown.begin(), shown.end(), '\n'), 2) << shown;

  std::string invalid = dir.write("invalid.arc", vrfHeaderBytes() + recordBytes(0, ""));
  testing::internal::CaptureStderr();
  EXPECT_EQ(KORALArchive_Open(invalid.c_str(), 0), nullptr);
  shown = testing::internal::GetCapturedStderr();
  EXPECT_NE(shown.find("\"" + invalid + "\"は無効なアーカイブファイルです。"), std::string::npos) << shown;
}

}  // namespace
