// The polygon walk of the rasteriser: the plane, the edge chains and the rows; the rows
// themselves are in texture_rows.cpp (plain) and texture_rows_sse2.cpp (vector).
#include "graphics/3d/texture_polygon.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "graphics/3d/texture_rows.h"

namespace k3d {

namespace {

// Truncates toward zero as the processor's conversion does: out of range and not-a-number
// give INT32_MIN.
int32_t truncateToInt32(double value) {
  return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int32_t>(value) : INT32_MIN;
}

MajorAxis majorAxis(const K3DVector& n) {
  const double x = std::fabs(n.x), y = std::fabs(n.y), z = std::fabs(n.z);
  if (x < y) return y < z ? MajorAxis::Z : MajorAxis::Y;
  return x < z ? MajorAxis::Z : MajorAxis::X;
}

// The x step per two rows along the edge from a to b. The height plus 1 as divisor keeps a flat
// edge finite.
double slope(const K3DPoint& a, const K3DPoint& b) { return 2 * (b.x - a.x) / ((b.y - a.y) + 1); }

// One side of the polygon: its chain, the next vertex, the x of the current row and its step.
// Behind the last point a closing point is stored, whose coordinates are the bit pattern 1; a
// chain of a single point reads it.
struct Edge {
  std::vector<K3DPoint> chain;
  uint32_t count = 0;
  uint32_t next = 1;
  double x = 0, step = 0;

  void start() {
    const double closing = std::bit_cast<double>(uint64_t{1});
    chain[count] = {closing, closing};
    x = chain[0].x;
    step = slope(chain[0], chain[1]);
  }
  // Takes the edges that begin at or above row y; false when the chain ended there.
  bool reach(int32_t y) {
    while (y >= truncateToInt32(chain[next].y)) {
      if (next + 1 >= count) return false;
      x = chain[next].x;
      step = slope(chain[next], chain[next + 1]);
      ++next;
    }
    return true;
  }
};

bool vectorChosen() { return mqGetInterface()->mqDrawImage == mqDrawImageSSE2; }

}  // namespace

void drawTexturePolygon(const ImageInfo& destination, const K3DPoint* polygon, uint32_t count,
                        const ImageInfo& texture, const K3DVector& origin, const K3DVector& axisU,
                        const K3DVector& axisV, const int32_t center[2], int32_t focal, Variant variant) {
  const int32_t width = destination.width, height = destination.height;
  if (count == 0 || !destination.pixels || width <= 0 || height <= 0 || !texture.pixels || texture.width <= 0 ||
      texture.height <= 0)
    return;

  Edge left, right;
  left.chain.resize(count + 1);
  right.chain.resize(count + 1);
  normalizeForDrawPolygon(left.chain.data(), &left.count, right.chain.data(), &right.count, polygon, count);
  left.start();
  right.start();

  const K3DVector &u = axisU, &v = axisV, &p = origin;
  TexturePlane plane;
  plane.origin = p;
  plane.axisU = u;
  plane.axisV = v;
  plane.normal = {u.y * v.z - v.y * u.z, v.x * u.z - u.x * v.z, u.x * v.y - v.x * u.y};
  plane.d = p.z * plane.normal.z + p.y * plane.normal.y + p.x * plane.normal.x;
  plane.df = plane.d * focal;
  plane.nzf = plane.normal.z * focal;
  std::vector<const uint8_t*> texels(texture.height);
  for (int32_t row = 0; row < texture.height; ++row) texels[row] = texture.pixels + ptrdiff_t{row} * texture.pitch;
  plane.texels = texels.data();
  plane.textureWidth = texture.width;
  plane.textureHeight = texture.height;

  const bool vector = variant == Variant::Vector || (variant == Variant::Chosen && vectorChosen());
  const MajorAxis axis = majorAxis(plane.normal);
  const TextureRowKernel kernel = vector ? textureRowSSE2(axis) : textureRowPlain(axis);

  // Two rows of pairs for pixels -2 to width - 1.
  const size_t rowWords = 2 * (size_t(width) + 2);
  std::vector<int32_t> pairs(2 * rowWords);
  int32_t* current = pairs.data() + 4;
  int32_t* previous = current + rowWords;
  bool firstRow = true;

  const int32_t first = truncateToInt32(left.chain[0].y);
  const int32_t last = std::min(truncateToInt32(left.chain[left.count - 1].y), height - 1);
  for (int32_t y = first; y <= last; y += 2) {
    if (!left.reach(y) || !right.reach(y)) break;
    if (y >= 0) {
      const double b = double(y) - center[1];
      TextureRow row;
      row.den = plane.normal.y * b + plane.nzf;
      row.db = plane.d * b;
      row.xl = std::clamp(truncateToInt32(left.x), 0, width - 1);
      row.xr = std::clamp(truncateToInt32(right.x), 0, width - 1);
      row.a = double(row.xl) - center[0];
      std::swap(current, previous);
      std::fill(current - 4, current - 4 + rowWords, kNoValue);
      row.current = current;
      row.previous = firstRow ? nullptr : previous;
      row.pixels = destination.pixels + ptrdiff_t{height - 1 - y} * destination.pitch;
      row.between = row.pixels + destination.pitch;
      kernel(plane, row);
      firstRow = false;
    }
    left.x += left.step;
    right.x += right.step;
  }
}

}  // namespace k3d
