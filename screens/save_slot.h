// The save files of the save and load screens, as far as the host reads them: the module writes
// them, the screens only look at a few words to show a slot. Integers are little-endian:
//
//   offset 0      status, 2 for a valid save
//   offset 4      chapter, 1 to 5
//   offset 8      picture, 1 to the chapter's count of pictures
//   offset 12360  kind, whose low 15 bits are 1 or 2
//
// The rest is the module's. A file that cannot be opened or fails any of these is an empty slot.
#pragma once

#include <cstdint>
#include <string>

#include "base/os/win32_types.h"

class KFileObj;

constexpr int32_t kFirstSavePage = 1;
constexpr int32_t kLastSavePage = 5;
constexpr int32_t kSlotsPerPage = 10;
constexpr uint32_t kChapterCount = 5;
// Pictures of chapters 0 to 5; chapter 0 is the no-data picture and never valid in a file.
constexpr uint32_t kChapterPictures[kChapterCount + 1] = {1, 4, 6, 6, 6, 1};

constexpr int32_t kSlotValid = 2;
constexpr int32_t kSlotEmpty = -1;

struct ScreenSlotRecord {
  int32_t status;  // kSlotValid or kSlotEmpty
  uint32_t chapter;
  uint32_t picture;
  uint32_t kind;
  SYSTEMTIME written;  // the file's last write, local time
};

// Reads the fields from `file` at its start and validates them. Bytes that a short file does
// not hold read as 0, so such a file is an empty slot.
void ReadSlotFields(KFileObj& file, ScreenSlotRecord* record);
// Opens the file at `path` for reading and reads its record with the file's write time.
void ReadSlot(const std::string& path, ScreenSlotRecord* record);

// The save folder: "SaveDir" of the profile section "Installed", by default a folder on the drive
// of the Windows folder; always with a backslash at its end.
std::string SaveFolder(const std::string& windowsDirectory);
// "nodali<page digit><slot digit>.sav" in `folder`.
std::string SaveFilePath(const std::string& folder, int32_t page, int32_t slot);
