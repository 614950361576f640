// The sound transform coder: curves, frame transforms and the decompressor.
#include "graphics/core/sound_coder.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "graphics/core/coded_record.h"
#include "graphics/core/dct.h"

namespace {

// The exponent a k^2 + b k + c through (0, p0), (m / 2, p1), (m, p2) with m = 2^n - 1.
template <typename Each>
void forEachCurvePoint(int32_t logFrame, const int32_t curve[3], Each each) {
  const double m = (1 << logFrame) - 1;
  const double y0 = curve[0] / 65536.0, y1 = curve[1] / 65536.0, y2 = curve[2] / 65536.0;
  const double a = 2 * (y0 - 2 * y1 + y2) / (m * m), b = (4 * y1 - 3 * y0 - y2) / m;
  for (int32_t k = 0; k < (1 << logFrame); ++k) each(k, (a * k + b) * k + y0);
}

}  // namespace

bool mqSoundHeaderInRange(const SoundHeader& h) {
  auto curveInRange = [](int32_t point) {
    return point >= kSoundMinCurve && point <= kSoundMaxCurve;
  };
  return h.channels >= 1 && h.channels <= kSoundMaxChannels && h.sampleRate >= 1 &&
         h.sampleRate <= kSoundMaxRate && (h.sourceBits == 8 || h.sourceBits == 16) &&
         h.logFrame >= kSoundMinLogFrame && h.logFrame <= kSoundMaxLogFrame &&
         std::all_of(h.curve, h.curve + 3, curveInRange);
}

uint32_t mqGetSoundFrameSize(int32_t logFrame) {
  if (logFrame < kSoundMinLogFrame || logFrame > kSoundMaxLogFrame) return 0;
  return 32 + (20u << logFrame);
}

SoundFrameMemory::SoundFrameMemory(int32_t logFrame) : frame(mqInitSoundFrame(words.data(), logFrame)) {}

SoundFrame* mqInitSoundFrame(void* memory, int32_t logFrame) {
  auto* frame = static_cast<SoundFrame*>(memory);
  std::memset(frame, 0, sizeof *frame);
  frame->size = mqGetSoundFrameSize(logFrame);
  frame->logFrame = logFrame;
  return frame;
}

void mqMakeSoundCurve(double* steps, int32_t logFrame, const int32_t curve[3]) {
  forEachCurvePoint(logFrame, curve,
                    [&](int32_t k, double exponent) { steps[k] = std::exp2(exponent); });
}

void mqMakeInverseSoundCurve(double* inverseSteps, int32_t logFrame, const int32_t curve[3]) {
  forEachCurvePoint(logFrame, curve,
                    [&](int32_t k, double exponent) { inverseSteps[k] = std::exp2(-exponent); });
}

void mqApplySoundEqualizer(double* steps, int32_t logFrame, uint32_t sampleRate,
                           const SoundEqualizerBand* bands, uint32_t bandCount) {
  if (bandCount == 0) return;
  const double hertzPerCoefficient = sampleRate / std::ldexp(2.0, logFrame);
  uint32_t band = 0;
  for (int32_t k = 0; k < (1 << logFrame); ++k) {
    const double frequency = k * hertzPerCoefficient;
    while (band + 1 < bandCount && bands[band + 1].frequency <= frequency) ++band;
    double gain = bands[band].gain;
    if (frequency > bands[band].frequency && band + 1 < bandCount) {
      const SoundEqualizerBand& next = bands[band + 1];
      double t =
          (frequency - bands[band].frequency) / (double(next.frequency) - bands[band].frequency);
      gain += t * (next.gain - gain);
    }
    steps[k] *= std::pow(10.0, gain / 20);
  }
}

void mqMakeWaveFormat(WAVEFORMATEX* format, uint32_t channels, uint32_t sampleRate) {
  format->wFormatTag = WAVE_FORMAT_PCM;
  format->nChannels = static_cast<WORD>(channels);
  format->nSamplesPerSec = sampleRate;
  format->nBlockAlign = static_cast<WORD>(channels * 2);
  format->nAvgBytesPerSec = sampleRate * channels * 2;
  format->wBitsPerSample = 16;
  format->cbSize = 0;
}

void mqBiasSamples(int32_t* dst, const uint8_t* src, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) dst[i] = int32_t{src[i]} - 128;
}

void mqTransformSoundFrame(SoundFrame* frame, const int16_t* samples, int32_t stride,
                           uint32_t count, const double* inverseSteps, uint32_t peakBits) {
  const int32_t n = frame->length();
  double* x = frame->samples();
  for (uint32_t i = 0; i < count; ++i) x[i] = samples[static_cast<ptrdiff_t>(i) * stride];
  std::fill(x + count, x + n, x[count - 1]);
  double* c = frame->transformed();
  mqForwardDCT(c, x, 1, frame->logFrame);
  // Scaled so that the inverse transform gives the samples back.
  const double scale = 2.0 / n;
  double largest = 0;
  for (int32_t k = 0; k < n; ++k) {
    c[k] *= scale * inverseSteps[k];
    largest = std::max(largest, std::abs(c[k]));
  }
  int32_t shift = 0;
  if (peakBits != 0) {
    const double limit = std::ldexp(1.0, static_cast<int>(peakBits)) - 0.5;
    while (shift < kSoundMaxShift && largest >= std::ldexp(limit, shift)) ++shift;
  }
  frame->shift = shift;
  const double down = std::ldexp(1.0, -shift), bound = 0x1p30;
  int32_t* coefficients = frame->coefficients();
  for (int32_t k = 0; k < n; ++k) {
    coefficients[k] = static_cast<int32_t>(std::clamp(std::nearbyint(c[k] * down), -bound, bound));
  }
}

void mqInverseSoundFrame(SoundFrame* frame, int16_t* samples, int32_t stride, uint32_t count,
                         const double* steps) {
  const int32_t n = frame->length();
  const double up = std::ldexp(1.0, frame->shift);
  const int32_t* coefficients = frame->coefficients();
  double* c = frame->transformed();
  for (int32_t k = 0; k < n; ++k) c[k] = coefficients[k] * steps[k] * up;
  double* x = frame->samples();
  mqInverseDCT(x, c, 1, frame->logFrame);
  for (uint32_t i = 0; i < count; ++i) {
    samples[static_cast<ptrdiff_t>(i) * stride] =
        static_cast<int16_t>(std::clamp(std::nearbyint(x[i]), -32768.0, 32767.0));
  }
}

uint32_t mqReadSoundHeader(const void* data, size_t size, SoundHeader* header) {
  bool valid = mqUnpackCodedRecord(data, size, kSoundVersion, header) && mqSoundHeaderInRange(*header);
  return valid ? kSoundDone : kSoundBadHeader;
}

uint32_t mqDecompressSound(const void* data, size_t size, int16_t* dst, size_t capacity,
                           const SoundEqualizerBand* bands, uint32_t bandCount) {
  SoundHeader header;
  if (uint32_t result = mqReadSoundHeader(data, size, &header)) return result;
  const uint32_t channels = header.channels;
  if (capacity < static_cast<size_t>(header.frameCount) * channels) return kSoundNoRoom;
  if (header.frameCount == 0) return kSoundDone;

  const int32_t logFrame = static_cast<int32_t>(header.logFrame), n = 1 << logFrame;
  std::vector<double> steps(n);
  mqMakeSoundCurve(steps.data(), logFrame, header.curve);
  mqApplySoundEqualizer(steps.data(), logFrame, header.sampleRate, bands, bandCount);
  MQDecoderState state;
  MQDecoderHandle decoder = mqOpenCodedRecord(data, header, &state);
  if (!decoder) return kSoundBadStream;

  SoundFrameMemory memory(logFrame);
  SoundFrame* frame = memory.frame;
  std::vector<int32_t> symbols(n + 1);
  const uint32_t blocks = header.frameCount / n + (header.frameCount % n != 0);
  for (uint32_t b = 0; b < blocks; ++b) {
    const uint32_t count = std::min<uint32_t>(n, header.frameCount - b * n);
    for (uint32_t channel = 0; channel < channels; ++channel) {
      mqDecode(decoder.get(), &state, symbols.data(), static_cast<uint32_t>(n + 1));
      if (symbols[0] < 0 || symbols[0] > kSoundMaxShift) return kSoundBadStream;
      frame->shift = symbols[0];
      std::copy(symbols.begin() + 1, symbols.end(), frame->coefficients());
      mqInverseSoundFrame(frame, dst + static_cast<size_t>(b) * n * channels + channel,
                          static_cast<int32_t>(channels), count, steps.data());
    }
  }
  return kSoundDone;
}
