#include "tools/screen_art/cursor_file.h"

#include <fstream>

namespace screen_art {

namespace {

constexpr uint32_t kDirectoryBytes = 6 + 16;
constexpr uint32_t kHeaderBytes = 40;

void put16(std::string& bytes, uint32_t value) {
  bytes += static_cast<char>(value & 0xFF);
  bytes += static_cast<char>((value >> 8) & 0xFF);
}

void put32(std::string& bytes, uint32_t value) {
  put16(bytes, value & 0xFFFF);
  put16(bytes, value >> 16);
}

}  // namespace

std::string cursorFileBytes(const Canvas& canvas, uint16_t hotX, uint16_t hotY) {
  uint32_t width = static_cast<uint32_t>(canvas.Width()), height = static_cast<uint32_t>(canvas.Height());
  uint32_t maskPitch = ((width + 31) / 32) * 4;
  uint32_t imageBytes = kHeaderBytes + width * height * 4 + maskPitch * height;

  std::string bytes;
  put16(bytes, 0);  // reserved
  put16(bytes, 2);  // a cursor
  put16(bytes, 1);  // one image
  bytes += static_cast<char>(width & 0xFF);  // 256 is written as 0
  bytes += static_cast<char>(height & 0xFF);
  bytes += '\0';  // no palette
  bytes += '\0';
  put16(bytes, hotX);
  put16(bytes, hotY);
  put32(bytes, imageBytes);
  put32(bytes, kDirectoryBytes);

  put32(bytes, kHeaderBytes);
  put32(bytes, width);
  put32(bytes, height * 2);  // colours and mask, one above the other
  put16(bytes, 1);
  put16(bytes, 32);
  put32(bytes, 0);  // BI_RGB
  put32(bytes, imageBytes - kHeaderBytes);
  for (int i = 0; i < 4; ++i) put32(bytes, 0);

  for (int32_t y = canvas.Height() - 1; y >= 0; --y) {
    for (int32_t x = 0; x < canvas.Width(); ++x) {
      uint32_t colour = canvas.Colour(x, y);
      bytes += static_cast<char>(colour & 0xFF);
      bytes += static_cast<char>((colour >> 8) & 0xFF);
      bytes += static_cast<char>((colour >> 16) & 0xFF);
      bytes += static_cast<char>(canvas.Alpha(x, y));
    }
  }
  for (int32_t y = canvas.Height() - 1; y >= 0; --y) {
    std::string row(maskPitch, '\0');
    for (int32_t x = 0; x < canvas.Width(); ++x)
      if (canvas.Alpha(x, y) == 0) row[x / 8] = static_cast<char>(row[x / 8] | (0x80 >> (x % 8)));
    bytes += row;
  }
  return bytes;
}

bool writeCursorFile(const Canvas& canvas, uint16_t hotX, uint16_t hotY, const std::string& path,
                     std::string* error) {
  std::ofstream out(path, std::ios::binary);
  out << cursorFileBytes(canvas, hotX, hotY);
  if (out.flush()) return true;
  *error = path + ": cannot write the cursor file";
  return false;
}

}  // namespace screen_art
