// The paint target over GDI.
#include "base/os/paint.h"

namespace os {

namespace {

class GdiDevice : public PaintDevice {
 public:
  HPALETTE createPalette(const LOGPALETTE* palette) override { return CreatePalette(palette); }
  bool resizePalette(HPALETTE palette, uint32_t entries) override {
    return ResizePalette(palette, entries) != 0;
  }
  uint32_t setPaletteEntries(HPALETTE palette, uint32_t first, uint32_t count,
                             const PALETTEENTRY* entries) override {
    return SetPaletteEntries(palette, first, count, entries);
  }
  bool deletePalette(HPALETTE palette) override { return DeleteObject(palette) != 0; }
  HPALETTE selectPalette(HDC dc, HPALETTE palette, bool background) override {
    return SelectPalette(dc, palette, background);
  }
  uint32_t realizePalette(HDC dc) override { return RealizePalette(dc); }
  int32_t stretchDIBits(HDC dc, int32_t x, int32_t y, int32_t width, int32_t height, int32_t srcX,
                        int32_t srcY, int32_t srcWidth, int32_t srcHeight, const void* bits,
                        const BITMAPINFO* info) override {
    return StretchDIBits(dc, x, y, width, height, srcX, srcY, srcWidth, srcHeight, bits, info,
                         DIB_RGB_COLORS, SRCCOPY);
  }
};

GdiDevice gdi;
PaintDevice* current = &gdi;

}  // namespace

PaintDevice& paintDevice() { return *current; }
void setPaintDevice(PaintDevice* device) { current = device ? device : &gdi; }

}  // namespace os
