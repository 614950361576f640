// Arbitrary bytes as a debug record: the reader stays inside them, and what it accepts is
// written back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "debugger/debug_record.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  drt::DebugRecord record;
  std::string error;
  if (!drt::parseDebugRecord(data, size, &record, &error)) return 0;
  // Names end at their first NUL and may share bytes, so the bytes come back only when the
  // record was written this way; a second round trip must be exact.
  std::vector<uint8_t> written = drt::writeDebugRecord(record);
  drt::DebugRecord again;
  if (!drt::parseDebugRecord(written.data(), written.size(), &again, &error)) std::abort();
  if (drt::writeDebugRecord(again) != written) std::abort();
  return 0;
}
