// Arbitrary bytes as a save file: the reader must stay inside what it read and give either an
// empty slot or one whose fields are in range.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "screens/save_slot.h"
#include "tests/files/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryFile file(std::string(reinterpret_cast<const char*>(data), size));
  ScreenSlotRecord record{};
  ReadSlotFields(file, &record);
  if (record.status == kSlotValid &&
      (record.chapter < 1 || record.chapter > kChapterCount || record.picture < 1 ||
       record.picture > kChapterPictures[record.chapter] || (record.kind != 1 && record.kind != 2)))
    std::abort();
  if (record.status != kSlotValid && record.status != kSlotEmpty) std::abort();
  return 0;
}
