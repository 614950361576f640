// Both transforms split a size-N problem into two of size N/2: the even half by the transform
// itself, the odd half by a forward transform of inputs weighted with cos((2i + 1) pi / 2N), and
// the recurrence cos((2m + 1) a) = 2 cos(a) cos(2m a) - cos((2m - 1) a) that turns its outputs
// into the odd part.
#include "graphics/core/dct.h"

#include <cstdlib>

#include "graphics/core/molaq.h"

namespace {

// Each level needs at most 4N doubles of scratch, its callees included.
void forward(double* out, const double* in, int32_t stride, int32_t logSize, double* scratch) {
  const double* t = mqTables().cosine[logSize];
  if (logSize == 2) {
    double x0 = in[0], x1 = in[stride], x2 = in[2 * stride], x3 = in[3 * stride];
    double d03 = x0 - x3, d12 = x1 - x2;
    out[0] = (x0 + x1 + x2 + x3) / 2;
    out[1] = d03 * t[0] + d12 * t[1];
    out[2] = (x0 + x3 - x1 - x2) * mqTables().cosine[1][0];
    out[3] = d03 * t[1] - d12 * t[0];
    return;
  }
  const int32_t n = 1 << logSize, half = n / 2;
  double* sums = scratch;
  double* differences = scratch + half;
  for (int32_t i = 0; i < half; ++i) {
    double a = in[i * stride], b = in[(n - 1 - i) * stride];
    sums[i] = a + b;
    differences[i] = (a - b) * t[i];
  }
  double* even = scratch + n;
  double* odd = even + half;
  forward(even, sums, 1, logSize - 1, scratch + 2 * n);
  forward(odd, differences, 1, logSize - 1, scratch + 2 * n);
  double previous = 0;
  for (int32_t m = 0; m < half; ++m) {
    out[2 * m] = even[m];
    previous = 2 * odd[m] - previous;
    out[2 * m + 1] = previous;
  }
}

void inverse(double* out, const double* in, int32_t stride, int32_t logSize, double* scratch) {
  const double* t = mqTables().cosine[logSize];
  if (logSize == 2) {
    double c0 = in[0], c1 = in[stride], c2 = in[2 * stride] * mqTables().cosine[1][0],
           c3 = in[3 * stride];
    double e0 = c0 + c2, e1 = c0 - c2;
    double o0 = c1 * t[0] + c3 * t[1], o1 = c1 * t[1] - c3 * t[0];
    out[0] = e0 + o0;
    out[1] = e1 + o1;
    out[2] = e1 - o1;
    out[3] = e0 - o0;
    return;
  }
  const int32_t n = 1 << logSize, half = n / 2;
  double* weighted = scratch;
  double* odd = scratch + half;
  for (int32_t m = 0; m < half; ++m) weighted[m] = in[(2 * m + 1) * stride] * t[m];
  forward(odd, weighted, 1, logSize - 1, scratch + n);
  inverse(out, in, 2 * stride, logSize - 1, scratch + n);
  double previous = 0;
  for (int32_t i = 0; i < half; ++i) {
    previous = 2 * odd[i] - previous;
    double even = out[i];
    out[i] = even + previous;
    out[n - 1 - i] = even - previous;
  }
}

void checkSize(int32_t logSize) {
  if (logSize < kDCTMinLog || logSize > kDCTMaxLog) std::abort();
}

}  // namespace

void mqForwardDCT(double* out, const double* in, int32_t stride, int32_t logSize) {
  checkSize(logSize);
  double scratch[4 << kDCTMaxLog];
  forward(out, in, stride, logSize, scratch);
}

void mqInverseDCT(double* out, const double* in, int32_t stride, int32_t logSize) {
  checkSize(logSize);
  double scratch[4 << kDCTMaxLog];
  inverse(out, in, stride, logSize, scratch);
}
