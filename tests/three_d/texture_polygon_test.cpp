// The textured polygon rasteriser. Its textures hold a different value in every texel, so each
// drawn pixel tells which texel it shows: the solved pixels are checked against a ray-plane
// intersection computed here with vectors, the others against the means of their drawn
// neighbours. Destinations have guard bytes around them.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <vector>

#include "graphics/3d/texture_polygon.h"
#include "host/exports/k3d.h"

namespace {

constexpr uint8_t kBackground = 250;  // a value no test texture holds
constexpr uint8_t kGuard = 0xA5;
constexpr size_t kGuardBytes = 64;

// An 8-bit image with rows stored bottom-up and guard bytes before and after.
struct Image {
  int32_t width, height, pitch;
  std::vector<uint8_t> bytes;
  ImageInfo info{};

  Image(int32_t w, int32_t h, uint8_t fill) : width(w), height(h), pitch((w + 3) & ~3) {
    bytes.assign(2 * kGuardBytes + size_t(pitch) * h, kGuard);
    for (int32_t y = 0; y < h; ++y)
      for (int32_t x = 0; x < pitch; ++x) bytes[kGuardBytes + size_t(y) * pitch + x] = x < w ? fill : kGuard;
    info = {32, bytes.data() + kGuardBytes, w, h, 8, pitch, uint32_t(pitch * h), 0};
  }
  // Screen row y counts from the top; stored row 0 is the bottom one.
  uint8_t& at(int32_t x, int32_t y) { return bytes[kGuardBytes + size_t(height - 1 - y) * pitch + x]; }
  // A texture: texel (u, v) in stored row v.
  uint8_t& texel(int32_t u, int32_t v) { return bytes[kGuardBytes + size_t(v) * pitch + u]; }
  bool guardsIntact() const {
    for (size_t i = 0; i < kGuardBytes; ++i)
      if (bytes[i] != kGuard || bytes[bytes.size() - 1 - i] != kGuard) return false;
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = width; x < pitch; ++x)
        if (bytes[kGuardBytes + size_t(y) * pitch + x] != kGuard) return false;
    return true;
  }
};

// A texture of up to 15 x 16 texels whose value names its texel: 16 * v + u.
Image namedTexture(int32_t width, int32_t height) {
  Image texture(width, height, 0);
  for (int32_t v = 0; v < height; ++v)
    for (int32_t u = 0; u < width; ++u) texture.texel(u, v) = uint8_t(16 * v + u);
  return texture;
}

struct Plane {
  K3DVector origin, u, v;
};

struct Scene {
  Plane plane;
  int32_t center[2];
  int32_t focal;
};

K3DVector cross(const K3DVector& a, const K3DVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const K3DVector& a, const K3DVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// The texture coordinates where the ray through pixel (x, y) meets the plane: the hit point
// minus the origin, expressed in U and V by the dual basis (U and V crossed with the normal).
std::pair<double, double> exactCoordinates(const Scene& scene, int32_t x, int32_t y) {
  const Plane& p = scene.plane;
  const K3DVector n = cross(p.u, p.v);
  const K3DVector ray{double(x - scene.center[0]), double(y - scene.center[1]), double(scene.focal)};
  const double t = dot(n, p.origin) / dot(n, ray);
  const K3DVector offset{ray.x * t - p.origin.x, ray.y * t - p.origin.y, ray.z * t - p.origin.z};
  const double nn = dot(n, n);
  return {dot(offset, cross(p.v, n)) / nn, dot(offset, cross(n, p.u)) / nn};
}

void draw(Image& destination, const std::vector<K3DPoint>& polygon, Image& texture, Scene scene,
          k3d::Variant variant = k3d::Variant::Chosen) {
  k3d::drawTexturePolygon(destination.info, polygon.data(), uint32_t(polygon.size()), texture.info, scene.plane.origin,
                          scene.plane.u, scene.plane.v, scene.center, scene.focal, variant);
}

// A ground plane seen from above at a slant: the perspective of a map.
Scene groundScene() {
  Scene scene{};
  // The map lies in y = 0 of the world, 40 units below the eye, turned 30 degrees about X.
  const double c = std::cos(0.5), s = std::sin(0.5);
  auto turn = [&](K3DVector w) { return K3DVector{w.x, w.y * c - w.z * s, w.y * s + w.z * c}; };
  scene.plane.origin = turn({-30, 40, 10});
  scene.plane.u = turn({4, 0, 0});
  scene.plane.v = turn({0, 0, 4});
  scene.center[0] = 40;
  scene.center[1] = 30;
  scene.focal = 61;
  return scene;
}

const std::vector<K3DPoint> kWholeScreen = {{0, 0}, {79, 0}, {79, 59}, {0, 59}};

std::optional<std::pair<int32_t, int32_t>> shownTexel(Image& image, int32_t x, int32_t y) {
  const uint8_t value = image.at(x, y);
  if (value == kBackground) return std::nullopt;
  return std::pair{value % 16, value / 16};
}

TEST(TexturePolygonTest, SolvedPixelsShowTheTexelTheirRayMeets) {
  for (auto variant : {k3d::Variant::Plain, k3d::Variant::Vector}) {
    Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
    const Scene scene = groundScene();
    draw(screen, kWholeScreen, texture, scene, variant);
    int checked = 0;
    for (int32_t y = 0; y < 58; y += 2)
      for (int32_t x = 0; x < 80; x += 2) {
        auto [u, v] = exactCoordinates(scene, x, y);
        if (std::fabs(u - std::floor(u) - 0.5) < 1e-6 || std::fabs(v - std::floor(v) - 0.5) < 1e-6) continue;
        const long ru = std::lround(u), rv = std::lround(v);
        const bool inside = ru >= 0 && ru < 15 && rv >= 0 && rv < 16;
        EXPECT_EQ(screen.at(x, y), inside ? texture.texel(ru, rv) : kBackground) << x << "," << y;
        checked += inside;
      }
    EXPECT_GT(checked, 300) << "the texture covers a good part of the screen";
    EXPECT_TRUE(screen.guardsIntact());
  }
}

TEST(TexturePolygonTest, PixelsBetweenShowTheMeanOfTheirNeighbours) {
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
  draw(screen, kWholeScreen, texture, groundScene());
  auto mean = [](int32_t a, int32_t b) { return (a + b) >> 1; };
  int checked = 0;
  for (int32_t y = 0; y < 57; ++y)
    for (int32_t x = 1; x < 79; ++x) {
      if (y % 2 == 0 && x % 2 == 0) continue;
      // Odd pixels of a sampled row sit between left and right; pixels of the rows between
      // sit between the pixels above and below.
      const bool across = y % 2 == 0;
      auto a = shownTexel(screen, across ? x - 1 : x, across ? y : y - 1);
      auto b = shownTexel(screen, across ? x + 1 : x, across ? y : y + 1);
      if (!a || !b) continue;
      auto shown = shownTexel(screen, x, y);
      ASSERT_TRUE(shown) << x << "," << y;
      EXPECT_EQ(shown->first, mean(a->first, b->first)) << x << "," << y;
      EXPECT_EQ(shown->second, mean(a->second, b->second)) << x << "," << y;
      ++checked;
    }
  EXPECT_GT(checked, 1000);
}

// A plane facing the eye at the focal distance: texel (u, v) covers the pixel (u, v) shifted by
// the origin, so the rectangle shows the texture one to one.
Scene facingScene(double left, double top) {
  Scene scene{};
  scene.plane = {{left - 40, top - 30, 100}, {1, 0, 0}, {0, 1, 0}};
  scene.center[0] = 40;
  scene.center[1] = 30;
  scene.focal = 100;
  return scene;
}

// The rectangle of pixels that differ from the background.
struct Box {
  int32_t left = 1000, top = 1000, right = -1, bottom = -1;
};
Box drawnBox(Image& image) {
  Box box;
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x)
      if (image.at(x, y) != kBackground) {
        box.left = std::min(box.left, x);
        box.right = std::max(box.right, x);
        box.top = std::min(box.top, y);
        box.bottom = std::max(box.bottom, y);
      }
  return box;
}

TEST(TexturePolygonTest, RectangleEdgesFollowTheRowAndColumnRules) {
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
  // Rows 10 to 24 of the polygon: the sampled rows 10, 12, ..., 22 and the rows between them
  // are drawn; row 24 reaches the bottom and ends the polygon undrawn, row 23 with it.
  draw(screen, {{20, 10}, {34, 10}, {34, 24}, {20, 24}}, texture, facingScene(20, 10));
  Box box = drawnBox(screen);
  EXPECT_EQ(box.left, 20);
  EXPECT_EQ(box.right, 34);
  EXPECT_EQ(box.top, 10);
  EXPECT_EQ(box.bottom, 22);
  for (int32_t y = 10; y <= 22; ++y)
    for (int32_t x = 20; x <= 34; ++x) ASSERT_EQ(screen.at(x, y), texture.texel(x - 20, y - 10)) << x << "," << y;
  EXPECT_TRUE(screen.guardsIntact());
}

TEST(TexturePolygonTest, AnOddSpanLeavesItsLastColumnToTheRowsBetween) {
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
  // Columns 20 to 33: the samples stop at 32, so column 33 has no value in any sampled row.
  // The rows between take the mean of two marks there, which is texel (0, 0).
  draw(screen, {{20, 10}, {33, 10}, {33, 24}, {20, 24}}, texture, facingScene(20, 10));
  for (int32_t y = 10; y <= 22; ++y) {
    EXPECT_EQ(screen.at(32, y), texture.texel(12, y - 10));
    EXPECT_EQ(screen.at(33, y), y % 2 ? texture.texel(0, 0) : kBackground) << y;
  }
}

TEST(TexturePolygonTest, TexturesEndWithoutWrapOrClamp) {
  Image screen(80, 60, kBackground), texture = namedTexture(6, 5);
  // The rectangle is larger than the texture on every side.
  draw(screen, {{10, 10}, {40, 10}, {40, 40}, {10, 40}}, texture, facingScene(20, 16));
  for (int32_t y = 10; y <= 38; ++y)
    for (int32_t x = 10; x <= 40; ++x) {
      const int32_t u = x - 20, v = y - 16;
      const bool inside = u >= 0 && u < 6 && v >= 0 && v < 5;
      ASSERT_EQ(screen.at(x, y), inside ? texture.texel(u, v) : kBackground) << x << "," << y;
    }
}

TEST(TexturePolygonTest, RowsAboveTheImageAreWalkedButNotDrawn) {
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
  Scene scene = facingScene(0, -9);
  // A triangle from (5, -9) whose left edge leans by 1 per row: at row 1 it has moved 5 steps
  // of 2 rows, each 2 * 10 / 21 pixels (the height plus 1 divides).
  const double top = -9, bottom = 11;
  draw(screen, {{5, top}, {15, bottom}, {5, bottom}}, texture, scene);
  for (int32_t x = 0; x < 80; ++x) EXPECT_EQ(screen.at(x, 0), kBackground) << "the first drawn row is row 1";
  double right = 5;
  for (int i = 0; i < 5; ++i) right += 2 * (15 - 5) / (bottom - top + 1);
  Box box = drawnBox(screen);
  EXPECT_EQ(box.top, 1);
  EXPECT_EQ(box.left, 5);
  int32_t rowOneRight = -1;
  for (int32_t x = 0; x < 80; ++x)
    if (screen.at(x, 1) != kBackground) rowOneRight = x;
  EXPECT_EQ(rowOneRight, int32_t(right));
}

TEST(TexturePolygonTest, PlainAndVectorRowsAgreeToTheBit) {
  std::mt19937 random(17);
  std::uniform_real_distribution<double> coordinate(-20.0, 120.0), axis(-3.0, 3.0), depth(20.0, 300.0);
  Image texture(64, 48, 0);
  for (auto& byte : texture.bytes) byte = uint8_t(random());
  texture = Image(64, 48, 0);
  for (int32_t v = 0; v < 48; ++v)
    for (int32_t u = 0; u < 64; ++u) texture.texel(u, v) = uint8_t(random() % 240);
  for (int round = 0; round < 300; ++round) {
    Scene scene{};
    scene.plane = {{coordinate(random) - 50, coordinate(random) - 50, depth(random)},
                   {axis(random), axis(random), axis(random)},
                   {axis(random), axis(random), axis(random)}};
    scene.center[0] = int32_t(coordinate(random));
    scene.center[1] = int32_t(coordinate(random));
    scene.focal = 50 + round;
    std::vector<K3DPoint> polygon;
    const double cx = coordinate(random), cy = coordinate(random), r = depth(random) / 2;
    const int corners = 3 + round % 5;
    for (int i = 0; i < corners; ++i)
      polygon.push_back({cx + r * std::cos(round + 6.28 * i / corners), cy + r * std::sin(round + 6.28 * i / corners)});
    const int32_t rect[4] = {0, 0, 100 - 1, 75 - 1};
    std::vector<K3DPoint> clipped(4 * polygon.size());
    clipped.resize(k3dClipDispRect(clipped.data(), polygon.data(), uint32_t(polygon.size()), rect));
    if (clipped.empty()) continue;
    Image plain(100 + round % 3, 75, kBackground), vector(100 + round % 3, 75, kBackground);
    draw(plain, clipped, texture, scene, k3d::Variant::Plain);
    draw(vector, clipped, texture, scene, k3d::Variant::Vector);
    ASSERT_EQ(plain.bytes, vector.bytes) << "round " << round;
  }
}

TEST(TexturePolygonTest, BadInputDrawsNothingOutsideTheTarget) {
  Image texture = namedTexture(15, 16);
  const Scene scene = groundScene();
  const double nan = std::numeric_limits<double>::quiet_NaN(), huge = 1e300;
  const std::vector<std::vector<K3DPoint>> polygons = {
      {},
      {{10, 10}},
      {{10, 10}, {30, 40}},
      {{nan, 10}, {30, nan}, {5, 40}},
      {{-huge, -huge}, {huge, -huge}, {huge, huge}, {-huge, huge}},
      {{-1e9, 5}, {1e9, 5}, {0, 59}},
      {{0, -3e5}, {79, 59}, {0, 59}},
  };
  for (auto variant : {k3d::Variant::Plain, k3d::Variant::Vector})
    for (const auto& polygon : polygons) {
      Image screen(80, 60, kBackground);
      draw(screen, polygon, texture, scene, variant);
      EXPECT_TRUE(screen.guardsIntact()) << polygon.size();
    }
  Image screen(80, 60, kBackground);
  draw(screen, {{10, 10}}, texture, scene);
  draw(screen, {{10, 10}, {30, 10}}, texture, scene);
  EXPECT_EQ(drawnBox(screen).right, -1) << "a point and a flat segment draw nothing";

  Image empty(0, 0, 0);
  draw(screen, kWholeScreen, empty, scene);
  EXPECT_EQ(drawnBox(screen).right, -1) << "a texture of no size";
  EXPECT_TRUE(screen.guardsIntact());
}

TEST(TexturePolygonTest, APlaneSeenEdgeOnLeavesTheSolvedPixelsAlone) {
  // U along V: every ray runs along the plane, and every solved pixel gets the mark. The
  // pixels between take the mean of two marks, which is texel (0, 0).
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16);
  Scene edgeOn = groundScene();
  edgeOn.plane.v = edgeOn.plane.u;
  for (auto variant : {k3d::Variant::Plain, k3d::Variant::Vector}) {
    draw(screen, kWholeScreen, texture, edgeOn, variant);
    for (int32_t y = 0; y < 58; ++y)
      for (int32_t x = 0; x < 80; ++x) {
        // Column 79 has no sample: the sampled rows leave it, the rows between draw it.
        const bool alone = y % 2 == 0 && (x % 2 == 0 || x == 79);
        ASSERT_EQ(screen.at(x, y), alone ? kBackground : texture.texel(0, 0)) << x << "," << y;
      }
  }
}

TEST(TexturePolygonTest, TheExportDrawsThroughTheChosenVariant) {
  Image screen(80, 60, kBackground), texture = namedTexture(15, 16), reference(80, 60, kBackground);
  Scene scene = groundScene();
  std::vector<K3DPoint> polygon = kWholeScreen;
  k3dDrawTexturePlygon(&screen.info, polygon.data(), 4, &texture.info, &scene.plane.origin, &scene.plane.u,
                       &scene.plane.v, scene.center, scene.focal);
  draw(reference, polygon, texture, scene, k3d::Variant::Plain);
  EXPECT_EQ(screen.bytes, reference.bytes);
}

}  // namespace
