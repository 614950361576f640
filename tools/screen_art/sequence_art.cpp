#include "tools/screen_art/sequence_art.h"

#include <string>

#include "tools/screen_art/sequence_look.h"

namespace screen_art {

namespace {

// The opening's pictures that are not a full band: the two halves and the composed ones.
bool isHalf(int number) { return number == 6330 || number == 6340; }
bool isSmall(int number) { return number >= 6380 && number <= 6430; }
bool isOpening(int number) { return number < 6460; }

Canvas picture(int number) {
  uint32_t colour = SEQ_ART_COLOUR(number);
  if (number == SEQ_ART_LAST) return Canvas(SEQ_ART_SCREEN_WIDTH, SEQ_ART_SCREEN_HEIGHT, colour);
  if (isHalf(number)) return Canvas(SEQ_ART_HALF_WIDTH, SEQ_ART_BAND_HEIGHT, colour);
  if (isSmall(number)) return Canvas(SEQ_ART_SMALL_SIZE, SEQ_ART_SMALL_SIZE, colour);
  if (isOpening(number)) return Canvas(SEQ_ART_SCREEN_WIDTH, SEQ_ART_BAND_HEIGHT, colour);
  return Canvas(SEQ_ART_SCREEN_WIDTH, SEQ_ART_SCREEN_HEIGHT, colour);
}

Canvas scrolled() {
  Canvas canvas(SEQ_ART_SCREEN_WIDTH, SEQ_ART_SCROLL_HEIGHT, 0);
  for (int32_t y = 0; y < SEQ_ART_SCROLL_HEIGHT; ++y)
    canvas.Fill(Box{0, y, SEQ_ART_SCREEN_WIDTH, y + 1}, SEQ_ART_ROW_COLOUR(y));
  return canvas;
}

}  // namespace

void drawSequences(ArtSet& set) {
  for (int number = SEQ_ART_FIRST; number <= SEQ_ART_LAST; number += 10) {
    std::string name = "bg" + std::to_string(number) + ".bmp";
    set.Bitmap(name, number == SEQ_ART_SCROLL_NUMBER ? scrolled() : picture(number));
  }
}

}  // namespace screen_art
