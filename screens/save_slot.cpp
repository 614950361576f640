#include "screens/save_slot.h"

#include <cstring>

#include "base/os/os.h"
#include "files/file_obj.h"
#include "host/exports/services.h"

namespace {

constexpr uint32_t kFirstBlockBytes = 4096;
constexpr int32_t kSecondBlockBytes = 8192;
constexpr uint32_t kThirdBlockBytes = 128;
constexpr uint32_t kKindOffset = 68;
constexpr uint32_t kKindMask = 0x7FFF;

uint32_t little32(const uint8_t* bytes) {
  return bytes[0] | static_cast<uint32_t>(bytes[1]) << 8 | static_cast<uint32_t>(bytes[2]) << 16 |
         static_cast<uint32_t>(bytes[3]) << 24;
}

bool isValid(const ScreenSlotRecord& record) {
  return record.status == kSlotValid && record.chapter >= 1 && record.chapter <= kChapterCount &&
         record.picture != 0 && record.picture <= kChapterPictures[record.chapter] &&
         (record.kind == 1 || record.kind == 2);
}

std::string withBackslash(std::string folder) {
  if (folder.empty() || folder.back() != '\\') folder += '\\';
  return folder;
}

}  // namespace

void ReadSlotFields(KFileObj& file, ScreenSlotRecord* record) {
  uint8_t status[4] = {};
  file.Read(status, sizeof status);
  record->status = static_cast<int32_t>(little32(status));
  if (record->status == kSlotValid) {
    uint8_t first[kFirstBlockBytes] = {};
    file.Read(first, sizeof first);
    record->chapter = little32(first);
    record->picture = little32(first + 4);
    file.Seek(kSecondBlockBytes, kSeekCurrent);
    uint8_t third[kThirdBlockBytes] = {};
    file.Read(third, sizeof third);
    record->kind = little32(third + kKindOffset) & kKindMask;
  }
  if (!isValid(*record)) record->status = kSlotEmpty;
}

void ReadSlot(const std::string& path, ScreenSlotRecord* record) {
  std::memset(record, 0, sizeof *record);
  record->status = kSlotEmpty;
  KRawFile file;
  if (file.Open(path.c_str(), FILE_READ) != 0) return;
  file.GetFileTimes(nullptr, nullptr, &record->written);
  ReadSlotFields(file, record);
}

std::string SaveFolder(const std::string& windowsDirectory) {
  std::string fallback = windowsDirectory.substr(0, 3) + "Orviksoft\\__nodali\\user\\";
  char* value = ZPK_GetProfileString("Installed", "SaveDir", fallback.c_str());
  std::string folder = value ? value : fallback;
  os::heapFree(value);
  return withBackslash(folder);
}

std::string SaveFilePath(const std::string& folder, int32_t page, int32_t slot) {
  std::string name = "nodali";
  name += static_cast<char>('0' + page);
  name += static_cast<char>('0' + slot);
  return folder + name + ".sav";
}
