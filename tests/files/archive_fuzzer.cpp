// Random bytes behind a valid archive header, opened as an archive and walked: every entry is
// read as a member and tried as a directory. Reads must stay inside their members.
#include <cstdlib>
#include <string>

#include "files/koral_archive.h"
#include "tests/files/fuzz_reports.h"
#include "tests/files/memory_file.h"
#include "tests/files/record_bytes.h"

namespace {

void readMember(KORALArchive& archive) {
  uint32_t length = archive.GetLength();
  uint32_t total = 0;
  char buffer[256];
  for (uint32_t got; (got = archive.Read(buffer, sizeof buffer)) != 0;) total += got;
  if (total != length) std::abort();
  if (archive.Seek(5, kSeekEnd) != length) std::abort();
  if (archive.Read(buffer, sizeof buffer) != 0) std::abort();
}

// Entries of the same name lead to the same record, so a walk is bounded by a step budget.
void walk(KORALArchive& archive, int depth, int* steps) {
  const KORALDirectory* directory = archive.GetDirectory();
  uint32_t depthBefore = archive.GetDepth();
  for (uint32_t i = 0; i < directory->GetCount() && ++*steps < 2000; ++i) {
    const char* name = directory->GetAt(i)->name;
    uint32_t result = archive.DescendFile(name);
    requireKnownReport(result);
    if (result == 0) {
      readMember(archive);
      if (archive.AscendFile() != 0) std::abort();
    } else if (archive.GetOpenMember() != kNoMember) {
      std::abort();
    }
    result = archive.DescendDirectory(name, nullptr);
    requireKnownReport(result);
    if (result != 0) {
      if (archive.GetDepth() != depthBefore) std::abort();
      continue;
    }
    if (depth < 6) walk(archive, depth + 1, steps);
    if (archive.AscendDirectory() != 0) std::abort();
  }
  KString path = archive.GetCurrentDirectory();
  if (path.GetLength() == 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryFile bytes(vrfHeaderBytes(kKORALArchiveType, kKORALArchiveDescription) +
                   std::string(reinterpret_cast<const char*>(data), size));
  KORALArchive archive;
  uint32_t result = archive.Open(&bytes, nullptr);
  requireKnownReport(result);
  int steps = 0;
  if (result == 0) walk(archive, 0, &steps);
  return 0;
}
