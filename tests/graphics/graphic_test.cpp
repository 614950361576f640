#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "base/os/paint.h"
#include "host/exports/graphic.h"
#include "tests/graphics/test_bitmap.h"

namespace {

// A paint device that records what the image objects ask of it. Like GDI, it refuses to
// delete a palette that a device context still has selected.
class RecordingDevice : public os::PaintDevice {
 public:
  struct Stretch {
    HDC dc;
    int32_t x, y, width, height, srcX, srcY, srcWidth, srcHeight;
    const void* bits;
    const BITMAPINFO* info;
  };

  HPALETTE createPalette(const LOGPALETTE* palette) override {
    HPALETTE handle = reinterpret_cast<HPALETTE>(static_cast<uintptr_t>(0x1000 + ++created));
    entries[handle].assign(palette->palPalEntry, palette->palPalEntry + palette->palNumEntries);
    EXPECT_EQ(palette->palVersion, 0x300);
    return handle;
  }
  bool resizePalette(HPALETTE palette, uint32_t count) override {
    entries.at(palette).resize(count);
    return true;
  }
  uint32_t setPaletteEntries(HPALETTE palette, uint32_t first, uint32_t count,
                             const PALETTEENTRY* values) override {
    auto& table = entries.at(palette);
    EXPECT_LE(first + count, table.size());
    std::copy_n(values, count, table.begin() + first);
    lastSetCount = count;
    return count;
  }
  bool deletePalette(HPALETTE palette) override {
    ++deleteAttempts[palette];
    for (auto& [dc, selectedPalette] : selected)
      if (selectedPalette == palette) return false;
    entries.erase(palette);
    return true;
  }
  HPALETTE selectPalette(HDC dc, HPALETTE palette, bool background) override {
    lastBackground = background;
    HPALETTE displaced = selected[dc];
    selected[dc] = palette;
    return displaced;
  }
  uint32_t realizePalette(HDC dc) override {
    ++realized;
    return 0;
  }
  int32_t stretchDIBits(HDC dc, int32_t x, int32_t y, int32_t width, int32_t height, int32_t srcX,
                        int32_t srcY, int32_t srcWidth, int32_t srcHeight, const void* bits,
                        const BITMAPINFO* info) override {
    stretches.push_back({dc, x, y, width, height, srcX, srcY, srcWidth, srcHeight, bits, info});
    return srcHeight;
  }

  int created = 0;
  std::map<HPALETTE, std::vector<PALETTEENTRY>> entries;
  std::map<HPALETTE, int> deleteAttempts;
  std::map<HDC, HPALETTE> selected;
  std::vector<Stretch> stretches;
  uint32_t lastSetCount = 0;
  bool lastBackground = false;
  int realized = 0;
};

class GraphicTest : public ::testing::Test {
 protected:
  void SetUp() override { os::setPaintDevice(&device); }
  void TearDown() override {
    for (Graphic* image : images) graphic_DeleteBitmap(image);
    os::setPaintDevice(nullptr);
    graphic_SetDefConversion8BitColor(kConversionNone);
  }
  Graphic* create(int32_t width, int32_t height, uint32_t bits) {
    Graphic* image = graphic_CreateBitmap(width, height, bits);
    if (image) images.push_back(image);
    return image;
  }
  Graphic* keep(Graphic* image) {
    images.push_back(image);
    return image;
  }
  static HDC dc(uintptr_t n) { return reinterpret_cast<HDC>(n); }

  RecordingDevice device;
  std::vector<Graphic*> images;
};

TEST_F(GraphicTest, CreateBitmapMakesOwnPixelsWithABlackAndWhitePalette) {
  EXPECT_EQ(create(10, 10, 4), nullptr) << "only 1, 8 and 24 bits";
  EXPECT_EQ(create(0, 10, 8), nullptr);
  EXPECT_EQ(create(10, 0, 8), nullptr);
  EXPECT_EQ(create(-10, 10, 8), nullptr);

  Graphic* image = create(33, 5, 1);
  ASSERT_NE(image, nullptr);
  BITMAPINFOHEADER header;
  void* bits = nullptr;
  EXPECT_EQ(graphic_GetDIBitmap(image, &header, &bits), 0u);
  EXPECT_EQ(bits, image->Pixels());
  EXPECT_EQ(header.biSize, 40u);
  EXPECT_EQ(header.biPlanes, 1);
  EXPECT_EQ(header.biSizeImage, 8u * 5) << "33 one-bit pixels take two 32-bit words";
  EXPECT_EQ(header.biClrUsed, 2u);
  RGBQUAD colours[2];
  EXPECT_EQ(graphic_GetPaletteEntries(image, 0, 2, colours), 0u);
  EXPECT_EQ(colours[0].rgbRed | colours[0].rgbGreen | colours[0].rgbBlue, 0);
  EXPECT_EQ(colours[1].rgbRed & colours[1].rgbGreen & colours[1].rgbBlue, 255);
  EXPECT_NE(image->Palette(), nullptr);
  EXPECT_TRUE(image->UpdateFlag()) << "a palette image arrives with stale derived data";
  RECT view;
  graphic_GetViewRectangle(image, &view);
  EXPECT_EQ(view.left, 0);
  EXPECT_EQ(view.top, 0);
  EXPECT_EQ(view.right, 32);
  EXPECT_EQ(view.bottom, 4);

  Graphic* rgb = create(3, 2, 24);
  ASSERT_NE(rgb, nullptr);
  ImageInfo info;
  graphic_GetImageInfo(rgb, &info);
  EXPECT_EQ(info.size, 32u);
  EXPECT_EQ(info.width, 3);
  EXPECT_EQ(info.height, 2);
  EXPECT_EQ(info.bits, 24u);
  EXPECT_EQ(info.pitch, 12);
  EXPECT_EQ(info.imageSize, 24u);
  EXPECT_EQ(info.pixels, rgb->Pixels());
  EXPECT_EQ(rgb->Palette(), nullptr) << "no palette above 8 bits";
  EXPECT_FALSE(rgb->UpdateFlag());
}

TEST_F(GraphicTest, ConversionModeComesFromTheDefaultOnlyForObjectsMadeWithoutExports) {
  EXPECT_EQ(graphic_SetDefConversion8BitColor(kConversionFixedPalette), kConversionFixedPalette);
  EXPECT_EQ(graphic_GetDefConversion8BitColor(), kConversionFixedPalette);
  Graphic* made = keep(graphic_AllocNewBitmap());
  EXPECT_EQ(made->ConversionMode(), kConversionNone) << "the module's images are never converted";
  TestBitmap bitmap(4, 2, 24);
  graphic_AttachDIBitmap(made, bitmap.info(), bitmap.pixels.data());
  EXPECT_EQ(made->Header().biBitCount, 24);
  EXPECT_EQ(made->Pixels(), bitmap.pixels.data());
  Graphic own(kConversionDefault);
  EXPECT_EQ(own.ConversionMode(), kConversionFixedPalette);
}

TEST_F(GraphicTest, AttachConvertsToGreyWithTheTruePitchOfWidthsOfFour) {
  Graphic image(kConversionGrey);
  TestBitmap bitmap(4, 2, 24);
  const uint8_t row[12] = {0, 0, 255, 255, 255, 255, 10, 20, 30, 0, 0, 0};
  std::memcpy(bitmap.pixels.data(), row, 12);
  std::memcpy(bitmap.pixels.data() + 12, row, 12);
  EXPECT_EQ(image.AttachDIBitmap(bitmap.info(), bitmap.pixels.data(), true), 0u);
  EXPECT_EQ(image.Header().biBitCount, 8);
  EXPECT_EQ(image.Header().biSizeImage, 8u);
  ASSERT_NE(image.Pixels(), bitmap.pixels.data()) << "the converted pixels are the object's";
  const uint8_t expected[4] = {149, 255, 30, 0};
  EXPECT_EQ(std::memcmp(image.Pixels(), expected, 4), 0);
  EXPECT_EQ(std::memcmp(image.Pixels() + 4, expected, 4), 0);
  RGBQUAD ramp[256];
  image.GetPaletteEntries(0, 256, ramp);
  for (int i = 0; i < 256; ++i) ASSERT_EQ(ramp[i].rgbGreen, i);

  // Without `convert` the bitmap is kept.
  Graphic kept(kConversionGrey);
  kept.AttachDIBitmap(bitmap.info(), bitmap.pixels.data(), false);
  EXPECT_EQ(kept.Header().biBitCount, 24);
}

TEST_F(GraphicTest, AttachConversionReadsRowsThreeTimesTheEightBitPitchApart) {
  // Width 5: the true 24-bit pitch is 16, but the conversion steps by 3 * 8 = 24 bytes. The
  // second row of that pitch lies beyond the pixels and comes out black.
  Graphic image(kConversionGrey);
  TestBitmap bitmap(5, 2, 24);
  std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), 255);
  image.AttachDIBitmap(bitmap.info(), bitmap.pixels.data(), true);
  ASSERT_EQ(image.Header().biSizeImage, 16u);
  for (int x = 0; x < 5; ++x) EXPECT_EQ(image.Pixels()[x], 255) << x;
  for (int x = 0; x < 5; ++x) EXPECT_EQ(image.Pixels()[8 + x], 0) << x;
}

TEST_F(GraphicTest, FixedPaletteConversionGivesThePaletteOfTheCore) {
  Graphic image(kConversionFixedPalette);
  TestBitmap bitmap(8, 8, 8);
  bitmap.colours[0] = {255, 255, 255, 0};
  image.AttachDIBitmap(bitmap.info(), bitmap.pixels.data(), true);
  RGBQUAD fixed[256], got[256];
  mqMakeFixedPalette(fixed, false);
  image.GetPaletteEntries(0, 256, got);
  EXPECT_EQ(std::memcmp(fixed, got, sizeof got), 0);
  for (int i = 0; i < 64; ++i) ASSERT_GE(image.Pixels()[i] & 7, 6) << "white dithers between the two brightest levels";
}

TEST_F(GraphicTest, UpdatePaletteTonesDisplayAndLogicalPalettes) {
  Graphic* image = create(4, 4, 8);
  RGBQUAD colours[2] = {{200, 100, 50, 0}, {10, 20, 30, 0}};
  EXPECT_EQ(graphic_SetPaletteEntries(image, 5, 2, colours), 0u);
  EXPECT_EQ(graphic_SetPaletteTone(image, -128, 0, 256), 0u);
  EXPECT_TRUE(image->UpdateFlag());
  EXPECT_EQ(graphic_UpdatePalette(image), 0u);
  EXPECT_FALSE(image->UpdateFlag());
  const RGBQUAD& shown = image->BitmapInfo()->bmiColors[5];
  EXPECT_EQ(shown.rgbBlue, 255);
  EXPECT_EQ(shown.rgbGreen, 100);
  EXPECT_EQ(shown.rgbRed, 25);
  EXPECT_EQ(device.lastSetCount, 256u);
  const PALETTEENTRY& logical = device.entries.at(image->Palette())[5];
  EXPECT_EQ(logical.peRed, 25);
  EXPECT_EQ(logical.peGreen, 100);
  EXPECT_EQ(logical.peBlue, 255);
  EXPECT_EQ(logical.peFlags, PC_NOCOLLAPSE);
  RGBQUAD master;
  graphic_GetPaletteEntries(image, 5, 1, &master);
  EXPECT_EQ(master.rgbRed, 50) << "the master palette keeps the colours as set";

  // The same tone again sets no flag.
  graphic_SetPaletteTone(image, -128, 0, 256);
  EXPECT_FALSE(image->UpdateFlag());
}

TEST_F(GraphicTest, PaletteEntryRangeChecks) {
  Graphic* image = create(4, 4, 8);
  RGBQUAD colours[256] = {};
  EXPECT_EQ(graphic_SetPaletteEntries(image, 0, 256, colours), 0u);
  EXPECT_EQ(graphic_SetPaletteEntries(image, 1, 256, colours), 1u);
  EXPECT_EQ(graphic_GetPaletteEntries(image, 1, 256, colours), 1u);
  EXPECT_EQ(graphic_SetPaletteEntries(image, 0xFFFFFFFF, 2, colours), 1u) << "no wrap-around";
  EXPECT_EQ(graphic_SetPaletteEntries(image, 300, 0, colours), 0u) << "nothing to change";
  Graphic* rgb = create(4, 4, 24);
  EXPECT_EQ(graphic_SetPaletteEntries(rgb, 0, 1, colours), 1u) << "no palette above 8 bits";
  EXPECT_EQ(graphic_GetPaletteEntries(rgb, 0, 1, colours), 1u);
}

TEST_F(GraphicTest, TwentyFourBitImagesShowATonedCopy) {
  Graphic* image = create(2, 2, 24);
  std::memset(image->Pixels(), 100, 16);
  graphic_SetPaletteTone(image, 0, 0, -256);
  graphic_UpdatePalette(image);
  ASSERT_NE(image->TonedCopy(), nullptr);
  EXPECT_EQ(image->TonedCopy()[0], 0) << "blue toned to black";
  EXPECT_EQ(image->TonedCopy()[1], 100);
  EXPECT_EQ(image->Pixels()[0], 100) << "the pixels themselves keep their colours";

  // Writes through direct access mark the copy stale.
  EXPECT_FALSE(image->UpdateFlag());
  graphic_ReleaseDIBitmap(image);
  EXPECT_TRUE(image->UpdateFlag());
  SIZE size{20, 30};
  EXPECT_EQ(graphic_DrawBitmapToDC(image, dc(7), 3, 4, &size, nullptr), 2);
  ASSERT_EQ(device.stretches.size(), 1u);
  EXPECT_EQ(device.stretches[0].bits, image->TonedCopy()) << "Windows shows the toned copy";
  EXPECT_FALSE(image->UpdateFlag());
}

TEST_F(GraphicTest, ReleaseDIBitmapDiscardsAPendingPaletteUpdate) {
  Graphic* image = create(4, 4, 8);
  graphic_UpdatePalette(image);
  RGBQUAD red{0, 0, 255, 0};
  graphic_SetPaletteEntries(image, 0, 1, &red);
  graphic_ReleaseDIBitmap(image);
  EXPECT_FALSE(image->UpdateFlag());
  graphic_UpdatePalette(image);
  EXPECT_EQ(image->BitmapInfo()->bmiColors[0].rgbRed, 0) << "the display palette stays old";
}

TEST_F(GraphicTest, DrawBitmapToDCClampsTheSourceAndFlipsItsRows) {
  Graphic* image = create(10, 8, 8);
  graphic_SetViewRectangle(image, 2, 1, 5, 3);
  EXPECT_EQ(graphic_DrawBitmapToDC(image, dc(9), 11, 12, nullptr, nullptr), 3);
  const RECT wide{-4, -2, 40, 6};
  EXPECT_EQ(graphic_DrawBitmapToDC(image, dc(9), 0, 0, nullptr, &wide), 7);
  ASSERT_EQ(device.stretches.size(), 2u);
  const auto& view = device.stretches[0];
  EXPECT_EQ(view.x, 11);
  EXPECT_EQ(view.y, 12);
  EXPECT_EQ(view.width, 4);
  EXPECT_EQ(view.height, 3);
  EXPECT_EQ(view.srcX, 2);
  EXPECT_EQ(view.srcY, 8 - 3 - 1) << "DIB rows count from the bottom";
  EXPECT_EQ(view.bits, image->Pixels());
  EXPECT_EQ(view.info, image->BitmapInfo());
  const auto& clamped = device.stretches[1];
  EXPECT_EQ(clamped.srcX, 0);
  EXPECT_EQ(clamped.srcY, 1);
  EXPECT_EQ(clamped.srcWidth, 10);
  EXPECT_EQ(clamped.srcHeight, 7);

  Graphic* empty = keep(graphic_AllocNewBitmap());
  EXPECT_EQ(graphic_DrawBitmapToDC(empty, dc(9), 0, 0, nullptr, nullptr), 1);
  EXPECT_EQ(graphic_UpdatePalette(empty), 1u);
}

TEST_F(GraphicTest, ViewRectangleIsClampedToTheImage) {
  Graphic* image = create(10, 8, 24);
  graphic_SetViewRectangle(image, -5, -1, 100, 7);
  RECT view;
  graphic_GetViewRectangle(image, &view);
  EXPECT_EQ(view.left, 0);
  EXPECT_EQ(view.top, 0);
  EXPECT_EQ(view.right, 9);
  EXPECT_EQ(view.bottom, 7);
}

TEST_F(GraphicTest, PalettesThatCannotBeDeletedWaitInTheGraveyard) {
  Graphic* image = keep(graphic_CreateBitmap(4, 4, 8));
  HPALETTE first = image->Palette();
  EXPECT_EQ(graphic_RealizePalette(image, dc(1), 1), 0u);
  EXPECT_EQ(device.selected[dc(1)], first);
  EXPECT_TRUE(device.lastBackground);
  EXPECT_EQ(device.realized, 1);

  // Still selected: the delete fails and the handle waits.
  image->Release();
  EXPECT_EQ(image->Palette(), nullptr);
  EXPECT_EQ(image->Pixels(), nullptr);
  EXPECT_EQ(device.deleteAttempts[first], 1);
  EXPECT_TRUE(device.entries.count(first));

  // The object takes a new bitmap and makes a palette anew.
  TestBitmap bitmap(4, 4, 8);
  graphic_AttachDIBitmap(image, bitmap.info(), bitmap.pixels.data());
  HPALETTE second = image->Palette();
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, first);

  // Selecting the new palette displaces the old one, which is then deleted from the graveyard.
  graphic_RealizePalette(image, dc(1), 0);
  EXPECT_FALSE(device.lastBackground);
  EXPECT_EQ(device.deleteAttempts[first], 2);
  EXPECT_FALSE(device.entries.count(first));

  // A Release of any object retries the graveyard: here it holds the second palette, freed
  // once the device context lets go of it.
  image->Release();
  EXPECT_TRUE(device.entries.count(second));
  device.selected.clear();
  Graphic* other = create(2, 2, 8);
  other->Release();
  EXPECT_FALSE(device.entries.count(second));
}

TEST_F(GraphicTest, PointHitFollowsTheAlphaPlaneOrMask) {
  Graphic* image = create(16, 4, 24);
  EXPECT_EQ(graphic_IsPointHit(image, 0, 0), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 15, 3), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 16, 0), 0u);
  EXPECT_EQ(graphic_IsPointHit(image, 0, -1), 0u);

  // A 1-bit mask: rows of 4 bytes, bottom-up, from the top bit. Row y = 0 is the last in memory.
  uint8_t mask[16] = {};
  mask[12] = 0x80;  // x 0 of row 0
  mask[13] = 0x01;  // x 15 of row 0
  mask[0] = 0x40;  // x 1 of row 3
  EXPECT_EQ(graphic_AttachMaskPattern(image, mask), 0u);
  const ImageInfo* record = graphic_GetAlphaPlaneInfo(image);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->bits, 1u);
  EXPECT_EQ(record->pitch, 4);
  EXPECT_EQ(record->imageSize, 16u);
  EXPECT_EQ(graphic_IsPointHit(image, 0, 0), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 15, 0), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 1, 0), 0u);
  EXPECT_EQ(graphic_IsPointHit(image, 1, 3), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 0, 3), 0u);
  EXPECT_EQ(graphic_DetachMakePattern(image), 0u);
  EXPECT_EQ(graphic_GetAlphaPlaneInfo(image), nullptr);

  // An 8-bit plane smaller than the image: outside it nothing is hit.
  uint8_t plane[8 * 2] = {};
  plane[8 + 3] = 9;  // x 3 of row 0
  ImageInfo alpha{32, plane, 8, 2, 8, 8, 16, 0};
  EXPECT_EQ(graphic_AttachAlphaPlane(image, &alpha), 0u);
  alpha.width = 1;  // the object holds its own copy of the record
  EXPECT_EQ(graphic_IsPointHit(image, 3, 0), 1u);
  EXPECT_EQ(graphic_IsPointHit(image, 2, 0), 0u);
  EXPECT_EQ(graphic_IsPointHit(image, 9, 0), 0u);
  EXPECT_EQ(graphic_IsPointHit(image, 3, 2), 0u);
  // Any other depth hits everywhere inside the plane.
  ImageInfo fourBits{32, plane, 8, 2, 4, 4, 8, 0};
  graphic_AttachAlphaPlane(image, &fourBits);
  EXPECT_EQ(graphic_IsPointHit(image, 2, 0), 1u);
  EXPECT_EQ(graphic_AttachAlphaPlane(image, nullptr), 1u) << "a null record is refused, not a detach";
  EXPECT_NE(graphic_GetAlphaPlaneInfo(image), nullptr);
  EXPECT_EQ(graphic_DetachAlphaPlane(image), 0u);
}

TEST_F(GraphicTest, ZBufferRecordIsACopy) {
  Graphic* image = create(4, 4, 24);
  std::vector<uint32_t> depth(16);
  ImageInfo z{32, reinterpret_cast<uint8_t*>(depth.data()), 4, 4, 32, 16, 64, 0};
  EXPECT_EQ(image->SelectZBuffer(&z), 0u);
  z.pitch = 0;
  ASSERT_NE(image->ZBufferInfo(), nullptr);
  EXPECT_EQ(image->ZBufferInfo()->pitch, 16);
  EXPECT_EQ(image->ZBufferInfo()->pixels, z.pixels);
  EXPECT_EQ(image->SelectZBuffer(nullptr), 1u);
}

TEST_F(GraphicTest, DetachForgetsThePixelsAndTheTonedCopy) {
  Graphic* image = create(2, 2, 24);
  graphic_SetPaletteTone(image, 5, 5, 5);
  graphic_UpdatePalette(image);
  ASSERT_NE(image->TonedCopy(), nullptr);
  EXPECT_EQ(graphic_DetachDIBitmap(image), 0u);
  EXPECT_EQ(image->Pixels(), nullptr);
  EXPECT_EQ(image->TonedCopy(), nullptr);
  EXPECT_EQ(graphic_InvalidateRect(image, &image->ViewRectangle()), 1u) << "there is no window to tell";
  EXPECT_EQ(graphic_DeleteBitmap(nullptr), 0u);
}

}  // namespace

#ifdef _WIN32
namespace {

// The product's paint device: GDI draws an image into a memory device context.
TEST(GdiPaintTest, DrawsPixelsAndRealisesPalettesInAMemoryContext) {
  HDC dc = CreateCompatibleDC(nullptr);
  ASSERT_NE(dc, nullptr);
  BITMAPINFO target{};
  target.bmiHeader = {40, 4, 4, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  HBITMAP section = CreateDIBSection(dc, &target, DIB_RGB_COLORS, &bits, nullptr, 0);
  ASSERT_NE(section, nullptr);
  HGDIOBJ former = SelectObject(dc, section);

  Graphic* image = graphic_CreateBitmap(2, 2, 24);
  for (int row = 0; row < 2; ++row)
    for (int x = 0; x < 2; ++x) {
      uint8_t* pixel = image->Pixels() + row * 8 + x * 3;
      pixel[0] = 10, pixel[1] = 20, pixel[2] = 30;
    }
  EXPECT_EQ(graphic_DrawBitmapToDC(image, dc, 1, 1, nullptr, nullptr), 2);
  GdiFlush();
  const uint32_t* drawn = static_cast<const uint32_t*>(bits);
  EXPECT_EQ(drawn[2 * 4 + 1] & 0xFFFFFF, 0x1E140Au) << "screen row 1 is DIB row 2";
  EXPECT_EQ(drawn[3 * 4 + 0] & 0xFFFFFF, 0u) << "outside the image nothing is drawn";
  graphic_DeleteBitmap(image);

  Graphic* indexed = graphic_CreateBitmap(2, 2, 8);
  EXPECT_EQ(graphic_RealizePalette(indexed, dc, 1), 0u);
  HPALETTE own = indexed->Palette();
  SelectPalette(dc, static_cast<HPALETTE>(GetStockObject(DEFAULT_PALETTE)), TRUE);
  graphic_DeleteBitmap(indexed);
  EXPECT_EQ(GetObjectType(own), 0u) << "the palette is deleted once no context holds it";

  SelectObject(dc, former);
  DeleteObject(section);
  DeleteDC(dc);
}

}  // namespace
#endif
