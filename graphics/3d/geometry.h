// The geometry of the software 3D renderer: rotations of point arrays about the three axes,
// the two rotations that turn a direction into the view axis, clipping of a polygon against a
// near plane and a screen rectangle, perspective projection, and the split of a convex polygon
// into the two edge chains the rasteriser walks. All stateless, in double precision. A view
// space has the eye at the origin and looks along +z; screen y grows downward.
#pragma once

#include <cstdint>

struct K3DVector {
  double x, y, z;
};

struct K3DPoint {
  double x, y;
};

struct K3DRevolution {
  double sine, cosine;
};

namespace k3d {

// dst and src may be the same array: each point is read before it is written.
void revolveXAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count);
void revolveYAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count);
// Turns the other way round than the X and Y rotations: x' = x c + y s, y' = y c - x s.
void revolveZAxis(K3DVector* dst, const K3DVector* src, const K3DRevolution& angle, uint32_t count);

// The angles that bring `direction` onto +z: revolveYAxis by `yAngle`, then revolveXAxis by
// `xAngle`. A zero vector gives not-a-number angles.
void revolutionYXAxis(K3DRevolution* yAngle, K3DRevolution* xAngle, const K3DVector& direction);

// The part of the closed polygon at z >= zNear. dst must not overlap src and has room for
// count + 1 vertices; no more than that is ever written. Gives the vertex count.
uint32_t clipZBelow(K3DVector* dst, const K3DVector* src, uint32_t count, int32_t zNear);

// dst = (x, y) * focal / z + center. z must not be 0.
void project2DScreen(K3DPoint* dst, const K3DVector* src, uint32_t count, const int32_t center[2],
                     int32_t focal);

// The part of the closed polygon inside the inclusive rectangle (left, top, right, bottom),
// clipped in x and then in y. dst has room for 4 * count points. Gives the vertex count.
uint32_t clipDispRect(K3DPoint* dst, const K3DPoint* src, uint32_t count, const int32_t rect[4]);

// Splits a convex polygon at its top and its bottom into two chains from the top to the
// bottom, the left one first. Both hold the top and the bottom (one point each when they are
// the same vertex), so each needs room for `count` points. A count of 0 gives two empty chains.
void normalizeForDrawPolygon(K3DPoint* first, uint32_t* firstCount, K3DPoint* second,
                             uint32_t* secondCount, const K3DPoint* polygon, uint32_t count);

}  // namespace k3d
