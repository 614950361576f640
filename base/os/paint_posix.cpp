// The native paint target: palettes live in memory, and there is no screen, so nothing is
// selected and nothing is drawn.
#include <algorithm>
#include <vector>

#include "base/os/paint.h"

struct HPALETTE__ {
  std::vector<PALETTEENTRY> entries;
};

namespace os {

namespace {

class HeadlessDevice : public PaintDevice {
 public:
  HPALETTE createPalette(const LOGPALETTE* palette) override {
    return new HPALETTE__{{palette->palPalEntry, palette->palPalEntry + palette->palNumEntries}};
  }
  bool resizePalette(HPALETTE palette, uint32_t entries) override {
    palette->entries.resize(entries);
    return true;
  }
  uint32_t setPaletteEntries(HPALETTE palette, uint32_t first, uint32_t count,
                             const PALETTEENTRY* entries) override {
    if (first >= palette->entries.size()) return 0;
    count = std::min<uint32_t>(count, static_cast<uint32_t>(palette->entries.size()) - first);
    std::copy_n(entries, count, palette->entries.begin() + first);
    return count;
  }
  bool deletePalette(HPALETTE palette) override {
    delete palette;
    return true;
  }
  HPALETTE selectPalette(HDC, HPALETTE, bool) override { return nullptr; }
  uint32_t realizePalette(HDC) override { return 0; }
  int32_t stretchDIBits(HDC, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t, int32_t,
                        int32_t, const void*, const BITMAPINFO*) override {
    return 0;
  }
};

HeadlessDevice headless;
PaintDevice* current = &headless;

}  // namespace

PaintDevice& paintDevice() { return *current; }
void setPaintDevice(PaintDevice* device) { current = device ? device : &headless; }

}  // namespace os
