#include <gtest/gtest.h>

#include "tests/temp_dir.h"
#include "tools/image/picture_io.h"
#include "tools/screen_art/art_canvas.h"
#include "tools/screen_art/cursor_file.h"

namespace {

using namespace screen_art;

uint32_t little(const std::string& bytes, size_t offset, int size) {
  uint32_t value = 0;
  for (int i = size - 1; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(bytes[offset + i]);
  return value;
}

TEST(ScreenArtTest, ACursorFileHoldsItsHotSpotColoursAndMask) {
  Canvas canvas(32, 32, 0x123456);
  canvas.Fill(Box{0, 0, 1, 1}, 0, 0);  // top left transparent
  std::string bytes = cursorFileBytes(canvas, 5, 7);
  ASSERT_EQ(bytes.size(), 22u + 40u + 32u * 32u * 4u + 32u * 4u);
  EXPECT_EQ(little(bytes, 2, 2), 2u) << "a cursor";
  EXPECT_EQ(little(bytes, 4, 2), 1u);
  EXPECT_EQ(static_cast<uint8_t>(bytes[6]), 32u);
  EXPECT_EQ(little(bytes, 10, 2), 5u);
  EXPECT_EQ(little(bytes, 12, 2), 7u);
  EXPECT_EQ(little(bytes, 14, 4), bytes.size() - 22u);
  EXPECT_EQ(little(bytes, 18, 4), 22u);
  EXPECT_EQ(little(bytes, 22 + 8, 4), 64u) << "colours and mask are counted in the height";
  EXPECT_EQ(little(bytes, 22 + 14, 2), 32u);
  // Rows bottom-up: the top row is the last of the colours and of the mask.
  size_t colours = 22 + 40, mask = colours + 32 * 32 * 4;
  EXPECT_EQ(little(bytes, colours, 4), 0xFF123456u);
  EXPECT_EQ(little(bytes, colours + 31 * 32 * 4, 4), 0u);
  EXPECT_EQ(static_cast<uint8_t>(bytes[mask + 31 * 4]), 0x80u) << "the transparent pixel is set in the mask";
  EXPECT_EQ(static_cast<uint8_t>(bytes[mask]), 0u);
}

TEST(ScreenArtTest, BitmapsCarryPremultipliedColoursAndTheirAlphaAsAGreyRamp) {
  TempDir folder;
  Canvas canvas(3, 2, 0xFF8040);
  canvas.Fill(Box{1, 0, 2, 1}, 0xFF8040, 128);
  canvas.Frame(Box{2, 0, 3, 2}, 0xFFFFFF, 1, 0);
  std::string error;
  ASSERT_TRUE(writeColourBitmap(canvas, folder.file("c.bmp"), &error)) << error;
  ASSERT_TRUE(writeAlphaBitmap(canvas, folder.file("a.bmp"), &error)) << error;
  Picture colour, alpha;
  ASSERT_TRUE(readPicture(folder.file("c.bmp"), &colour, &error)) << error;
  ASSERT_TRUE(readPicture(folder.file("a.bmp"), &alpha, &error)) << error;
  ASSERT_EQ(colour.bits, 24u);
  ASSERT_EQ(alpha.bits, 8u);
  const uint8_t* top = colour.pixels.data() + colour.pitch();  // bottom-up: row 1 is the top
  EXPECT_EQ(top[0] | top[1] << 8 | top[2] << 16, 0xFF8040);
  EXPECT_EQ(top[3] | top[4] << 8 | top[5] << 16, 0x804020) << "half alpha halves the colour";
  EXPECT_EQ(top[6] | top[7] << 8 | top[8] << 16, 0);
  const uint8_t* levels = alpha.pixels.data() + alpha.pitch();
  EXPECT_EQ(levels[0], 255);
  EXPECT_EQ(levels[1], 128);
  EXPECT_EQ(levels[2], 0);
  EXPECT_EQ(alpha.palette[128].rgbGreen, 128);
}

}  // namespace
