// Block decoders of the two ADPCM wave formats that game data commonly holds (Microsoft's
// adaptive delta format, tag 2, and the IMA format, tag 0x11), to 16-bit PCM. They stand in for
// the system's codecs where the platform has none.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

constexpr uint16_t kWaveFormatMsAdpcm = 2;
constexpr uint16_t kWaveFormatImaAdpcm = 0x11;

// What a block decoder needs of a format record, checked against the block's size so that a
// block is never read past its end.
struct AdpcmLayout {
  uint16_t tag;
  uint32_t channels;
  uint32_t blockAlign;
  uint32_t samplesPerBlock;  // frames each block gives
  uint32_t coefficientCount;
  int16_t coefficients[2 * 256];  // pairs, Microsoft's format only
};

// Reads the layout from `format` and the `cbSize` bytes behind it. False for another tag, or a
// record that does not describe a block this decoder can read.
bool adpcmLayoutOf(const WAVEFORMATEX* format, AdpcmLayout* layout);
// Decodes one block of blockAlign bytes into samplesPerBlock frames of interleaved 16-bit
// samples. False when the block names a predictor the format does not have.
bool decodeAdpcmBlock(const AdpcmLayout& layout, const uint8_t* block, int16_t* frames);
