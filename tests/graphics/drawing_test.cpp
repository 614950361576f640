#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/exports/graphic.h"
#include "host/exports/zbuffer.h"

namespace {

class DrawingTest : public ::testing::Test {
 protected:
  void TearDown() override {
    for (Graphic* image : images) graphic_DeleteBitmap(image);
    for (ZBuffer* buffer : buffers) ZBuffer_Delete(buffer);
  }
  Graphic* create(int32_t width, int32_t height, uint32_t bits) {
    Graphic* image = graphic_CreateBitmap(width, height, bits);
    EXPECT_NE(image, nullptr);
    std::memset(image->Pixels(), 0, image->Header().biSizeImage);
    images.push_back(image);
    return image;
  }
  ZBuffer* zBuffer(int32_t width, int32_t height) {
    ZBuffer* buffer = ZBuffer_Create(width, height);
    EXPECT_NE(buffer, nullptr);
    buffers.push_back(buffer);
    return buffer;
  }
  static uint32_t cell(const ZBuffer* buffer, int32_t index) {
    return reinterpret_cast<const uint32_t*>(buffer->Info().pixels)[index];
  }
  static uint8_t* pixel24(Graphic* image, int32_t x, int32_t y) {
    const BITMAPINFOHEADER& h = image->Header();
    return image->Pixels() + (h.biHeight - 1 - y) * (h.biSizeImage / h.biHeight) + 3 * x;
  }

  std::vector<Graphic*> images;
  std::vector<ZBuffer*> buffers;
};

TEST_F(DrawingTest, ZBufferStartsFarAndItsInitialisersChangeTheRightCells) {
  EXPECT_EQ(ZBuffer_Create(0, 4), nullptr);
  EXPECT_EQ(ZBuffer_Create(4, -1), nullptr);
  ZBuffer* buffer = zBuffer(3, 2);
  const ImageInfo& info = buffer->Info();
  EXPECT_EQ(info.size, 32u);
  EXPECT_EQ(info.bits, 32u);
  EXPECT_EQ(info.pitch, 12);
  EXPECT_EQ(info.imageSize, 24u);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(cell(buffer, i), 0xFFFFFFFFu);
  EXPECT_EQ(ZBuffer_Initialize(buffer, 7), 0u);
  reinterpret_cast<uint32_t*>(info.pixels)[4] = 3;
  EXPECT_EQ(ZBuffer_InitializeEqual(buffer, 7, 7), 0u) << "equal values change nothing";
  EXPECT_EQ(ZBuffer_InitializeEqual(buffer, 1, 7), 0u);
  EXPECT_EQ(cell(buffer, 0), 1u);
  EXPECT_EQ(cell(buffer, 4), 3u);
  EXPECT_EQ(ZBuffer_InitializeNonEqual(buffer, 9, 3), 0u);
  EXPECT_EQ(cell(buffer, 5), 9u);
  EXPECT_EQ(cell(buffer, 4), 3u);
  EXPECT_EQ(buffer->Release(), 0u);
  EXPECT_EQ(buffer->Release(), 1u) << "nothing left to free";
  EXPECT_EQ(info.pixels, nullptr);
  EXPECT_EQ(ZBuffer_Initialize(buffer, 0), 1u);
  EXPECT_EQ(ZBuffer_InitializeEqual(buffer, 0, 1), 1u);
  EXPECT_EQ(ZBuffer_InitializeNonEqual(buffer, 0, 1), 1u);
  EXPECT_EQ(ZBuffer_Delete(nullptr), 0u);
}

TEST_F(DrawingTest, SelectZBufferCopiesTheRecord) {
  Graphic* image = create(3, 2, 24);
  ZBuffer* buffer = zBuffer(3, 2);
  EXPECT_EQ(graphic_SelectZBuffer(image, buffer), 0u);
  ASSERT_NE(image->ZBufferInfo(), nullptr);
  EXPECT_EQ(image->ZBufferInfo()->pixels, buffer->Info().pixels);
  EXPECT_NE(image->ZBufferInfo(), &buffer->Info());
  EXPECT_EQ(graphic_SelectZBuffer(image, nullptr), 1u) << "null is an error, not a detach";
  EXPECT_EQ(image->ZBufferInfo()->pixels, buffer->Info().pixels);
}

TEST_F(DrawingTest, BlitTestsTheSourcesZBufferNotTheDestinations) {
  Graphic* source = create(2, 1, 24);
  Graphic* target = create(2, 1, 24);
  std::memset(source->Pixels(), 200, 6);
  ZBuffer* sourceDepth = zBuffer(2, 1);
  ZBuffer* targetDepth = zBuffer(2, 1);
  graphic_SelectZBuffer(source, sourceDepth);
  graphic_SelectZBuffer(target, targetDepth);
  reinterpret_cast<uint32_t*>(sourceDepth->Info().pixels)[1] = 2;
  ASSERT_EQ(graphic_DrawBitmapToBitmap(source, target, 0, 0, nullptr, 0, 5), 0u);
  EXPECT_EQ(pixel24(target, 0, 0)[0], 200);
  EXPECT_EQ(pixel24(target, 1, 0)[0], 0) << "the source's cell 1 is nearer";
  EXPECT_EQ(cell(sourceDepth, 0), 5u);
  EXPECT_EQ(cell(targetDepth, 0), 0xFFFFFFFFu);
}

TEST_F(DrawingTest, BlitFailsWithoutPixelsOrKernelAndSucceedsOnMisses) {
  Graphic* empty = graphic_AllocNewBitmap();
  images.push_back(empty);
  Graphic* rgb = create(4, 4, 24);
  Graphic* indexed = create(4, 4, 8);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(empty, rgb, 0, 0, nullptr, 0, 0), 1u);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(rgb, empty, 0, 0, nullptr, 0, 0), 1u);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(rgb, indexed, 0, 0, nullptr, 0, 0), 1u);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(rgb, rgb, 10, 0, nullptr, 0, 0), 0u);
  EXPECT_EQ(graphic_DrawBitmapToBitmap(rgb, rgb, 0, 0, nullptr, 256, 0), 0u);
}

TEST_F(DrawingTest, BlitTakesTheViewRectangleAndTheSourcesTone) {
  Graphic* source = create(4, 1, 8);
  Graphic* target = create(4, 1, 24);
  RGBQUAD white{255, 255, 255, 0};
  graphic_SetPaletteEntries(source, 1, 1, &white);
  std::memset(source->Pixels(), 1, 4);
  graphic_SetViewRectangle(source, 1, 0, 2, 0);
  graphic_SetPaletteTone(source, -128, 0, 0);  // red halved on the display palette
  ASSERT_EQ(graphic_DrawBitmapToBitmap(source, target, 0, 0, nullptr, 0, 0), 0u);
  EXPECT_EQ(pixel24(target, 0, 0)[2], 127) << "the tone reaches an 8-bit source's colours";
  EXPECT_EQ(pixel24(target, 0, 0)[0], 255);
  EXPECT_EQ(pixel24(target, 1, 0)[0], 255);
  EXPECT_EQ(pixel24(target, 2, 0)[0], 0) << "only the view rectangle's two pixels";
}

TEST_F(DrawingTest, DrawingMarksATonedCopyStale) {
  Graphic* source = create(2, 2, 24);
  Graphic* target = create(2, 2, 24);
  graphic_SetPaletteTone(target, 10, 0, 0);
  graphic_UpdatePalette(target);
  ASSERT_NE(target->TonedCopy(), nullptr);
  ASSERT_FALSE(target->UpdateFlag());
  ASSERT_EQ(graphic_DrawBitmapToBitmap(source, target, 0, 0, nullptr, 0, 0), 0u);
  EXPECT_TRUE(target->UpdateFlag());
  graphic_UpdatePalette(target);
  RECT all{0, 0, 1, 1};
  ASSERT_EQ(graphic_DrawFullRectangle(target, &all, 0, 0, 0), 0u);
  EXPECT_TRUE(target->UpdateFlag());
}

TEST_F(DrawingTest, FullRectangleNormalisesAndRefusesOneBitImages) {
  Graphic* a = create(5, 5, 24);
  Graphic* b = create(5, 5, 24);
  RECT swapped{3, 4, 1, 0}, ordered{1, 0, 3, 4};
  ASSERT_EQ(graphic_DrawFullRectangle(a, &swapped, 0x405060, 0, 0), 0u);
  ASSERT_EQ(graphic_DrawFullRectangle(b, &ordered, 0x405060, 0, 0), 0u);
  EXPECT_EQ(std::memcmp(a->Pixels(), b->Pixels(), a->Header().biSizeImage), 0);
  EXPECT_EQ(swapped.left, 1);
  EXPECT_EQ(swapped.bottom, 4);
  EXPECT_EQ(pixel24(a, 1, 0)[2], 0x40);
  EXPECT_EQ(pixel24(a, 0, 0)[2], 0);

  Graphic* mono = create(8, 8, 1);
  RECT all{0, 0, 7, 7};
  EXPECT_EQ(graphic_DrawFullRectangle(mono, &all, 1, 0, 0), 1u);
  EXPECT_TRUE(std::all_of(mono->Pixels(), mono->Pixels() + mono->Header().biSizeImage,
                          [](uint8_t byte) { return byte == 0; }));
  Graphic* empty = graphic_AllocNewBitmap();
  images.push_back(empty);
  EXPECT_EQ(graphic_DrawFullRectangle(empty, &all, 1, 0, 0), 1u);
  ASSERT_EQ(graphic_DrawFullRectangle(a, nullptr, 0xffffff, 0, 0), 0u) << "null is the whole image";
  EXPECT_EQ(pixel24(a, 4, 4)[1], 0xff);
}

TEST_F(DrawingTest, FillAtEqualDepthDoesNotDraw) {
  Graphic* image = create(4, 1, 8);
  ZBuffer* depth = zBuffer(4, 1);
  ZBuffer_Initialize(depth, 6);
  graphic_SelectZBuffer(image, depth);
  RECT all{0, 0, 3, 0};
  ASSERT_EQ(graphic_DrawFullRectangle(image, &all, 0xffffff, 0, 6), 0u);
  EXPECT_TRUE(std::all_of(image->Pixels(), image->Pixels() + 4, [](uint8_t b) { return b == 0; }));
  ASSERT_EQ(graphic_DrawFullRectangle(image, &all, 0xffffff, 0, 5), 0u);
  EXPECT_EQ(image->Pixels()[0], 1) << "white is entry 1 of a new 8-bit image";
  EXPECT_EQ(image->Pixels()[1], 0) << "the cell written one column out of step holds it back";
  EXPECT_EQ(cell(depth, 1), 5u);
}

}  // namespace
