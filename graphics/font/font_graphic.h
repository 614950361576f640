// Font images: a Graphic whose pixels are a 1-bit mask into which Shift-JIS text is drawn by
// the text rasteriser. The layout is done here, line by line: clipping to a rectangle, breaks
// where the text fits, line feeds, Latin words moved whole or hyphenated, and the prohibited
// characters that may not begin a line. A game blits the mask onto a picture in any colour.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "graphics/font/text_rasterizer.h"
#include "graphics/graphic.h"

// The character code that the prohibited table holds for the character at `text` (its first
// byte taken as signed): one byte for 0xA0 to 0xDF, two bytes for every other value, ASCII
// included, so that an ASCII character in the table stands for it with the byte behind it.
// The 0 that ends a text gives 0, which no table holds.
uint32_t fontCharacterCode(const char* text);

// Where a line of the layout ends.
struct LineBreak {
  size_t length = 0;  // bytes to draw
  size_t next = 0;  // bytes to consume: the length, or one more for the line feed that ended it
  bool newline = false;  // a line feed ended the line
  bool hyphen = false;  // a Latin word is cut: "-" is drawn behind the line
};

class FontGrph : public Graphic {
 public:
  explicit FontGrph(int32_t conversionMode = kConversionDefault) : Graphic(conversionMode) {}
  ~FontGrph() override;
  // Deletes the plane and frees the prohibited table (the bitmap stays to Graphic's Release).
  uint32_t Release() override;

  // A cleared mask of `width` by `height` and its plane, pen at (0, 0), clip the whole mask.
  // 1 on failure.
  uint32_t Create(int32_t width, int32_t height);
  // Sets the font (not owned; null: the device's default) and the line height (0: the font's).
  // Gives the former font.
  HFONT SelectFont(HFONT font, int32_t lineHeight);
  // Draws Shift-JIS text at the pen and lays it out in the clip; the mask gets the plane's
  // pixels. -1 when all of it fitted; the bytes drawn when it ran below the clip; 1 without a
  // mask or when drawing cannot start.
  int32_t DrawText(const char* text);
  void LocateText(int32_t x, int32_t y);
  POINT TextLocation() const { return {penX_, penY_}; }
  // Left and top below 0 become 0; right and bottom are lowered into the mask.
  void SetTextClip(int32_t left, int32_t top, int32_t right, int32_t bottom);
  const RECT& TextClip() const { return clip_; }
  // Replaces the prohibited table by the characters of `text`.
  void SetProbitChars(const char* text);

  // Where the line that starts at `line` ends when `fit` of its `remaining` bytes fit.
  LineBreak FindBreak(const char* line, size_t remaining, size_t fit) const;

 private:
  bool IsProhibited(uint32_t code) const;
  // Bytes of `text` that fit `maxWidth`, measured in growing windows so that a huge text is not
  // measured whole for every line. False if the measure failed.
  static bool Fit(const TextRasterizer& device, TextContext* context, const char* text, size_t remaining,
                  int32_t maxWidth, size_t* fit, int32_t* height);

  HFONT font_ = nullptr;
  int32_t lineHeight_ = 0;
  int32_t penX_ = 0, penY_ = 0;
  RECT clip_{};
  const TextRasterizer* device_ = nullptr;  // the backend that made the plane
  TextSurface* surface_ = nullptr;  // what the text is drawn into; the mask gets a copy
  std::vector<uint32_t> prohibited_;
};
