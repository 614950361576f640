// A plane of 32-bit depth cells for the blits and the 3D rasteriser: smaller is nearer,
// 0xFFFFFFFF the far end. Images select it by copying its record, so several can share one.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "graphics/core/molaq.h"

class ZBuffer {
 public:
  static constexpr uint32_t kFar = 0xFFFFFFFF;

  ZBuffer();
  ZBuffer(const ZBuffer&) = delete;
  ZBuffer& operator=(const ZBuffer&) = delete;
  // Frees the cells; 1 if there were none.
  virtual uint32_t Release();
  virtual ~ZBuffer();

  // Cells for `width` by `height`, all far. 1 for an empty or impossible size, or no memory.
  uint32_t Create(int32_t width, int32_t height);
  // All cells take `value`; 1 without cells.
  uint32_t Initialize(uint32_t value);
  // Cells that equal `oldValue` take `newValue`; 1 without cells.
  uint32_t InitializeEqual(uint32_t newValue, uint32_t oldValue);
  // Cells that differ from `oldValue` take `newValue`; 1 without cells.
  uint32_t InitializeNonEqual(uint32_t newValue, uint32_t oldValue);

  const ImageInfo& Info() const { return info_; }

 private:
  uint32_t* Cells() const { return reinterpret_cast<uint32_t*>(info_.pixels); }
  uint32_t CellCount() const { return blockSize_ / 4; }

  ImageInfo info_;
  uint8_t* block_;
  uint32_t blockSize_;
};
