// Font images drawn with the build's own rasteriser and a real Japanese face (FreeType natively,
// GDI under Wine): IPA Gothic at an em of 16 pixels draws half-width characters 8 pixels wide,
// full-width ones 16, in a cell 17 high, so the breaks below are known.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "host/exports/export_table.h"
#include "host/exports/font.h"
#include "host/exports/graphic.h"
#include "tests/fonts/shift_jis_text.h"

#ifndef _WIN32
#include "graphics/font/native_font.h"
#endif

namespace {

constexpr int32_t kHalf = 8, kFull = 16, kCell = 17;

HFONT makeFont(int32_t height, const std::string& faceUtf8) {
#ifdef _WIN32
  std::wstring face(faceUtf8.size(), L'\0');
  face.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, faceUtf8.data(), static_cast<int>(faceUtf8.size()),
                                                      face.data(), static_cast<int>(face.size()))));
  return CreateFontW(height, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, face.c_str());
#else
  return createNativeFont(height, 400, faceUtf8.c_str());
#endif
}

void deleteFont(HFONT font) {
#ifdef _WIN32
  DeleteObject(font);
#else
  deleteNativeFont(font);
#endif
}

// What the layout asked the rasteriser to draw.
struct Drawn {
  int32_t x, y;
  std::string text;
  bool operator==(const Drawn&) const = default;
};

std::vector<Drawn> drawn;
const TextRasterizer* realRasterizer;

void recordDraw(TextContext* context, int32_t x, int32_t y, const char* text, int32_t length) {
  drawn.push_back({x, y, std::string(text, static_cast<size_t>(length))});
  realRasterizer->draw(context, x, y, text, length);
}

class FontGraphicTest : public ::testing::Test {
 protected:
  void SetUp() override {
    realRasterizer = &textRasterizer();
    recorder = *realRasterizer;
    recorder.draw = recordDraw;
    setTextRasterizer(&recorder);
    drawn.clear();
    font = makeFont(-16, "IPAGothic");
    image = FontGrph_Create(200, 100);
    ASSERT_NE(image, nullptr);
    FontGrph_SelectFont(image, font, 0);
  }
  void TearDown() override {
    graphic_DeleteBitmap(image);
    deleteFont(font);
    setTextRasterizer(nullptr);
  }

  // Clip from the left edge, `width` pixels wide, and the pen at its start.
  void clipWidth(int32_t width, int32_t bottom = 99) {
    FontGrph_SetTextClip(image, 0, 0, width - 1, bottom);
    FontGrph_LocateText(image, 0, 0);
  }
  int32_t draw(const std::string& utf8) { return FontGrph_DrawText(image, shiftJis(utf8).c_str()); }
  POINT pen() {
    POINT location{};
    FontGrph_GetTextLocation(image, &location);
    return location;
  }
  Drawn line(int32_t x, int32_t y, const std::string& utf8) { return {x, y, shiftJis(utf8)}; }

  bool ink(FontGrph* mask, int32_t x, int32_t y) {
    const BITMAPINFOHEADER& header = mask->Header();
    const uint8_t* row = mask->Pixels() + (header.biHeight - 1 - y) * dibPitch(header.biWidth, 1);
    return (row[x >> 3] & (0x80 >> (x & 7))) != 0;
  }
  int inkIn(FontGrph* mask, int32_t left, int32_t top, int32_t right, int32_t bottom) {
    int count = 0;
    for (int32_t y = top; y < bottom; ++y)
      for (int32_t x = left; x < right; ++x) count += ink(mask, x, y);
    return count;
  }
  std::vector<uint8_t> pixels(FontGrph* mask) {
    return {mask->Pixels(), mask->Pixels() + mask->Header().biSizeImage};
  }

  TextRasterizer recorder{};
  HFONT font = nullptr;
  FontGrph* image = nullptr;
};

TEST_F(FontGraphicTest, TextThatFitsLeavesThePenBehindIt) {
  EXPECT_EQ(draw("あいう"), -1);
  EXPECT_EQ(drawn, std::vector<Drawn>{line(0, 0, "あいう")});
  EXPECT_EQ(pen().x, 3 * kFull);
  EXPECT_EQ(pen().y, 0);
  EXPECT_GT(inkIn(image, 0, 0, 3 * kFull, kCell), 30);
  EXPECT_EQ(inkIn(image, 3 * kFull, 0, 200, 100), 0);
  EXPECT_EQ(inkIn(image, 0, kCell, 200, 100), 0);
  // The pen continues the line in the next call.
  EXPECT_EQ(draw("え"), -1);
  EXPECT_EQ(drawn.back(), line(3 * kFull, 0, "え"));
  EXPECT_EQ(pen().x, 4 * kFull);
}

TEST_F(FontGraphicTest, BreaksWhereTheTextStopsFittingAndAtLineFeeds) {
  clipWidth(2 * kFull + 7);
  EXPECT_EQ(draw("あいうえお"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あい"), line(0, kCell, "うえ"), line(0, 2 * kCell, "お")}));
  EXPECT_EQ(pen().x, kFull);
  drawn.clear();
  clipWidth(200);
  EXPECT_EQ(draw("あ\nいう\n"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あ"), line(0, kCell, "いう")}));
  // A line feed at the very end takes the pen to the start of the next line.
  EXPECT_EQ(pen().x, 0);
  EXPECT_EQ(pen().y, 2 * kCell);
}

TEST_F(FontGraphicTest, LatinWordsMoveWholeOrAreHyphenatedBehindThreeLetters) {
  clipWidth(4 * kHalf + 7);
  EXPECT_EQ(draw("ab cdefgh"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "ab "), line(0, kCell, "cde-"), line(0, 2 * kCell, "fgh")}));
  // A run shorter than three bytes from the line's start stays where it breaks.
  drawn.clear();
  clipWidth(2 * kHalf + 7);
  EXPECT_EQ(draw("abcde"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "ab"), line(0, kCell, "cd"), line(0, 2 * kCell, "e")}));
  // A line height of the caller's.
  drawn.clear();
  FontGrph_SelectFont(image, font, 20);
  clipWidth(4 * kHalf + 7);
  EXPECT_EQ(draw("xy, word"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "xy, "), line(0, 20, "word")}));
}

TEST_F(FontGraphicTest, AProhibitedCharacterTakesTheCharacterBeforeItToTheNextLine) {
  EXPECT_EQ(FontGrph_SetProbitChars(image, shiftJis("、。」").c_str()), 0u);
  clipWidth(3 * kFull + 7);
  EXPECT_EQ(draw("あいう。えお"), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あい"), line(0, kCell, "う。え"), line(0, 2 * kCell, "お")}));
  // Without the table the break stays.
  drawn.clear();
  FontGrph_SetProbitChars(image, "");
  clipWidth(3 * kFull + 7);
  draw("あいう。");
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あいう"), line(0, kCell, "。")}));
  // At a break behind one byte the line is not shortened.
  drawn.clear();
  FontGrph_SetProbitChars(image, shiftJis("、").c_str());
  clipWidth(kHalf + kFull - 1);
  draw("a、");
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "a"), line(0, kCell, "、")}));
}

TEST_F(FontGraphicTest, TheTableReadsCodesByTheFirstByte) {
  // 0xE0 begins a two-byte code and a half-width katakana is one byte: the table holds two
  // codes, the second of them the katakana.
  FontGrph_SetProbitChars(image, "\xE0\x40\xA7");
  clipWidth(2 * kFull + 7);
  FontGrph_DrawText(image, (shiftJis("あい") + "\xA7").c_str());
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あ"), {0, kCell, shiftJis("い") + "\xA7"}}));
  // An ASCII character stands in the table with the byte behind it.
  drawn.clear();
  FontGrph_SetProbitChars(image, "!?");
  clipWidth(4 * kHalf + 7);
  draw("1234!?");
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "12"), line(0, kCell, "34!?")}));
  drawn.clear();
  clipWidth(4 * kHalf + 7);
  draw("1234!!");
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "1234"), line(0, kCell, "!!")}));
}

TEST_F(FontGraphicTest, TruncationGivesTheBytesDrawnSoThatTheNextPageGoesOn) {
  FontGrph_SetTextClip(image, 0, 0, 2 * kFull + 7, 2 * kCell - 1);
  std::string text = shiftJis("あいうえおかき");
  int32_t consumed = FontGrph_DrawText(image, text.c_str());
  EXPECT_EQ(consumed, 8);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "あい"), line(0, kCell, "うえ")}));
  EXPECT_EQ(pen().y, 2 * kCell);
  FontGrph* page = FontGrph_Create(200, 100);
  FontGrph_SelectFont(page, font, 0);
  FontGrph_SetTextClip(page, 0, 0, 2 * kFull + 7, 2 * kCell - 1);
  drawn.clear();
  EXPECT_EQ(FontGrph_DrawText(page, text.c_str() + consumed), -1);
  EXPECT_EQ(drawn, (std::vector<Drawn>{line(0, 0, "おか"), line(0, kCell, "き")}));
  graphic_DeleteBitmap(page);
}

TEST_F(FontGraphicTest, APenBelowTheClipDrawsOneLineAndAFinalLinePastTheBottomIsTruncated) {
  FontGrph_SetTextClip(image, 0, 0, 2 * kFull + 7, 40);
  FontGrph_LocateText(image, 0, 60);
  EXPECT_EQ(draw("あいうえ"), 4);
  EXPECT_EQ(drawn, std::vector<Drawn>{line(0, 60, "あい")});
  FontGrph_LocateText(image, 0, 30);
  EXPECT_EQ(draw("あ"), 2);
  EXPECT_EQ(pen().x, kFull);
}

TEST_F(FontGraphicTest, TextWiderThanTheClipGoesDownTheLinesDrawingNothing) {
  clipWidth(kFull - 1, 50);
  EXPECT_EQ(draw("あい"), 0);
  EXPECT_TRUE(drawn.empty());
  EXPECT_EQ(pen().y, 3 * kCell);
  EXPECT_EQ(inkIn(image, 0, 0, 200, 100), 0);
  FontGrph_LocateText(image, 0, 60);  // below the clip: one line down
  EXPECT_EQ(draw("あい"), 0);
  EXPECT_EQ(pen().y, 60 + kCell);
  // An inverted clip fits nothing either; a pen right of the clip goes on at the next line.
  FontGrph_SetTextClip(image, 100, 0, 50, 99);
  FontGrph_LocateText(image, 100, 0);
  EXPECT_EQ(draw("あ"), 0);
  EXPECT_TRUE(drawn.empty());
  FontGrph_SetTextClip(image, 0, 0, 99, 99);
  FontGrph_LocateText(image, 150, 0);
  EXPECT_EQ(draw("あ"), -1);
  EXPECT_EQ(drawn, std::vector<Drawn>{line(0, kCell, "あ")});
}

TEST_F(FontGraphicTest, TheClipIsKeptInsideTheMask) {
  FontGrph_SetTextClip(image, -5, -7, 1000, 1000);
  RECT clip = image->TextClip();
  EXPECT_EQ(clip.left, 0);
  EXPECT_EQ(clip.top, 0);
  EXPECT_EQ(clip.right, 199);
  EXPECT_EQ(clip.bottom, 99);
}

TEST_F(FontGraphicTest, DrawingIsOpaqueAndAddsToTheMask) {
  draw("あい");
  EXPECT_GT(inkIn(image, 0, 0, kHalf, kCell), 0);
  // A space clears its own cell and leaves the rest.
  FontGrph_LocateText(image, 0, 0);
  draw(" ");
  EXPECT_EQ(inkIn(image, 0, 0, kHalf, kCell), 0);
  EXPECT_GT(inkIn(image, kFull, 0, 2 * kFull, kCell), 0);
  // The mask shows what the plane holds, even after the caller wrote over the pixels.
  std::memset(image->Pixels(), 0, image->Header().biSizeImage);
  FontGrph_LocateText(image, kFull, 0);
  draw("い");
  EXPECT_GT(inkIn(image, kHalf, 0, kFull, kCell), 0);
}

TEST_F(FontGraphicTest, AFaceTheSystemLacksIsDrawnWithAJapaneseFace) {
  HFONT missing = makeFont(-16, "ＭＳ ゴシック");
  FontGrph* other = FontGrph_Create(200, 100);
  FontGrph_SelectFont(other, missing, 0);
  std::string text = shiftJis("漢字とかなカナ");
  EXPECT_EQ(FontGrph_DrawText(other, text.c_str()), -1);
  FontGrph_DrawText(image, text.c_str());
  EXPECT_EQ(pixels(other), pixels(image));
  // No empty boxes: every character has ink, and no two look alike.
  std::vector<std::vector<bool>> cells;
  for (int32_t left = 0; left < 7 * kFull; left += kFull) {
    std::vector<bool> cell;
    for (int32_t y = 0; y < kCell; ++y)
      for (int32_t x = left; x < left + kFull; ++x) cell.push_back(ink(image, x, y));
    EXPECT_GT(std::count(cell.begin(), cell.end(), true), 10) << left;
    for (const auto& earlier : cells) EXPECT_NE(cell, earlier) << left;
    cells.push_back(cell);
  }
  graphic_DeleteBitmap(other);
  deleteFont(missing);
}

TEST_F(FontGraphicTest, TheDefaultFontDrawsJapaneseToo) {
  FontGrph_SelectFont(image, nullptr, 0);
  EXPECT_EQ(draw("あ漢"), -1);
  int32_t width = pen().x;
  ASSERT_GT(width, 10);
  std::vector<bool> first, second;
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < width / 2; ++x) {
      first.push_back(ink(image, x, y));
      second.push_back(ink(image, x + width / 2, y));
    }
  EXPECT_GT(std::count(first.begin(), first.end(), true), 10);
  EXPECT_GT(std::count(second.begin(), second.end(), true), 10);
  EXPECT_NE(first, second) << "two characters drawn alike: empty boxes";
}

TEST_F(FontGraphicTest, BadInputGivesItsResultAndWritesNothingOutsideTheMask) {
  // The pixel block has a row more than the mask: it must stay as it is.
  uint8_t* spare = image->Pixels() + image->Header().biSizeImage;
  size_t pitch = dibPitch(200, 1);
  std::memset(spare, 0x5A, pitch);
  FontGrph_LocateText(image, -5, -5);
  EXPECT_EQ(FontGrph_DrawText(image, "\x82\xA0\x82"), -1);  // ends inside a character
  FontGrph_LocateText(image, 190, 90);
  FontGrph_SetTextClip(image, 0, 0, 1000, 1000);
  EXPECT_EQ(FontGrph_DrawText(image, "\x82"), 0);  // a lone lead byte, too wide for the rest of the line
  FontGrph_LocateText(image, 191, 83);
  EXPECT_EQ(FontGrph_DrawText(image, "a"), -1);  // reaching the last row of the mask, a column short of its right
  FontGrph_LocateText(image, INT32_MIN, 0);  // the whole text fits the width left of the mask
  EXPECT_EQ(draw("あい"), -1);
  EXPECT_EQ(pen().x, INT32_MIN + 2 * kFull);
  EXPECT_EQ(FontGrph_DrawText(image, ""), -1);
  EXPECT_EQ(FontGrph_DrawText(image, nullptr), -1);
  for (size_t i = 0; i < pitch; ++i) ASSERT_EQ(spare[i], 0x5A) << i;
  // The device's own font with the font's line height still moves down and ends.
  FontGrph_SelectFont(image, nullptr, 0);
  FontGrph_LocateText(image, 0, 0);
  FontGrph_SetTextClip(image, 0, 0, 5, 99);
  EXPECT_EQ(draw("あい"), 0);
  // A negative line height moves the pen up; a line that never fits still ends.
  FontGrph_SelectFont(image, font, -5);
  FontGrph_SetTextClip(image, 0, 0, 2 * kFull + 7, 99);
  FontGrph_LocateText(image, 0, 50);
  EXPECT_EQ(draw("あいう"), -1);
  EXPECT_EQ(pen().y, 45);
  FontGrph_SetTextClip(image, 0, 0, 5, 99);
  EXPECT_EQ(draw("あい"), 0);
  // A huge text ends at the bottom of the clip with the bytes of the lines drawn.
  FontGrph_SelectFont(image, font, 0);
  FontGrph_SetTextClip(image, 0, 0, 199, 99);
  FontGrph_LocateText(image, 0, 0);
  std::string huge;
  for (int i = 0; i < 1 << 20; ++i) huge += "\x82\xA0";
  EXPECT_EQ(FontGrph_DrawText(image, huge.c_str()), 12 * 2 * 6);
  EXPECT_EQ(FontGrph_Create(0, 10), nullptr);
  EXPECT_EQ(FontGrph_Create(10, -1), nullptr);
  FontGrph unmade;
  EXPECT_EQ(unmade.DrawText("a"), 1);
  // Pixels of another shape in the mask's place are left alone; detached ones too.
  struct {
    BITMAPINFOHEADER header;
    RGBQUAD colours[256];
  } small{{sizeof(BITMAPINFOHEADER), 4, 4, 1, 8, BI_RGB, 16, 0, 0, 256, 256}, {}};
  uint8_t smallPixels[16 * 2] = {};
  graphic_AttachDIBitmap(image, reinterpret_cast<const BITMAPINFO*>(&small), smallPixels);
  FontGrph_LocateText(image, 0, 0);
  EXPECT_EQ(draw("あ"), -1);
  for (uint8_t value : smallPixels) ASSERT_EQ(value, 0);
  graphic_DetachDIBitmap(image);
  EXPECT_EQ(draw("あ"), -1);
}

TEST_F(FontGraphicTest, FontGrphDeleteIsTheImageDelete) {
  EXPECT_EQ(findExport("_FontGrph_Delete@4")->function, reinterpret_cast<const void*>(&graphic_DeleteBitmap));
  EXPECT_EQ(FontGrph_SelectFont(image, nullptr, 3), font);
  // The mask blits like any 1-bit image: set bits in the colour of palette entry 1.
  FontGrph_SelectFont(image, font, 0);
  draw("あ");
  Graphic* picture = graphic_CreateBitmap(40, 20, 24);
  std::memset(picture->Pixels(), 0, dibPitch(40, 24) * 20);  // new pixels hold whatever was there
  RGBQUAD red{0, 0, 255, 0};
  graphic_SetPaletteEntries(image, 1, 1, &red);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(image, picture, 0, 0, nullptr, 0, 0), 0u);
  int redPixels = 0;
  for (int32_t y = 0; y < 20; ++y)
    for (int32_t x = 0; x < 40; ++x) {
      const uint8_t* pixel = picture->Pixels() + (19 - y) * dibPitch(40, 24) + 3 * x;
      bool isRed = pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 255;
      EXPECT_EQ(isRed, ink(image, x, y)) << x << "," << y;
      redPixels += isRed;
    }
  EXPECT_GT(redPixels, 30);
  graphic_DeleteBitmap(picture);
}

}  // namespace
