// Shift-JIS character boundaries as code page 932 draws them: the same on every system locale.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sjis {

// The first byte of a two-byte character.
constexpr bool isLeadByte(uint8_t byte) { return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC); }

// Offset of the character behind the one at `offset` of a text that ends at `length` bytes
// (or at a 0 byte): a lead byte without its second byte stands alone.
constexpr size_t next(const char* text, size_t offset, size_t length) {
  if (offset >= length) return offset;
  bool pair = isLeadByte(static_cast<uint8_t>(text[offset])) && offset + 1 < length && text[offset + 1] != 0;
  return offset + (pair ? 2 : 1);
}

}  // namespace sjis
