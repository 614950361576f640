// A file object over a byte string, for tests and fuzzers of the readers and writers.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "files/file_obj.h"

class MemoryFile : public KFileObj {
 public:
  explicit MemoryFile(std::string bytes = {}) : bytes_(std::move(bytes)) {}

  KFileObj* Duplicate() override { return nullptr; }
  uint32_t Read(void* buffer, uint32_t bytes) override {
    uint32_t count = static_cast<uint32_t>(std::min<size_t>(bytes, bytes_.size() - std::min(position_, bytes_.size())));
    std::memcpy(buffer, bytes_.data() + position_, count);
    position_ += count;
    return count;
  }
  uint32_t Write(const void* buffer, uint32_t bytes) override {
    if (bytes_.size() < position_ + bytes) bytes_.resize(position_ + bytes);
    std::memcpy(bytes_.data() + position_, buffer, bytes);
    position_ += bytes;
    return bytes;
  }
  uint32_t GetLength() override { return static_cast<uint32_t>(bytes_.size()); }
  uint32_t Seek(int32_t offset, uint32_t method) override {
    size_t base = method == kSeekBegin ? 0 : method == kSeekCurrent ? position_ : bytes_.size();
    position_ = base + offset;
    return static_cast<uint32_t>(position_);
  }
  uint32_t GetPosition() override { return static_cast<uint32_t>(position_); }

  const std::string& bytes() const { return bytes_; }

 private:
  std::string bytes_;
  size_t position_ = 0;
};
