// Analysis of recorded sound for the tests that listen to what the host played: the recording
// as the test rig makes it (raw signed 16-bit little-endian, interleaved), levels per window,
// tone amplitudes by the Goertzel filter, spans where a tone sounds, onsets, and the lag at
// which a known signal lies in a recording. Shared by every test that records (wave mixer,
// MIDI synthesiser, menu screens).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace audio {

// Samples scaled to -1 .. 1, one vector per channel.
struct Recording {
  uint32_t rate = 44100;
  std::vector<std::vector<float>> channels;
  size_t frames() const { return channels.empty() ? 0 : channels[0].size(); }
  // The mean of the channels.
  std::vector<float> mono() const;
  double seconds(size_t frame) const { return static_cast<double>(frame) / rate; }
};

// Reads a raw recording; false when the file cannot be read.
bool readRawRecording(const std::string& path, Recording* recording, uint32_t rate = 44100, uint32_t channels = 2);
// Samples of 16-bit PCM bytes (mono, or one channel of interleaved stereo), scaled to -1 .. 1.
std::vector<float> samplesOf(const std::vector<int16_t>& pcm, uint32_t channels = 1, uint32_t channel = 0);

// Root mean square of each whole window of `window` samples.
std::vector<double> windowLevels(const std::vector<float>& samples, size_t window);
// Peak amplitude of a sine of `frequency` over samples [begin, begin + count), by the Goertzel
// filter with a Hann window: 0.5 for a sine of peak 0.5 that fills the span.
double toneAmplitude(const std::vector<float>& samples, size_t begin, size_t count, double frequency, uint32_t rate);
// The tone's amplitude in each whole window.
std::vector<double> toneTrack(const std::vector<float>& samples, double frequency, uint32_t rate, size_t window);

// A run of windows [begin, end).
struct Span {
  size_t begin, end;
  size_t length() const { return end - begin; }
};
// Runs of at least `minimum` windows whose values are at or above `threshold`; runs apart by
// fewer than `bridge` windows below it count as one.
std::vector<Span> spansAbove(const std::vector<double>& values, double threshold, size_t minimum, size_t bridge = 0);
// The mean of values over a span.
double meanOver(const std::vector<double>& values, Span span);

// The first sample at or after `from` whose magnitude reaches `threshold`; samples.size() if none.
size_t findOnset(const std::vector<float>& samples, double threshold, size_t from = 0);

// Where `reference` lies best in `signal`: the lag in [minimumLag, maximumLag] of the highest
// normalised cross-correlation, and that correlation (1 for an exact, scaled copy).
struct Match {
  size_t lag = 0;
  double correlation = 0;
};
Match crossCorrelate(const std::vector<float>& signal, const std::vector<float>& reference, size_t minimumLag,
                     size_t maximumLag);

}  // namespace audio
