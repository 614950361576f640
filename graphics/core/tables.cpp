// The tables that all kernels share, built once, and the dither seed.
#include <atomic>
#include <cmath>
#include <numbers>

#include "graphics/core/molaq.h"

namespace {

int32_t roundToInt(double value) { return static_cast<int32_t>(std::lround(value)); }

YCCTerms terms(double toY, double toCb, double toCr, int i) {
  double x = i * 256.0;
  return {roundToInt(toY * x), roundToInt(toCb * x), roundToInt(toCr * x)};
}

// The zig-zag path through an n by n block: along the anti-diagonals, alternating direction,
// starting to the right.
void buildScanOrder(uint16_t* order, int n) {
  int at = 0;
  for (int sum = 0; sum <= 2 * (n - 1); ++sum) {
    int low = sum < n ? 0 : sum - n + 1;
    int high = sum < n ? sum : n - 1;
    for (int step = 0; step <= high - low; ++step) {
      // Odd diagonals run down-left (x falling), even ones up-right (y falling).
      int major = high - step;
      int x = (sum & 1) ? major : sum - major;
      int y = sum - x;
      order[at++] = static_cast<uint16_t>(y * n + x);
    }
  }
}

void buildTables(MOLAQTables& t) {
  for (int i = 0; i < 256; ++i) {
    t.red[i] = terms(0.299, -0.1687, 0.5, i);
    t.green[i] = terms(0.587, -0.3313, -0.4187, i);
    t.blue[i] = terms(0.114, 0.5, -0.0813, i);
    double x = (i - 128) * 256.0;
    t.cb[i] = {roundToInt(-0.34414 * x), roundToInt(1.772 * x)};
    t.cr[i] = {roundToInt(1.402 * x), roundToInt(-0.71414 * x)};
  }
  buildScanOrder(t.scan8, 8);
  buildScanOrder(t.scan16, 16);
  buildScanOrder(t.scan32, 32);

  const double pi = std::numbers::pi;
  for (int n = 1; n <= 10; ++n)
    for (int k = 0; k < (1 << (n - 1)); ++k) t.cosine[n][k] = std::cos((2 * k + 1) * pi / (1 << (n + 1)));
  t.twoCosQuarterPi = 2 * std::cos(pi / 4);

  static int16_t matrices[8 * 8 + 16 * 16 + 32 * 32 + (64 + 128 + 256) * 32];
  int16_t* next = matrices;
  for (int n = 3; n <= 8; ++n) {
    int size = 1 << n;
    int columns = size < 32 ? size : 32;
    t.matrix[n] = next;
    for (int i = 0; i < size; ++i)
      for (int k = 0; k < columns; ++k)
        *next++ = static_cast<int16_t>(roundToInt(std::cos((2 * i + 1) * k * pi / (2 * size)) * 16384));
  }
  for (int n = 3; n <= 4; ++n)
    for (int k = 0; k < (1 << (n - 1)); ++k)
      t.cosine16[n][k] = static_cast<int16_t>(roundToInt(t.cosine[n][k] * 16384));
}

std::atomic<uint64_t> ditherSeed{kDitherSeedStart};

}  // namespace

const MOLAQTables& mqTables() {
  static const MOLAQTables* tables = [] {
    static MOLAQTables built{};
    buildTables(built);
    return &built;
  }();
  return *tables;
}

const uint16_t* mqScanOrder(int32_t size) {
  const MOLAQTables& t = mqTables();
  if (size >= 32) return t.scan32;
  if (size >= 16) return t.scan16;
  return t.scan8;
}

uint64_t mqLoadDitherSeed() { return ditherSeed.load(std::memory_order_relaxed); }
void mqStoreDitherSeed(uint64_t seed) { ditherSeed.store(seed, std::memory_order_relaxed); }

// round(l * 31 / 48), halves upwards.
const uint8_t kChromaGroup[49] = {0,  1,  1,  2,  3,  3,  4,  5,  5,  6,  6,  7,  8,  8,  9,  10, 10,
                                  11, 12, 12, 13, 14, 14, 15, 16, 16, 17, 17, 18, 19, 19, 20, 21, 21,
                                  22, 23, 23, 24, 25, 25, 26, 26, 27, 28, 28, 29, 30, 30, 31};
