#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/exports/file.h"
#include "host/exports/graphic.h"
#include "tests/graphics/memory_file.h"
#include "tests/graphics/test_bitmap.h"
#include "tests/temp_dir.h"

namespace {

uint32_t le32(const std::string& bytes, size_t at) {
  uint32_t value;
  std::memcpy(&value, bytes.data() + at, 4);
  return value;
}

std::string writeToMemory(Graphic* image) {
  MemoryFile file;
  EXPECT_EQ(graphic_WriteBitmap(image, &file), 0u);
  return file.bytes();
}

TEST(BitmapFileTest, RoundTripsEveryDepth) {
  for (uint16_t bits : {1, 4, 8, 16, 24}) {
    SCOPED_TRACE(bits);
    TestBitmap source(13, 7, bits);
    source.patterned();
    Graphic* image = graphic_AllocNewBitmap();
    graphic_AttachDIBitmap(image, source.info(), source.pixels.data());
    std::string bytes = writeToMemory(image);
    uint32_t colours = bits <= 8 ? 4u << bits : 0;
    ASSERT_EQ(bytes.size(), 54 + colours + source.pixels.size());
    EXPECT_EQ(bytes.substr(0, 2), "BM");
    EXPECT_EQ(le32(bytes, 2), bytes.size());
    EXPECT_EQ(le32(bytes, 6), 0u);
    EXPECT_EQ(le32(bytes, 10), 54 + colours);

    MemoryFile file(bytes);
    Graphic* read = graphic_ReadBitmap(&file);
    ASSERT_NE(read, nullptr);
    BITMAPINFOHEADER header;
    void* pixels;
    graphic_GetDIBitmap(read, &header, &pixels);
    EXPECT_EQ(header.biWidth, 13);
    EXPECT_EQ(header.biHeight, 7);
    EXPECT_EQ(header.biBitCount, bits);
    EXPECT_EQ(header.biSizeImage, source.pixels.size());
    EXPECT_EQ(std::memcmp(pixels, source.pixels.data(), source.pixels.size()), 0);
    if (bits <= 8) {
      std::vector<RGBQUAD> palette(1u << bits);
      graphic_GetPaletteEntries(read, 0, 1u << bits, palette.data());
      EXPECT_EQ(std::memcmp(palette.data(), source.colours, palette.size() * 4), 0);
    }
    EXPECT_EQ(writeToMemory(read), bytes) << "writing what was read gives the same stream";
    graphic_DeleteBitmap(read);
    graphic_DeleteBitmap(image);
  }
}

TEST(BitmapFileTest, ReadsAndWritesThroughFileObjects) {
  TempDir dir;
  Graphic* image = graphic_CreateBitmap(5, 3, 24);
  std::memset(image->Pixels(), 0x42, image->Header().biSizeImage);
  std::string path = dir.file("out.bmp");
  KRawFile* out = File_OpenFile(path.c_str(), FILE_WRITE);
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(graphic_WriteBitmap(image, out), 0u);
  File_CloseFile(out);
  KRawFile* in = File_OpenFile(path.c_str(), FILE_READ);
  ASSERT_NE(in, nullptr);
  Graphic* read = graphic_ReadBitmap(in);
  File_CloseFile(in);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(read->Header().biSizeImage, 48u);
  EXPECT_EQ(read->Pixels()[47], 0x42);
  graphic_DeleteBitmap(read);
  graphic_DeleteBitmap(image);
  Graphic* empty = graphic_AllocNewBitmap();
  MemoryFile file;
  EXPECT_EQ(graphic_WriteBitmap(empty, &file), 1u) << "nothing to write without pixels";
  EXPECT_EQ(file.GetLength(), 0u);
  graphic_DeleteBitmap(empty);
}

// A well-formed 8-bit stream of 4 by 2 pixels to damage.
std::string goodStream() {
  TestBitmap source(4, 2, 8);
  source.patterned();
  Graphic* image = graphic_AllocNewBitmap();
  graphic_AttachDIBitmap(image, source.info(), source.pixels.data());
  std::string bytes = writeToMemory(image);
  graphic_DeleteBitmap(image);
  return bytes;
}

Graphic* read(const std::string& bytes) {
  MemoryFile file(bytes);
  return graphic_ReadBitmap(&file);
}

void put32(std::string& bytes, size_t at, uint32_t value) { std::memcpy(bytes.data() + at, &value, 4); }
void put16(std::string& bytes, size_t at, uint16_t value) { std::memcpy(bytes.data() + at, &value, 2); }

TEST(BitmapFileTest, RefusesHeadersThatLeaveNothingToRead) {
  const std::string good = goodStream();
  Graphic* fine = read(good);
  ASSERT_NE(fine, nullptr);
  graphic_DeleteBitmap(fine);

  EXPECT_EQ(read(good.substr(0, 13)), nullptr) << "short file header";
  std::string bytes = good;
  put32(bytes, 2, le32(good, 10));
  EXPECT_EQ(read(bytes), nullptr) << "file size not beyond the data offset";
  for (uint16_t bits : {0, 2, 32}) {
    bytes = good;
    put16(bytes, 28, bits);
    EXPECT_EQ(read(bytes), nullptr) << bits << " bits";
  }
  bytes = good;
  put32(bytes, 10, 54 + 1028);
  put32(bytes, 2, 5000);
  EXPECT_EQ(read(bytes), nullptr) << "more colours than 8 bits have";
  bytes = good;
  put32(bytes, 10, 20);
  EXPECT_EQ(read(bytes), nullptr) << "data offset inside the headers";
  bytes = good;
  put32(bytes, 22, 0);
  EXPECT_EQ(read(bytes), nullptr) << "no rows";
  bytes = good;
  put32(bytes, 18, 0);
  EXPECT_EQ(read(bytes), nullptr) << "no columns";
  bytes = good;
  put32(bytes, 18, 0x60000000);
  EXPECT_EQ(read(bytes), nullptr) << "a width whose row size overflows 32 bits";
  bytes = good;
  put32(bytes, 18, 0x7FFFFFFF);
  put32(bytes, 34, 0);
  EXPECT_EQ(read(bytes), nullptr) << "more pixels than a block can hold";
}

// The rows of the 4 by 2 stream: bottom row first.
uint8_t pixelOf(const std::string& stream, int row, int x) { return uint8_t(stream[54 + 1024 + row * 4 + x]); }

TEST(BitmapFileTest, AStatedSizeBelowTheRowsReadsThatMuchAndDrawsInsideTheBlock) {
  std::string bytes = goodStream();
  put32(bytes, 34, 4);
  Graphic* image = read(bytes);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biSizeImage, 4u);
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(image->Pixels()[x], pixelOf(bytes, 0, x));
    EXPECT_EQ(image->Pixels()[4 + x], 0) << "the row behind the stated size is black";
  }
  Graphic* target = graphic_CreateBitmap(4, 2, 24);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(image, target, 0, 0, nullptr, 0, 0), 0u);
  EXPECT_EQ(graphic_DrawFullRectangle(image, nullptr, 3, 0, 0), 0u);
  graphic_DeleteBitmap(target);
  graphic_DeleteBitmap(image);
}

TEST(BitmapFileTest, TopDownRowsAreTurnedBottomUp) {
  std::string bytes = goodStream();
  put32(bytes, 22, static_cast<uint32_t>(-2));
  Graphic* image = read(bytes);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biHeight, 2);
  for (int x = 0; x < 4; ++x) {
    EXPECT_EQ(image->Pixels()[x], pixelOf(bytes, 1, x)) << "the stream's last row is the bottom row";
    EXPECT_EQ(image->Pixels()[4 + x], pixelOf(bytes, 0, x));
  }
  graphic_DeleteBitmap(image);
}

TEST(BitmapFileTest, HeadersAndColoursCutShortReadAsZeros) {
  const std::string good = goodStream();
  Graphic* image = read(good.substr(0, 54 + 10));
  ASSERT_NE(image, nullptr) << "two colours and a half";
  RGBQUAD colours[3];
  ASSERT_EQ(graphic_GetPaletteEntries(image, 0, 3, colours), 0u);
  EXPECT_EQ(std::memcmp(colours, good.data() + 54, 8), 0);
  EXPECT_EQ(colours[2].rgbBlue, uint8_t(good[62]));
  EXPECT_EQ(colours[2].rgbRed, 0);
  EXPECT_EQ(image->Pixels()[0], 0);
  graphic_DeleteBitmap(image);

  image = read(good.substr(0, 40));
  ASSERT_NE(image, nullptr) << "the info header up to its image size";
  EXPECT_EQ(image->Header().biWidth, 4);
  EXPECT_EQ(image->Header().biBitCount, 8);
  graphic_DeleteBitmap(image);
}

TEST(BitmapFileTest, ShortPixelDataLeavesTheRestBlack) {
  std::string bytes = goodStream();
  bytes.resize(bytes.size() - 5);
  put32(bytes, 34, 0);  // the size comes from width, bits and height
  Graphic* image = read(bytes);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biSizeImage, 8u);
  const uint8_t* pixels = image->Pixels();
  EXPECT_EQ(pixels[2], static_cast<uint8_t>(2 * 37 + 11));
  for (int i = 3; i < 8; ++i) EXPECT_EQ(pixels[i], 0) << i;
  graphic_DeleteBitmap(image);
}

}  // namespace
