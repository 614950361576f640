// The library's report channel: every library function ends by vkSetError, which records the
// outcome in the calling thread's record and returns the code (0 for success).
#pragma once

#include <cstdint>

struct VKERRORRECORD {
  uint32_t code;
  uint32_t extra;
  const char* source;
  int32_t line;
  const char* message;
  uint32_t attachCount;
};

// Error codes. Bit 0x10000 marks errors the caller handles; the others are fatal.
enum : uint32_t {
  VK_OK = 0,
  VK_ERROR_ALLOCATION = 1,
  VK_ERROR_INVALID_VALUE = 2,
  VK_ERROR_INVALID_ADDRESS = 3,
  VK_ERROR_NOT_SUPPORTED = 4,
  VK_ERROR_OVERFLOW = 5,
  VK_ERROR_OTHER = 0x10000,
  VK_ERROR_FILE = 0x10001,
  VK_ERROR_SOUND = 0x10002,
  VK_ERROR_MIDI = 0x10003,
  VK_ERROR_IMAGE = 0x10004,
  VK_ERROR_MOVIE = 0x10005,
};

uint32_t vkSetError(uint32_t code, uint32_t extra, const char* source, int32_t line,
                    const char* message);
uint32_t vkGetLastError();
VKERRORRECORD* vkGetErrorRecord();

// The success report that closes every library function.
inline uint32_t vkSucceed() { return vkSetError(VK_OK, 0, nullptr, -1, nullptr); }
