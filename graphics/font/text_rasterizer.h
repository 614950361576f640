// The text rasteriser of the font images: Shift-JIS text drawn white on black, opaque, into a
// 1-bit plane, and the measures that the layout needs. Backends: GDI in the product (wide text
// through code page 932, counts mapped back to Shift-JIS bytes, so the layout is the same on
// every system locale); FreeType natively, drawing the same faces. The layout itself stays in
// FontGrph; a backend only measures and draws.
#pragma once

#include <cstdint>
#include <span>

#include "base/os/win32_types.h"

struct TextSurface;  // the backend's 1-bit plane; it keeps what was drawn across sessions
struct TextContext;  // one drawing session on a plane with a font selected

struct TextRasterizer {
  const char* name;
  // Whether the backend can draw on this system; the next in the list is tried if not.
  bool (*available)();
  // A cleared plane of `width` by `height` pixels; null on failure.
  TextSurface* (*createSurface)(int32_t width, int32_t height);
  void (*deleteSurface)(TextSurface* surface);
  // Starts drawing on `surface` with `font` (null: the device's default font); null on failure.
  // A font that names a face the system lacks, or a default font without Japanese, is drawn
  // with an installed Japanese face of the same height and weight.
  TextContext* (*begin)(TextSurface* surface, HFONT font);
  // How many bytes of `text` (`length` bytes, never split inside a character) are no wider
  // than `maxWidth`, and the height of the text's line. False if the measure failed.
  bool (*fit)(TextContext* context, const char* text, int32_t length, int32_t maxWidth, int32_t* fitBytes,
              int32_t* height);
  // The size of `length` bytes of text; 0 by 0 for none.
  SIZE (*extent)(TextContext* context, const char* text, int32_t length);
  // Draws `length` bytes of text with the top left of its cell at (x, y), clipped to the plane.
  void (*draw)(TextContext* context, int32_t x, int32_t y, const char* text, int32_t length);
  // Copies the plane into `pixels`, a bottom-up 1-bit DIB of its size (0 black, 1 white), and
  // ends the session.
  void (*end)(TextContext* context, uint8_t* pixels);
};

// The backends of this build, in order of preference.
std::span<const TextRasterizer* const> textRasterizers();
// The backend in use: the first available one, chosen at first use.
const TextRasterizer& textRasterizer();
// Puts `rasterizer` in place of the chosen one (tests that watch what is drawn); null puts the
// chosen one back.
void setTextRasterizer(const TextRasterizer* rasterizer);
