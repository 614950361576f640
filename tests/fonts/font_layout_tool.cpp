// Lays out the text of the end-to-end font test natively, with FreeType, page after page as its
// module does under Wine, and writes what the module's pictures must show:
//   page P result R pen X Y          what FontGrph_DrawText gave for page P
//   cell P LEFT RIGHT TOP BOTTOM HEX the cell of each character drawn (bytes in hex)
// and the text in Shift-JIS for the module. Usage: font_layout TEXT_UTF8 OUT_SHIFT_JIS OUT_LAYOUT
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "graphics/font/native_font.h"
#include "graphics/font/shift_jis.h"
#include "host/exports/font.h"
#include "host/exports/graphic.h"
#include "tests/fonts/layout_page.h"
#include "tests/fonts/shift_jis_text.h"

namespace {

const TextRasterizer* real;
std::ostringstream cells;
int page;

// Notes the cell of every character, measured by the rasteriser itself, then draws.
void drawAndNote(TextContext* context, int32_t x, int32_t y, const char* text, int32_t length) {
  for (size_t start = 0; start < static_cast<size_t>(length);) {
    size_t end = sjis::next(text, start, static_cast<size_t>(length));
    SIZE before = real->extent(context, text, static_cast<int32_t>(start));
    SIZE after = real->extent(context, text, static_cast<int32_t>(end));
    cells << "cell " << page << ' ' << x + before.cx << ' ' << x + after.cx << ' ' << y << ' ' << y + after.cy
          << ' ';
    for (size_t i = start; i < end; ++i) {
      char hex[3];
      std::snprintf(hex, sizeof hex, "%02X", static_cast<uint8_t>(text[i]));
      cells << hex;
    }
    cells << '\n';
    start = end;
  }
  real->draw(context, x, y, text, length);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: font_layout TEXT_UTF8 OUT_SHIFT_JIS OUT_LAYOUT\n");
    return 2;
  }
  std::ifstream source(argv[1], std::ios::binary);
  std::string text = shiftJis(std::string(std::istreambuf_iterator<char>(source), {}));
  if (!source || text.empty()) {
    std::fprintf(stderr, "font_layout: cannot read %s\n", argv[1]);
    return 1;
  }
  real = &textRasterizer();
  TextRasterizer noting = *real;
  noting.draw = drawAndNote;
  setTextRasterizer(&noting);

  HFONT font = createNativeFont(LAYOUT_FONT_HEIGHT, 400, LAYOUT_FACE_UTF8);
  std::ostringstream pages;
  size_t offset = 0;
  for (page = 0; page < LAYOUT_PAGES; ++page) {
    FontGrph* mask = FontGrph_Create(LAYOUT_WIDTH, LAYOUT_HEIGHT);
    FontGrph_SelectFont(mask, font, 0);
    FontGrph_SetProbitChars(mask, LAYOUT_PROHIBITED);
    int32_t result = FontGrph_DrawText(mask, text.c_str() + offset);
    POINT pen{};
    FontGrph_GetTextLocation(mask, &pen);
    pages << "page " << page << " result " << result << " pen " << pen.x << ' ' << pen.y << '\n';
    graphic_DeleteBitmap(mask);
    if (result < 2) break;
    offset += static_cast<size_t>(result);
  }
  deleteNativeFont(font);

  std::ofstream shiftJisOut(argv[2], std::ios::binary);
  shiftJisOut << text;
  std::ofstream layoutOut(argv[3], std::ios::binary);
  layoutOut << pages.str() << cells.str();
  if (!shiftJisOut || !layoutOut) {
    std::fprintf(stderr, "font_layout: cannot write the output\n");
    return 1;
  }
  return 0;
}
