#include "screens/save_slot.h"

#include <gtest/gtest.h>

#include "host/exports/services.h"
#include "tests/files/memory_file.h"
#include "tests/screens/save_file_bytes.h"
#include "tests/temp_dir.h"

namespace {

ScreenSlotRecord fromBytes(const std::string& bytes) {
  MemoryFile file(bytes);
  ScreenSlotRecord record{};
  ReadSlotFields(file, &record);
  return record;
}

TEST(SaveSlotTest, AValidFileGivesItsFields) {
  ScreenSlotRecord record = fromBytes(saveFileBytes(2, 3, 6, 2));
  EXPECT_EQ(record.status, kSlotValid);
  EXPECT_EQ(record.chapter, 3u);
  EXPECT_EQ(record.picture, 6u);
  EXPECT_EQ(record.kind, 2u);
  // Only the low 15 bits of the kind count; whatever follows the fields is the module's.
  EXPECT_EQ(fromBytes(saveFileBytes(2, 1, 4, 0xFFFF8001u, 100000)).kind, 1u);
  EXPECT_EQ(fromBytes(saveFileBytes(2, 5, 1, 1)).status, kSlotValid);
}

TEST(SaveSlotTest, EveryFieldOutOfItsRangeMakesTheSlotEmpty) {
  EXPECT_EQ(fromBytes(saveFileBytes(1, 1, 1, 1)).status, kSlotEmpty) << "status";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 0, 1, 1)).status, kSlotEmpty) << "chapter 0, the no-data picture";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 6, 1, 1)).status, kSlotEmpty) << "chapter 6";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 1, 0, 1)).status, kSlotEmpty) << "picture 0";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 1, 5, 1)).status, kSlotEmpty) << "chapter 1 has 4 pictures";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 5, 2, 1)).status, kSlotEmpty) << "chapter 5 has 1";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 2, 6, 3)).status, kSlotEmpty) << "kind 3";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 2, 6, 0x8000)).status, kSlotEmpty) << "kind 0 in the low bits";
}

TEST(SaveSlotTest, BytesAShortFileLacksReadAsZero) {
  EXPECT_EQ(fromBytes("").status, kSlotEmpty);
  EXPECT_EQ(fromBytes(saveFileBytes(2, 1, 1, 1, 12360)).status, kSlotEmpty) << "the file ends before the kind";
  EXPECT_EQ(fromBytes(saveFileBytes(2, 1, 1, 1, 12361)).status, kSlotValid) << "the kind's low byte is there";
  ScreenSlotRecord partial = fromBytes(saveFileBytes(2, 1, 1, 1, 6));
  EXPECT_EQ(partial.status, kSlotEmpty);
  EXPECT_EQ(partial.chapter, 1u) << "the two bytes that were there";
  EXPECT_EQ(partial.picture, 0u);
}

TEST(SaveSlotTest, FilesOnDiskBringTheirWriteTimeAndAMissingOneIsEmpty) {
  TempDir folder;
  std::string path = SaveFilePath(folder.path().string() + "/", 2, 7);
  EXPECT_EQ(path.substr(path.size() - 12), "nodali27.sav");
  ScreenSlotRecord record;
  ReadSlot(path, &record);
  EXPECT_EQ(record.status, kSlotEmpty);
  folder.write("nodali27.sav", saveFileBytes(2, 4, 3, 1));
  ReadSlot(path, &record);
  EXPECT_EQ(record.status, kSlotValid);
  EXPECT_GE(record.written.wYear, 2020);
  EXPECT_GE(record.written.wMonth, 1);
}

TEST(SaveSlotTest, TheSaveFolderComesFromTheProfileOrFromTheWindowsDrive) {
  ZPK_SetRegistryKey("Runa1 Tests", "save_slot_test");
  ZPK_WriteProfileString("Installed", "SaveDir", nullptr);
  EXPECT_EQ(SaveFolder("D:\\WINNT"), "D:\\Orviksoft\\__nodali\\user\\");
  ZPK_WriteProfileString("Installed", "SaveDir", "E:\\saves");
  EXPECT_EQ(SaveFolder("D:\\WINNT"), "E:\\saves\\");
  ZPK_WriteProfileString("Installed", "SaveDir", "E:\\saves\\");
  EXPECT_EQ(SaveFolder("D:\\WINNT"), "E:\\saves\\");
  ZPK_WriteProfileString("Installed", nullptr, nullptr);
}

}  // namespace
