// Save files in the layout the save screens read, for the tests.
#pragma once

#include <cstdint>
#include <string>

// status, chapter and picture at 0, 4 and 8, kind at 12360; `size` bytes in all (at least 12).
inline std::string saveFileBytes(uint32_t status, uint32_t chapter, uint32_t picture, uint32_t kind,
                                 size_t size = 12424) {
  std::string bytes(size, '\x5A');
  auto put = [&](size_t offset, uint32_t value) {
    for (int i = 0; i < 4 && offset + i < size; ++i) bytes[offset + i] = static_cast<char>(value >> (8 * i));
  };
  put(0, status);
  put(4, chapter);
  put(8, picture);
  put(12360, kind);
  return bytes;
}
