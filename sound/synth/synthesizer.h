// A General MIDI synthesiser over a SoundFont 2: 16 channels of MIDI messages played by voices
// that read the soundfont's samples (loops, tuning, pitch bend, the volume envelope, velocity,
// pan, volume and expression, a low-pass filter where the zone asks for one), mixed into blocks
// of interleaved stereo floats.
#pragma once

#include <cstdint>
#include <vector>

#include "sound/synth/soundfont.h"

class Synthesizer {
 public:
  Synthesizer(const SoundFont& font, uint32_t sampleRate);

  // A channel message: status, data 1, data 2 in the low bytes. Channel 10 (index 9) plays the
  // drum bank.
  void message(uint32_t word);
  // Every channel back to its state after power-on, every voice silent.
  void reset();
  // Adds `frames` frames of the sounding voices to `out` (left, right, left, ...).
  void render(float* out, uint32_t frames);
  int activeVoices() const;

  static constexpr int kMaxVoices = 256;
  static constexpr int kDrumChannel = 9;

 private:
  struct Channel {
    uint16_t bank = 0;
    uint8_t program = 0;
    uint8_t volume = 100, expression = 127, pan = 64;
    bool sustain = false;
    int32_t pitchBend = 0;             // -8192 to 8191
    int32_t bendRangeCents = 200;
    uint8_t rpnMsb = 127, rpnLsb = 127;
  };

  enum class Stage : uint8_t { kOff, kDelay, kAttack, kHold, kDecay, kSustain, kRelease };

  struct Voice {
    Stage stage = Stage::kOff;
    uint8_t channel, key, velocity;
    bool released = false;  // the key is up; the sustain pedal may still hold the voice
    uint32_t age;
    int32_t exclusiveClass;
    // Sample reading, in frames of the sample data, the position in 32.32 fixed point.
    const int16_t* data;
    uint64_t position;
    uint32_t end, loopStart, loopEnd;
    bool looping, loopUntilRelease;
    double pitchCents;       // of the note without bend, relative to the sample at its own rate
    double rateRatio;        // sample rate over output rate
    uint64_t step;
    // Gains: the zone's attenuation and velocity (fixed), and the channel's volume and pan.
    float noteGain, gainLeft, gainRight;
    int32_t zonePan;  // 0.1 % units, -500 to 500
    // The volume envelope: a level of 0 to 1, stepped per frame within a stage.
    float level, sustainLevel;
    float attackStep, decayFactor, releaseFactor;
    uint32_t holdFrames;
    uint32_t stageFrames;  // frames left in the delay, attack or hold stage
    // The low-pass filter (a biquad); off when the cutoff is at the top.
    bool filtered;
    float b0, b1, b2, a1, a2, x1, x2, y1, y2;
  };

  void noteOn(uint8_t channel, uint8_t key, uint8_t velocity);
  void noteOff(uint8_t channel, uint8_t key);
  void controller(uint8_t channel, uint8_t number, uint8_t value);
  void startVoice(const SoundFontRegion& region, uint8_t channel, uint8_t key, uint8_t velocity);
  void release(Voice& voice);
  void updatePitch(Voice& voice);
  void updateGains(Voice& voice);
  Voice& freeVoice();
  void renderVoice(Voice& voice, float* out, uint32_t frames);

  const SoundFont& font_;
  float sampleRate_;
  Channel channels_[16];
  std::vector<Voice> voices_;
  std::vector<SoundFontRegion> regions_;
  uint32_t clock_ = 0;
};
