// Hand-made record files for the tests: a file header and records with any header values.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include "files/vrf_file.h"

inline std::string littleBytes(uint64_t value, int count) {
  std::string bytes(count, '\0');
  for (int i = 0; i < count; ++i) bytes[i] = static_cast<char>(value >> (8 * i));
  return bytes;
}

inline std::string vrfHeaderBytes(uint32_t type = 0x02000000, const char* description = "KORAL-Binary-2") {
  VRFFileHeader header = {};
  std::memcpy(header.fileId, kVRFFileId, 8);
  header.fileType = type;
  std::strncpy(header.description, description, sizeof header.description - 1);
  return std::string(reinterpret_cast<const char*>(&header), sizeof header);
}

// A record whose stated length is the body's unless `length` says otherwise.
inline std::string recordBytes(uint64_t id, const std::string& body, uint64_t length = UINT64_MAX) {
  return littleBytes(id, 8) + littleBytes(length == UINT64_MAX ? body.size() : length, 8) + body;
}
