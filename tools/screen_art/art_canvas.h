// Bitmaps of the menu screens drawn by code: a canvas of colours with an alpha per pixel, written
// as the BMP files the screens read (24-bit colours premultiplied by their alpha, and the alpha
// as an 8-bit grey bitmap of its own).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace screen_art {

// Rectangles here are exclusive: right and bottom one past the last pixel.
struct Box {
  int32_t left, top, right, bottom;
};

class Canvas {
 public:
  // Filled with `colour` (0xRRGGBB), opaque.
  Canvas(int32_t width, int32_t height, uint32_t colour);
  int32_t Width() const { return width_; }
  int32_t Height() const { return height_; }
  uint32_t Colour(int32_t x, int32_t y) const { return colours_[Index(x, y)]; }
  uint8_t Alpha(int32_t x, int32_t y) const { return alpha_[Index(x, y)]; }

  // Sets colour and alpha inside `box`, clipped to the canvas.
  void Fill(const Box& box, uint32_t colour, uint8_t alpha = 255);
  // A frame `thickness` pixels wide along the inside of `box`.
  void Frame(const Box& box, uint32_t colour, int32_t thickness, uint8_t alpha = 255);
  // A digit of seven bars in `box`, as a clock shows it.
  void Digit(const Box& box, int digit, uint32_t colour);

 private:
  size_t Index(int32_t x, int32_t y) const { return static_cast<size_t>(y) * width_ + x; }
  int32_t width_, height_;
  std::vector<uint32_t> colours_;
  std::vector<uint8_t> alpha_;
};

// A plate of one colour whose outermost pixels are transparent.
Canvas plate(int32_t width, int32_t height, uint32_t colour);

// Each gives true, or false with a message in *error.
// The colours as a 24-bit BMP, each multiplied by its alpha (what the blit's alpha formula takes).
bool writeColourBitmap(const Canvas& canvas, const std::string& path, std::string* error);
// The alpha as an 8-bit BMP whose index is the alpha and whose palette is `tint` multiplied by
// it: with white a grey ramp, with a colour a bitmap that serves as its own alpha plane.
bool writeAlphaBitmap(const Canvas& canvas, const std::string& path, std::string* error, uint32_t tint = 0xFFFFFF);

}  // namespace screen_art
