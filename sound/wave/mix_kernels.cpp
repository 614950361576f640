#include "sound/wave/mix_kernels.h"

#include <algorithm>
#include <cstring>

#include "base/alloc.h"
#include "base/error.h"

namespace {

constexpr const char* kUnit = "MixSound";

uint32_t fail(int32_t line, const char* text) { return vkSetError(VK_ERROR_INVALID_VALUE, 0, kUnit, line, text); }

#define RUNA1_MIX_CHECK(condition, text) \
  if (!(condition)) return fail(__LINE__, text)

bool tagValid(const WAVEFORMATEX* f) { return f->wFormatTag == WAVE_FORMAT_PCM; }
bool channelsValid(const WAVEFORMATEX* f) { return f->nChannels == 1 || f->nChannels == 2; }
bool bitsValid(const WAVEFORMATEX* f) { return f->wBitsPerSample == 8 || f->wBitsPerSample == 16; }

constexpr const char* kBadTag = "Invalid wave format tag is specified.";
constexpr const char* kBadChannels = "Invalid channel number is specified.";
constexpr const char* kBadBits = "Invalid bit count is specified.";
constexpr const char* kBadParameter = "Invalid parameter is specified.";

uint32_t floatBits(float value) {
  uint32_t bits;
  std::memcpy(&bits, &value, 4);
  return bits;
}

float floatOf(uint32_t bits) {
  float value;
  std::memcpy(&value, &bits, 4);
  return value;
}

constexpr uint32_t kSignBit = 0x80000000u;

// Samples on the 16-bit scale, whatever the width they are stored in.
int32_t load(const uint8_t* p, uint32_t bits) {
  if (bits == 8) return (int32_t{*p} << 8) - 0x8000;
  int16_t value;
  std::memcpy(&value, p, 2);
  return value;
}

// A value on the 16-bit scale written at `bits`: 8-bit by its high byte, 16-bit by the low word.
void store(uint8_t* p, uint32_t bits, int32_t value) {
  if (bits == 8) {
    *p = static_cast<uint8_t>((value + 0x8000) >> 8);
  } else {
    int16_t word = static_cast<int16_t>(value);
    std::memcpy(p, &word, 2);
  }
}

// ---- Rate conversion ----------------------------------------------------------------------

// input holds n values (and one spare); output gets `count`.
void convertRate(const int32_t* input, uint32_t n, int32_t* output, uint32_t count, uint32_t srcRate,
                 uint32_t dstRate) {
  uint32_t k = 0;
  uint64_t smaller = std::min(srcRate, dstRate), larger = std::max(srcRate, dstRate);
  while (smaller < larger) {
    smaller <<= 1;
    ++k;
  }
  if (smaller == larger && srcRate > dstRate) {
    uint32_t run = 1u << k;
    for (uint32_t j = 0; j < count; ++j) {
      int64_t sum = 0;
      for (uint32_t i = 0; i < run; ++i) sum += input[j * run + i];
      output[j] = static_cast<int32_t>(sum >> k);
    }
  } else if (smaller == larger) {
    uint32_t run = 1u << k, j = 0;
    for (; j < std::min(run, count); ++j) output[j] = input[0];
    for (uint32_t i = 1; j < count; ++i) {
      int32_t step = (input[i] - input[i - 1]) >> k, value = input[i - 1];
      for (uint32_t m = 0; m < run && j < count; ++m, value += step) output[j++] = value;
    }
  } else if (count == 1) {
    output[0] = input[0];  // a step over one output would divide by zero
  } else {
    uint32_t step = static_cast<uint32_t>((uint64_t{n - 1} << 16) / (count - 1));
    uint32_t p = 0, frac = 0;
    for (uint32_t j = 0; j < count; ++j) {
      if (frac == 0) {
        output[j] = input[p];
      } else {
        int64_t product = int64_t{input[p + 1] - input[p]} * frac;
        output[j] = static_cast<int32_t>(input[p] + (product >> 16) + ((product >> 15) & 1));
      }
      frac += step;
      p += frac >> 16;
      frac &= 0xFFFF;
    }
  }
}

uint32_t convertRates(const WAVEFORMATEX* dstFormat, uint8_t* dst, const WAVEFORMATEX* srcFormat,
                      const uint8_t* src, uint32_t count) {
  uint32_t n = WaveSizeConvert(dstFormat, srcFormat, count, 0);
  uint32_t srcChannels = srcFormat->nChannels, dstChannels = dstFormat->nChannels;
  uint32_t srcBits = srcFormat->wBitsPerSample, dstBits = dstFormat->wBitsPerSample;
  uint32_t srcValue = srcBits / 8, srcFrame = srcValue * srcChannels;
  int32_t* input[2] = {};
  int32_t* output[2] = {};
  for (uint32_t c = 0; c < srcChannels; ++c) {
    input[c] = static_cast<int32_t*>(vkAlloc((n + 1) * 4, 1));
    output[c] = static_cast<int32_t*>(vkAlloc((count + 1) * 4, 1));
    if (!input[c] || !output[c]) break;
    for (uint32_t i = 0; i < n; ++i) input[c][i] = load(src + i * srcFrame + c * srcValue, srcBits);
  }
  uint32_t used = srcChannels;
  if (srcChannels == 2 && dstChannels == 1 && input[1] && output[1]) {
    for (uint32_t i = 0; i < n; ++i) input[0][i] = (input[0][i] + input[1][i]) >> 1;
    vkFree(input[1]);
    vkFree(output[1]);
    input[1] = output[1] = nullptr;
    used = 1;
  }
  bool complete = true;
  for (uint32_t c = 0; c < used; ++c) complete = complete && input[c] && output[c];
  if (complete) {
    for (uint32_t c = 0; c < used; ++c)
      convertRate(input[c], n, output[c], count, srcFormat->nSamplesPerSec, dstFormat->nSamplesPerSec);
    uint32_t dstValue = dstBits / 8, dstFrame = dstValue * dstChannels;
    for (uint32_t j = 0; j < count; ++j)
      for (uint32_t c = 0; c < dstChannels; ++c)
        store(dst + j * dstFrame + c * dstValue, dstBits, output[std::min(c, used - 1)][j]);
  }
  for (uint32_t c = 0; c < 2; ++c) {
    if (input[c]) vkFree(input[c]);
    if (output[c]) vkFree(output[c]);
  }
  return complete ? vkSucceed() : vkGetLastError();
}

// ---- Equal rates --------------------------------------------------------------------------

void convertFrames(const WAVEFORMATEX* dstFormat, uint8_t* dst, const WAVEFORMATEX* srcFormat, const uint8_t* src,
                   uint32_t count) {
  uint32_t srcChannels = srcFormat->nChannels, dstChannels = dstFormat->nChannels;
  uint32_t srcBits = srcFormat->wBitsPerSample, dstBits = dstFormat->wBitsPerSample;
  uint32_t srcValue = srcBits / 8, dstValue = dstBits / 8;
  if (srcChannels == dstChannels && srcBits == dstBits) {
    std::memmove(dst, src, size_t{count} * srcChannels * srcValue);
    return;
  }
  for (uint32_t j = 0; j < count; ++j) {
    const uint8_t* in = src + size_t{j} * srcChannels * srcValue;
    uint8_t* out = dst + size_t{j} * dstChannels * dstValue;
    if (srcChannels == 2 && dstChannels == 1) {
      store(out, dstBits, (load(in, srcBits) + load(in + srcValue, srcBits)) >> 1);
    } else {
      for (uint32_t c = 0; c < dstChannels; ++c)
        store(out + c * dstValue, dstBits, load(in + std::min(c, srcChannels - 1) * srcValue, srcBits));
    }
  }
}

// ---- The mix -------------------------------------------------------------------------------

MixVariant widestVariant() {
  if (mixVariantAvailable(MixVariant::AVX2)) return MixVariant::AVX2;
  if (mixVariantAvailable(MixVariant::SSE2)) return MixVariant::SSE2;
  return MixVariant::Plain;
}

MixVariant activeVariant = widestVariant();

}  // namespace

int32_t reducedVolume(uint32_t floatBits) {
  uint32_t b = floatBits & ~kSignBit;
  int32_t v = static_cast<int32_t>((b >> 22) + ((b >> 21) & 1)) - 254;
  return std::clamp(v, -30, 14);
}

MixSide mixSideOf(int32_t reduced) {
  int32_t half = (reduced & 1) ? -1 : 0;
  if (reduced >= 0) return {static_cast<uint32_t>(reduced >> 1), 0, half};
  return {0, static_cast<uint32_t>(-(reduced & ~1) / 2), half};
}

bool mixVariantAvailable(MixVariant variant) {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  if (variant == MixVariant::AVX2) return __builtin_cpu_supports("avx2");
  if (variant == MixVariant::SSE2) return __builtin_cpu_supports("sse2");
  return true;
#else
  return variant == MixVariant::Plain;
#endif
}

MixLoop16 mixLoop16(MixVariant variant) {
  switch (variant) {
    case MixVariant::AVX2: return mix16AVX2;
    case MixVariant::SSE2: return mix16SSE2;
    case MixVariant::Plain: break;
  }
  return mix16Plain;
}

MixVariant activeMixVariant() { return activeVariant; }
void setActiveMixVariant(MixVariant variant) { activeVariant = variant; }

uint32_t WaveMix(const WAVEFORMATEX* format, void* dst, const void* src, const float* volume, uint32_t count) {
  if (count == 0) return vkSucceed();
  RUNA1_MIX_CHECK(tagValid(format), kBadTag);
  RUNA1_MIX_CHECK(channelsValid(format), kBadChannels);
  RUNA1_MIX_CHECK(bitsValid(format), kBadBits);
  uint32_t channels = format->nChannels;
  MixPlan plan{};
  for (uint32_t c = 0; c < 2; ++c) {
    uint32_t bits = volume ? floatBits(volume[std::min(c, channels - 1)]) : floatBits(1.0f);
    plan.side[c] = mixSideOf(reducedVolume(bits));
    plan.subtract = plan.subtract || (bits & kSignBit);
  }
  uint32_t values = count * channels;
  if (format->wBitsPerSample == 8)
    mix8Plain(static_cast<uint8_t*>(dst), static_cast<const uint8_t*>(src), values, plan);
  else
    mixLoop16(activeVariant)(static_cast<int16_t*>(dst), static_cast<const int16_t*>(src), values, plan);
  return vkSucceed();
}

uint32_t WaveChangeVolume(const WAVEFORMATEX* format, void* dst, const void* src, const float* newVolume,
                          const float* oldVolume, uint32_t count) {
  if (newVolume == oldVolume) return vkSucceed();
  uint32_t channels = std::min<uint32_t>(format->nChannels, 2);
  uint32_t oldBits[2] = {}, newBits[2] = {};
  int32_t difference[2] = {}, oldReduced[2] = {};
  bool oldNegative = false, newNegative = false, changed = false, small = true;
  for (uint32_t c = 0; c < channels; ++c) {
    oldBits[c] = oldVolume ? floatBits(oldVolume[c]) : 0;
    newBits[c] = newVolume ? floatBits(newVolume[c]) : 0;
    oldNegative = oldNegative || (oldBits[c] & kSignBit);
    newNegative = newNegative || (newBits[c] & kSignBit);
    oldReduced[c] = reducedVolume(oldBits[c]);
    difference[c] = oldReduced[c] - reducedVolume(newBits[c]);
    changed = changed || difference[c] != 0;
    small = small && difference[c] >= -2 && difference[c] <= 2;
  }
  if (!changed) return vkSucceed();
  if (oldNegative == newNegative && small) {
    // One pass: neighbouring gain steps differ by a power of two, so the change is itself one
    // gain, built on the magnitudes by stepping a float's exponent.
    constexpr uint32_t kHalve = 0x800000, kQuarter = 0x1000000;
    float delta[2] = {};
    for (uint32_t c = 0; c < channels; ++c) {
      uint32_t o = oldBits[c] & ~kSignBit, n = newBits[c] & ~kSignBit, d = 0;
      bool odd = oldReduced[c] & 1;
      switch (difference[c]) {
        case -2: d = o; break;
        case -1: d = odd ? n - kQuarter : o - kHalve; break;
        case 2: d = n | kSignBit; break;
        case 1: d = (odd ? n - kHalve : o - kQuarter) | kSignBit; break;
        default: break;
      }
      if (oldNegative) d ^= kSignBit;
      delta[c] = floatOf(d);
    }
    return WaveMix(format, dst, src, delta, count);
  }
  if ((oldBits[0] | oldBits[channels - 1]) & ~kSignBit) {
    float taken[2] = {floatOf(oldBits[0] ^ kSignBit), floatOf(oldBits[channels - 1] ^ kSignBit)};
    if (uint32_t status = WaveMix(format, dst, src, taken, count)) return status;
  }
  if (newBits[0] | newBits[channels - 1]) return WaveMix(format, dst, src, newVolume, count);
  return vkSucceed();
}

uint32_t WaveSilence(const WAVEFORMATEX* format, void* dst, uint32_t count) {
  RUNA1_MIX_CHECK(channelsValid(format), kBadChannels);
  RUNA1_MIX_CHECK(bitsValid(format), kBadBits);
  size_t bytes = size_t{count} * format->nChannels * (format->wBitsPerSample / 8);
  std::memset(dst, format->wBitsPerSample == 8 ? 0x80 : 0, bytes);
  return vkSucceed();
}

uint32_t WaveSizeConvert(const WAVEFORMATEX* dstFormat, const WAVEFORMATEX* srcFormat, uint32_t count,
                         uint32_t mode) {
  if (mode > 1) {
    fail(__LINE__, kBadParameter);
    return 0;
  }
  if (count == 0) return 0;
  uint64_t from = mode == 0 ? dstFormat->nSamplesPerSec : srcFormat->nSamplesPerSec;
  uint64_t to = mode == 0 ? srcFormat->nSamplesPerSec : dstFormat->nSamplesPerSec;
  if (from == 0) return 0;  // no rate to divide by
  uint64_t product = uint64_t{count} * to;
  uint64_t result = mode == 0 ? (product + from - 1) / from : product / from;
  return static_cast<uint32_t>(std::max<uint64_t>(result, 1));
}

uint32_t WaveConvert(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                     uint32_t count) {
  if (count == 0) return vkSucceed();
  RUNA1_MIX_CHECK(tagValid(dstFormat) && tagValid(srcFormat), kBadTag);
  RUNA1_MIX_CHECK(channelsValid(dstFormat) && channelsValid(srcFormat), kBadChannels);
  // The destination's width is checked too: any other width would leave the caller's buffer.
  RUNA1_MIX_CHECK(bitsValid(srcFormat) && bitsValid(dstFormat), kBadBits);
  uint32_t srcRate = srcFormat->nSamplesPerSec, dstRate = dstFormat->nSamplesPerSec;
  auto* out = static_cast<uint8_t*>(dst);
  auto* in = static_cast<const uint8_t*>(src);
  if (srcRate == dstRate) {
    convertFrames(dstFormat, out, srcFormat, in, count);
    return vkSucceed();
  }
  // A rate of 0 would never be reached by doubling the other.
  RUNA1_MIX_CHECK(srcRate != 0 && dstRate != 0, kBadParameter);
  return convertRates(dstFormat, out, srcFormat, in, count);
}

uint32_t WaveMeasure(uint32_t out[2], const WAVEFORMATEX* format, const void* samples, uint32_t count) {
  if (count == 0) return vkSucceed();
  RUNA1_MIX_CHECK(tagValid(format), kBadTag);
  RUNA1_MIX_CHECK(channelsValid(format), kBadChannels);
  RUNA1_MIX_CHECK(bitsValid(format), kBadBits);
  out[0] = out[1] = 0;
  uint32_t channels = format->nChannels, bits = format->wBitsPerSample, value = bits / 8;
  auto* bytes = static_cast<const uint8_t*>(samples);
  auto raw = [&](uint32_t frame, uint32_t c) -> int64_t {
    const uint8_t* p = bytes + (size_t{frame} * channels + c) * value;
    if (bits == 8) return *p;
    int16_t word;
    std::memcpy(&word, p, 2);
    return word;
  };
  for (uint32_t c = 0; c < channels; ++c) {
    int64_t sum = 0;
    for (uint32_t i = 0; i < count; ++i) sum += raw(i, c);
    int64_t mean = sum / int64_t{count};
    out[c] = static_cast<uint32_t>(mean);
    int64_t deviation = 0;
    for (uint32_t i = 0; i < count; ++i) deviation += raw(i, c) > mean ? raw(i, c) - mean : mean - raw(i, c);
    if (bits == 8) deviation <<= 8;
    out[c] = static_cast<uint32_t>(deviation / int64_t{count});
  }
  return vkSucceed();
}
