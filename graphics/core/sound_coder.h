// The sound transform coder: PCM samples cut into frames of 2^n samples per channel, each frame
// cosine-transformed, divided by a per-coefficient step curve and a per-frame power of two,
// rounded, and the integers stored through the phrase coder.
//
// Compressed sound, all fields little-endian:
//
//   offset size  field
//   0      4     version, 0x100
//   4      4     channels, 1 to 8
//   8      4     sample rate in Hz, 1 to 384000
//   12     4     frame count: samples per channel
//   16     4     bits of the source samples, 8 or 16 (decoding always gives 16-bit samples)
//   20     4     n, log2 of the samples of a transform frame, 5 to 10
//   24     12    curve: three int32 in 16.16 fixed point, log2 of the quantiser step at the
//                first, the middle and the last coefficient, each from -8 to 16
//   36     4     S, byte count of the coded stream
//   40     S     coded stream (phrase coder, signed 32-bit values)
//
// The coded stream holds, for each transform frame in time order and inside it for each channel,
// the frame's shift (0 to 31) followed by its 2^n quantised coefficients, lowest frequency first.
// A last frame shorter than 2^n samples is padded by repeating its last sample.
//
// A coefficient comes back as value * step(k) * 2^shift, where step(k) = 2^(a k^2 + b k + c) is
// the quadratic through the three curve points at k = 0, (2^n - 1) / 2 and 2^n - 1. The
// coefficients are scaled so that step 1 is one unit of a 16-bit sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "base/os/win32_types.h"

enum : int32_t { kSoundMinLogFrame = 5, kSoundMaxLogFrame = 10, kSoundMaxChannels = 8 };
constexpr uint32_t kSoundVersion = 0x100;
constexpr uint32_t kSoundMaxRate = 384000;
constexpr int32_t kSoundMinCurve = -8 << 16, kSoundMaxCurve = 16 << 16;
constexpr int32_t kSoundMaxShift = 31;

struct SoundHeader {
  uint32_t version;
  uint32_t channels;
  uint32_t sampleRate;
  uint32_t frameCount;
  uint32_t sourceBits;
  uint32_t logFrame;
  int32_t curve[3];
  uint32_t streamSize;
};
static_assert(sizeof(SoundHeader) == 40);

enum : uint32_t {
  kSoundDone = 0,
  kSoundBadHeader = 1,  // wrong version, a field out of range, or the stream is cut short
  kSoundBadStream = 2,  // the coded stream decodes to impossible values
  kSoundNoRoom = 3,     // the caller's buffer holds fewer samples than the sound
};

// The working record of one frame's transform, mqGetSoundFrameSize(n) bytes: this 32-byte head,
// then 2^n doubles of samples, 2^n doubles of transform output and 2^n int32 coefficients.
struct SoundFrame {
  uint32_t size;
  int32_t logFrame;
  int32_t shift;  // the frame's coefficients are in units of 2^shift steps
  uint32_t reserved[5];

  int32_t length() const { return 1 << logFrame; }
  double* samples() { return reinterpret_cast<double*>(this + 1); }
  double* transformed() { return samples() + length(); }
  int32_t* coefficients() { return reinterpret_cast<int32_t*>(transformed() + length()); }
};
static_assert(sizeof(SoundFrame) == 32);

// One point of an equaliser: a gain in decibels at a frequency in Hz. Tables are sorted by
// rising frequency.
struct SoundEqualizerBand {
  uint32_t frequency;
  float gain;
};

// Whether every field of the header that a coded sound depends on is in range.
bool mqSoundHeaderInRange(const SoundHeader& header);
// Room for a frame record of any size, in 8-byte words so that its doubles are aligned.
struct SoundFrameMemory {
  std::vector<uint64_t> words = std::vector<uint64_t>((32 + (20 << kSoundMaxLogFrame)) / 8);
  SoundFrame* frame;
  explicit SoundFrameMemory(int32_t logFrame);
};

// 32 + (20 << n) for n from 5 to 10; 0 otherwise.
uint32_t mqGetSoundFrameSize(int32_t logFrame);
// Makes a frame record in `memory` (mqGetSoundFrameSize bytes, 8-byte aligned).
SoundFrame* mqInitSoundFrame(void* memory, int32_t logFrame);
// steps[k] = 2^(a k^2 + b k + c), the quadratic through the three 16.16 points of `curve`.
void mqMakeSoundCurve(double* steps, int32_t logFrame, const int32_t curve[3]);
// The reciprocals of mqMakeSoundCurve's steps.
void mqMakeInverseSoundCurve(double* inverseSteps, int32_t logFrame, const int32_t curve[3]);
// Multiplies each step by the gain at its coefficient's frequency k * rate / 2^(n+1), in decibels
// interpolated linearly between the bands and held flat beyond the first and the last.
void mqApplySoundEqualizer(double* steps, int32_t logFrame, uint32_t sampleRate,
                           const SoundEqualizerBand* bands, uint32_t bandCount);
// The format of the decoder's output: 16-bit PCM, no extra bytes.
void mqMakeWaveFormat(WAVEFORMATEX* format, uint32_t channels, uint32_t sampleRate);
// dst[i] = src[i] - 128.
void mqBiasSamples(int32_t* dst, const uint8_t* src, uint32_t count);
// Transforms `count` (1 to 2^n) samples read `stride` apart into the frame's coefficients,
// multiplied by `inverseSteps` and scaled down by the smallest shift that keeps every magnitude
// below 2^peakBits (peakBits 0: shift 0 always).
void mqTransformSoundFrame(SoundFrame* frame, const int16_t* samples, int32_t stride,
                           uint32_t count, const double* inverseSteps, uint32_t peakBits);
// The inverse: the frame's coefficients times `steps` and 2^shift, back to `count` samples
// written `stride` apart, rounded and clipped to 16 bits.
void mqInverseSoundFrame(SoundFrame* frame, int16_t* samples, int32_t stride, uint32_t count,
                         const double* steps);

// Compresses `header->frameCount` samples per channel, interleaved, unsigned 8-bit or signed
// 16-bit by `header->sourceBits`, with the header's frame size and curve; the version and the
// stream size are filled in. `peakBits` (0 to 24) bounds the quantised magnitudes of a frame: more
// bits, finer steps in loud frames. Gives a buffer for mqFreeCompressed, or null for a header
// out of range.
uint8_t* mqCompressSound(const SoundHeader* header, const void* samples, uint32_t peakBits,
                         uint32_t* byteCount);
void mqFreeCompressed(uint8_t* data);
// Checks the head of `size` bytes of compressed sound and copies it to `header`.
uint32_t mqReadSoundHeader(const void* data, size_t size, SoundHeader* header);
// Decodes into `capacity` interleaved 16-bit samples (frame count times channels at least), with
// an optional equaliser. One of the codes above.
uint32_t mqDecompressSound(const void* data, size_t size, int16_t* dst, size_t capacity,
                           const SoundEqualizerBand* bands, uint32_t bandCount);
