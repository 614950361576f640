#include "tools/screen_art/art_canvas.h"

#include <algorithm>

#include "tools/image/picture_io.h"

namespace screen_art {

Canvas::Canvas(int32_t width, int32_t height, uint32_t colour)
    : width_(width),
      height_(height),
      colours_(static_cast<size_t>(width) * height, colour),
      alpha_(static_cast<size_t>(width) * height, 255) {}

void Canvas::Fill(const Box& box, uint32_t colour, uint8_t alpha) {
  for (int32_t y = std::max(box.top, 0); y < std::min(box.bottom, height_); ++y) {
    for (int32_t x = std::max(box.left, 0); x < std::min(box.right, width_); ++x) {
      colours_[Index(x, y)] = colour;
      alpha_[Index(x, y)] = alpha;
    }
  }
}

void Canvas::Frame(const Box& box, uint32_t colour, int32_t thickness, uint8_t alpha) {
  Fill(Box{box.left, box.top, box.right, box.top + thickness}, colour, alpha);
  Fill(Box{box.left, box.bottom - thickness, box.right, box.bottom}, colour, alpha);
  Fill(Box{box.left, box.top, box.left + thickness, box.bottom}, colour, alpha);
  Fill(Box{box.right - thickness, box.top, box.right, box.bottom}, colour, alpha);
}

void Canvas::Digit(const Box& box, int digit, uint32_t colour) {
  // Bars a to g: top, upper right, lower right, bottom, lower left, upper left, middle.
  static constexpr uint8_t kBars[10] = {0x3F, 0x06, 0x5B, 0x4F, 0x66, 0x6D, 0x7D, 0x07, 0x7F, 0x6F};
  int32_t thick = std::max(1, (box.right - box.left) / 5);
  int32_t middle = (box.top + box.bottom) / 2;
  const Box bars[7] = {
      {box.left, box.top, box.right, box.top + thick},
      {box.right - thick, box.top, box.right, middle + thick / 2 + 1},
      {box.right - thick, middle, box.right, box.bottom},
      {box.left, box.bottom - thick, box.right, box.bottom},
      {box.left, middle, box.left + thick, box.bottom},
      {box.left, box.top, box.left + thick, middle + thick / 2 + 1},
      {box.left, middle - thick / 2, box.right, middle - thick / 2 + thick},
  };
  for (int bar = 0; bar < 7; ++bar)
    if (kBars[digit] & (1 << bar)) Fill(bars[bar], colour);
}

Canvas plate(int32_t width, int32_t height, uint32_t colour) {
  Canvas canvas(width, height, colour);
  canvas.Frame(Box{0, 0, width, height}, 0x000000, 1, 0);
  return canvas;
}

namespace {

Picture emptyPicture(const Canvas& canvas, uint32_t bits) {
  Picture picture;
  picture.width = canvas.Width();
  picture.height = canvas.Height();
  picture.bits = bits;
  picture.pixels.assign(static_cast<size_t>(picture.pitch()) * picture.height, 0);
  return picture;
}

uint8_t premultiplied(uint32_t channel, uint8_t alpha) { return static_cast<uint8_t>((channel * alpha + 127) / 255); }

}  // namespace

bool writeColourBitmap(const Canvas& canvas, const std::string& path, std::string* error) {
  Picture picture = emptyPicture(canvas, 24);
  for (int32_t y = 0; y < canvas.Height(); ++y) {
    uint8_t* row = picture.pixels.data() + static_cast<size_t>(canvas.Height() - 1 - y) * picture.pitch();
    for (int32_t x = 0; x < canvas.Width(); ++x) {
      uint32_t colour = canvas.Colour(x, y);
      uint8_t alpha = canvas.Alpha(x, y);
      row[3 * x] = premultiplied(colour & 0xFF, alpha);
      row[3 * x + 1] = premultiplied((colour >> 8) & 0xFF, alpha);
      row[3 * x + 2] = premultiplied((colour >> 16) & 0xFF, alpha);
    }
  }
  return writePicture(path, picture, error);
}

bool writeAlphaBitmap(const Canvas& canvas, const std::string& path, std::string* error, uint32_t tint) {
  Picture picture = emptyPicture(canvas, 8);
  picture.palette.resize(256);
  for (int i = 0; i < 256; ++i) {
    uint8_t alpha = static_cast<uint8_t>(i);
    picture.palette[i] = RGBQUAD{premultiplied(tint & 0xFF, alpha), premultiplied((tint >> 8) & 0xFF, alpha),
                                 premultiplied((tint >> 16) & 0xFF, alpha), 0};
  }
  for (int32_t y = 0; y < canvas.Height(); ++y) {
    uint8_t* row = picture.pixels.data() + static_cast<size_t>(canvas.Height() - 1 - y) * picture.pitch();
    for (int32_t x = 0; x < canvas.Width(); ++x) row[x] = canvas.Alpha(x, y);
  }
  return writePicture(path, picture, error);
}

}  // namespace screen_art
