#include "tools/screen_art/save_menu_art.h"

#include <cstdio>
#include <string>

#include "tools/screen_art/save_menu_look.h"

namespace screen_art {

namespace {

constexpr int32_t kPages = 5;
constexpr int32_t kSlots = 10;
constexpr int32_t kChapterPictures[] = {1, 4, 6, 6, 6, 1};

std::string format(const char* pattern, int a, int b = 0) {
  char text[32];
  std::snprintf(text, sizeof text, pattern, a, b);
  return text;
}

Canvas glyph(int index, bool on) {
  Canvas canvas = plate(SAVE_ART_GLYPH_WIDTH, SAVE_ART_GLYPH_HEIGHT, SAVE_ART_GLYPH_COLOUR(index, on));
  Box inside{2, 2, SAVE_ART_GLYPH_WIDTH - 2, SAVE_ART_GLYPH_HEIGHT - 2};
  if (index < 10) {
    canvas.Digit(inside, index, SAVE_ART_GLYPH_INK);
  } else {
    canvas.Fill(Box{inside.left, inside.bottom - 2, inside.right, inside.bottom}, SAVE_ART_GLYPH_INK);
  }
  return canvas;
}

Canvas picture(int chapter, int number, bool on) {
  Canvas canvas = plate(SAVE_ART_PICTURE_WIDTH, SAVE_ART_PICTURE_HEIGHT, SAVE_ART_PICTURE_COLOUR(chapter, number, on));
  for (int mark = 0; mark < chapter; ++mark) canvas.Fill(Box{4 + 6 * mark, 20, 8 + 6 * mark, 26}, 0xFFFFFF);
  return canvas;
}

}  // namespace

void drawSaveMenu(ArtSet& set) {
  for (int page = 1; page <= kPages; ++page) {
    Canvas base(640, 480, SAVE_ART_PAGE_COLOUR(page));
    for (int slot = 0; slot < kSlots; ++slot) {
      int32_t x = slot < 5 ? 36 : 322, y = 40 + 74 * (slot % 5);
      base.Frame(Box{x - 2, y - 2, x + SAVE_ART_SLOT_WIDTH + 2, y + SAVE_ART_SLOT_HEIGHT + 2},
                 SAVE_ART_SLOT_FRAME_COLOUR, 1);
      Canvas lit(SAVE_ART_SLOT_WIDTH, SAVE_ART_SLOT_HEIGHT, SAVE_ART_HOVER_COLOUR(slot));
      set.Bitmap(format("sl%02d_%d", page, (slot + 1) % 10) + "on.bmp", lit);
    }
    for (int page2 = 0; page2 < page; ++page2) base.Fill(Box{600 - 10 * page2, 8, 606 - 10 * page2, 20}, 0xFFFFFF);
    set.Bitmap(format("sl%02dbase.bmp", page), base);
  }
  for (int kind = 1; kind <= 2; ++kind) {
    set.Variants(kind == 1 ? "slmi" : "slchi", plate(SAVE_ART_KIND_WIDTH, SAVE_ART_KIND_HEIGHT, SAVE_ART_KIND_COLOUR(kind, 0)),
                 plate(SAVE_ART_KIND_WIDTH, SAVE_ART_KIND_HEIGHT, SAVE_ART_KIND_COLOUR(kind, 1)));
  }
  for (int index = 0; index <= 10; ++index)
    set.Variants(index < 10 ? format("sl_%d", index) : "sl__", glyph(index, false), glyph(index, true));
  set.Variants("slnoda", picture(0, 0, false), picture(0, 0, true));
  for (int chapter = 1; chapter <= 5; ++chapter)
    for (int number = 1; number <= kChapterPictures[chapter]; ++number)
      set.Variants(format("sb%d_%d", chapter, number), picture(chapter, number, false), picture(chapter, number, true));

  const int32_t pageWidth = SAVE_ART_PAGE_BUTTON_WIDTH, pageHeight = SAVE_ART_PAGE_BUTTON_HEIGHT;
  set.Bitmap("slmaeof.bmp", Canvas(pageWidth, pageHeight, SAVE_ART_PREVIOUS_COLOUR(0)));
  set.Bitmap("slmaeon.bmp", Canvas(pageWidth, pageHeight, SAVE_ART_PREVIOUS_COLOUR(1)));
  set.Bitmap("sltsuof.bmp", Canvas(pageWidth, pageHeight, SAVE_ART_NEXT_COLOUR(0)));
  set.Bitmap("sltsuon.bmp", Canvas(pageWidth, pageHeight, SAVE_ART_NEXT_COLOUR(1)));
  set.Bitmap("slmodon.bmp", Canvas(SAVE_ART_BACK_WIDTH, SAVE_ART_BACK_HEIGHT, SAVE_ART_BACK_COLOUR));

  for (int number = 1; number <= kSlots; ++number) {
    Canvas box(SAVE_ART_BOX_WIDTH, SAVE_ART_BOX_HEIGHT, SAVE_ART_BOX_COLOUR);
    box.Frame(Box{0, 0, SAVE_ART_BOX_WIDTH, SAVE_ART_BOX_HEIGHT}, 0x404040, 2);
    box.Fill(Box{0x23, 0x60, 0x23 + 0x52, 0x60 + 0x28}, SAVE_ART_BOX_YES_COLOUR);
    box.Fill(Box{0x8B, 0x60, 0x8B + 0x52, 0x60 + 0x28}, SAVE_ART_BOX_NO_COLOUR);
    box.Digit(Box{140, 30, 150, 50}, number / 10, 0x000000);
    box.Digit(Box{154, 30, 164, 50}, number % 10, 0x000000);
    set.Bitmap(format("disave%02d.bmp", number), box);
  }
}

}  // namespace screen_art
