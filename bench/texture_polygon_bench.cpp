// The textured polygon rasteriser filling a 640x480 screen with a perspective quad of an 8-bit
// texture, beside pixman compositing the same quad (a8 onto a8, SRC) through the same
// projective transform with nearest filtering. Prints the ratios (pixman's time / ours) after
// the table.
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cmath>
#include <random>
#include <vector>

#include "bench/ratio_reporter.h"
#include "graphics/3d/texture_polygon.h"

namespace {

constexpr int32_t kWidth = 640, kHeight = 480, kTexture = 1024;

K3DVector cross(const K3DVector& a, const K3DVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
double dot(const K3DVector& a, const K3DVector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// A texture plane tilted away from the eye, every screen pixel's ray meeting it inside the
// texture.
struct Scene {
  K3DVector origin, axisU, axisV;
  int32_t center[2] = {kWidth / 2, kHeight / 2};
  int32_t focal = kHeight;
  std::vector<uint8_t> texels, screen;
  ImageInfo texture{}, destination{};

  Scene() : texels(size_t(kTexture) * kTexture), screen(size_t(kWidth) * kHeight) {
    const double c = std::cos(0.9), s = std::sin(0.9);
    auto turn = [&](K3DVector w) { return K3DVector{w.x, w.y * c - w.z * s, w.y * s + w.z * c}; };
    axisU = turn({1, 0, 0});
    axisV = turn({0, 0, 1});
    origin = turn({-kTexture / 2.0, 300, -40});
    std::mt19937 random(9);
    for (uint8_t& t : texels) t = uint8_t(random());
    texture = {32, texels.data(), kTexture, kTexture, 8, kTexture, uint32_t(texels.size()), 0};
    destination = {32, screen.data(), kWidth, kHeight, 8, kWidth, uint32_t(screen.size()), 0};
  }

  // The map from screen pixel (x, y, 1) to texture (u, v, w), for pixman: the ray's hit point
  // in the dual basis of U and V, with the ray (x - cx, y - cy, focal). Pixman samples at pixel
  // centres and takes the texel under the point, where we solve at the pixel's corner and round:
  // the map is shifted by half a pixel on both sides so that both pick the same texels.
  pixman_transform_t transform() const {
    const K3DVector n = cross(axisU, axisV);
    const double d = dot(n, origin);
    const K3DVector dualU = cross(axisV, n), dualV = cross(n, axisU);
    const double pu = dot(origin, dualU), pv = dot(origin, dualV);
    // u * w = d * (r . dualU) - pu * (r . n), v * w likewise, w = nn * (r . n).
    const double nn = dot(n, n);
    double rows[3][3];
    const K3DVector forU{d * dualU.x - pu * n.x, d * dualU.y - pu * n.y, d * dualU.z - pu * n.z};
    const K3DVector forV{d * dualV.x - pv * n.x, d * dualV.y - pv * n.y, d * dualV.z - pv * n.z};
    const K3DVector forW{nn * n.x, nn * n.y, nn * n.z};
    const K3DVector* lines[3] = {&forU, &forV, &forW};
    for (int i = 0; i < 3; ++i) {
      const K3DVector& l = *lines[i];
      rows[i][0] = l.x;
      rows[i][1] = l.y;
      rows[i][2] = -l.x * (center[0] + 0.5) - l.y * (center[1] + 0.5) + l.z * focal;
    }
    for (int i = 0; i < 2; ++i)
      for (int j = 0; j < 3; ++j) rows[i][j] += 0.5 * rows[2][j];
    // Scaled so that w is positive (pixman draws nothing where it is negative) and the largest
    // entry is 2^14, which leaves pixman's 16.16 fixed point the most precision.
    const double w = rows[2][0] * (center[0] + 0.5) + rows[2][1] * (center[1] + 0.5) + rows[2][2];
    double largest = 0;
    for (const auto& row : rows)
      for (double value : row) largest = std::max(largest, std::fabs(value));
    pixman_f_transform_t f;
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) f.m[i][j] = rows[i][j] / largest * (w < 0 ? -16384 : 16384);
    pixman_transform_t t;
    pixman_transform_from_pixman_f_transform(&t, &f);
    return t;
  }
};

Scene& scene() {
  static Scene s;
  return s;
}

void ours(benchmark::State& state, k3d::Variant variant) {
  Scene& s = scene();
  const K3DPoint screen[4] = {{0, 0}, {kWidth - 1, 0}, {kWidth - 1, kHeight - 1}, {0, kHeight - 1}};
  for (auto _ : state) {
    k3d::drawTexturePolygon(s.destination, screen, 4, s.texture, s.origin, s.axisU, s.axisV, s.center, s.focal,
                            variant);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}

void pixman(benchmark::State& state) {
  Scene& s = scene();
  pixman_image_t* source = pixman_image_create_bits(PIXMAN_a8, kTexture, kTexture,
                                                    reinterpret_cast<uint32_t*>(s.texels.data()), kTexture);
  pixman_image_t* target = pixman_image_create_bits(PIXMAN_a8, kWidth, kHeight,
                                                    reinterpret_cast<uint32_t*>(s.screen.data()), kWidth);
  pixman_transform_t transform = s.transform();
  pixman_image_set_transform(source, &transform);
  pixman_image_set_filter(source, PIXMAN_FILTER_NEAREST, nullptr, 0);
  for (auto _ : state) {
    pixman_image_composite32(PIXMAN_OP_SRC, source, nullptr, target, 0, 0, 0, 0, 0, 0, kWidth, kHeight);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
  // How many pixels show the texel that ours shows: all but some of the means between the
  // solved pixels, if both draw the same quad.
  std::vector<uint8_t> theirs = s.screen;
  const K3DPoint screen[4] = {{0, 0}, {kWidth - 1, 0}, {kWidth - 1, kHeight - 1}, {0, kHeight - 1}};
  k3d::drawTexturePolygon(s.destination, screen, 4, s.texture, s.origin, s.axisU, s.axisV, s.center, s.focal);
  size_t same = 0;
  for (int32_t y = 0; y < kHeight; ++y)  // our rows are stored bottom-up, pixman's top-down
    for (int32_t x = 0; x < kWidth; ++x) same += theirs[size_t(y) * kWidth + x] == s.screen[size_t(kHeight - 1 - y) * kWidth + x];
  state.counters["same_pixels"] = double(same) / double(theirs.size());
  pixman_image_unref(source);
  pixman_image_unref(target);
}

BENCHMARK_CAPTURE(ours, plain, k3d::Variant::Plain)->Name("plain/texture_quad/640x480")->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ours, sse2, k3d::Variant::Vector)->Name("sse2/texture_quad/640x480")->Unit(benchmark::kMicrosecond);
BENCHMARK(pixman)->Name("pixman/projective_a8/640x480")->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  return runBenchmarksWithRatios(argc, argv, "Ratios, pixman's time / ours:", [](RatioReporter& reporter) {
    reporter.ratio("perspective quad 640x480 (SSE2) vs pixman", "sse2/texture_quad/640x480",
                   "pixman/projective_a8/640x480", 1.0);
    reporter.ratio("perspective quad 640x480 (plain) vs pixman", "plain/texture_quad/640x480",
                   "pixman/projective_a8/640x480");
    reporter.ratio("SSE2 vs plain rows", "sse2/texture_quad/640x480", "plain/texture_quad/640x480");
  });
}
