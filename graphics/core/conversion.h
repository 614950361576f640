// What the plain and the vector colour conversions share.
#pragma once

#include <cstdint>

#include "graphics/core/molaq.h"

namespace molaq {

// Y, Cb + 128 and Cr + 128 of each palette colour, in bytes 0, 1 and 2 of a word.
void paletteToYCC(const RGBQUAD* palette, uint32_t table[256]);

// The grey conversions, which both variants run as they are: they do not dither.
void convertToGrey(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                   int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette);

// The fixed-palette index of dithered levels: brightness 0..7, chroma levels 0..6 each.
inline uint8_t fixedIndex(uint32_t yLevel, uint32_t uLevel, uint32_t vLevel) {
  return static_cast<uint8_t>(yLevel | (kChromaGroup[uLevel + 7 * vLevel] << 3));
}

// The plain kernels' generator: the low 32 bits of the shared seed.
inline uint32_t loadPlainSeed() { return static_cast<uint32_t>(mqLoadDitherSeed()); }
inline void storePlainSeed(uint32_t seed) {
  mqStoreDitherSeed((mqLoadDitherSeed() & ~0xffffffffull) | seed);
}

// A level dithered from a weight: the whole part, plus one when the random byte falls below
// the fraction.
inline uint32_t ditherLevel(uint32_t weight, uint32_t random) {
  return (weight >> 8) + (random < (weight & 255) ? 1u : 0u);
}

}  // namespace molaq
