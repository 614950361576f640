#include "files/string_stream.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "base/os/os.h"

namespace {

constexpr char kDefaultSpaces[] = " ";
constexpr char kDefaultSeparators[] = " !\"#$%&'()*+,-./:;<=>?@[\\]^{|}~";
constexpr int32_t kMinimumBlock = 256;

bool IsLeadByte(uint8_t byte) { return (byte >= 0x80 && byte <= 0x9F) || byte >= 0xE0; }

// Code and width of the character at `text[at]`; the NUL behind the text serves as the trail
// of a lead byte in the last position.
uint32_t CodeAt(const char* text, int32_t at, int32_t* width) {
  uint8_t lead = static_cast<uint8_t>(text[at]);
  if (!IsLeadByte(lead)) {
    *width = 1;
    return lead;
  }
  *width = 2;
  return static_cast<uint32_t>(lead) << 8 | static_cast<uint8_t>(text[at + 1]);
}

}  // namespace

StringStream::StringStream(char* text, int32_t length) : text_(text), length_(length) {
  SetSpaceCode(kDefaultSpaces);
  SetSeparateCode(kDefaultSeparators);
}

StringStream::~StringStream() { os::heapFree(text_); }

char* StringStream::CopyText(const char* text, int32_t length) {
  size_t bytes = std::max<size_t>(static_cast<size_t>(length) + 1, kMinimumBlock);
  char* block = static_cast<char*>(os::heapAlloc(bytes, true));
  if (block && length > 0) std::memcpy(block, text, static_cast<size_t>(length));
  return block;
}

StringStream* StringStream::Create(const char* text, int32_t length) {
  if (length < 0) return nullptr;
  char* block = CopyText(text, length);
  if (!block) return nullptr;
  StringStream* stream = new (std::nothrow) StringStream(block, length);
  if (!stream) os::heapFree(block);
  return stream;
}

StringStream* StringStream::Slice(int32_t from, int32_t to) const {
  to = std::min(to, length_);
  if (from < 0 || to <= from) return Create("", 0);
  return Create(text_ + from, to - from);
}

uint32_t StringStream::GetChar() {
  lastIndex_ = index_;
  if (AtEnd()) return 0;
  int32_t width;
  uint32_t code = CodeAt(text_, index_, &width);
  index_ += width;
  return code;
}

uint32_t StringStream::GetCurrentChar() const {
  if (AtEnd()) return 0;
  int32_t width;
  return CodeAt(text_, index_, &width);
}

bool StringStream::DisableSpace() {
  int32_t start = index_;
  lastIndex_ = index_;
  for (;;) {
    if (AtEnd()) return true;
    if (!IsSpaceCode(GetChar())) {
      index_ = lastIndex_;
      lastIndex_ = start;
      return false;
    }
  }
}

StringStream* StringStream::GetString(bool move) {
  if (DisableSpace()) return Create("", 0);
  int32_t start = index_;
  // The separator table always marks NUL, which is what the reads give at the end.
  while (!IsSeparatorCode(GetChar())) {
  }
  StringStream* token = Slice(start, lastIndex_);
  index_ = move ? lastIndex_ : start;
  lastIndex_ = start;
  return token;
}

void StringStream::SetSpaceCode(const char* codes) {
  std::memset(spaces_, 255, 32);
  std::memset(spaces_ + 32, 0, sizeof spaces_ - 32);
  for (const char* at = codes ? codes : ""; *at; ++at) spaces_[static_cast<uint8_t>(*at)] = 255;
}

void StringStream::SetSeparateCode(const char* codes) {
  std::memcpy(separators_, spaces_, sizeof separators_);
  for (const char* at = codes ? codes : ""; *at; ++at) separators_[static_cast<uint8_t>(*at)] = 255;
}
