// The recursive discrete cosine transforms on doubles that the sound and moving-picture coders
// share. N = 2^logSize, logSize 2 to 10.
#pragma once

#include <cstdint>

enum : int32_t { kDCTMinLog = 2, kDCTMaxLog = 10 };

// out[k] = s(k) * sum over i of in[i * stride] * cos((2i + 1) k pi / 2N), with s(0) = 1/2 and
// s(k) = 1 otherwise. `out` holds N contiguous values and must not overlap `in`.
void mqForwardDCT(double* out, const double* in, int32_t stride, int32_t logSize);
// out[i] = in[0] + sum over k >= 1 of in[k * stride] * cos((2i + 1) k pi / 2N). Applied to the
// result of mqForwardDCT it gives the samples back multiplied by N / 2. `out` holds N contiguous
// values and must not overlap `in`.
void mqInverseDCT(double* out, const double* in, int32_t stride, int32_t logSize);
