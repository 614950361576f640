// The plain rows: the reference for the vector ones.
#include <cmath>

#include "graphics/3d/texture_rows.h"

namespace k3d {

namespace {

// Rounds to nearest as the processor's conversion does: out of range and not-a-number give the
// mark.
int32_t roundToInt32(double value) {
  const double rounded = std::nearbyint(value);
  return rounded >= -2147483648.0 && rounded <= 2147483647.0 ? static_cast<int32_t>(rounded) : kNoValue;
}

// The ray through the pixel is (a, b, focal); it meets the plane at the ray times d / D. Each
// equation is multiplied by D, so that one division serves both coordinates.
template <MajorAxis axis>
void solve(const TexturePlane& plane, const TextureRow& row, double a, int32_t* uv) {
  const K3DVector &p = plane.origin, &u = plane.axisU, &v = plane.axisV, &n = plane.normal;
  const double D = n.x * a + row.den;
  double e1, e2, w, su, sv;
  if constexpr (axis == MajorAxis::X) {
    e1 = row.db - p.y * D;
    e2 = plane.df - p.z * D;
    w = 1.0 / (n.x * D);
    su = (v.z * e1 - v.y * e2) * w;
    sv = (u.y * e2 - u.z * e1) * w;
  } else if constexpr (axis == MajorAxis::Y) {
    e1 = plane.d * a - p.x * D;
    e2 = plane.df - p.z * D;
    w = 1.0 / (n.y * D);
    su = (v.x * e2 - v.z * e1) * w;
    sv = (u.z * e1 - u.x * e2) * w;
  } else {
    e1 = plane.d * a - p.x * D;
    e2 = row.db - p.y * D;
    w = 1.0 / (n.z * D);
    su = (v.y * e1 - v.x * e2) * w;
    sv = (u.x * e2 - u.y * e1) * w;
  }
  uv[0] = roundToInt32(su);
  uv[1] = roundToInt32(sv);
}

// Solves every second pixel from xl; the pixel before each takes the mean of its neighbours.
// Pixel -1 lies outside the destination and is never plotted. Then the row between this and
// the previous sampled row takes the means of the two.
template <MajorAxis axis>
void textureRow(const TexturePlane& plane, const TextureRow& row) {
  int32_t* pairs = row.current;
  double a = row.a;
  for (int32_t x = row.xl; x <= row.xr; x += 2, a += 2.0) {
    int32_t* sample = pairs + 2 * x;
    solve<axis>(plane, row, a, sample);
    int32_t* before = sample - 2;
    before[0] = meanOf(sample[0], sample[-4]);
    before[1] = meanOf(sample[1], sample[-3]);
    if (x > 0) plot(plane, row.pixels + x - 1, before);
    plot(plane, row.pixels + x, sample);
  }
  if (!row.previous) return;
  for (int32_t x = row.xl; x <= row.xr; ++x) {
    const int32_t mean[2] = {meanOf(pairs[2 * x], row.previous[2 * x]),
                             meanOf(pairs[2 * x + 1], row.previous[2 * x + 1])};
    plot(plane, row.between + x, mean);
  }
}

}  // namespace

TextureRowKernel textureRowPlain(MajorAxis axis) {
  switch (axis) {
    case MajorAxis::X: return textureRow<MajorAxis::X>;
    case MajorAxis::Y: return textureRow<MajorAxis::Y>;
    default: return textureRow<MajorAxis::Z>;
  }
}

}  // namespace k3d
