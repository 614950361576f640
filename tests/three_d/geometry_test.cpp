// The geometry exports against a model of their formulas written from angles and matrices,
// and against properties of the clipped shapes (inside the bounds, the area of the overlap).
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "host/exports/k3d.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

K3DRevolution turn(double radians) { return {std::sin(radians), std::cos(radians)}; }

void expectNear(const K3DVector& a, const K3DVector& b, double tolerance = 1e-9) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
  EXPECT_NEAR(a.z, b.z, tolerance);
}

// A rotation as a matrix applied to column vectors.
struct Matrix {
  double m[3][3];
  K3DVector operator*(const K3DVector& v) const {
    return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z, m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
            m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
  }
};

Matrix aboutX(double a) { return {{{1, 0, 0}, {0, std::cos(a), -std::sin(a)}, {0, std::sin(a), std::cos(a)}}}; }
Matrix aboutY(double a) { return {{{std::cos(a), 0, -std::sin(a)}, {0, 1, 0}, {std::sin(a), 0, std::cos(a)}}}; }
// The Z rotation turns the other way: a positive angle takes +x towards -y.
Matrix aboutZ(double a) { return {{{std::cos(a), std::sin(a), 0}, {-std::sin(a), std::cos(a), 0}, {0, 0, 1}}}; }

TEST(RotationTest, EachAxisTurnsAsItsMatrixInPlaceOrNot) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> coordinate(-100.0, 100.0), angle(-kPi, kPi);
  using Revolve = void(RUNA1_API*)(K3DVector*, const K3DVector*, const K3DRevolution*, uint32_t);
  const struct {
    Revolve revolve;
    Matrix (*matrix)(double);
  } axes[] = {{k3dRevolveXAxis, aboutX}, {k3dRevolveYAxis, aboutY}, {k3dRevolveZAxis, aboutZ}};
  for (const auto& axis : axes) {
    std::vector<K3DVector> points(9), turned(9);
    for (auto& p : points) p = {coordinate(random), coordinate(random), coordinate(random)};
    const double a = angle(random);
    const K3DRevolution r = turn(a);
    axis.revolve(turned.data(), points.data(), &r, 9);
    for (size_t i = 0; i < points.size(); ++i) expectNear(turned[i], axis.matrix(a) * points[i]);
    axis.revolve(points.data(), points.data(), &r, 9);
    for (size_t i = 0; i < points.size(); ++i) expectNear(points[i], turned[i], 0.0);
  }
}

TEST(RotationTest, QuarterTurnsShowTheDirectionOfEachAxis) {
  const K3DRevolution quarter{1.0, 0.0};
  K3DVector p{1, 0, 0};
  k3dRevolveYAxis(&p, &p, &quarter, 1);
  expectNear(p, {0, 0, 1}, 0.0);
  p = {0, 1, 0};
  k3dRevolveXAxis(&p, &p, &quarter, 1);
  expectNear(p, {0, 0, 1}, 0.0);
  p = {1, 0, 0};
  k3dRevolveZAxis(&p, &p, &quarter, 1);
  expectNear(p, {0, -1, 0}, 0.0);
  k3dRevolveZAxis(&p, &p, &quarter, 0);
  expectNear(p, {0, -1, 0}, 0.0);  // a count of 0 touches nothing
}

TEST(ViewRotationTest, TheTwoAnglesTurnADirectionOntoTheViewAxis) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> coordinate(-1000.0, 1000.0);
  for (int i = 0; i < 200; ++i) {
    K3DVector d{coordinate(random), coordinate(random), coordinate(random)};
    K3DRevolution yAngle, xAngle;
    k3dGetRevolutionYXAxis(&yAngle, &xAngle, &d);
    EXPECT_NEAR(yAngle.sine * yAngle.sine + yAngle.cosine * yAngle.cosine, 1.0, 1e-12);
    EXPECT_NEAR(xAngle.sine * xAngle.sine + xAngle.cosine * xAngle.cosine, 1.0, 1e-12);
    const double length = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    K3DVector turned;
    k3dRevolveYAxis(&turned, &d, &yAngle, 1);
    k3dRevolveXAxis(&turned, &turned, &xAngle, 1);
    expectNear(turned, {0, 0, length}, 1e-9 * length);
  }
}

TEST(ViewRotationTest, AxesAndTheZeroVector) {
  K3DRevolution yAngle, xAngle;
  K3DVector ahead{0, 0, 5}, up{0, 5, 0}, zero{0, 0, 0};
  k3dGetRevolutionYXAxis(&yAngle, &xAngle, &ahead);
  EXPECT_EQ(yAngle.sine, 0.0);
  EXPECT_EQ(yAngle.cosine, 1.0);
  EXPECT_EQ(xAngle.sine, 0.0);
  EXPECT_EQ(xAngle.cosine, 1.0);
  k3dGetRevolutionYXAxis(&yAngle, &xAngle, &up);
  EXPECT_EQ(yAngle.sine, 0.0);
  EXPECT_EQ(yAngle.cosine, 1.0);
  EXPECT_EQ(xAngle.sine, 1.0);
  EXPECT_EQ(xAngle.cosine, 0.0);
  k3dGetRevolutionYXAxis(&yAngle, &xAngle, &zero);
  EXPECT_EQ(yAngle.cosine, 1.0);
  EXPECT_TRUE(std::isnan(xAngle.sine) && std::isnan(xAngle.cosine));
}

// The point where the segment from a to b meets z = plane, by the line's parameter from a.
K3DVector meet(const K3DVector& a, const K3DVector& b, double plane) {
  const double s = (plane - a.z) / (b.z - a.z);
  return {a.x + (b.x - a.x) * s, a.y + (b.y - a.y) * s, plane};
}

TEST(NearClipTest, PolygonsWhollyBehindOrInFront) {
  const K3DVector behind[] = {{0, 0, 1}, {5, 0, 1.9}, {5, 5, -3}};
  K3DVector out[4];
  EXPECT_EQ(k3dClipZBelow(out, behind, 3, 2), 0u);
  const K3DVector front[] = {{0, 0, 2}, {5, 0, 9}, {5, 5, 2}};
  ASSERT_EQ(k3dClipZBelow(out, front, 3, 2), 3u) << "z equal to the near plane is inside";
  for (int i = 0; i < 3; ++i) expectNear(out[i], front[i], 0.0);
  EXPECT_EQ(k3dClipZBelow(out, front, 0, 2), 0u);
}

TEST(NearClipTest, APolygonAcrossThePlaneGetsBothCrossingsInTheOrderOfTravel) {
  // Vertices 0 and 1 in front, 2 and 3 behind. The walk starts on the edge from the last
  // vertex, so the entering crossing comes first.
  const K3DVector quad[] = {{-4, 1, 10}, {4, 1, 6}, {4, 3, -2}, {-4, 3, -6}};
  K3DVector out[5];
  ASSERT_EQ(k3dClipZBelow(out, quad, 4, 2), 4u);
  expectNear(out[0], meet(quad[3], quad[0], 2));
  expectNear(out[1], quad[0], 0.0);
  expectNear(out[2], quad[1], 0.0);
  expectNear(out[3], meet(quad[1], quad[2], 2));
  // Vertex 0 behind: the leaving crossing of the edge into it comes first.
  const K3DVector triangle[] = {{0, 0, 0}, {6, 0, 12}, {0, 6, 12}};
  ASSERT_EQ(k3dClipZBelow(out, triangle, 3, 3), 4u);
  expectNear(out[0], meet(triangle[2], triangle[0], 3));
  expectNear(out[1], meet(triangle[0], triangle[1], 3));
  expectNear(out[2], triangle[1], 0.0);
  expectNear(out[3], triangle[2], 0.0);
}

TEST(NearClipTest, NeverWritesPastRoomForCountPlusOne) {
  // A zigzag that crosses the plane at every edge would emit more than a convex polygon can.
  K3DVector zigzag[8];
  for (int i = 0; i < 8; ++i) zigzag[i] = {double(i), 0, i % 2 ? 10.0 : -10.0};
  K3DVector out[12];
  const K3DVector guard{-7, -7, -7};
  for (auto& p : out) p = guard;
  EXPECT_EQ(k3dClipZBelow(out, zigzag, 8, 0), 9u);
  for (int i = 9; i < 12; ++i) expectNear(out[i], guard, 0.0);
}

TEST(ProjectionTest, DividesByDepthAndMovesToTheCentre) {
  const K3DVector points[] = {{10, -20, 4}, {0, 0, 1}, {-3, 3, 300}};
  const int32_t center[2] = {320, 240};
  K3DPoint out[3];
  k3dProject2DScreen(out, points, 3, center, 480);
  for (int i = 0; i < 3; ++i) {
    EXPECT_DOUBLE_EQ(out[i].x, 320 + points[i].x * 480 / points[i].z);
    EXPECT_DOUBLE_EQ(out[i].y, 240 + points[i].y * 480 / points[i].z);
  }
}

double area(const std::vector<K3DPoint>& polygon) {
  double sum = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const K3DPoint &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
    sum += a.x * b.y - b.x * a.y;
  }
  return std::fabs(sum) / 2;
}

bool insideConvex(const std::vector<K3DPoint>& polygon, double x, double y) {
  int sign = 0;
  for (size_t i = 0; i < polygon.size(); ++i) {
    const K3DPoint &a = polygon[i], &b = polygon[(i + 1) % polygon.size()];
    const double cross = (b.x - a.x) * (y - a.y) - (b.y - a.y) * (x - a.x);
    if (cross == 0) continue;
    if (sign == 0) sign = cross > 0 ? 1 : -1;
    else if ((cross > 0 ? 1 : -1) != sign) return false;
  }
  return true;
}

std::vector<K3DPoint> clip(const std::vector<K3DPoint>& polygon, const int32_t rect[4]) {
  std::vector<K3DPoint> out(4 * polygon.size() + 1, K3DPoint{-1e9, -1e9});
  out.resize(k3dClipDispRect(out.data(), polygon.data(), uint32_t(polygon.size()), rect));
  return out;
}

TEST(ScreenClipTest, ConvexPolygonsKeepTheAreaInsideTheRectangle) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(-60.0, 160.0), radius(5.0, 120.0), phase(0, 2 * kPi);
  const int32_t rect[4] = {0, 10, 99, 79};
  for (int round = 0; round < 40; ++round) {
    // A convex polygon: points on a circle in order of angle.
    const double cx = coordinate(random), cy = coordinate(random), r = radius(random), start = phase(random);
    std::vector<K3DPoint> polygon;
    const int corners = 3 + round % 6;
    for (int i = 0; i < corners; ++i) {
      const double a = start + 2 * kPi * i / corners;
      polygon.push_back({cx + r * std::cos(a), cy + r * std::sin(a)});
    }
    std::vector<K3DPoint> clipped = clip(polygon, rect);
    for (const K3DPoint& p : clipped) {
      EXPECT_GE(p.x, rect[0] - 1e-9);
      EXPECT_LE(p.x, rect[2] + 1e-9);
      EXPECT_GE(p.y, rect[1] - 1e-9);
      EXPECT_LE(p.y, rect[3] + 1e-9);
    }
    // The overlap's area, counted on a grid of quarter units.
    double counted = 0;
    for (double y = rect[1] + 0.125; y < rect[3]; y += 0.25)
      for (double x = rect[0] + 0.125; x < rect[2]; x += 0.25) counted += insideConvex(polygon, x, y);
    counted /= 16;
    EXPECT_NEAR(clipped.size() >= 3 ? area(clipped) : 0.0, counted, 2.0 + counted * 0.01) << "round " << round;
  }
}

TEST(ScreenClipTest, AVertexOnABoundIsInsideOnce) {
  const int32_t rect[4] = {0, 0, 99, 99};
  std::vector<K3DPoint> clipped = clip({{0, 50}, {50, 0}, {99, 50}, {50, 99}}, rect);
  ASSERT_EQ(clipped.size(), 4u);
  EXPECT_EQ(clipped[0].x, 0.0);
  EXPECT_EQ(clipped[3].y, 99.0);
}

TEST(ScreenClipTest, AnEdgeAcrossTheWholeRectangleGivesBothCrossingsInItsDirection) {
  const int32_t rect[4] = {10, 0, 20, 100};
  // The edge from (0, 10) to (30, 40) crosses x = 10 at y = 20 and x = 20 at y = 30.
  std::vector<K3DPoint> clipped = clip({{0, 10}, {30, 40}, {15, 90}}, rect);
  ASSERT_EQ(clipped.size(), 5u);
  EXPECT_DOUBLE_EQ(clipped[0].x, 10.0) << "the edge from the last vertex leaves at the left";
  EXPECT_DOUBLE_EQ(clipped[1].x, 10.0);
  EXPECT_DOUBLE_EQ(clipped[1].y, 20.0);
  EXPECT_DOUBLE_EQ(clipped[2].x, 20.0);
  EXPECT_DOUBLE_EQ(clipped[2].y, 30.0);
  EXPECT_DOUBLE_EQ(clipped[3].x, 20.0);
  EXPECT_DOUBLE_EQ(clipped[4].y, 90.0);
}

TEST(ScreenClipTest, DegenerateAndBadPolygons) {
  const int32_t rect[4] = {0, 0, 99, 99};
  EXPECT_EQ(clip({}, rect).size(), 0u);
  EXPECT_EQ(clip({{50, 50}}, rect).size(), 1u);
  EXPECT_EQ(clip({{150, 50}}, rect).size(), 0u);
  std::vector<K3DPoint> segment = clip({{-50, 50}, {50, 50}}, rect);
  ASSERT_EQ(segment.size(), 3u) << "the crossing on the way back, the crossing out, the inside end";
  EXPECT_EQ(segment[0].x, 0.0);
  EXPECT_EQ(segment[1].x, 0.0);
  EXPECT_EQ(segment[2].x, 50.0);
  EXPECT_LE(clip({{-1e300, 50}, {1e300, 50}, {0, 1e300}}, rect).size(), 12u);
  // Not-a-number lies in no region outside, so it is kept as it is.
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::vector<K3DPoint> kept = clip({{nan, 5}, {10, 10}, {5, 20}}, rect);
  ASSERT_EQ(kept.size(), 3u);
  EXPECT_TRUE(std::isnan(kept[0].x));
}

struct Chains {
  K3DPoint first[16], second[16];
  uint32_t firstCount = 99, secondCount = 99;
  explicit Chains(const std::vector<K3DPoint>& polygon) {
    k3dNormalizeForDrawPolygon(first, &firstCount, second, &secondCount, polygon.data(), uint32_t(polygon.size()));
  }
};

// x of a chain at height y, between its vertices.
double chainX(const K3DPoint* chain, uint32_t count, double y) {
  for (uint32_t i = 0; i + 1 < count; ++i)
    if (y >= chain[i].y && y <= chain[i + 1].y && chain[i + 1].y > chain[i].y)
      return chain[i].x + (chain[i + 1].x - chain[i].x) * (y - chain[i].y) / (chain[i + 1].y - chain[i].y);
  return chain[0].x;
}

TEST(ChainSplitTest, ConvexPolygonsSplitIntoALeftAndARightChainFromTopToBottom) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> phase(0, 2 * kPi);
  for (int round = 0; round < 60; ++round) {
    const int corners = 3 + round % 8;
    const double start = phase(random);
    const bool clockwise = round % 2;
    std::vector<K3DPoint> polygon;
    for (int i = 0; i < corners; ++i) {
      const double a = start + (clockwise ? -1 : 1) * 2 * kPi * i / corners;
      polygon.push_back({100 + 50 * std::cos(a), 100 + 50 * std::sin(a)});
    }
    Chains chains(polygon);
    ASSERT_EQ(chains.firstCount + chains.secondCount, uint32_t(corners) + 2);
    for (auto [chain, count] : {std::pair{chains.first, chains.firstCount}, {chains.second, chains.secondCount}}) {
      for (uint32_t i = 1; i < count; ++i) EXPECT_GE(chain[i].y, chain[i - 1].y);
    }
    const double middle = (chains.first[0].y + chains.first[chains.firstCount - 1].y) / 2;
    EXPECT_LT(chainX(chains.first, chains.firstCount, middle), chainX(chains.second, chains.secondCount, middle))
        << "round " << round;
  }
}

TEST(ChainSplitTest, FlatTopsFlatPolygonsAndTies) {
  // A flat top: the chain that starts along the flat edge has the point more.
  Chains triangle({{0, 0}, {10, 0}, {5, 10}});
  ASSERT_EQ(triangle.firstCount, 2u);
  ASSERT_EQ(triangle.secondCount, 3u);
  EXPECT_EQ(triangle.first[0].x, 0.0);
  EXPECT_EQ(triangle.second[1].x, 10.0);
  Chains mirrored({{10, 0}, {0, 0}, {5, 10}});
  ASSERT_EQ(mirrored.firstCount, 3u);
  EXPECT_EQ(mirrored.first[0].x, 10.0) << "the earliest vertex is the top";
  EXPECT_EQ(mirrored.first[1].x, 0.0);
  // All on one line: top and bottom are the same vertex.
  Chains flat({{0, 5}, {10, 5}, {20, 5}});
  EXPECT_EQ(flat.firstCount, 1u);
  EXPECT_EQ(flat.secondCount, 1u);
  Chains square({{0, 0}, {10, 0}, {10, 10}, {0, 10}});
  EXPECT_EQ(square.first[square.firstCount - 1].x, 10.0) << "the earliest lowest vertex is the bottom";
}

TEST(ChainSplitTest, DegeneratePolygons) {
  Chains none({});
  EXPECT_EQ(none.firstCount, 0u);
  EXPECT_EQ(none.secondCount, 0u);
  Chains one({{3, 4}});
  ASSERT_EQ(one.firstCount, 1u);
  ASSERT_EQ(one.secondCount, 1u);
  EXPECT_EQ(one.first[0].x, 3.0);
  Chains two({{3, 4}, {1, 9}});
  EXPECT_EQ(two.firstCount, 2u);
  EXPECT_EQ(two.secondCount, 2u);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  Chains bad({{nan, nan}, {1, 9}, {5, 2}});
  EXPECT_EQ(bad.firstCount + bad.secondCount, 2u) << "not-a-number compares false: vertex 0 is top and bottom";
}

}  // namespace
