#include "sound/synth/synthesizer.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr float kSilent = 1e-5f;           // -100 dB: a released voice ends here
constexpr double kEnvelopeRangeDb = 100;   // decay and release times span this much
constexpr uint16_t kDrumBank = 128;
// Attenuation in the files is read at 0.4 of its stated centibels, as the hardware that the
// format was made for did, and as soundfonts are voiced.
constexpr double kAttenuationScale = 0.4;

double seconds(int32_t timecents) { return std::pow(2.0, timecents / 1200.0); }

double clampTo(double value, double low, double high) { return std::min(std::max(value, low), high); }

// The square law of the General MIDI volume, expression and velocity curves.
float squareLaw(uint8_t value) { return (value / 127.0f) * (value / 127.0f); }

}  // namespace

Synthesizer::Synthesizer(const SoundFont& font, uint32_t sampleRate)
    : font_(font), sampleRate_(static_cast<float>(sampleRate)), voices_(kMaxVoices) {}

void Synthesizer::reset() {
  for (Channel& channel : channels_) channel = Channel{};
  for (Voice& voice : voices_) voice.stage = Stage::kOff;
}

int Synthesizer::activeVoices() const {
  return static_cast<int>(std::count_if(voices_.begin(), voices_.end(), [](const Voice& v) { return v.stage != Stage::kOff; }));
}

void Synthesizer::message(uint32_t word) {
  uint8_t status = word & 0xFF, data1 = (word >> 8) & 0x7F, data2 = (word >> 16) & 0x7F;
  uint8_t channel = status & 0x0F;
  switch (status & 0xF0) {
    case 0x80:
      noteOff(channel, data1);
      break;
    case 0x90:
      if (data2 == 0) noteOff(channel, data1);
      else noteOn(channel, data1, data2);
      break;
    case 0xB0:
      controller(channel, data1, data2);
      break;
    case 0xC0:
      channels_[channel].program = data1;
      break;
    case 0xE0:
      channels_[channel].pitchBend = (data1 | data2 << 7) - 8192;
      for (Voice& voice : voices_)
        if (voice.stage != Stage::kOff && voice.channel == channel) updatePitch(voice);
      break;
    default:
      break;
  }
}

void Synthesizer::controller(uint8_t channelIndex, uint8_t number, uint8_t value) {
  Channel& channel = channels_[channelIndex];
  bool gains = false;
  switch (number) {
    case 0:
      channel.bank = value;
      break;
    case 6:
      if (channel.rpnMsb == 0 && channel.rpnLsb == 0) channel.bendRangeCents = value * 100 + channel.bendRangeCents % 100;
      break;
    case 38:
      if (channel.rpnMsb == 0 && channel.rpnLsb == 0) channel.bendRangeCents = channel.bendRangeCents / 100 * 100 + value;
      break;
    case 7:
      channel.volume = value;
      gains = true;
      break;
    case 10:
      channel.pan = value;
      gains = true;
      break;
    case 11:
      channel.expression = value;
      gains = true;
      break;
    case 64:
      channel.sustain = value >= 64;
      if (!channel.sustain)
        for (Voice& voice : voices_)
          if (voice.stage != Stage::kOff && voice.channel == channelIndex && voice.released) release(voice);
      break;
    case 98:
    case 99:
      channel.rpnMsb = channel.rpnLsb = 127;  // a non-registered number: data entry goes nowhere
      break;
    case 100:
      channel.rpnLsb = value;
      break;
    case 101:
      channel.rpnMsb = value;
      break;
    case 120:
      for (Voice& voice : voices_)
        if (voice.channel == channelIndex) voice.stage = Stage::kOff;
      break;
    case 121:
      channel.expression = 127;
      channel.sustain = false;
      channel.pitchBend = 0;
      channel.rpnMsb = channel.rpnLsb = 127;
      for (Voice& voice : voices_)
        if (voice.stage != Stage::kOff && voice.channel == channelIndex) {
          if (voice.released) release(voice);
          updatePitch(voice);
          updateGains(voice);
        }
      break;
    case 123:
      for (Voice& voice : voices_)
        if (voice.stage != Stage::kOff && voice.channel == channelIndex) {
          voice.released = true;
          release(voice);
        }
      break;
    default:
      break;
  }
  if (gains)
    for (Voice& voice : voices_)
      if (voice.stage != Stage::kOff && voice.channel == channelIndex) updateGains(voice);
}

void Synthesizer::noteOn(uint8_t channelIndex, uint8_t key, uint8_t velocity) {
  const Channel& channel = channels_[channelIndex];
  uint16_t bank = channelIndex == kDrumChannel ? kDrumBank : channel.bank;
  const SoundFontItem* preset = font_.preset(bank, channel.program);
  if (!preset) preset = font_.preset(bank == kDrumBank ? kDrumBank : 0, channel.program);
  if (!preset) preset = font_.preset(bank == kDrumBank ? kDrumBank : 0, 0);
  if (!preset) return;
  regions_.clear();
  font_.regions(*preset, key, velocity, &regions_);
  for (const SoundFontRegion& region : regions_) startVoice(region, channelIndex, key, velocity);
}

void Synthesizer::noteOff(uint8_t channel, uint8_t key) {
  for (Voice& voice : voices_) {
    if (voice.stage == Stage::kOff || voice.channel != channel || voice.key != key || voice.released) continue;
    voice.released = true;
    if (!channels_[channel].sustain) release(voice);
  }
}

Synthesizer::Voice& Synthesizer::freeVoice() {
  Voice* quietest = nullptr;
  Voice* oldest = &voices_[0];
  for (Voice& voice : voices_) {
    if (voice.stage == Stage::kOff) return voice;
    if (voice.stage == Stage::kRelease && (!quietest || voice.level < quietest->level)) quietest = &voice;
    if (voice.age < oldest->age) oldest = &voice;
  }
  return quietest ? *quietest : *oldest;
}

void Synthesizer::startVoice(const SoundFontRegion& region, uint8_t channel, uint8_t key, uint8_t velocity) {
  const int32_t* g = region.value;
  if (g[kGenExclusiveClass] != 0)
    for (Voice& other : voices_)
      if (other.stage != Stage::kOff && other.channel == channel && other.exclusiveClass == g[kGenExclusiveClass])
        other.stage = Stage::kOff;

  Voice& voice = freeVoice();
  const SoundFontSample& sample = *region.sample;
  auto frames = static_cast<int64_t>(font_.sampleData().size());
  auto at = [&](int64_t base, int fine, int coarse) { return base + fine + 32768LL * coarse; };
  int64_t start = clampTo(static_cast<double>(at(sample.start, g[kGenStartOffset], g[kGenStartCoarseOffset])), 0, frames);
  int64_t end = clampTo(static_cast<double>(at(sample.end, g[kGenEndOffset], g[kGenEndCoarseOffset])), start, sample.end);
  int64_t loopStart = clampTo(static_cast<double>(at(sample.loopStart, g[kGenLoopStartOffset], g[kGenLoopStartCoarseOffset])), start, end);
  int64_t loopEnd = clampTo(static_cast<double>(at(sample.loopEnd, g[kGenLoopEndOffset], g[kGenLoopEndCoarseOffset])), loopStart, end);
  if (end - start < 2) return;

  voice.stage = Stage::kDelay;
  voice.channel = channel;
  voice.key = key;
  voice.velocity = velocity;
  voice.released = false;
  voice.age = clock_++;
  voice.exclusiveClass = g[kGenExclusiveClass];
  voice.data = font_.sampleData().data();
  voice.position = static_cast<uint64_t>(start) << 32;
  voice.end = static_cast<uint32_t>(end);
  voice.loopStart = static_cast<uint32_t>(loopStart);
  voice.loopEnd = static_cast<uint32_t>(loopEnd);
  int modes = g[kGenSampleModes] & 3;
  voice.looping = (modes == 1 || modes == 3) && loopEnd - loopStart >= 2;
  voice.loopUntilRelease = modes == 3;

  int noteKey = g[kGenKeynum] >= 0 ? g[kGenKeynum] : key;
  int rootKey = g[kGenRootKey] >= 0 ? g[kGenRootKey] : sample.originalPitch;
  voice.pitchCents = (noteKey - rootKey) * g[kGenScaleTuning] + g[kGenCoarseTune] * 100.0 + g[kGenFineTune] +
                     sample.pitchCorrection;
  voice.rateRatio = sample.sampleRate / sampleRate_;
  updatePitch(voice);

  int noteVelocity = g[kGenVelocity] >= 0 ? g[kGenVelocity] : velocity;
  double attenuation = clampTo(g[kGenAttenuation], 0, 1440) * kAttenuationScale;
  voice.noteGain = static_cast<float>(std::pow(10.0, -attenuation / 200)) * squareLaw(static_cast<uint8_t>(noteVelocity));
  voice.zonePan = static_cast<int32_t>(clampTo(g[kGenPan], -500, 500));
  updateGains(voice);

  // The volume envelope, its hold and decay scaled by the key.
  double rate = sampleRate_;
  voice.level = 0;
  voice.stageFrames = static_cast<uint32_t>(seconds(std::max(g[kGenDelayVolEnv], -12000)) * rate);
  voice.attackStep = static_cast<float>(1.0 / std::max(1.0, seconds(std::max(g[kGenAttackVolEnv], -12000)) * rate));
  double decaySeconds = seconds(std::max(g[kGenDecayVolEnv] + g[kGenKeyToVolEnvDecay] * (60 - noteKey), -12000));
  double releaseSeconds = seconds(std::max(g[kGenReleaseVolEnv], -12000));
  double perFrameDb = -kEnvelopeRangeDb / 20 * std::log(10.0);
  voice.decayFactor = static_cast<float>(std::exp(perFrameDb / std::max(1.0, decaySeconds * rate)));
  voice.releaseFactor = static_cast<float>(std::exp(perFrameDb / std::max(1.0, releaseSeconds * rate)));
  voice.sustainLevel = static_cast<float>(std::pow(10.0, -clampTo(g[kGenSustainVolEnv], 0, 1440) / 200));
  voice.holdFrames = static_cast<uint32_t>(
      seconds(std::max(g[kGenHoldVolEnv] + g[kGenKeyToVolEnvHold] * (60 - noteKey), -12000)) * rate);

  // The low-pass filter, a biquad of the cookbook form.
  double cutoff = clampTo(g[kGenFilterCutoff], 1500, 13500);
  double cutoffHz = 8.176 * std::pow(2.0, cutoff / 1200);
  voice.filtered = cutoff < 13500 && cutoffHz < rate * 0.45;
  voice.x1 = voice.x2 = voice.y1 = voice.y2 = 0;
  if (voice.filtered) {
    double q = std::sqrt(0.5) * std::pow(10.0, clampTo(g[kGenFilterQ], 0, 960) / 200);
    double w = 2 * kPi * cutoffHz / rate;
    double alpha = std::sin(w) / (2 * q), cosine = std::cos(w), a0 = 1 + alpha;
    voice.b0 = voice.b2 = static_cast<float>((1 - cosine) / 2 / a0);
    voice.b1 = static_cast<float>((1 - cosine) / a0);
    voice.a1 = static_cast<float>(-2 * cosine / a0);
    voice.a2 = static_cast<float>((1 - alpha) / a0);
  }
}

void Synthesizer::release(Voice& voice) {
  if (voice.stage == Stage::kOff) return;
  // A voice released before its attack ends leaves from the level it reached.
  if (voice.stage == Stage::kDelay) voice.stage = Stage::kOff;
  else voice.stage = Stage::kRelease;
}

void Synthesizer::updatePitch(Voice& voice) {
  const Channel& channel = channels_[voice.channel];
  double bend = channel.pitchBend / 8192.0 * channel.bendRangeCents;
  double ratio = std::pow(2.0, (voice.pitchCents + bend) / 1200) * voice.rateRatio;
  voice.step = static_cast<uint64_t>(ratio * 4294967296.0);
}

void Synthesizer::updateGains(Voice& voice) {
  const Channel& channel = channels_[voice.channel];
  // Controller values 0, 64 and 127 are left, centre and right.
  double pan = clampTo(voice.zonePan + (channel.pan - 64) / (channel.pan > 64 ? 63.0 : 64.0) * 500, -500, 500);
  double angle = (pan + 500) / 1000 * kPi / 2;
  float gain = voice.noteGain * squareLaw(channel.volume) * squareLaw(channel.expression) / 32768.0f;
  voice.gainLeft = gain * static_cast<float>(std::cos(angle));
  voice.gainRight = gain * static_cast<float>(std::sin(angle));
}

void Synthesizer::render(float* out, uint32_t frames) {
  for (Voice& voice : voices_)
    if (voice.stage != Stage::kOff) renderVoice(voice, out, frames);
}

void Synthesizer::renderVoice(Voice& voice, float* out, uint32_t frames) {
  for (uint32_t f = 0; f < frames; ++f) {
    switch (voice.stage) {
      case Stage::kDelay:
        if (voice.stageFrames > 0) {
          --voice.stageFrames;
          continue;
        }
        voice.stage = Stage::kAttack;
        [[fallthrough]];
      case Stage::kAttack:
        voice.level += voice.attackStep;
        if (voice.level >= 1) {
          voice.level = 1;
          voice.stage = Stage::kHold;
          voice.stageFrames = voice.holdFrames;
        }
        break;
      case Stage::kHold:
        if (voice.stageFrames > 0) --voice.stageFrames;
        else voice.stage = Stage::kDecay;
        break;
      case Stage::kDecay:
        voice.level *= voice.decayFactor;
        if (voice.level <= voice.sustainLevel) {
          voice.level = voice.sustainLevel;
          voice.stage = Stage::kSustain;
        }
        break;
      case Stage::kSustain:
        break;
      case Stage::kRelease:
        voice.level *= voice.releaseFactor;
        break;
      case Stage::kOff:
        return;
    }
    if (voice.level < kSilent && (voice.stage == Stage::kRelease || voice.stage == Stage::kSustain)) {
      voice.stage = Stage::kOff;
      return;
    }
    uint32_t index = static_cast<uint32_t>(voice.position >> 32);
    float fraction = static_cast<float>(voice.position & 0xFFFFFFFF) * (1.0f / 4294967296.0f);
    float a = voice.data[index], b = voice.data[index + 1];
    float sample = a + (b - a) * fraction;
    if (voice.filtered) {
      float y = voice.b0 * sample + voice.b1 * voice.x1 + voice.b2 * voice.x2 - voice.a1 * voice.y1 - voice.a2 * voice.y2;
      voice.x2 = voice.x1;
      voice.x1 = sample;
      voice.y2 = voice.y1;
      voice.y1 = y;
      sample = y;
    }
    sample *= voice.level;
    out[2 * f] += sample * voice.gainLeft;
    out[2 * f + 1] += sample * voice.gainRight;
    voice.position += voice.step;
    uint32_t next = static_cast<uint32_t>(voice.position >> 32);
    bool loops = voice.looping && !(voice.loopUntilRelease && voice.released && voice.stage == Stage::kRelease);
    if (loops) {
      while (next >= voice.loopEnd) {
        voice.position -= static_cast<uint64_t>(voice.loopEnd - voice.loopStart) << 32;
        next = static_cast<uint32_t>(voice.position >> 32);
      }
    } else if (next + 1 >= voice.end) {
      voice.stage = Stage::kOff;
      return;
    }
  }
}
