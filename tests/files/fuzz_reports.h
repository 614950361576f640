// What the record and archive fuzzers accept as a failure: only the reports these readers
// give for bad input.
#pragma once

#include <cstdlib>
#include <cstring>

#include "base/error.h"

inline void requireKnownReport(uint32_t result) {
  if (result == 0) return;
  static const char* const kKnown[] = {
      "Not found VRF record.",
      "VRF record length is invalid was found.",
      "Failed reading directory information.",
      "Not found specified file.",
  };
  const VKERRORRECORD* record = vkGetErrorRecord();
  if (result != VK_ERROR_FILE || record->code != VK_ERROR_FILE || !record->message) std::abort();
  for (const char* known : kKnown)
    if (std::strcmp(record->message, known) == 0) return;
  std::abort();
}
