// The paint target: GDI palettes and the copy of a device-independent bitmap to a device
// context. Over GDI in the product; natively a headless device that keeps palettes in memory
// and has no screen to draw on. Tests may put a device of their own in its place.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

namespace os {

class PaintDevice {
 public:
  virtual ~PaintDevice() = default;
  // A palette with the entries of `palette`; null on failure.
  virtual HPALETTE createPalette(const LOGPALETTE* palette) = 0;
  virtual bool resizePalette(HPALETTE palette, uint32_t entries) = 0;
  virtual uint32_t setPaletteEntries(HPALETTE palette, uint32_t first, uint32_t count,
                                     const PALETTEENTRY* entries) = 0;
  // Fails while the palette is selected into a device context.
  virtual bool deletePalette(HPALETTE palette) = 0;
  // Gives the palette that the selection displaced.
  virtual HPALETTE selectPalette(HDC dc, HPALETTE palette, bool background) = 0;
  virtual uint32_t realizePalette(HDC dc) = 0;
  // StretchDIBits with DIB_RGB_COLORS and SRCCOPY: the number of lines copied, 0 on failure.
  virtual int32_t stretchDIBits(HDC dc, int32_t x, int32_t y, int32_t width, int32_t height,
                                int32_t srcX, int32_t srcY, int32_t srcWidth, int32_t srcHeight,
                                const void* bits, const BITMAPINFO* info) = 0;
};

// The device in use.
PaintDevice& paintDevice();
// Puts `device` in place of the system's one; null puts the system's back.
void setPaintDevice(PaintDevice* device);

}  // namespace os
