#include "files/string_stream.h"

#include <cstring>

namespace {

constexpr const char kSeparatorCharacters[] = " !\"#$%&'()*+,-./:;<=>?@[\\]^{|}~";

bool isLeadByte(uint8_t byte) { return (byte >= 0x80 && byte <= 0x9F) || byte >= 0xE0; }
bool isSpaceCode(uint32_t code) { return code <= 0x20; }

}  // namespace

StringStream* StringStream::Create(const char* text, int32_t length) {
  return new StringStream(std::string(text, static_cast<size_t>(length)));
}

uint32_t StringStream::GetChar() {
  lastIndex_ = index_;
  if (AtEnd()) return 0;
  const uint8_t* at = reinterpret_cast<const uint8_t*>(text_.c_str()) + index_;
  if (isLeadByte(at[0])) {
    index_ += 2;  // a lead byte in the last place takes the terminating NUL as trail
    return at[0] * 256u + at[1];
  }
  index_ += 1;
  return at[0];
}

uint32_t StringStream::GetCurrentChar() const {
  if (AtEnd()) return 0;
  const uint8_t* at = reinterpret_cast<const uint8_t*>(text_.c_str()) + index_;
  return isLeadByte(at[0]) ? at[0] * 256u + at[1] : at[0];
}

uint8_t StringStream::IsSeparatorCode(uint32_t code) const {
  if (code >= 256) return 0;
  return isSpaceCode(code) || (code && std::strchr(kSeparatorCharacters, static_cast<int>(code))) ? 1 : 0;
}

bool StringStream::DisableSpace() {
  int32_t start = index_;
  for (;;) {
    if (AtEnd()) {
      index_ = GetLength();
      lastIndex_ = start;
      return true;
    }
    int32_t at = index_;
    uint32_t code = GetChar();
    if (!(code < 256 && isSpaceCode(code))) {
      index_ = at;
      lastIndex_ = start;
      return false;
    }
  }
}

StringStream* StringStream::Slice(int32_t from, int32_t to) const {
  if (to > GetLength()) to = GetLength();
  if (from < 0 || to <= from) return Create("", 0);
  return Create(text_.c_str() + from, to - from);
}

StringStream* StringStream::GetString(bool move) {
  if (DisableSpace()) return Create("", 0);
  int32_t start = index_;
  while (!IsSeparatorCode(GetChar())) {
  }
  StringStream* token = Slice(start, lastIndex_);
  index_ = move ? lastIndex_ : start;
  lastIndex_ = start;
  return token;
}

StringStream* StringStream::GetEnclosedString(uint32_t open, uint32_t close) {
  int32_t start = index_;
  int depth = 1;
  for (uint32_t code; (code = GetChar()) != 0;) {
    if (code == close && --depth == 0) break;
    if (code == open) ++depth;
  }
  return Slice(start, lastIndex_);
}
