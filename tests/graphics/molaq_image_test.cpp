// Picture files: written by the encoder, read back through the export with palettes, alpha
// planes, scales, conversion modes and the fallback to BMP.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "files/vrf_file.h"
#include "graphics/core/molaq.h"
#include "graphics/molaq_image.h"
#include "graphics/molaq_image_encoder.h"
#include "host/exports/file.h"
#include "host/exports/graphic.h"
#include "host/exports/molaq_image.h"
#include "tests/graphics/test_bitmap.h"
#include "tests/temp_dir.h"

namespace {

struct ConversionScope {
  int32_t saved = graphic_GetDefConversion8BitColor();
  explicit ConversionScope(int32_t mode) { graphic_SetDefConversion8BitColor(mode); }
  ~ConversionScope() { graphic_SetDefConversion8BitColor(saved); }
};

TestBitmap photo(int32_t width, int32_t height) {
  TestBitmap bitmap(width, height, 24);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* p = &bitmap.pixels[y * dibPitch(width, 24) + x * 3];
      p[0] = uint8_t(x * 4);
      p[1] = uint8_t(100 + y * 2);
      p[2] = uint8_t((x + y) * 3);
    }
  }
  return bitmap;
}

std::string writePicture(const TempDir& dir, const char* name, const TestBitmap& bitmap,
                         const ImageInfo* alpha) {
  MOLAQImageFile file;
  EXPECT_EQ(mqEncodeImageFile(bitmap.info(), bitmap.pixels.data(), alpha, MOLAQEncodeOptions{}, &file), 0u);
  std::string path = dir.file(name);
  EXPECT_EQ(mqWriteImageFile(path.c_str(), file), 0u);
  return path;
}

TEST(MOLAQImageTest, TrueColourPictureWithAlphaReadsBackAtEveryScale) {
  ConversionScope none(kConversionNone);
  TempDir dir;
  TestBitmap bitmap = photo(37, 21);
  std::vector<uint8_t> plane(40 * 21);
  for (size_t i = 0; i < plane.size(); ++i) plane[i] = uint8_t(i % 40 < 20 ? 255 : i);
  ImageInfo alpha{32, plane.data(), 37, 21, 8, 40, 40 * 21, 0};
  std::string path = writePicture(dir, "photo.mq", bitmap, &alpha);

  MOLAQImage* image = MOLAQImage_ReadImageFile(path.c_str(), 0);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biWidth, 37);
  EXPECT_EQ(image->Header().biBitCount, 24);
  int32_t worst = 0;
  for (size_t i = 0; i < 21 * dibPitch(37, 24); ++i) {
    if (i % dibPitch(37, 24) < 37 * 3) worst = std::max(worst, std::abs(image->Pixels()[i] - bitmap.pixels[i]));
  }
  EXPECT_LT(worst, 24);
  ASSERT_NE(image->AlphaInfo(), nullptr);
  EXPECT_EQ(image->AlphaInfo()->bits, 8u);
  EXPECT_EQ(std::memcmp(image->AlphaInfo()->pixels, plane.data(), plane.size()), 0) << "alpha is lossless";
  graphic_DeleteBitmap(image);

  image = MOLAQImage_ReadImageFile(path.c_str(), 2);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biWidth, 37 * 4);
  EXPECT_EQ(image->Header().biHeight, 21 * 4);
  EXPECT_EQ(image->AlphaInfo(), nullptr) << "a blown-up picture has no alpha plane";
  graphic_DeleteBitmap(image);
}

TEST(MOLAQImageTest, QualitiesTradeSizeForFidelityAndStayInRange) {
  MOLAQEncodeOptions standard;
  MOLAQEncodeOptions q75 = mqEncodeOptionsForQuality(75);
  EXPECT_EQ(q75.blockSize, standard.blockSize);
  EXPECT_EQ(q75.chromaFormat, standard.chromaFormat);
  EXPECT_EQ(q75.threshold, standard.threshold);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(q75.curve[i], standard.curve[i]) << "the default is quality 75";
  for (int32_t quality = -5; quality <= 105; ++quality) {
    MOLAQEncodeOptions o = mqEncodeOptionsForQuality(quality);
    ASSERT_GE(o.blockSize, 3u);
    ASSERT_LE(o.blockSize, 5u);
    ASSERT_TRUE(o.chromaFormat == kChroma420 || o.chromaFormat == kChroma422 || o.chromaFormat == kChroma444);
    ASSERT_LE(o.curve[0], o.curve[1]) << quality;
    ASSERT_LE(o.curve[1], o.curve[2]) << quality;
  }
  EXPECT_EQ(mqEncodeOptionsForQuality(-5).curve[2], mqEncodeOptionsForQuality(1).curve[2]);
  EXPECT_EQ(mqEncodeOptionsForQuality(105).threshold, mqEncodeOptionsForQuality(100).threshold);

  // A textured picture: higher qualities give larger files that come back closer.
  const int32_t width = 128, height = 96;
  TestBitmap bitmap(width, height, 24);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* p = &bitmap.pixels[y * dibPitch(width, 24) + x * 3];
      p[0] = uint8_t(128 + 100 * std::sin(x * 0.21) * std::cos(y * 0.13));
      p[1] = uint8_t(x + y + ((x * 7 + y * 13) % 17));
      p[2] = uint8_t((x / 16 + y / 16) % 2 ? 200 : 40);
    }
  }
  size_t previousBytes = 0;
  double previousError = 1e9;
  for (int32_t quality : {5, 30, 60, 90, 100}) {
    MOLAQImageFile file;
    ASSERT_EQ(mqEncodeImageFile(bitmap.info(), bitmap.pixels.data(), nullptr, mqEncodeOptionsForQuality(quality), &file), 0u);
    std::vector<uint8_t> out(bitmap.pixels.size());
    ASSERT_EQ(mqDecompressImage(&file.header, out.data(), 24, dibPitch(width, 24), file.image.data(), 0, false,
                                kMQTableLimit, nullptr, file.image.size()),
              kDecompressDone);
    double error = 0;
    for (size_t i = 0; i < out.size(); ++i) error += std::pow(double(out[i]) - bitmap.pixels[i], 2);
    EXPECT_GT(file.image.size(), previousBytes) << quality;
    EXPECT_LT(error, previousError) << quality;
    previousBytes = file.image.size();
    previousError = error;
  }
}

TEST(MOLAQImageTest, ConversionModesGiveEightBitPictures) {
  TempDir dir;
  std::string path = writePicture(dir, "photo.mq", photo(16, 16), nullptr);
  ConversionScope grey(kConversionGrey);
  MOLAQImage* image = MOLAQImage_ReadImageFile(path.c_str(), 1);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Header().biBitCount, 8);
  EXPECT_EQ(image->Header().biWidth, 32);
  RGBQUAD colour;
  image->GetPaletteEntries(200, 1, &colour);
  EXPECT_EQ(colour.rgbRed, 200);
  graphic_DeleteBitmap(image);
}

TEST(MOLAQImageTest, PaletteImagesAreLosslessIgnoreScaleAndKeepOneBitAlpha) {
  ConversionScope none(kConversionNone);
  TempDir dir;
  for (uint16_t bits : {1, 4, 8}) {
    TestBitmap bitmap(29, 9, bits);
    bitmap.patterned();
    std::vector<uint8_t> mask(4 * 9, 0xF0);
    ImageInfo alpha{32, mask.data(), 29, 9, 1, 4, 36, 0};
    std::string path = writePicture(dir, "palette.mq", bitmap, &alpha);
    MOLAQImage* image = MOLAQImage_ReadImageFile(path.c_str(), 3);
    ASSERT_NE(image, nullptr) << bits;
    EXPECT_EQ(image->Header().biWidth, 29) << "scale is ignored";
    EXPECT_EQ(image->Header().biBitCount, bits);
    EXPECT_EQ(std::memcmp(image->Pixels(), bitmap.pixels.data(), bitmap.pixels.size()), 0) << bits;
    RGBQUAD colour;
    image->GetPaletteEntries(1, 1, &colour);
    EXPECT_EQ(colour.rgbBlue, bitmap.colours[1].rgbBlue);
    EXPECT_EQ(colour.rgbGreen, bitmap.colours[1].rgbGreen);
    ASSERT_NE(image->AlphaInfo(), nullptr) << "scale 3 read scale 0 for a palette image";
    EXPECT_EQ(image->AlphaInfo()->bits, 1u);
    EXPECT_EQ(std::memcmp(image->AlphaInfo()->pixels, mask.data(), mask.size()), 0);
    graphic_DeleteBitmap(image);
  }
}

TEST(MOLAQImageTest, OtherFilesFallBackOnTheBitmapReader) {
  TempDir dir;
  // A BMP file reads as a BMP.
  Graphic* source = graphic_CreateBitmap(4, 2, 24);
  std::memset(source->Pixels(), 0x37, source->Header().biSizeImage);
  std::string bmp = dir.file("plain.bmp");
  KRawFile* out = File_OpenFile(bmp.c_str(), FILE_WRITE);
  ASSERT_NE(out, nullptr);
  graphic_WriteBitmap(source, out);
  File_CloseFile(out);
  graphic_DeleteBitmap(source);
  MOLAQImage* image = MOLAQImage_ReadImageFile(bmp.c_str(), 0);
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->Pixels()[5], 0x37);
  graphic_DeleteBitmap(image);

  // A record file of another type is no picture, and no BMP either.
  std::string path = writePicture(dir, "photo.mq", photo(8, 8), nullptr);
  std::string bytes = dir.read("photo.mq");
  bytes[9] = 0x00;
  bytes[11] = 0x02;  // file type 0x02000100
  EXPECT_EQ(MOLAQImage_ReadImageFile(dir.write("other.mq", bytes).c_str(), 0), nullptr);
  EXPECT_EQ(MOLAQImage_ReadImageFile(dir.file("missing.mq").c_str(), 0), nullptr);
  // A picture cut short loses its image record.
  EXPECT_EQ(MOLAQImage_ReadImageFile(dir.write("short.mq", std::string(dir.read("photo.mq"), 0, 140)).c_str(), 0), nullptr);
}

}  // namespace
