// The synthesiser behind a virtual MIDI stream: the stream's messages play on the synthesiser
// at their frames, and each call renders the next frames of the stream's clock.
#pragma once

#include <cstdint>
#include <vector>

#include "sound/device/midi_virtual.h"
#include "sound/midi/midi_music.h"
#include "sound/synth/synthesizer.h"

class SynthRenderer : public MidiEventSink {
 public:
  SynthRenderer(const SoundFont& font, uint32_t sampleRate);

  // Runs the device's open stream on by `frames` (none open: the voices sound on) and adds what
  // sounds to `out`, interleaved stereo.
  void render(VirtualMidiBackend& device, float* out, uint32_t frames);
  void play(double microseconds, uint32_t message, const std::vector<uint8_t>& bytes) override;

  Synthesizer& synthesizer() { return synth_; }

 private:
  // Renders up to `frame` of the current call.
  void renderTo(uint32_t frame);

  Synthesizer synth_;
  double sampleRate_;
  float* out_ = nullptr;
  uint32_t frames_ = 0;
  uint32_t rendered_ = 0;
  double startMicroseconds_ = 0;
};

// Plays a read song once, to its end and its voices' release (at most `tailSeconds` more), on the
// synthesiser; interleaved stereo floats. The song runs on a virtual stream of its own.
std::vector<float> renderMidiSong(CMIDIMusic& music, const SoundFont& font, uint32_t sampleRate,
                                  double tailSeconds = 10);
