#include "sound/wave/adpcm.h"

#include <algorithm>
#include <cstring>

namespace {

int16_t word(const uint8_t* p) {
  int16_t value;
  std::memcpy(&value, p, 2);
  return value;
}

int16_t clamp16(int32_t value) { return static_cast<int16_t>(std::clamp(value, -32768, 32767)); }

// ---- Microsoft's adaptive delta format -----------------------------------------------------
// A block starts with, per channel, a predictor index (byte), then per channel the step (word),
// the newest and the older sample (words); the older sample is played first. Nibbles follow,
// high nibble first, alternating channels in stereo.

constexpr int32_t kStepFactor[16] = {230, 230, 230, 230, 307, 409, 512, 614,
                                     768, 614, 512, 409, 307, 230, 230, 230};
// A damaged block can grow the step without end. Past this bound every nonzero nibble saturates
// the sample anyway; below it the products stay inside 32 bits.
constexpr int32_t kMaxStep = 1 << 21;

struct MsChannel {
  int32_t coefficient1, coefficient2, step, newer, older;
  int16_t next(uint32_t nibble) {
    int32_t predicted = (newer * coefficient1 + older * coefficient2) >> 8;
    int32_t signedNibble = static_cast<int32_t>(nibble) - ((nibble & 8) << 1);
    int16_t sample = clamp16(predicted + signedNibble * step);
    step = std::clamp((kStepFactor[nibble] * step) >> 8, 16, kMaxStep);
    older = newer;
    newer = sample;
    return sample;
  }
};

bool decodeMsBlock(const AdpcmLayout& layout, const uint8_t* block, int16_t* frames) {
  uint32_t channels = layout.channels;
  MsChannel state[2];
  for (uint32_t c = 0; c < channels; ++c) {
    uint32_t predictor = block[c];
    if (predictor >= layout.coefficientCount) return false;
    state[c].coefficient1 = layout.coefficients[2 * predictor];
    state[c].coefficient2 = layout.coefficients[2 * predictor + 1];
    state[c].step = word(block + channels + 2 * c);
    state[c].newer = word(block + 3 * channels + 2 * c);
    state[c].older = word(block + 5 * channels + 2 * c);
    frames[c] = static_cast<int16_t>(state[c].older);
    frames[channels + c] = static_cast<int16_t>(state[c].newer);
  }
  const uint8_t* nibbles = block + 7 * channels;
  uint32_t values = (layout.samplesPerBlock - 2) * channels;
  for (uint32_t i = 0; i < values; ++i) {
    uint32_t nibble = (i & 1) ? nibbles[i / 2] & 0xF : nibbles[i / 2] >> 4;
    frames[2 * channels + i] = state[i % channels].next(nibble);
  }
  return true;
}

// ---- The IMA format ------------------------------------------------------------------------
// A block starts with, per channel, the first sample (word), the step index (byte) and a spare
// byte. Nibbles follow, low nibble first; in stereo each channel has four bytes in turn.

constexpr int32_t kImaStep[89] = {
    7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,    28,
    31,    34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,   118,
    130,   143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,   494,
    544,   598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
    2272,  2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,
    9493,  10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr int32_t kImaIndexStep[8] = {-1, -1, -1, -1, 2, 4, 6, 8};

struct ImaChannel {
  int32_t sample, index;
  int16_t next(uint32_t nibble) {
    int32_t step = kImaStep[index];
    int32_t difference = step >> 3;
    if (nibble & 4) difference += step;
    if (nibble & 2) difference += step >> 1;
    if (nibble & 1) difference += step >> 2;
    sample = clamp16(nibble & 8 ? sample - difference : sample + difference);
    index = std::clamp(index + kImaIndexStep[nibble & 7], 0, 88);
    return static_cast<int16_t>(sample);
  }
};

bool decodeImaBlock(const AdpcmLayout& layout, const uint8_t* block, int16_t* frames) {
  uint32_t channels = layout.channels;
  ImaChannel state[2];
  for (uint32_t c = 0; c < channels; ++c) {
    state[c].sample = word(block + 4 * c);
    state[c].index = std::min<int32_t>(block[4 * c + 2], 88);
    frames[c] = static_cast<int16_t>(state[c].sample);
  }
  const uint8_t* data = block + 4 * channels;
  uint32_t perChannel = layout.samplesPerBlock - 1;
  for (uint32_t c = 0; c < channels; ++c) {
    for (uint32_t j = 0; j < perChannel; ++j) {
      // Sample j of channel c lies in the group j / 8, in that group's four bytes of channel c.
      uint32_t byte = (j / 8) * 4 * channels + 4 * c + (j % 8) / 2;
      uint32_t nibble = (j & 1) ? data[byte] >> 4 : data[byte] & 0xF;
      frames[(1 + j) * channels + c] = state[c].next(nibble);
    }
  }
  return true;
}

uint16_t wordAt(const WAVEFORMATEX* format, uint32_t offset) {
  uint16_t value;
  std::memcpy(&value, reinterpret_cast<const uint8_t*>(format) + offset, 2);
  return value;
}

}  // namespace

bool adpcmLayoutOf(const WAVEFORMATEX* format, AdpcmLayout* layout) {
  uint16_t tag = format->wFormatTag;
  uint32_t channels = format->nChannels, blockAlign = format->nBlockAlign;
  if ((tag != kWaveFormatMsAdpcm && tag != kWaveFormatImaAdpcm) || format->wBitsPerSample != 4) return false;
  if ((channels != 1 && channels != 2) || format->cbSize < 2) return false;
  layout->tag = tag;
  layout->channels = channels;
  layout->blockAlign = blockAlign;
  layout->samplesPerBlock = wordAt(format, 18);
  layout->coefficientCount = 0;
  if (tag == kWaveFormatMsAdpcm) {
    if (blockAlign < 7 * channels || format->cbSize < 4) return false;
    uint32_t count = wordAt(format, 20);
    if (count == 0 || count > 256 || format->cbSize < 4 + 4 * count) return false;
    layout->coefficientCount = count;
    for (uint32_t i = 0; i < 2 * count; ++i) layout->coefficients[i] = static_cast<int16_t>(wordAt(format, 22 + 2 * i));
    uint32_t fit = (blockAlign - 7 * channels) * 2 / channels + 2;
    return layout->samplesPerBlock >= 2 && layout->samplesPerBlock <= fit;
  }
  // IMA stereo data comes in groups of four bytes per channel.
  if (blockAlign <= 4 * channels || (channels == 2 && (blockAlign - 8) % 8 != 0)) return false;
  uint32_t fit = (blockAlign - 4 * channels) * 2 / channels + 1;
  return layout->samplesPerBlock >= 1 && layout->samplesPerBlock <= fit;
}

bool decodeAdpcmBlock(const AdpcmLayout& layout, const uint8_t* block, int16_t* frames) {
  return layout.tag == kWaveFormatMsAdpcm ? decodeMsBlock(layout, block, frames)
                                          : decodeImaBlock(layout, block, frames);
}
