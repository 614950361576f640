#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <vector>

#include "base/os/paint.h"
#include "host/exports/graphic.h"
#include "host/exports/view.h"

static bool operator==(const RECT& a, const RECT& b) { return std::memcmp(&a, &b, sizeof a) == 0; }
static void PrintTo(const RECT& r, std::ostream* out) {
  *out << "{" << r.left << ", " << r.top << ", " << r.right << ", " << r.bottom << "}";
}

namespace {

// A window that records what the view asks of it, in order.
class FakeHost : public ViewHost {
 public:
  enum Kind { kInvalidate, kUpdate, kScroll };
  struct Call {
    Kind kind;
    RECT rect;
    int32_t dx, dy;
  };
  void InvalidateWindowRect(const RECT& area) override { calls.push_back({kInvalidate, area, 0, 0}); }
  void UpdateWindow() override { calls.push_back({kUpdate, {}, 0, 0}); }
  void ScrollWindow(int32_t dx, int32_t dy, const RECT& area) override {
    calls.push_back({kScroll, area, dx, dy});
  }
  // The rectangles invalidated since the last call, which forgets them.
  std::vector<RECT> takeInvalidated() {
    std::vector<RECT> rects;
    for (const Call& call : calls)
      if (call.kind == kInvalidate) rects.push_back(call.rect);
    calls.clear();
    return rects;
  }
  std::vector<Call> calls;
};

// An in-memory window surface: StretchDIBits copies 8- and 24-bit bitmaps into it by nearest
// source pixel, clipped to the surface. Palettes are tokens; the selection is remembered.
class CanvasDevice : public os::PaintDevice {
 public:
  CanvasDevice(int32_t width, int32_t height) : width(width), height(height), pixels(width * height) {}

  HPALETTE createPalette(const LOGPALETTE*) override {
    return reinterpret_cast<HPALETTE>(static_cast<uintptr_t>(0x2000 + ++created));
  }
  bool resizePalette(HPALETTE, uint32_t) override { return true; }
  uint32_t setPaletteEntries(HPALETTE, uint32_t, uint32_t count, const PALETTEENTRY*) override {
    return count;
  }
  bool deletePalette(HPALETTE) override { return true; }
  HPALETTE selectPalette(HDC, HPALETTE palette, bool background) override {
    selections.push_back({palette, background});
    return nullptr;
  }
  uint32_t realizePalette(HDC) override {
    ++realized;
    return 0;
  }
  int32_t stretchDIBits(HDC, int32_t x, int32_t y, int32_t w, int32_t h, int32_t srcX, int32_t srcY,
                        int32_t srcW, int32_t srcH, const void* bits,
                        const BITMAPINFO* info) override {
    const BITMAPINFOHEADER& header = info->bmiHeader;
    const uint8_t* rows = static_cast<const uint8_t*>(bits);
    int32_t pitch = static_cast<int32_t>(dibPitch(header.biWidth, header.biBitCount));
    int32_t sourceTop = header.biHeight - srcY - srcH;  // counted from the top
    for (int32_t j = 0; j < h; ++j) {
      for (int32_t i = 0; i < w; ++i) {
        int32_t cx = x + i, cy = y + j;
        if (cx < 0 || cy < 0 || cx >= width || cy >= height) continue;
        int32_t sx = srcX + i * srcW / w, sy = sourceTop + j * srcH / h;
        const uint8_t* row = rows + (header.biHeight - 1 - sy) * pitch;
        uint32_t colour;
        if (header.biBitCount == 8) {
          const RGBQUAD& q = info->bmiColors[row[sx]];
          colour = q.rgbRed << 16 | q.rgbGreen << 8 | q.rgbBlue;
        } else {
          colour = row[sx * 3 + 2] << 16 | row[sx * 3 + 1] << 8 | row[sx * 3];
        }
        pixels[cy * width + cx] = colour;
      }
    }
    return srcH;
  }

  uint32_t at(int32_t x, int32_t y) const { return pixels[y * width + x]; }

  int32_t width, height;
  std::vector<uint32_t> pixels;  // 0x00RRGGBB, top row first
  int created = 0;
  std::vector<std::pair<HPALETTE, bool>> selections;
  int realized = 0;
};

// Colour of pixel (x, y) of the test images: every pixel differs from its neighbours.
uint32_t trueColour(int32_t x, int32_t y) { return 0x102030 + x * 0x0B0000 + y * 0x000D00 + (x ^ y); }
uint32_t paletteColour(int32_t index) { return 0x800000 | index << 8 | (255 - index); }

class ViewTest : public ::testing::Test {
 protected:
  void SetUp() override {
    os::setPaintDevice(&canvas);
    setMainView(&view);
  }
  void TearDown() override {
    setMainView(nullptr);
    view.DetachAll();
    for (Screen* screen : screens) View_Delete(screen);
    for (Graphic* image : images) graphic_DeleteBitmap(image);
    os::setPaintDevice(nullptr);
  }
  // A 24-bit image of trueColour.
  Graphic* trueColourImage(int32_t width, int32_t height) {
    Graphic* image = keep(graphic_CreateBitmap(width, height, 24));
    int32_t pitch = static_cast<int32_t>(dibPitch(width, 24));
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x) {
        uint8_t* pixel = image->Pixels() + (height - 1 - y) * pitch + x * 3;
        uint32_t colour = trueColour(x, y);
        pixel[0] = colour & 0xFF;
        pixel[1] = colour >> 8 & 0xFF;
        pixel[2] = colour >> 16;
      }
    return image;
  }
  // An 8-bit image whose pixel (x, y) has index x + 16 * y, in the colours of paletteColour.
  Graphic* paletteImage(int32_t width, int32_t height) {
    Graphic* image = keep(graphic_CreateBitmap(width, height, 8));
    RGBQUAD colours[256];
    for (int i = 0; i < 256; ++i)
      colours[i] = {uint8_t(paletteColour(i)), uint8_t(paletteColour(i) >> 8), uint8_t(paletteColour(i) >> 16), 0};
    graphic_SetPaletteEntries(image, 0, 256, colours);
    int32_t pitch = static_cast<int32_t>(dibPitch(width, 8));
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x)
        image->Pixels()[(height - 1 - y) * pitch + x] = static_cast<uint8_t>(x + 16 * y);
    return image;
  }
  Graphic* keep(Graphic* image) {
    EXPECT_NE(image, nullptr);
    images.push_back(image);
    return image;
  }
  Screen* screen(Graphic* image, RECT window, const RECT* port = nullptr) {
    Screen* made = View_Create(image, &window, port);
    screens.push_back(made);
    return made;
  }
  std::vector<Screen*> list() {
    std::vector<Screen*> order;
    for (Screen* s = View_GetFirstScreen(); s; s = View_GetNextScreen(s)) order.push_back(s);
    return order;
  }
  // The list walked backwards from its last node must mirror the forward walk.
  void expectBackLinks() {
    std::vector<Screen*> forward = list();
    for (size_t i = 1; i < forward.size(); ++i) EXPECT_EQ(forward[i]->previous.load(), forward[i - 1]);
    if (!forward.empty()) {
      EXPECT_NE(forward[0]->previous.load(), nullptr) << "the head";
    }
  }

  FakeHost host;
  View view{host};
  CanvasDevice canvas{40, 24};
  std::vector<Graphic*> images;
  std::vector<Screen*> screens;
};

TEST_F(ViewTest, WithoutAMainWindowTheExportsRefuse) {
  setMainView(nullptr);
  Graphic* image = trueColourImage(4, 4);
  Screen* s = screen(image, {0, 0, 3, 3});
  EXPECT_EQ(View_GetFirstScreen(), nullptr);
  EXPECT_EQ(View_AttachScreen(s, nullptr, 1), 1u);
  EXPECT_EQ(View_ScrollViewWindow(s, 1, 1), 1u);
  RECT all{0, 0, 3, 3};
  EXPECT_EQ(graphic_InvalidateRect(image, &all), 1u);
  EXPECT_EQ(View_DetachScreen(s), 0u);
  EXPECT_TRUE(host.calls.empty());
}

TEST_F(ViewTest, CreateTakesThePortOrTheImageViewRectangle) {
  Graphic* image = trueColourImage(20, 10);
  graphic_SetViewRectangle(image, 2, 3, 12, 8);
  RECT window{5, 6, 15, 11}, port{1, 1, 4, 4}, got;
  Screen* own = screen(image, window, &port);
  Screen* fromImage = screen(image, window);
  EXPECT_EQ(View_Create(image, nullptr, &port), nullptr);
  View_GetViewPort(own, &got);
  EXPECT_EQ(got, port);
  View_GetViewPort(fromImage, &got);
  EXPECT_EQ(got, (RECT{2, 3, 12, 8}));
  View_GetViewWindow(fromImage, &got);
  EXPECT_EQ(got, window);
  EXPECT_EQ(fromImage->next.load(), nullptr);
  EXPECT_EQ(fromImage->previous.load(), nullptr);
  EXPECT_TRUE(host.calls.empty()) << "a detached screen shows nothing";
}

TEST_F(ViewTest, AttachLinksByPositionAndInvalidatesTheScreen) {
  Graphic* image = trueColourImage(4, 4);
  Screen* a = screen(image, {0, 0, 9, 9});
  Screen* b = screen(image, {10, 0, 19, 9});
  Screen* c = screen(image, {20, 0, 29, 9});
  Screen* d = screen(nullptr, {1, 2, 3, 4});
  Screen* e = screen(image, {5, 5, 6, 6});
  Screen* f = screen(image, {7, 7, 8, 8});

  EXPECT_EQ(View_AttachScreen(a, nullptr, 0), 0u);
  EXPECT_EQ(View_AttachScreen(b, nullptr, -5), 0u) << "a null reference appends whatever the position";
  EXPECT_EQ(View_AttachScreen(c, nullptr, 1), 0u);
  EXPECT_EQ(list(), (std::vector<Screen*>{a, b, c}));
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{0, 0, 10, 10}, {10, 0, 20, 10}, {20, 0, 30, 10}}));

  View_AttachScreen(d, b, -1);
  View_AttachScreen(e, c, 3);
  EXPECT_EQ(list(), (std::vector<Screen*>{a, d, b, c, e}));
  expectBackLinks();

  View_AttachScreen(f, d, 0);
  EXPECT_EQ(list(), (std::vector<Screen*>{a, f, b, c, e}));
  EXPECT_EQ(d->next.load(), nullptr);
  EXPECT_EQ(d->previous.load(), nullptr);
  expectBackLinks();

  View_AttachScreen(a, nullptr, 1);
  EXPECT_EQ(list(), (std::vector<Screen*>{f, b, c, e, a})) << "attaching a linked screen moves it";
  expectBackLinks();
  host.calls.clear();

  EXPECT_EQ(View_DetachScreen(c), 0u);
  EXPECT_EQ(list(), (std::vector<Screen*>{f, b, e, a}));
  EXPECT_EQ(c->next.load(), nullptr);
  EXPECT_EQ(c->previous.load(), nullptr);
  expectBackLinks();
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{20, 0, 30, 10}}));

  EXPECT_EQ(View_DetachAllScreen(), 0u);
  EXPECT_TRUE(list().empty());
  EXPECT_EQ(host.takeInvalidated().size(), 4u);
}

TEST_F(ViewTest, DeleteDetachesAndInvalidatesTheRememberedArea) {
  Graphic* image = trueColourImage(4, 4);
  Screen* a = screen(image, {0, 0, 9, 9});
  RECT window{3, 4, 5, 6};
  Screen* b = View_Create(image, &window, nullptr);
  Screen* c = screen(image, {20, 0, 29, 9});
  for (Screen* s : {a, b, c}) View_AttachScreen(s, nullptr, 1);
  host.calls.clear();
  EXPECT_EQ(View_Delete(b), 0u);
  EXPECT_EQ(list(), (std::vector<Screen*>{a, c}));
  expectBackLinks();
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{3, 4, 6, 7}}));
}

TEST_F(ViewTest, SettingRectanglesInvalidatesOldAndNewArea) {
  Graphic* image = trueColourImage(8, 8);
  Screen* s = screen(image, {0, 0, 7, 7});
  View_AttachScreen(s, nullptr, 1);
  host.calls.clear();
  RECT window{10, 10, 25, 25}, port{0, 0, 3, 3}, got;
  View_SetViewWindow(s, &window);
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{0, 0, 8, 8}, {10, 10, 26, 26}}));
  View_SetViewPort(s, &port);
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{10, 10, 26, 26}}));
  View_GetViewWindow(s, &got);
  EXPECT_EQ(got, window);
  View_GetViewPort(s, &got);
  EXPECT_EQ(got, port);
}

TEST_F(ViewTest, ImageInvalidationMapsToEveryScreenOfTheImage) {
  Graphic* image = trueColourImage(64, 64);
  Graphic* other = trueColourImage(64, 64);
  RECT samePort{0, 0, 31, 31}, zoomPort{16, 16, 47, 47};
  Screen* same = screen(image, {100, 50, 131, 81}, &samePort);
  Screen* zoom = screen(image, {0, 0, 63, 63}, &zoomPort);
  Screen* elsewhere = screen(other, {0, 0, 63, 63});
  Screen* empty = screen(nullptr, {0, 0, 63, 63});
  for (Screen* s : {same, zoom, elsewhere, empty}) View_AttachScreen(s, nullptr, 1);
  host.calls.clear();

  RECT changed{20, 24, 23, 27};
  EXPECT_EQ(graphic_InvalidateRect(image, &changed), 0u);
  // Equal sizes add the window's corner to left and top, its right and bottom to the far edges;
  // the zoomed screen scales by 64/32 first.
  EXPECT_EQ(host.takeInvalidated(),
            (std::vector<RECT>{{120, 74, 23 + 131 + 1, 27 + 81 + 1}, {40, 48, 46 + 64, 54 + 64}}));

  RECT reaching{30, 20, 40, 30};  // clipped to the ports: x 30..31 in the first
  graphic_InvalidateRect(image, &reaching);
  EXPECT_EQ(host.takeInvalidated(),
            (std::vector<RECT>{{130, 70, 31 + 131 + 1, 30 + 81 + 1}, {60, 40, 80 + 64, 60 + 64}}));
  RECT above{30, 0, 40, 10};  // meets the first port only
  graphic_InvalidateRect(image, &above);
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{130, 50, 31 + 131 + 1, 10 + 81 + 1}}));

  RECT outside{50, 50, 60, 60};  // misses the first port, meets the second in 50..47: empty too
  graphic_InvalidateRect(image, &outside);
  EXPECT_TRUE(host.takeInvalidated().empty());

  View_DetachAllScreen();
  host.calls.clear();
  EXPECT_EQ(graphic_InvalidateRect(image, &changed), 0u) << "an empty list";
  EXPECT_TRUE(host.calls.empty());
}

TEST_F(ViewTest, DrawingIntoAnImageInvalidatesItsScreens) {
  Graphic* image = trueColourImage(16, 16);
  View_AttachScreen(screen(image, {0, 0, 15, 15}), nullptr, 1);
  host.calls.clear();
  RECT fill{2, 3, 4, 5};
  EXPECT_EQ(graphic_DrawFullRectangle(image, &fill, 0xFF0000, 0, 0), 0u);
  EXPECT_EQ(host.takeInvalidated(), (std::vector<RECT>{{2, 3, 4 + 15 + 1, 5 + 15 + 1}}));
}

TEST_F(ViewTest, PaintComposesTheScreensInListOrder) {
  // An 8-bit background shown at twice its size, a 24-bit picture over part of it from a part
  // of its image, a screen without image and a detached one that must not show.
  Graphic* background = paletteImage(10, 6);
  Graphic* picture = trueColourImage(8, 8);
  Graphic* hidden = trueColourImage(40, 24);
  RECT backPort{0, 0, 9, 5}, picturePort{2, 1, 5, 6};
  RECT backWindow{0, 0, 19, 11}, pictureWindow{12, 4, 15, 9};
  View_AttachScreen(screen(background, backWindow, &backPort), nullptr, 1);
  View_AttachScreen(screen(nullptr, {0, 0, 39, 23}), nullptr, 1);
  View_AttachScreen(screen(picture, pictureWindow, &picturePort), nullptr, 1);
  screen(hidden, {0, 0, 39, 23});
  const uint32_t untouched = 0xABCDEF;
  std::fill(canvas.pixels.begin(), canvas.pixels.end(), untouched);

  view.Paint(reinterpret_cast<HDC>(uintptr_t{7}));

  for (int32_t y = 0; y < canvas.height; ++y) {
    for (int32_t x = 0; x < canvas.width; ++x) {
      uint32_t expected = untouched;
      if (x <= 19 && y <= 11) expected = paletteColour(x / 2 + 16 * (y / 2));
      if (x >= 12 && x <= 15 && y >= 4 && y <= 9) expected = trueColour(2 + x - 12, 1 + y - 4);
      ASSERT_EQ(canvas.at(x, y), expected) << "at " << x << ", " << y;
    }
  }
  ASSERT_EQ(canvas.selections.size(), 1u) << "only the first image's palette";
  EXPECT_EQ(canvas.selections[0].first, background->Palette());
  EXPECT_FALSE(canvas.selections[0].second) << "as foreground palette";
  EXPECT_EQ(canvas.realized, 1);
}

TEST_F(ViewTest, PaintStretchesAShrunkenPort) {
  Graphic* image = trueColourImage(16, 16);
  RECT port{4, 4, 11, 11};
  Screen* s = screen(image, {0, 0, 7, 7});
  View_AttachScreen(s, nullptr, 1);
  View_SetViewPort(s, &port);  // 8x8 of the image over 8x8 of the window: no stretch
  view.Paint(nullptr);
  EXPECT_EQ(canvas.at(0, 0), trueColour(4, 4));
  EXPECT_EQ(canvas.at(7, 7), trueColour(11, 11));
  RECT quarter{8, 8, 11, 11};
  View_SetViewPort(s, &quarter);  // 4x4 over 8x8: every image pixel covers 2x2
  view.Paint(nullptr);
  for (int32_t y = 0; y < 8; ++y)
    for (int32_t x = 0; x < 8; ++x) ASSERT_EQ(canvas.at(x, y), trueColour(8 + x / 2, 8 + y / 2));
  EXPECT_EQ(canvas.at(8, 0), 0u) << "nothing beyond the view window";
}

TEST_F(ViewTest, ScrollMovesThePortAndScrollsTheWindowScaled) {
  Graphic* image = trueColourImage(64, 64);
  RECT port{10, 10, 41, 41}, got;
  Screen* s = screen(image, {0, 0, 63, 31}, &port);  // twice as wide, as high as the port
  View_AttachScreen(s, nullptr, 1);
  host.calls.clear();

  EXPECT_EQ(View_ScrollViewWindow(s, 0, 0), 0u);
  EXPECT_TRUE(host.calls.empty()) << "no scroll, no window call";

  EXPECT_EQ(View_ScrollViewWindow(s, 3, -2), 0u);
  View_GetViewPort(s, &got);
  EXPECT_EQ(got, (RECT{7, 12, 38, 43}));
  ASSERT_EQ(host.calls.size(), 2u);
  EXPECT_EQ(host.calls[0].kind, FakeHost::kUpdate) << "the window is brought up to date first";
  EXPECT_EQ(host.calls[1].kind, FakeHost::kScroll);
  EXPECT_EQ(host.calls[1].dx, 6);
  EXPECT_EQ(host.calls[1].dy, -2);
  EXPECT_EQ(host.calls[1].rect, (RECT{0, 0, 63, 31}));

  // The scrolled picture paints from the moved port.
  view.Paint(nullptr);
  EXPECT_EQ(canvas.at(0, 0), trueColour(7, 12));
  EXPECT_EQ(canvas.at(2, 1), trueColour(8, 13));
}

}  // namespace
