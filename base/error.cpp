#include "base/error.h"

namespace {
thread_local VKERRORRECORD threadRecord{0, 0, nullptr, -1, nullptr, 0};
}

uint32_t vkSetError(uint32_t code, uint32_t extra, const char* source, int32_t line,
                    const char* message) {
  VKERRORRECORD* record = vkGetErrorRecord();
  record->code = code;
  record->extra = extra;
  record->source = source;
  record->line = line;
  record->message = message;
  return code;
}

uint32_t vkGetLastError() { return vkGetErrorRecord()->code; }

VKERRORRECORD* vkGetErrorRecord() { return &threadRecord; }
