// The rows of the textured polygon rasteriser, in a plain and a vector (SSE2) variant that give
// the same pixels to the bit. The polygon walk (texture_polygon.cpp) hands each sampled row to
// them.
#pragma once

#include <cstdint>

#include "graphics/3d/geometry.h"

namespace k3d {

// The equations that are solved: those of the largest component of the plane's normal.
enum class MajorAxis { X, Y, Z };

// The texture's plane N . X = d, with N = U x V, and the texture around it.
struct TexturePlane {
  K3DVector origin, axisU, axisV, normal;
  double d;
  double df;  // d * focal
  double nzf;  // normal.z * focal
  const uint8_t* const* texels;  // the texture's rows, v = 0 first
  int32_t textureWidth, textureHeight;  // both above 0
};

// A pair of int32 (u, v) per pixel; the mark means "no value".
constexpr int32_t kNoValue = INT32_MIN;

// One sampled row y and the row y - 1 between it and the previous sampled row.
struct TextureRow {
  double a;  // xl - center x
  double den;  // normal.y * b + nzf, with b = y - center y
  double db;  // d * b
  int32_t xl, xr;  // within the destination
  int32_t* current;  // the pair of pixel x at current[2 * x]; pixels -2 and -1 exist, marked
  const int32_t* previous;  // the previous sampled row's pairs, or null for the first one
  uint8_t* pixels;  // destination row y
  uint8_t* between;  // destination row y - 1 (used with `previous`)
};

using TextureRowKernel = void (*)(const TexturePlane& plane, const TextureRow& row);

// Kernels by major axis.
TextureRowKernel textureRowPlain(MajorAxis axis);
TextureRowKernel textureRowSSE2(MajorAxis axis);

// (a + b) >> 1 with the 32-bit wrap of the sum: a mean with the mark is negative or about
// 2^30, past any texture.
inline int32_t meanOf(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b)) >> 1;
}

// Copies the texel (u, v) to `pixel` when it lies inside the texture.
inline void plot(const TexturePlane& plane, uint8_t* pixel, const int32_t* uv) {
  if (static_cast<uint32_t>(uv[0]) < static_cast<uint32_t>(plane.textureWidth) &&
      static_cast<uint32_t>(uv[1]) < static_cast<uint32_t>(plane.textureHeight))
    *pixel = plane.texels[uv[1]][uv[0]];
}

}  // namespace k3d
