// A file object over bytes in memory, for the tests and fuzzers of the record readers. It
// behaves as an OS file does: reads stop at the end, seeks beyond it are allowed, writes
// there fill the gap with zeros, and duplicates share one position.
#pragma once

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "files/file_obj.h"

class MemoryFile : public KFileObj {
 public:
  explicit MemoryFile(std::string bytes = {}, uint32_t flags = FILE_READ)
      : state_(std::make_shared<State>(State{std::move(bytes), 0})) {
    flags_ = flags;
  }

  const std::string& bytes() const { return state_->bytes; }

  KFileObj* Duplicate() override { return new MemoryFile(state_); }

  uint32_t Read(void* buffer, uint32_t bytes) override {
    const std::string& data = state_->bytes;
    if (state_->position >= data.size()) return 0;
    uint32_t count = static_cast<uint32_t>(std::min<size_t>(bytes, data.size() - state_->position));
    std::memcpy(buffer, data.data() + state_->position, count);
    state_->position += count;
    return count;
  }

  uint32_t Write(const void* buffer, uint32_t bytes) override {
    if (bytes == 0) return 0;
    std::string& data = state_->bytes;
    if (data.size() < state_->position + bytes) data.resize(state_->position + bytes);
    std::memcpy(data.data() + state_->position, buffer, bytes);
    state_->position += bytes;
    return bytes;
  }

  uint32_t GetLength() override { return static_cast<uint32_t>(state_->bytes.size()); }

  uint32_t Seek(int32_t offset, uint32_t method) override {
    int64_t base = method == kSeekBegin ? 0 : method == kSeekCurrent ? state_->position : state_->bytes.size();
    if (method > kSeekEnd || base + offset < 0) return 0xFFFFFFFF;
    state_->position = static_cast<size_t>(base + offset);
    return static_cast<uint32_t>(state_->position);
  }

  uint32_t GetPosition() override { return static_cast<uint32_t>(state_->position); }

 private:
  struct State {
    std::string bytes;
    size_t position;
  };
  explicit MemoryFile(std::shared_ptr<State> state) : state_(std::move(state)) {}

  std::shared_ptr<State> state_;
};
