#include "tests/sound/analysis/audio_analysis.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

namespace audio {

namespace {

constexpr double kPi = 3.14159265358979323846;

}  // namespace

std::vector<float> Recording::mono() const {
  std::vector<float> mixed(frames(), 0.0f);
  for (const auto& channel : channels)
    for (size_t i = 0; i < mixed.size(); ++i) mixed[i] += channel[i] / static_cast<float>(channels.size());
  return mixed;
}

std::vector<float> samplesOf(const std::vector<int16_t>& pcm, uint32_t channels, uint32_t channel) {
  std::vector<float> samples;
  samples.reserve(pcm.size() / channels);
  for (size_t i = channel; i < pcm.size(); i += channels) samples.push_back(pcm[i] / 32768.0f);
  return samples;
}

bool readRawRecording(const std::string& path, Recording* recording, uint32_t rate, uint32_t channels) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  std::string bytes((std::istreambuf_iterator<char>(in)), {});
  std::vector<int16_t> pcm(bytes.size() / 2);
  for (size_t i = 0; i < pcm.size(); ++i)
    pcm[i] = static_cast<int16_t>(static_cast<uint8_t>(bytes[2 * i]) | static_cast<uint8_t>(bytes[2 * i + 1]) << 8);
  pcm.resize(pcm.size() - pcm.size() % channels);
  recording->rate = rate;
  recording->channels.clear();
  for (uint32_t c = 0; c < channels; ++c) recording->channels.push_back(samplesOf(pcm, channels, c));
  return true;
}

std::vector<double> windowLevels(const std::vector<float>& samples, size_t window) {
  std::vector<double> levels;
  for (size_t begin = 0; begin + window <= samples.size(); begin += window) {
    double sum = 0;
    for (size_t i = begin; i < begin + window; ++i) sum += double{samples[i]} * samples[i];
    levels.push_back(std::sqrt(sum / window));
  }
  return levels;
}

double toneAmplitude(const std::vector<float>& samples, size_t begin, size_t count, double frequency, uint32_t rate) {
  count = std::min(count, samples.size() > begin ? samples.size() - begin : 0);
  if (count < 2) return 0;
  double coefficient = 2 * std::cos(2 * kPi * frequency / rate);
  double previous = 0, older = 0, windowSum = 0;
  for (size_t i = 0; i < count; ++i) {
    double hann = 0.5 - 0.5 * std::cos(2 * kPi * static_cast<double>(i) / static_cast<double>(count - 1));
    windowSum += hann;
    double current = samples[begin + i] * hann + coefficient * previous - older;
    older = previous;
    previous = current;
  }
  double power = previous * previous + older * older - coefficient * previous * older;
  return 2 * std::sqrt(std::max(power, 0.0)) / windowSum;
}

std::vector<double> toneTrack(const std::vector<float>& samples, double frequency, uint32_t rate, size_t window) {
  std::vector<double> track;
  for (size_t begin = 0; begin + window <= samples.size(); begin += window)
    track.push_back(toneAmplitude(samples, begin, window, frequency, rate));
  return track;
}

std::vector<Span> spansAbove(const std::vector<double>& values, double threshold, size_t minimum, size_t bridge) {
  std::vector<Span> spans;
  for (size_t i = 0; i < values.size();) {
    if (values[i] < threshold) {
      ++i;
      continue;
    }
    size_t end = i;
    while (end < values.size() && values[end] >= threshold) ++end;
    if (!spans.empty() && i - spans.back().end < bridge) spans.back().end = end;
    else spans.push_back({i, end});
    i = end;
  }
  std::erase_if(spans, [minimum](const Span& s) { return s.length() < minimum; });
  return spans;
}

double meanOver(const std::vector<double>& values, Span span) {
  double sum = 0;
  for (size_t i = span.begin; i < span.end && i < values.size(); ++i) sum += values[i];
  return span.length() ? sum / static_cast<double>(span.length()) : 0;
}

size_t findOnset(const std::vector<float>& samples, double threshold, size_t from) {
  for (size_t i = from; i < samples.size(); ++i)
    if (std::fabs(samples[i]) >= threshold) return i;
  return samples.size();
}

Match crossCorrelate(const std::vector<float>& signal, const std::vector<float>& reference, size_t minimumLag,
                     size_t maximumLag) {
  Match best;
  double referenceEnergy = 0;
  for (float r : reference) referenceEnergy += double{r} * r;
  for (size_t lag = minimumLag; lag <= maximumLag && lag + reference.size() <= signal.size(); ++lag) {
    double product = 0, energy = 0;
    for (size_t i = 0; i < reference.size(); ++i) {
      product += double{signal[lag + i]} * reference[i];
      energy += double{signal[lag + i]} * signal[lag + i];
    }
    double correlation = energy > 0 && referenceEnergy > 0 ? product / std::sqrt(energy * referenceEnergy) : 0;
    if (correlation > best.correlation) best = {lag, correlation};
  }
  return best;
}

}  // namespace audio
