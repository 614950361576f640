// Arbitrary text, prohibited table, pen, clip and line height through FontGrph_DrawText: the
// layout ends with a result it may give, and writes nothing outside the mask (the sanitizers
// watch the pixel block and the plane).
#include <cstdint>
#include <cstring>
#include <string>

#include "graphics/font/font_graphic.h"
#include "graphics/font/native_font.h"

namespace {

int16_t number(const uint8_t* data) { return static_cast<int16_t>(data[0] | data[1] << 8); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr size_t kHeader = 14;
  if (size < kHeader) return 0;
  static HFONT font = createNativeFont(-12, 400, "IPAGothic");
  FontGrph image;
  if (image.Create(48 + data[0] % 32, 24 + data[1] % 16) != 0) return 0;
  image.SelectFont(data[2] & 1 ? font : nullptr, number(data + 3) % 64);
  image.LocateText(number(data + 5) % 512, number(data + 7) % 512);
  image.SetTextClip(static_cast<int8_t>(data[9]), static_cast<int8_t>(data[10]), data[11], data[12]);
  size_t tableLength = std::min<size_t>(data[13] % 16, size - kHeader);
  std::string table(reinterpret_cast<const char*>(data + kHeader), tableLength);
  std::string text(reinterpret_cast<const char*>(data + kHeader + tableLength), size - kHeader - tableLength);
  image.SetProbitChars(table.c_str());
  int32_t result = image.DrawText(text.c_str());
  if (result < -1 || (result >= 0 && static_cast<size_t>(result) > std::strlen(text.c_str()))) __builtin_trap();
  return 0;
}
