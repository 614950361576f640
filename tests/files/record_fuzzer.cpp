// Random bytes behind a valid file header, read as nested records: every record found is
// entered, read and left again. Positions must stay inside their records.
#include <cstdlib>
#include <string>

#include "files/vrf_file.h"
#include "tests/files/fuzz_reports.h"
#include "tests/files/memory_file.h"
#include "tests/files/record_bytes.h"

namespace {

void requireInside(VRFFile& file) {
  if (file.GetPosition() > file.GetLength()) std::abort();
}

void walk(VRFFile& file, int depth) {
  char buffer[64];
  for (int records = 0; records < 32; ++records) {
    uint32_t result = file.DescendRecord(nullptr);
    requireKnownReport(result);
    if (result != 0) return;
    uint32_t length = file.GetLength();
    uint32_t total = 0;
    for (uint32_t got; (got = file.Read(buffer, sizeof buffer)) != 0;) total += got;
    if (total != length) std::abort();
    requireInside(file);
    file.Seek(-static_cast<int32_t>(length / 2), kSeekEnd);
    requireInside(file);
    if (depth < 8) {
      file.Seek(0, kSeekBegin);
      walk(file, depth + 1);
    }
    if (file.AscendRecord() != 0) std::abort();
    requireInside(file);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryFile bytes(vrfHeaderBytes() + std::string(reinterpret_cast<const char*>(data), size));
  VRFFile file;
  if (file.Open(&bytes, nullptr) != 0) std::abort();
  walk(file, 0);
  if (file.AscendRecord() == 0) std::abort();
  // A search for an ID that the data names in its first bytes, from the start.
  if (size >= 8) {
    file.Seek(0, kSeekBegin);
    uint64_t id = readLittle64(data);
    requireKnownReport(file.DescendRecord(&id));
  }
  return 0;
}
