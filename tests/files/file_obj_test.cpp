#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "base/error.h"
#include "host/exports/file.h"
#include "tests/temp_dir.h"

namespace {

class FileObjTest : public ::testing::Test {
 protected:
  TempDir dir;

  static std::string readAll(KFileObj* file) {
    std::string bytes(File_GetLength(file), '\0');
    File_Seek(file, 0, 0);
    bytes.resize(File_Read(file, bytes.data(), static_cast<uint32_t>(bytes.size())));
    return bytes;
  }
};

TEST_F(FileObjTest, OpenFlagsGiveTheirCreationModesAndAccess) {
  // Reading an existing file.
  std::string path = dir.write("a.bin", "hello world");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->GetFlags(), FILE_READ);
  EXPECT_EQ(vkGetLastError(), 0u);
  char buffer[32] = {};
  EXPECT_EQ(File_Read(file, buffer, 5), 5u);
  EXPECT_STREQ(buffer, "hello");
  EXPECT_EQ(file->Write("x", 1), 0u) << "a file opened for reading must refuse writes";
  File_CloseFile(file);

  // FILE_WRITE truncates an existing file and creates a missing one.
  file = File_OpenFile(path.c_str(), FILE_WRITE);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(File_GetLength(file), 0u);
  EXPECT_EQ(file->Read(buffer, 4), 0u) << "a file opened for writing only must refuse reads";
  File_CloseFile(file);
  file = File_OpenFile(dir.file("new.bin").c_str(), FILE_WRITE | FILE_READ);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->Write("abcdef", 6), 6u);
  EXPECT_EQ(readAll(file), "abcdef");
  File_CloseFile(file);

  // Without FILE_CREATE or FILE_WRITE a missing file is not created.
  EXPECT_EQ(File_OpenFile(dir.file("missing.bin").c_str(), FILE_READ), nullptr);
  EXPECT_FALSE(std::filesystem::exists(dir.file("missing.bin")));
}

TEST_F(FileObjTest, CreateAloneEmptiesTheFileAndGivesNoAccess) {
  std::string path = dir.write("c.bin", "some content");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_CREATE);
  ASSERT_NE(file, nullptr);
  char buffer[8];
  EXPECT_EQ(file->Read(buffer, sizeof buffer), 0u);
  EXPECT_EQ(file->Write("abc", 3), 0u);
  File_CloseFile(file);
  EXPECT_EQ(dir.read("c.bin"), "");

  file = File_OpenFile(dir.file("made.bin").c_str(), FILE_CREATE | FILE_SHARE_READ);
  ASSERT_NE(file, nullptr);
  File_CloseFile(file);
  EXPECT_TRUE(std::filesystem::exists(dir.file("made.bin")));
}

TEST_F(FileObjTest, FailedOpenReportsAndLeavesTheObjectClosed) {
  KRawFile file;
  EXPECT_EQ(file.Open(dir.file("nothing/here.bin").c_str(), FILE_READ), VK_ERROR_FILE);
  const VKERRORRECORD* record = vkGetErrorRecord();
  EXPECT_EQ(record->code, VK_ERROR_FILE);
  EXPECT_EQ(record->extra, 0u);
  EXPECT_STREQ(record->source, "KFileObj");
  EXPECT_STREQ(record->message, "Failed to open file.");
  EXPECT_EQ(file.GetFlags(), 0u);
  EXPECT_EQ(file.GetHandle(), os::invalidFile());

  // A failed reopen of an open object leaves it closed, with its flags cleared.
  std::string path = dir.write("ok.bin", "1");
  ASSERT_EQ(file.Open(path.c_str(), FILE_READ), 0u);
  EXPECT_EQ(file.Open(dir.file("nothing.bin").c_str(), FILE_READ), VK_ERROR_FILE);
  EXPECT_EQ(file.GetFlags(), 0u);
  EXPECT_EQ(file.GetHandle(), os::invalidFile());

  // A directory is not a file.
  EXPECT_EQ(File_OpenFile(dir.path().string().c_str(), FILE_READ), nullptr);
  EXPECT_EQ(vkGetLastError(), VK_ERROR_FILE);
}

TEST_F(FileObjTest, ReadAndWriteCountWhatTheyTransfer) {
  KRawFile* file = File_OpenFile(dir.file("rw.bin").c_str(), FILE_READ | FILE_WRITE);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(File_Write(file, "0123456789", 10), 10u);
  EXPECT_EQ(File_GetPosition(file), 10u);
  char buffer[16] = {};
  EXPECT_EQ(File_Read(file, buffer, 4), 0u) << "at the end nothing is left to read";
  File_Seek(file, 6, 0);
  EXPECT_EQ(File_Read(file, buffer, 16), 4u) << "a read stops at the end of the file";
  EXPECT_EQ(std::string(buffer, 4), "6789");
  EXPECT_EQ(File_Read(file, buffer, 0), 0u);
  File_CloseFile(file);
}

TEST_F(FileObjTest, FileWriteGivesBackTheRequestedCount) {
  std::string path = dir.write("ro.bin", "abc");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(File_Write(file, "0123456789", 10), 10u);
  EXPECT_EQ(File_GetLength(file), 3u);
  File_CloseFile(file);
  EXPECT_EQ(dir.read("ro.bin"), "abc");
}

TEST_F(FileObjTest, SeekFromEachOriginAndPastTheEnd) {
  std::string path = dir.write("s.bin", "0123456789");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ | FILE_WRITE | FILE_CREATE);
  ASSERT_NE(file, nullptr);
  File_Write(file, "0123456789", 10);
  EXPECT_EQ(File_Seek(file, 3, 0), 3u);
  EXPECT_EQ(File_Seek(file, 4, 1), 7u);
  EXPECT_EQ(File_Seek(file, -2, 1), 5u);
  EXPECT_EQ(File_Seek(file, -1, 2), 9u);
  EXPECT_EQ(File_Seek(file, 0, 2), 10u);
  char c = 0;
  File_Seek(file, -3, 2);
  File_Read(file, &c, 1);
  EXPECT_EQ(c, '7');

  // Past the end is allowed; a write there extends the file.
  EXPECT_EQ(File_Seek(file, 20, 0), 20u);
  EXPECT_EQ(File_GetPosition(file), 20u);
  EXPECT_EQ(File_GetLength(file), 10u);
  File_Write(file, "!", 1);
  EXPECT_EQ(File_GetLength(file), 21u);

  // Before the start is refused and the position stays.
  EXPECT_EQ(File_Seek(file, -100, 0), 0xFFFFFFFFu);
  EXPECT_EQ(File_GetPosition(file), 21u);
  File_CloseFile(file);
}

TEST_F(FileObjTest, DuplicatesShareThePositionAndCountAsReadOnly) {
  std::string path = dir.write("d.bin", "abcdefghij");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ | FILE_SHARE_READ);
  ASSERT_NE(file, nullptr);
  KFileObj* copy = file->Duplicate();
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->GetFlags(), 0u);
  EXPECT_STREQ(static_cast<KRawFile*>(copy)->GetPath(), file->GetPath());
  EXPECT_STREQ(static_cast<KRawFile*>(copy)->GetName(), "d.bin");

  char buffer[4] = {};
  EXPECT_EQ(File_Read(copy, buffer, 3), 3u);
  EXPECT_EQ(File_GetPosition(file), 3u) << "a read through the copy moves the source too";
  File_Seek(file, 8, 0);
  EXPECT_EQ(File_GetPosition(copy), 8u);
  EXPECT_EQ(File_Read(copy, buffer, 4), 2u);
  EXPECT_EQ(std::string(buffer, 2), "ij");

  // The copy outlives its source.
  File_CloseFile(file);
  EXPECT_EQ(File_Seek(copy, 0, 0), 0u);
  EXPECT_EQ(File_Read(copy, buffer, 2), 2u);
  delete copy;
}

TEST_F(FileObjTest, PathAndNamePart) {
  std::string path = dir.write("name.txt", "x");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(file, nullptr);
  char name[300];
  char full[300];
  EXPECT_EQ(File_GetFileName(file, name), 0u);
  EXPECT_EQ(File_GetFilePath(file, full), 0u);
  EXPECT_STREQ(name, "name.txt");
  std::string fullText(full);
  ASSERT_GT(fullText.size(), 9u);
  char separator = fullText[fullText.size() - 9];
  EXPECT_TRUE(separator == '/' || separator == '\\') << fullText;
  EXPECT_EQ(fullText.substr(fullText.size() - 8), "name.txt");
  EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::path(fullText), std::filesystem::path(path)));
  EXPECT_EQ(File_GetFileHandle(file), file->GetHandle());
  File_CloseFile(file);
}

// The full path is asked for with room for 255 characters and again when longer: paths around
// that boundary come out whole.
TEST_F(FileObjTest, FullPathsAroundThe255CharacterBoundary) {
  KRawFile* probe = File_OpenFile(dir.write("p", "").c_str(), FILE_READ);
  ASSERT_NE(probe, nullptr);
  std::string base(probe->GetPath());
  base.pop_back();  // the directory with its separator
  File_CloseFile(probe);
  for (size_t total : {size_t{254}, size_t{255}, size_t{256}, size_t{257}}) {
    ASSERT_LT(base.size() + 8, total) << "temporary directory too long for this test";
    std::string name(total - base.size(), 'n');
    std::string path = dir.write(name, "z");
    KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
    ASSERT_NE(file, nullptr) << total;
    char full[400];
    File_GetFilePath(file, full);
    EXPECT_EQ(std::strlen(full), total);
    EXPECT_EQ(std::string(full), base + name);
    char shortName[400];
    File_GetFileName(file, shortName);
    EXPECT_EQ(std::string(shortName), name);
    File_CloseFile(file);
  }
}

TEST_F(FileObjTest, ClosingTwiceDoesNothingAndReportsNothing) {
  std::string path = dir.write("c2.bin", "abc");
  KRawFile file;
  ASSERT_EQ(file.Open(path.c_str(), FILE_READ | FILE_SHARE_READ), 0u);
  file.Close();
  EXPECT_EQ(file.GetHandle(), os::invalidFile());
  EXPECT_EQ(file.GetFlags(), FILE_READ | FILE_SHARE_READ) << "closing keeps the flags";
  vkSetError(VK_ERROR_SOUND, 7, "marker", 1, "marker");
  file.Close();
  EXPECT_EQ(vkGetErrorRecord()->code, VK_ERROR_SOUND);
  EXPECT_EQ(vkGetErrorRecord()->extra, 7u);
  EXPECT_EQ(File_CloseFile(nullptr), 0u);
}

TEST_F(FileObjTest, FileTimesNeedAnOpenFile) {
  std::string path = dir.write("t.bin", "abc");
  KRawFile file;
  SYSTEMTIME written{};
  EXPECT_EQ(file.GetFileTimes(nullptr, nullptr, &written), VK_ERROR_FILE);
  EXPECT_STREQ(vkGetErrorRecord()->message, "The file has not opened.");
  ASSERT_EQ(file.Open(path.c_str(), FILE_READ), 0u);
  SYSTEMTIME created{}, accessed{};
  EXPECT_EQ(file.GetFileTimes(&created, &accessed, &written), 0u);
  EXPECT_GE(written.wYear, 2020);
  EXPECT_GE(written.wMonth, 1);
  EXPECT_LE(written.wMonth, 12);
  EXPECT_EQ(file.GetFileTimes(nullptr, nullptr, nullptr), 0u);
}

TEST_F(FileObjTest, OpenFromHandleSharesTheHandleFile) {
  std::string path = dir.write("h.bin", "handle!");
  KRawFile* source = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(source, nullptr);
  KRawFile file;
  ASSERT_EQ(file.OpenFromHandle(source->GetHandle(), FILE_READ), 0u);
  EXPECT_STREQ(file.GetPath(), "");
  EXPECT_STREQ(file.GetName(), "");
  char buffer[8] = {};
  EXPECT_EQ(file.Read(buffer, 6), 6u);
  EXPECT_STREQ(buffer, "handle");
  File_CloseFile(source);
#ifdef _WIN32
  // All ones is the process itself to Win32: it duplicates, and transfers give 0.
  EXPECT_EQ(file.OpenFromHandle(os::invalidFile(), FILE_READ), 0u);
  EXPECT_EQ(file.GetFlags(), uint32_t{FILE_READ});
  EXPECT_NE(file.GetHandle(), os::invalidFile());
  EXPECT_EQ(file.Read(buffer, 6), 0u);
#else
  EXPECT_EQ(file.OpenFromHandle(os::invalidFile(), FILE_READ), VK_ERROR_FILE);
  EXPECT_EQ(file.GetFlags(), 0u);
#endif
}

TEST_F(FileObjTest, ADuplicateOfAClosedFileTransfersNothingAndReportsNothing) {
  std::string path = dir.write("c.bin", "closed");
  KRawFile* file = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(file, nullptr);
  file->Close();
  KFileObj* copy = file->Duplicate();
  ASSERT_NE(copy, nullptr) << "callers of Duplicate get an object";
  EXPECT_EQ(vkGetErrorRecord()->code, 0u);
  EXPECT_STREQ(static_cast<KRawFile*>(copy)->GetPath(), file->GetPath());
  char buffer[8];
  EXPECT_EQ(copy->Read(buffer, 6), 0u);
  delete copy;
  File_CloseFile(file);
}

}  // namespace
