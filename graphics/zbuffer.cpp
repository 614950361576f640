#include "graphics/zbuffer.h"

#include <algorithm>

#include "base/os/os.h"

ZBuffer::ZBuffer() : info_{32, nullptr, 0, 0, 32, 0, 0, 0}, block_(nullptr), blockSize_(0) {}

ZBuffer::~ZBuffer() { Release(); }

uint32_t ZBuffer::Release() {
  if (!block_) return 1;
  os::globalFree(block_);
  block_ = nullptr;
  info_.pixels = nullptr;
  return 0;
}

uint32_t ZBuffer::Create(int32_t width, int32_t height) {
  if (width <= 0 || height <= 0) return 1;
  uint64_t bytes = uint64_t{4} * static_cast<uint32_t>(width) * static_cast<uint32_t>(height);
  if (bytes > 0x7FFFFFF0) return 1;
  Release();
  info_ = {32, nullptr, width, height, 32, width * 4, static_cast<uint32_t>(bytes), 0};
  blockSize_ = static_cast<uint32_t>(bytes);
  // One cell more than the plane: a fill with depth stores one column out of step, into the
  // cell behind the last pixel of its row.
  block_ = static_cast<uint8_t*>(os::globalAlloc(blockSize_ + 4, false));
  if (!block_) return 1;
  info_.pixels = block_;
  return Initialize(kFar);
}

uint32_t ZBuffer::Initialize(uint32_t value) {
  if (!block_) return 1;
  std::fill_n(Cells(), CellCount(), value);
  return 0;
}

uint32_t ZBuffer::InitializeEqual(uint32_t newValue, uint32_t oldValue) {
  if (!block_) return 1;
  std::replace(Cells(), Cells() + CellCount(), oldValue, newValue);
  return 0;
}

uint32_t ZBuffer::InitializeNonEqual(uint32_t newValue, uint32_t oldValue) {
  if (!block_) return 1;
  std::replace_if(Cells(), Cells() + CellCount(), [=](uint32_t cell) { return cell != oldValue; },
                  newValue);
  return 0;
}
