#include "files/kstring.h"

#include <cstring>

#include "base/os/os.h"

namespace {
constexpr uint32_t kInitialCapacity = 16;
// One byte beyond the recorded capacity always holds the terminator: a capacity can equal the
// length, as when assigning exactly 16 characters.
size_t blockSize(uint32_t capacity) { return static_cast<size_t>(capacity) + 1; }
}  // namespace

KString::KString()
    : text_(static_cast<char*>(os::heapAlloc(blockSize(kInitialCapacity), true))),
      length_(0),
      capacity_(kInitialCapacity) {}

KString::KString(const KString& other)
    : length_(other.length_), capacity_((other.length_ + 16) & ~15u) {
  text_ = static_cast<char*>(os::heapAlloc(blockSize(capacity_), false));
  std::memcpy(text_, other.text_, length_ + 1);
}

KString::~KString() { os::heapFree(text_); }

KString& KString::operator=(const KString& other) {
  if (this != &other) AssignBytes(other.text_, other.length_);
  return *this;
}

void KString::Assign(const char* text) { AssignBytes(text, static_cast<uint32_t>(std::strlen(text))); }

void KString::AssignBytes(const char* text, uint32_t length) {
  if (capacity_ < length) {
    // `text` may point into this string, whose block can move when it grows.
    bool inside = text >= text_ && text <= text_ + capacity_;
    size_t offset = inside ? static_cast<size_t>(text - text_) : 0;
    Reserve((length + 15) & ~15u);
    if (inside) text = text_ + offset;
  }
  std::memmove(text_, text, length);
  text_[length] = '\0';
  length_ = length;
}

void KString::Append(const char* text) {
  uint32_t added = static_cast<uint32_t>(std::strlen(text));
  uint32_t oldLength = length_;
  uint32_t newLength = oldLength + added;
  if (capacity_ <= newLength) {
    // `text` may point into this string: keep the old block until the bytes are copied.
    char* old = text_;
    uint32_t capacity = newLength + oldLength;
    text_ = static_cast<char*>(os::heapAlloc(blockSize(capacity), false));
    std::memcpy(text_, old, oldLength);
    std::memcpy(text_ + oldLength, text, added);
    os::heapFree(old);
    capacity_ = capacity;
  } else {
    std::memmove(text_ + oldLength, text, added);
  }
  text_[newLength] = '\0';
  length_ = newLength;
}

char* KString::GetBuffer(uint32_t bytes) {
  if (capacity_ < bytes) Reserve(bytes);
  return text_;
}

void KString::ReleaseBuffer() {
  text_[capacity_] = '\0';  // a buffer filled to the brim still ends
  length_ = static_cast<uint32_t>(std::strlen(text_));
}

void KString::Reserve(uint32_t capacity) {
  text_ = static_cast<char*>(os::heapRealloc(text_, blockSize(capacity)));
  capacity_ = capacity;
}
