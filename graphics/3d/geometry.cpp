#include "graphics/3d/geometry.h"

#include <cmath>
#include <vector>

namespace k3d {

void revolveXAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count) {
  const double s = angle.sine, c = angle.cosine;
  for (uint32_t i = 0; i < count; ++i) {
    const K3DVector p = src[i];
    dst[i] = {p.x, p.y * c - p.z * s, p.y * s + p.z * c};
  }
}

void revolveYAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count) {
  const double s = angle.sine, c = angle.cosine;
  for (uint32_t i = 0; i < count; ++i) {
    const K3DVector p = src[i];
    dst[i] = {p.x * c - p.z * s, p.y, p.x * s + p.z * c};
  }
}

void revolveZAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count) {
  const double s = angle.sine, c = angle.cosine;
  for (uint32_t i = 0; i < count; ++i) {
    const K3DVector p = src[i];
    dst[i] = {p.x * c + p.y * s, p.y * c - p.x * s, p.z};
  }
}

void revolutionYXAxis(K3DRevolution* yAngle, K3DRevolution* xAngle, const K3DVector& direction) {
  const double h = std::sqrt(direction.z * direction.z + direction.x * direction.x);
  *yAngle = h != 0.0 ? K3DRevolution{direction.x / h, direction.z / h} : K3DRevolution{0.0, 1.0};
  const double l = std::sqrt(direction.y * direction.y + h * h);
  *xAngle = {direction.y / l, h / l};
}

uint32_t clipZBelow(K3DVector* dst, const K3DVector* src, uint32_t count, int32_t zNear) {
  const double near = zNear;
  const uint32_t room = count + 1;
  uint32_t out = 0;
  auto emit = [&](const K3DVector& point) {
    if (out < room) dst[out++] = point;
  };
  // The crossing of the edge from p to c with the plane z = near.
  auto crossing = [near](const K3DVector& p, const K3DVector& c) {
    const double t = (near - c.z) / (c.z - p.z);
    return K3DVector{(c.x - p.x) * t + c.x, (c.y - p.y) * t + c.y, near};
  };
  for (uint32_t i = 0; i < count; ++i) {
    const K3DVector& p = src[i == 0 ? count - 1 : i - 1];
    const K3DVector& c = src[i];
    const bool previousInside = p.z >= near, inside = c.z >= near;
    if (!previousInside && inside) emit(crossing(p, c));
    if (inside) emit(c);
    if (previousInside && !inside) emit(crossing(p, c));
  }
  return out;
}

void project2DScreen(K3DPoint* dst, const K3DVector* src, uint32_t count, const int32_t center[2],
                     int32_t focal) {
  for (uint32_t i = 0; i < count; ++i) {
    const double k = focal / src[i].z;
    dst[i] = {src[i].x * k + center[0], src[i].y * k + center[1]};
  }
}

namespace {

// One pass of the rectangle clip against lo <= coordinate <= hi. `Along` reads the clipped
// coordinate of a point and makes the point at a bound from an edge.
template <typename Along>
uint32_t clipPass(K3DPoint* dst, const K3DPoint* src, uint32_t count, double lo, double hi) {
  auto region = [lo, hi](const K3DPoint& point) {
    const double v = Along::coordinate(point);
    return v < lo ? -1 : v > hi ? 1 : 0;
  };
  auto bound = [lo, hi](int side) { return side < 0 ? lo : hi; };
  uint32_t out = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const K3DPoint& p = src[i == 0 ? count - 1 : i - 1];
    const K3DPoint& c = src[i];
    const int from = region(p), to = region(c);
    if (to != from && from != 0) dst[out++] = Along::atBound(p, c, bound(from));
    if (to == 0) dst[out++] = c;
    if (to != from && to != 0) dst[out++] = Along::atBound(p, c, bound(to));
  }
  return out;
}

struct AlongX {
  static double coordinate(const K3DPoint& point) { return point.x; }
  static K3DPoint atBound(const K3DPoint& p, const K3DPoint& c, double b) {
    return {b, (c.y - p.y) * (b - c.x) / (c.x - p.x) + c.y};
  }
};

struct AlongY {
  static double coordinate(const K3DPoint& point) { return point.y; }
  static K3DPoint atBound(const K3DPoint& p, const K3DPoint& c, double b) {
    return {(c.x - p.x) * (b - c.y) / (c.y - p.y) + c.x, b};
  }
};

}  // namespace

// Each pass emits at most two points per vertex, so 2 * count after the first and 4 * count
// after the second.
uint32_t clipDispRect(K3DPoint* dst, const K3DPoint* src, uint32_t count, const int32_t rect[4]) {
  if (count == 0) return 0;
  std::vector<K3DPoint> across(2 * size_t{count});
  const uint32_t first = clipPass<AlongX>(across.data(), src, count, rect[0], rect[2]);
  if (first == 0) return 0;
  return clipPass<AlongY>(dst, across.data(), first, rect[1], rect[3]);
}

void normalizeForDrawPolygon(K3DPoint* first, uint32_t* firstCount, K3DPoint* second,
                             uint32_t* secondCount, const K3DPoint* polygon, uint32_t count) {
  if (count == 0) {
    *firstCount = *secondCount = 0;
    return;
  }
  uint32_t top = 0, bottom = 0;
  for (uint32_t i = 1; i < count; ++i) {
    if (polygon[i].y < polygon[top].y) top = i;
    else if (polygon[i].y > polygon[bottom].y) bottom = i;
  }
  const K3DPoint& t = polygon[top];
  const K3DPoint& next = polygon[top + 1 == count ? 0 : top + 1];
  const K3DPoint& prev = polygon[top == 0 ? count - 1 : top - 1];
  int direction;
  if (next.y == t.y) direction = t.x <= next.x ? -1 : 1;
  else if (prev.y == t.y) direction = t.x >= prev.x ? -1 : 1;
  else direction = (prev.x - t.x) / (prev.y - t.y) >= (next.x - t.x) / (next.y - t.y) ? 1 : -1;

  auto chain = [&](K3DPoint* out, int step) {
    uint32_t n = 0, i = top;
    out[n++] = polygon[i];
    while (i != bottom) {
      i = step > 0 ? (i + 1 == count ? 0 : i + 1) : (i == 0 ? count - 1 : i - 1);
      out[n++] = polygon[i];
    }
    return n;
  };
  *firstCount = chain(first, direction);
  *secondCount = chain(second, -direction);
}

}  // namespace k3d
