#include "sound/synth/synth_renderer.h"

#include <algorithm>
#include <cmath>

SynthRenderer::SynthRenderer(const SoundFont& font, uint32_t sampleRate) : synth_(font, sampleRate), sampleRate_(sampleRate) {}

void SynthRenderer::renderTo(uint32_t frame) {
  if (frame <= rendered_) return;
  synth_.render(out_ + 2 * rendered_, frame - rendered_);
  rendered_ = frame;
}

void SynthRenderer::render(VirtualMidiBackend& device, float* out, uint32_t frames) {
  out_ = out;
  frames_ = frames;
  rendered_ = 0;
  if (VirtualMidiStream* stream = device.stream()) {
    startMicroseconds_ = stream->now();
    device.advance(frames * 1e6 / sampleRate_);
  }
  renderTo(frames);
  out_ = nullptr;
}

// A message outside a render call (sent while the stream stands still) takes effect at once.
void SynthRenderer::play(double microseconds, uint32_t message, const std::vector<uint8_t>& bytes) {
  if (out_) {
    double frame = std::round((microseconds - startMicroseconds_) * sampleRate_ / 1e6);
    renderTo(static_cast<uint32_t>(std::clamp(frame, 0.0, static_cast<double>(frames_))));
  }
  if (!(message & kMidiEventLong)) synth_.message(message);
}

std::vector<float> renderMidiSong(CMIDIMusic& music, const SoundFont& font, uint32_t sampleRate, double tailSeconds) {
  constexpr uint32_t kChunkFrames = 1024;
  VirtualMidiBackend device;
  device.recording = false;
  SynthRenderer renderer(font, sampleRate);
  device.sink = &renderer;
  setMidiBackend(&device);
  std::vector<float> mix;
  auto renderChunk = [&] {
    size_t at = mix.size();
    mix.resize(at + 2 * kChunkFrames);
    renderer.render(device, mix.data() + at, kChunkFrames);
  };
  if (music.Play(false) == 0)
    while (music.IsPlaying()) renderChunk();
  for (double tail = 0; tail < tailSeconds && renderer.synthesizer().activeVoices() > 0;
       tail += static_cast<double>(kChunkFrames) / sampleRate)
    renderChunk();
  setMidiBackend(nullptr);
  return mix;
}
