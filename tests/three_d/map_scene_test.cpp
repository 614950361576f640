// The map scene: frames of a map whose texels name themselves, seen from above and at a slant,
// and the arithmetic of the selection (input codes, camera stations and heights, moves).
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "graphics/3d/map_scene.h"
#include "graphics/graphic.h"
#include "host/exports/k3d.h"

namespace {

constexpr uint8_t kUntouched = 0xFF;  // no texel of a map up to 120 x 120 is named so

// An 8-bit image; `named` fills it with texels that name themselves in blocks of 8 (block
// column + 16 * block row), so that a pixel tells the texel it shows to within a block.
struct Picture {
  Graphic image{kConversionNone};
  ImageInfo info{};
  Picture(int32_t width, int32_t height, bool named) {
    EXPECT_EQ(image.CreateBitmap(width, height, 8), 0u);
    info.size = sizeof info;
    image.GetImageInfo(&info);
    for (int32_t y = 0; y < height; ++y)
      for (int32_t x = 0; x < width; ++x) row(y)[x] = named ? uint8_t(1 + x / 8 + 16 * (y / 8)) : kUntouched;
  }
  uint8_t* row(int32_t stored) { return info.pixels + ptrdiff_t{stored} * info.pitch; }
  // Screen rows count from the top.
  uint8_t at(int32_t x, int32_t y) { return row(info.height - 1 - y)[x]; }
};

uint8_t texelName(int32_t u, int32_t v) { return uint8_t(1 + u / 8 + 16 * (v / 8)); }

TEST(MapFrameTest, SeenFromStraightAboveTheMapLiesFaceOnAroundTheTarget) {
  Picture map(120, 120, true), screen(64, 48, false);
  int32_t clip[4] = {2, 2, 61, 45}, center[2] = {32, 24};
  // At the height of the focal distance one texel covers one pixel; u runs right, v runs up.
  K3DVector eye{60, -40, 50}, target{60, 0, 50};
  k3dDrawAFrameScreen(&screen.image, clip, center, 40, &map.image, &eye, &target);
  for (int32_t y = 4; y < 44; y += 2)
    for (int32_t x = 4; x < 60; x += 2) {
      const int32_t u = 60 + (x - 32), v = 50 - (y - 24);
      // Near a block's edge the rounding of the solve may show its neighbour.
      if (u % 8 == 0 || u % 8 == 7 || v % 8 == 0 || v % 8 == 7) continue;
      ASSERT_EQ(screen.at(x, y), texelName(u, v)) << x << "," << y;
    }
  for (int32_t x = 0; x < 64; ++x) EXPECT_EQ(screen.at(x, 0), kUntouched) << "outside the clip";
}

TEST(MapFrameTest, TheViewAxisMeetsTheTargetAndTheRestOfTheClipIsColourZero) {
  Picture map(120, 120, true), screen(160, 120, false);
  int32_t clip[4] = {0, 0, 159, 119}, center[2] = {80, 60};
  // A slant from the south-west; the map's near corner and the ground beyond it are in view.
  K3DVector eye{-20, -90, -40}, target{60, 0, 60};
  k3dDrawAFrameScreen(&screen.image, clip, center, 120, &map.image, &eye, &target);
  EXPECT_EQ(screen.at(80, 60), texelName(60, 60));
  int zeros = 0;
  for (int32_t y = 0; y < 120; ++y)
    for (int32_t x = 0; x < 160; ++x) {
      EXPECT_NE(screen.at(x, y), kUntouched);
      zeros += screen.at(x, y) == 0;
    }
  EXPECT_GT(zeros, 1000) << "the ground beyond the map's edges";
  EXPECT_LT(zeros, 160 * 120 * 3 / 4) << "the map fills a good part of the view";
}

TEST(MapFrameTest, ACameraBehindTheMapShowsOnlyColourZero) {
  Picture map(64, 64, true), screen(40, 30, false);
  int32_t clip[4] = {0, 0, 39, 29}, center[2] = {20, 15};
  // Looking away from the map, level with it: every corner is behind the near plane.
  K3DVector eye{32, -1, -10}, target{32, -1, -200};
  k3dDrawAFrameScreen(&screen.image, clip, center, 30, &map.image, &eye, &target);
  for (int32_t y = 0; y < 30; ++y)
    for (int32_t x = 0; x < 40; ++x) ASSERT_EQ(screen.at(x, y), 0);
}

TEST(MapInputTest, KeysAndTheMouseGiveKeypadCodes) {
  EXPECT_EQ(k3d::inputOfKey('0'), 96u);
  EXPECT_EQ(k3d::inputOfKey('9'), 105u);
  EXPECT_EQ(k3d::inputOfKey(37), 100u);  // left
  EXPECT_EQ(k3d::inputOfKey(38), 104u);  // up
  EXPECT_EQ(k3d::inputOfKey(39), 102u);  // right
  EXPECT_EQ(k3d::inputOfKey(40), 98u);   // down
  EXPECT_EQ(k3d::inputOfKey(13), k3d::kInputDecide);
  EXPECT_EQ(k3d::inputOfKey(32), k3d::kInputDecide);
  EXPECT_EQ(k3d::inputOfKey(27), k3d::kInputIgnored);
  EXPECT_EQ(k3d::inputOfKey(99), 99u) << "keypad 3 stays itself";
  EXPECT_EQ(k3d::inputOfKey('A'), uint32_t('A'));

  const POINT centre{500, 400};
  EXPECT_EQ(k3d::inputOfMouse({532, 368}, centre).code, 0u) << "on the zone's edge";
  k3d::MouseInput left = k3d::inputOfMouse({467, 410}, centre);
  EXPECT_EQ(left.code, 100u);
  EXPECT_TRUE(left.outsideX);
  EXPECT_FALSE(left.outsideY);
  k3d::MouseInput highRight = k3d::inputOfMouse({600, 300}, centre);
  EXPECT_EQ(highRight.code, 105u);
  EXPECT_TRUE(highRight.outsideX && highRight.outsideY);
  EXPECT_EQ(k3d::inputOfMouse({500, 433}, centre).code, 98u) << "below is keypad 2";
}

TEST(MapSelectionTest, StationsLieBetweenEachPlaceAndTheNext) {
  const int32_t places[] = {10, 20, 31, 40, -7, 0};
  std::vector<k3d::MapPlace> stations = k3d::cameraStations(places, 3);
  EXPECT_EQ(stations[0].x, 20);
  EXPECT_EQ(stations[0].z, 30);
  EXPECT_EQ(stations[1].x, 12);
  EXPECT_EQ(stations[2].x, 1) << "(-7 + 10) >> 1";
  EXPECT_EQ(stations[2].z, 10);
  stations = k3d::cameraStations(places, 1);
  EXPECT_EQ(stations[0].x, 10) << "a single place is its own station";
  const int32_t distant[] = {0x7FFFFFFF, 0, 0x7FFFFFFF, 0};
  EXPECT_EQ(k3d::cameraStations(distant, 2)[0].x, -1) << "the sum wraps at 32 bits";
}

TEST(MapSelectionTest, TheCameraHeightDoublesAtEachStepAndScalesWithTheWindow) {
  const k3d::MapCamera low = k3d::cameraAt({5, 6}, {7, 8}, 0, 480);
  EXPECT_EQ(low.eye.x, 5.0);
  EXPECT_EQ(low.eye.z, 6.0);
  EXPECT_DOUBLE_EQ(low.eye.y, -4096.0 * 480 / 65536);
  EXPECT_EQ(low.target.x, 7.0);
  EXPECT_EQ(low.target.y, 0.0);
  EXPECT_DOUBLE_EQ(k3d::cameraAt({0, 0}, {0, 0}, 6, 480).eye.y, -262144.0 * 480 / 65536);

  const k3d::MapCamera decided = k3d::cameraOfDecision({{10, -100, 30}, {20, 0, 40}});
  EXPECT_DOUBLE_EQ(decided.eye.x, 19.0);
  EXPECT_DOUBLE_EQ(decided.eye.y, -10.0);
  EXPECT_DOUBLE_EQ(decided.eye.z, 39.0);
  const k3d::MapCamera half = k3d::cameraBetween({{0, -8, 0}, {0, 0, 0}}, decided, 0.5);
  EXPECT_DOUBLE_EQ(half.eye.y, -9.0);
  EXPECT_DOUBLE_EQ(half.target.x, 10.0);
}

TEST(MapSelectionTest, MovesWrapAroundThePlacesAndStopAtTheHeights) {
  k3d::MapSelection s = k3d::startSelection(0, -1, 5);
  EXPECT_EQ(s.height, 3);
  EXPECT_EQ(s.station, 3) << "the place's index minus 2, wrapped";
  int32_t dx = 9;
  ASSERT_TRUE(k3d::applyMove(s, 100, 5, &dx));  // left
  EXPECT_EQ(dx, -1);
  EXPECT_EQ(s.place, 4);
  EXPECT_EQ(s.station, 4) << "left moves the station by +1";
  ASSERT_TRUE(k3d::applyMove(s, 102, 5, &dx));  // right
  EXPECT_EQ(s.place, 0);
  EXPECT_EQ(s.station, 2) << "right moves it by -2";
  ASSERT_TRUE(k3d::applyMove(s, 104, 5, &dx));  // up
  EXPECT_EQ(dx, 0);
  EXPECT_EQ(s.height, 4);
  EXPECT_EQ(s.station, 2);

  s = k3d::startSelection(2, 6, 5);
  const k3d::MapSelection top = s;
  EXPECT_FALSE(k3d::applyMove(s, 105, 5, &dx)) << "up and right at the top: dropped, right too";
  EXPECT_EQ(s.place, top.place);
  EXPECT_EQ(s.height, 6);
  EXPECT_FALSE(k3d::applyMove(s, 101, 5, &dx));
  EXPECT_FALSE(k3d::applyMove(s, 96, 5, &dx));
  EXPECT_FALSE(k3d::applyMove(s, 'A', 5, &dx));
  s = k3d::startSelection(1, 0, 5);
  EXPECT_FALSE(k3d::applyMove(s, 97, 5, &dx)) << "down and left at the bottom";
  ASSERT_TRUE(k3d::applyMove(s, 105, 5, &dx));
  EXPECT_EQ(s.place, 2);
  EXPECT_EQ(s.height, 1);

  s = k3d::startSelection(0, 3, 1);
  EXPECT_EQ(s.station, 0);
  ASSERT_TRUE(k3d::applyMove(s, 100, 1, &dx));
  EXPECT_EQ(s.place, 0) << "one place: left and right stay on it";
  EXPECT_EQ(s.station, 0);
  ASSERT_TRUE(k3d::applyMove(s, 102, 1, &dx));
  EXPECT_EQ(s.station, 0);

  s = k3d::startSelection(-6, 40, 4);
  EXPECT_EQ(s.place, 2) << "an index outside the places is wrapped into them";
  EXPECT_EQ(s.height, 6);
}

}  // namespace
