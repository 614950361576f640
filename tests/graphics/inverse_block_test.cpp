// The inverse block transforms: the plain variant against the formula evaluated in extended
// precision on every grid, the vector variant against the plain one, the shortcuts for blocks
// with few coefficients against the full transform, and the extents the decoder derives.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "graphics/core/inverse_block.h"
#include "graphics/core/molaq.h"

namespace {

struct Grid {
  int32_t blockSize, sx, sy;
  int32_t n() const { return 1 << blockSize; }
  int32_t w() const { return n() << sx; }
  int32_t h() const { return n() << sy; }
};

// All the kernel's members: block sizes 3 to 5, each blown up by 1 to 8 in either direction
// as far as a side of 256 allows.
std::vector<Grid> everyGrid() {
  std::vector<Grid> grids;
  for (int32_t b = 3; b <= 5; ++b)
    for (int32_t sx = 0; sx <= 3 && b + sx <= 8; ++sx)
      for (int32_t sy = 0; sy <= 3 && b + sy <= 8; ++sy) grids.push_back({b, sx, sy});
  return grids;
}

// cos((2i + 1) k pi / 2size) for the `size` samples and the first `count` coefficients.
std::vector<long double> cosines(int32_t size, int32_t count) {
  const long double pi = std::numbers::pi_v<long double>;
  std::vector<long double> table(size_t(size) * count);
  for (int32_t i = 0; i < size; ++i)
    for (int32_t k = 0; k < count; ++k) table[size_t(i) * count + k] = std::cos((2 * i + 1) * k * pi / (2 * size));
  return table;
}

// The formula's sums in long double, separable: rows onto w samples, then columns onto h.
std::vector<long double> formula(const Grid& g, const std::vector<int32_t>& block, const uint32_t* q) {
  const int32_t n = g.n(), w = g.w(), h = g.h();
  std::vector<long double> across = cosines(w, n), down = cosines(h, n);
  std::vector<long double> rows(size_t(n) * w), out(size_t(w) * h);
  for (int32_t v = 0; v < n; ++v) {
    for (int32_t i = 0; i < w; ++i) {
      long double sum = 0;
      for (int32_t u = 0; u < n; ++u) {
        sum += std::ldexp(static_cast<long double>(block[v * w + u]), q ? int(q[v] + q[u]) : 0) * across[size_t(i) * n + u];
      }
      rows[size_t(v) * w + i] = sum;
    }
  }
  for (int32_t j = 0; j < h; ++j) {
    for (int32_t i = 0; i < w; ++i) {
      long double sum = 0;
      for (int32_t v = 0; v < n; ++v) sum += rows[size_t(v) * w + i] * down[size_t(j) * n + v];
      out[size_t(j) * w + i] = sum;
    }
  }
  return out;
}

// Coefficients in the top left n-square of a w by h array: `count` of them along the zig-zag
// order, of magnitudes up to `magnitude`, the rest 0.
std::vector<int32_t> coefficients(const Grid& g, uint32_t count, int32_t magnitude, std::mt19937& random) {
  std::vector<int32_t> block(size_t(g.w()) * g.h(), 0);
  const uint16_t* scan = mqScanOrder(g.n());
  for (uint32_t p = 0; p < count; ++p) {
    int32_t v = scan[p] / g.n(), u = scan[p] % g.n();
    block[v * g.w() + u] = int32_t(random() % (2 * magnitude + 1)) - magnitude;
  }
  return block;
}

std::vector<int32_t> transformed(decltype(&mqInverseBlockPlain) variant, const Grid& g,
                                 std::vector<int32_t> block, const uint32_t* q) {
  variant(block.data(), block.data(), q, g.blockSize, g.sx, g.sy, nullptr);
  return block;
}

TEST(InverseBlock, ThePlainVariantRoundsTheFormulaOnEveryGrid) {
  std::mt19937 random(11);
  uint32_t q[32];
  mqMakeQuantTable(q, 5, 0, 3 << 14, -(3 << 16));  // shifts from 4 upwards
  size_t compared = 0, ties = 0;
  for (const Grid& g : everyGrid()) {
    for (bool scaled : {false, true}) {
      uint32_t count = uint32_t(g.n() * g.n()) / (scaled ? 4 : 1);
      std::vector<int32_t> block = coefficients(g, count, scaled ? 40 : 1000, random);
      std::vector<long double> exact = formula(g, block, scaled ? q : nullptr);
      std::vector<int32_t> out = transformed(mqInverseBlockPlain, g, block, scaled ? q : nullptr);
      // Double precision leaves the sums this far from the exact ones, relative to the size of
      // their terms.
      long double terms = 0;
      for (int32_t v = 0; v < g.n(); ++v)
        for (int32_t u = 0; u < g.n(); ++u)
          terms += std::ldexp(std::abs(static_cast<long double>(block[v * g.w() + u])), scaled ? int(q[v] + q[u]) : 0);
      const long double noise = 1e-12L * terms;
      // Rounded to nearest, and with q then shifted right by 14: the floor of (x + 1/2) / step.
      const long double step = scaled ? 16384 : 1;
      for (size_t i = 0; i < exact.size(); ++i) {
        long double raised = exact[i] + 0.5L;
        long double boundary = std::round(raised / step) * step;
        if (std::abs(raised - boundary) < noise) {
          ++ties;  // either side is right
          continue;
        }
        ASSERT_EQ(out[i], int64_t(std::floor(raised / step))) << g.blockSize << " " << g.sx << " " << g.sy << " at " << i;
        ++compared;
      }
    }
  }
  EXPECT_LT(ties * 1000, compared) << "ties are rare";
}

// The vector variants this processor runs: SSE2, and AVX2 where it has it.
std::vector<decltype(&mqInverseBlockPlain)> vectorVariants() {
  std::vector<decltype(&mqInverseBlockPlain)> variants{mqInverseBlockSSE2};
  if (mqProcessorHasAVX2()) variants.push_back(mqInverseBlockAVX2);
  return variants;
}

TEST(InverseBlock, TheVectorVariantsStayWithinOneOfThePlain) {
  std::mt19937 random(12);
  uint32_t q[32];
  size_t samples = 0, differing = 0;
  for (const Grid& g : everyGrid()) {
    // Coefficients as a picture's blocks hold them: scaled back by the quantiser, a sample's
    // sum stays within the range of a few hundred.
    mqMakeQuantTable(q, g.blockSize, 0, 1 << 14, 0);
    for (uint32_t count : {1u, 3u, 10u, uint32_t(g.n() * g.n())}) {
      std::vector<int32_t> block = coefficients(g, count, 12, random);
      block[0] = int32_t(random() % 4000) - 2000;
      std::vector<int32_t> unscaled = coefficients(g, count, 100, random);
      std::vector<int32_t> plain = transformed(mqInverseBlockPlain, g, block, q);
      std::vector<int32_t> plainUnscaled = transformed(mqInverseBlockPlain, g, unscaled, nullptr);
      for (auto variant : vectorVariants()) {
        std::vector<int32_t> vector = transformed(variant, g, block, q);
        for (size_t i = 0; i < plain.size(); ++i) {
          ASSERT_LE(std::abs(plain[i] - vector[i]), 1) << g.blockSize << " " << g.sx << " " << g.sy << " at " << i;
          differing += plain[i] != vector[i];
        }
        samples += plain.size();
        vector = transformed(variant, g, unscaled, nullptr);
        for (size_t i = 0; i < plain.size(); ++i) ASSERT_LE(std::abs(plainUnscaled[i] - vector[i]), 1) << i;
      }
    }
  }
  EXPECT_LT(differing * 100, samples) << "most samples agree exactly";
}

// The vector kernels this processor runs, called with the extent as the decoder gives it.
std::vector<InverseBlockKernel> vectorKernels() {
  std::vector<InverseBlockKernel> kernels{mqInverseBlockKernelSSE2};
  if (mqProcessorHasAVX2()) kernels.push_back(mqInverseBlockKernelAVX2);
  return kernels;
}

// Blocks in natural order with extents of every shape, written at a stride wider than the
// output: full extents with large coefficients (whose lines the AVX2 kernel factorises), and
// random extents, whose last vector lanes and lines hold no coefficients. Every sample lies within
// 1 of the plain kernel's, and nothing beside the output is written.
TEST(InverseBlock, TheVectorKernelsStayWithinOneOfThePlainForAnyExtent) {
  std::mt19937 random(15);
  uint32_t typical[32], flat[32];
  size_t samples = 0, differing = 0;
  for (const Grid& g : everyGrid()) {
    const int32_t n = g.n(), w = g.w(), h = g.h(), stride = w + 8;
    mqMakeQuantTable(typical, g.blockSize, 0, 1 << 14, 0);
    mqMakeQuantTable(flat, g.blockSize, 0, 0, 0);  // 7 everywhere: the scaling leaves the sums as they are
    struct Case {
      BlockExtent extent;
      int32_t magnitude;
      const uint32_t* q;
    };
    std::vector<Case> cases{{{n, n}, 20000, nullptr}, {{n, n}, 20000, flat}, {{n, n}, 12, typical}};
    for (int i = 0; i < 4; ++i) {
      BlockExtent extent{1 + int32_t(random() % n), 1 + int32_t(random() % n)};
      cases.push_back({extent, 100, nullptr});
      cases.push_back({extent, 12, typical});
    }
    for (const Case& c : cases) {
      std::vector<int32_t> block(size_t(n) * n, 0);
      for (int32_t v = 0; v < c.extent.rows; ++v) {
        for (int32_t u = 0; u < c.extent.columns; ++u) {
          block[v * n + u] = int32_t(random() % (2 * c.magnitude + 1)) - c.magnitude;
        }
      }
      block[0] = int32_t(random() % 4000) - 2000;
      std::vector<int32_t> plain(size_t(stride) * h);
      mqInverseBlockKernelPlain(plain.data(), stride, block.data(), c.q, g.blockSize, g.sx, g.sy, c.extent);
      for (InverseBlockKernel kernel : vectorKernels()) {
        std::vector<int32_t> out(plain.size(), -7);
        kernel(out.data(), stride, block.data(), c.q, g.blockSize, g.sx, g.sy, c.extent);
        for (int32_t j = 0; j < h; ++j) {
          for (int32_t i = 0; i < stride; ++i) {
            const int32_t at = j * stride + i;
            if (i >= w) {
              ASSERT_EQ(out[at], -7) << "written beside the output at " << j << " " << i;
              continue;
            }
            ASSERT_LE(std::abs(plain[at] - out[at]), 1)
                << g.blockSize << " " << g.sx << " " << g.sy << " extent " << c.extent.rows << "x" << c.extent.columns
                << " magnitude " << c.magnitude << " at " << j << " " << i;
            if (c.magnitude <= 100) {
              differing += plain[at] != out[at];
              ++samples;
            }
          }
        }
      }
    }
  }
  EXPECT_LT(differing * 100, samples) << "most samples of coefficients of a picture's size agree exactly";
}

TEST(InverseBlock, BlocksWithFewCoefficientsGiveWhatTheFullTransformGives) {
  std::mt19937 random(13);
  uint32_t q[32];
  for (const Grid& g : everyGrid()) {
    mqMakeQuantTable(q, g.blockSize, 0, 1 << 14, 0);
    const int32_t n = g.n();
    for (uint32_t count : {0u, 1u, 2u, 6u}) {
      std::vector<int32_t> natural(size_t(n) * n, 0);
      std::vector<int32_t> block = coefficients(g, count, 50, random);
      for (int32_t v = 0; v < n; ++v)
        for (int32_t u = 0; u < n; ++u) natural[v * n + u] = block[v * g.w() + u];
      BlockExtent extent = mqScanExtent(n, count);
      std::vector<InverseBlockKernel> kernels = vectorKernels();
      kernels.push_back(mqInverseBlockKernelPlain);
      for (InverseBlockKernel kernel : kernels) {
        std::vector<int32_t> shortcut(size_t(g.w()) * g.h(), -7), full(shortcut.size(), -7);
        kernel(shortcut.data(), g.w(), natural.data(), q, g.blockSize, g.sx, g.sy, extent);
        kernel(full.data(), g.w(), natural.data(), q, g.blockSize, g.sx, g.sy, {n, n});
        ASSERT_EQ(shortcut, full) << g.blockSize << " " << g.sx << " " << g.sy << " count " << count;
      }
    }
    // A block of only the first coefficient is flat: its value, scaled.
    std::vector<int32_t> dc(size_t(g.w()) * g.h(), 0);
    dc[0] = 37;
    std::vector<decltype(&mqInverseBlockPlain)> variants = vectorVariants();
    variants.push_back(mqInverseBlockPlain);
    for (auto variant : variants) {
      std::vector<int32_t> flat = transformed(variant, g, dc, q);
      EXPECT_EQ(flat.front(), int32_t(std::ldexp(37.0, int(2 * q[0]) - 14)));
      EXPECT_EQ(flat.back(), flat.front());
    }
  }
}

TEST(InverseBlock, KernelsWriteAtTheirStrideAndNothingBeside) {
  const Grid g{3, 1, 1};
  std::mt19937 random(14);
  std::vector<int32_t> block = coefficients(g, 20, 30, random);
  std::vector<int32_t> natural(64);
  for (int32_t v = 0; v < 8; ++v)
    for (int32_t u = 0; u < 8; ++u) natural[v * 8 + u] = block[v * g.w() + u];
  std::vector<int32_t> expected = transformed(mqInverseBlockPlain, g, block, nullptr);
  const int32_t stride = 40;
  std::vector<int32_t> raster(size_t(stride) * g.h(), 12345);
  mqInverseBlockKernelPlain(raster.data(), stride, natural.data(), nullptr, 3, 1, 1, mqFindBlockExtent(natural.data(), 8, 8));
  for (int32_t j = 0; j < g.h(); ++j) {
    for (int32_t i = 0; i < stride; ++i) {
      ASSERT_EQ(raster[j * stride + i], i < g.w() ? expected[j * g.w() + i] : 12345) << j << " " << i;
    }
  }
}

TEST(InverseBlock, ExtentsCoverExactlyTheNonZeroCoefficients) {
  for (int32_t n : {8, 16, 32}) {
    const uint16_t* scan = mqScanOrder(n);
    std::vector<int32_t> block(size_t(n) * n, 0);
    EXPECT_EQ(mqScanExtent(n, 0).rows, 0);
    EXPECT_EQ(mqFindBlockExtent(block.data(), n, n).rows, 0);
    for (int32_t p = 0; p < n * n; ++p) {
      block[scan[p]] = 1;
      BlockExtent byScan = mqScanExtent(n, uint32_t(p + 1));
      BlockExtent found = mqFindBlockExtent(block.data(), n, n);
      ASSERT_EQ(byScan.rows, found.rows) << n << " " << p;
      ASSERT_EQ(byScan.columns, found.columns) << n << " " << p;
    }
    EXPECT_EQ(mqScanExtent(n, 3).rows, 2) << "positions 0, 1, n";
    EXPECT_EQ(mqScanExtent(n, 3).columns, 2);
    EXPECT_EQ(mqScanExtent(n, uint32_t(n * n)).rows, n);
  }
  // A single coefficient far down the left column: only the first column is live.
  std::vector<int32_t> block(64, 0);
  block[6 * 8] = 5;
  BlockExtent extent = mqFindBlockExtent(block.data(), 8, 8);
  EXPECT_EQ(extent.rows, 7);
  EXPECT_EQ(extent.columns, 1);
}

}  // namespace
