// The sample arithmetic of the mixer: six functions without state over PCM buffers described by
// a WAVEFORMATEX (tag 1, one or two channels, 8 or 16 bits). Counts are frames. Each gives 0 and
// clears the error record, or gives the code it reported (2, unit "MixSound") with the buffers
// untouched; WaveSizeConvert gives a count instead.
//
// Volumes are 32-bit floats read by their bits: a float becomes a gain in half octaves, a shift
// and an optional factor of 1.5, so no multiplication lies in the loops. A negative float on any
// side turns the whole call into a subtraction.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

// out[c] = the mean absolute deviation of channel c, on the 16-bit scale.
uint32_t WaveMeasure(uint32_t out[2], const WAVEFORMATEX* format, const void* samples, uint32_t count);
// Mode 0: source frames needed for `count` destination frames (rounded up). Mode 1: destination
// frames made of `count` source frames (rounded down). At least 1 for a count other than 0.
uint32_t WaveSizeConvert(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat, uint32_t count,
                         uint32_t mode);
// Writes `count` destination frames made of the source: width, channels and rate converted.
uint32_t WaveConvert(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                     uint32_t count);
// dst += src scaled by `volume` (one float per channel, left first; null is unity), saturated.
uint32_t WaveMix(const WAVEFORMATEX* format, void* dst, const void* src, const float* volume, uint32_t count);
uint32_t WaveSilence(const WAVEFORMATEX* format, void* dst, uint32_t count);
// dst holds src mixed at `oldVolume`; afterwards it holds src at `newVolume` (null is 0.0).
uint32_t WaveChangeVolume(const WAVEFORMATEX* format, void* dst, const void* src, const float* newVolume,
                          const float* oldVolume, uint32_t count);

// ---- The reduced volume and the loops behind WaveMix ---------------------------------------

// The gain in half octaves of a float's bits, -30 to 14: 2k is 2^k, 2k + 1 is 1.5 * 2^k.
int32_t reducedVolume(uint32_t floatBits);

// How one side scales a centred sample: s = (s << left) >> right (one of them 0), then
// s += s >> 1 when halfMask is all ones.
struct MixSide {
  uint32_t left;
  uint32_t right;
  int32_t halfMask;
};
MixSide mixSideOf(int32_t reduced);

// The whole call: side[0] for even values, side[1] for odd ones (equal for mono).
struct MixPlan {
  MixSide side[2];
  bool subtract;
};

// A loop over `values` interleaved samples (frames times channels).
using MixLoop16 = void (*)(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan);

// The variants of the 16-bit loop; the plain one is the reference, the others equal it to the
// bit (their lanes are 32 bits wide, so a left shift cannot wrap before the saturation).
enum class MixVariant { Plain, SSE2, AVX2 };
MixLoop16 mixLoop16(MixVariant variant);
// Which variants this processor runs.
bool mixVariantAvailable(MixVariant variant);
// The variant WaveMix uses: the widest available one, unless set. Tests and benchmarks set it.
MixVariant activeMixVariant();
void setActiveMixVariant(MixVariant variant);

// The plain loops, also the tail of the vector ones.
void mix16Plain(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan);
void mix8Plain(uint8_t* dst, const uint8_t* src, uint32_t values, const MixPlan& plan);
void mix16SSE2(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan);
void mix16AVX2(int16_t* dst, const int16_t* src, uint32_t values, const MixPlan& plan);
