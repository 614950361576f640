// SoundFont 2 files as the synthesiser plays them: the 16-bit sample data, the sample headers,
// and presets whose zones lead through instruments to samples. Every index and range of the file
// is checked when it is read, so that playing never leaves the sample data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Generator numbers of the format, those the synthesiser reads.
enum SoundFontGenerator : uint16_t {
  kGenStartOffset = 0,
  kGenEndOffset = 1,
  kGenLoopStartOffset = 2,
  kGenLoopEndOffset = 3,
  kGenStartCoarseOffset = 4,
  kGenFilterCutoff = 8,
  kGenFilterQ = 9,
  kGenEndCoarseOffset = 12,
  kGenPan = 17,
  kGenDelayVolEnv = 33,
  kGenAttackVolEnv = 34,
  kGenHoldVolEnv = 35,
  kGenDecayVolEnv = 36,
  kGenSustainVolEnv = 37,
  kGenReleaseVolEnv = 38,
  kGenKeyToVolEnvHold = 39,
  kGenKeyToVolEnvDecay = 40,
  kGenInstrument = 41,
  kGenKeyRange = 43,
  kGenVelRange = 44,
  kGenLoopStartCoarseOffset = 45,
  kGenKeynum = 46,
  kGenVelocity = 47,
  kGenAttenuation = 48,
  kGenLoopEndCoarseOffset = 50,
  kGenCoarseTune = 51,
  kGenFineTune = 52,
  kGenSampleId = 53,
  kGenSampleModes = 54,
  kGenScaleTuning = 56,
  kGenExclusiveClass = 57,
  kGenRootKey = 58,
  kGeneratorCount = 61,
};

struct SoundFontSample {
  std::string name;
  uint32_t start, end, loopStart, loopEnd;  // in frames of the sample data; end is exclusive
  uint32_t sampleRate;
  uint8_t originalPitch;
  int8_t pitchCorrection;  // cents
};

// A zone: the key and velocity ranges it answers and its generator values; `set` tells which
// the file gave.
struct SoundFontZone {
  uint8_t keyLow = 0, keyHigh = 127, velocityLow = 0, velocityHigh = 127;
  int16_t value[kGeneratorCount] = {};
  bool set[kGeneratorCount] = {};
  int32_t link = -1;  // the instrument (of a preset zone) or sample (of an instrument zone)

  bool answers(int key, int velocity) const {
    return key >= keyLow && key <= keyHigh && velocity >= velocityLow && velocity <= velocityHigh;
  }
};

// An instrument or a preset: its global zone (generators every zone starts from) and its zones.
struct SoundFontItem {
  std::string name;
  uint16_t bank = 0, program = 0;  // presets only
  SoundFontZone global;
  std::vector<SoundFontZone> zones;
};

// What one note plays on one sample: the instrument's values with the preset's added.
struct SoundFontRegion {
  const SoundFontSample* sample;
  int32_t value[kGeneratorCount];
};

class SoundFont {
 public:
  // Reads a whole file; false with `error` saying what is wrong with it.
  bool load(const uint8_t* data, size_t size, std::string* error);
  bool loadFile(const std::string& path, std::string* error);

  // The preset of a bank and program, or null.
  const SoundFontItem* preset(uint16_t bank, uint16_t program) const;
  // The regions a key and velocity sound on a preset, appended to `regions`.
  void regions(const SoundFontItem& preset, int key, int velocity, std::vector<SoundFontRegion>* regions) const;

  const std::vector<int16_t>& sampleData() const { return sampleData_; }
  const std::vector<SoundFontItem>& presets() const { return presets_; }
  const std::vector<SoundFontItem>& instruments() const { return instruments_; }
  const std::vector<SoundFontSample>& samples() const { return samples_; }

 private:
  std::vector<int16_t> sampleData_;
  std::vector<SoundFontSample> samples_;
  std::vector<SoundFontItem> instruments_;
  std::vector<SoundFontItem> presets_;
};
