// The demo's composer and sound effects.
#include "demo/sound/demo_sound.h"

#include <algorithm>
#include <cmath>

namespace demo_sound {

namespace {

constexpr int kScale[7] = {0, 2, 4, 5, 7, 9, 11};  // C major, semitones above C
constexpr int kBars = 8;

// Key of the scale step `step` (0 is middle C; may be negative).
uint8_t scaleKey(int step) {
  int octave = step >= 0 ? step / 7 : -((6 - step) / 7);
  return uint8_t(60 + 12 * octave + kScale[step - 7 * octave]);
}

// A small linear congruential generator: the song depends on nothing but its seed.
struct Dice {
  uint32_t state;
  uint32_t roll(uint32_t sides) {
    state = state * 1664525u + 1013904223u;
    return (state >> 16) % sides;
  }
};

void appendVariable(std::string* out, uint32_t value) {
  char bytes[5];
  int count = 0;
  bytes[count++] = char(value & 0x7F);
  while (value >>= 7) bytes[count++] = char(0x80 | (value & 0x7F));
  while (count) out->push_back(bytes[--count]);
}

void appendBigEndian(std::string* out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out->push_back(char(value >> (8 * i)));
}

void appendLittleEndian(std::string* out, uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) out->push_back(char(value >> (8 * i)));
}

struct Event {
  uint32_t tick;
  int order;  // at the same tick: loop mark, note offs, then note ons
  std::string bytes;
};

int16_t toSample(double value) { return int16_t(std::lround(std::clamp(value, -1.0, 1.0) * 32767)); }

}  // namespace

const std::vector<int>& progression(Mood mood) {
  static const std::vector<int> title = {0, 5, 3, 4};   // I vi IV V
  static const std::vector<int> ending = {5, 3, 0, 4};  // vi IV I V
  return mood == Mood::kTitle ? title : ending;
}

std::vector<uint8_t> triad(int degree, uint8_t lowest) {
  std::vector<uint8_t> keys;
  for (int third = 0; third < 3; ++third) {
    uint8_t key = scaleKey(degree + 2 * third);
    while (key < lowest) key += 12;
    while (key >= lowest + 12) key -= 12;
    keys.push_back(key);
  }
  return keys;
}

Song composeSong(Mood mood, uint32_t seed) {
  Song song;
  const bool title = mood == Mood::kTitle;
  song.microsPerBeat = title ? 500000 : 750000;
  song.programs[0] = title ? 73 : 71;  // flute, clarinet
  song.programs[1] = 48;               // strings
  song.programs[2] = 32;               // acoustic bass
  song.loopTick = 0;
  song.endTick = kBars * kTicksPerBar;
  Dice dice{seed};
  int step = 7;  // the melody walks on scale steps around the C above middle C
  for (int bar = 0; bar < kBars; ++bar) {
    const int degree = progression(mood)[bar % progression(mood).size()];
    const uint32_t barStart = bar * kTicksPerBar;
    for (uint8_t key : triad(degree, 55)) song.notes.push_back({barStart, kTicksPerBar - 20, 1, key, 56});
    const uint8_t root = triad(degree, 36)[0];
    song.notes.push_back({barStart, 2 * kTicksPerBeat - 40, 2, root, 90});
    song.notes.push_back({barStart + 2 * kTicksPerBeat, 2 * kTicksPerBeat - 40, 2, root, 80});
    for (int beat = 0; beat < 4; ++beat) {
      if (beat % 2 == 0) {
        // Strong beats land on a chord tone near the last note: seven steps around it hold
        // each of the three once.
        std::vector<int> tones;
        for (int candidate = step - 3; candidate <= step + 3; ++candidate) {
          if (((candidate - degree) % 7 + 7) % 7 % 2 == 0 && ((candidate - degree) % 7 + 7) % 7 != 6)
            tones.push_back(candidate);
        }
        step = tones[dice.roll(uint32_t(tones.size()))];
      } else {
        step += int(dice.roll(3)) - 1;  // a step up, down, or the same note
      }
      // Kept in range by an octave's turn, which a chord tone survives.
      if (step < 3) step += 7;
      if (step > 13) step -= 7;
      const bool last = bar == kBars - 1 && beat == 3;
      song.notes.push_back({barStart + beat * kTicksPerBeat, uint32_t(last ? kTicksPerBeat : kTicksPerBeat - 30), 0,
                            scaleKey(step), uint8_t(beat == 0 ? 100 : 84)});
    }
  }
  return song;
}

std::string standardMidiFile(const Song& song) {
  std::vector<Event> events;
  std::string tempo = "\xFF\x51\x03";
  appendBigEndian(&tempo, song.microsPerBeat, 3);
  events.push_back({0, 0, tempo});
  for (uint8_t channel = 0; channel < 3; ++channel) {
    events.push_back({0, 0, {char(0xC0 | channel), char(song.programs[channel])}});
    events.push_back({0, 0, {char(0xB0 | channel), 7, 100}});
  }
  events.push_back({song.loopTick, 1, std::string("\xF0\x00", 2)});
  for (const Note& note : song.notes) {
    events.push_back({note.start, 3, {char(0x90 | note.channel), char(note.key), char(note.velocity)}});
    events.push_back({note.start + note.length, 2, {char(0x80 | note.channel), char(note.key), 64}});
  }
  std::stable_sort(events.begin(), events.end(),
                   [](const Event& a, const Event& b) { return a.tick != b.tick ? a.tick < b.tick : a.order < b.order; });
  std::string track;
  uint32_t now = 0;
  for (const Event& event : events) {
    appendVariable(&track, event.tick - now);
    now = event.tick;
    track += event.bytes;
  }
  appendVariable(&track, song.endTick > now ? song.endTick - now : 0);
  track += std::string("\xFF\x2F\x00", 3);
  std::string file = "MThd";
  appendBigEndian(&file, 6, 4);
  appendBigEndian(&file, 0, 2);  // format 0
  appendBigEndian(&file, 1, 2);  // one track
  appendBigEndian(&file, kTicksPerBeat, 2);
  file += "MTrk";
  appendBigEndian(&file, uint32_t(track.size()), 4);
  return file + track;
}

std::vector<int16_t> chime(uint32_t rate) {
  const double pi = std::acos(-1.0);
  std::vector<int16_t> samples(rate * 35 / 100);
  for (size_t i = 0; i < samples.size(); ++i) {
    const double t = double(i) / rate;
    const double second = t >= 0.08 ? std::sin(2 * pi * 1318.5 * (t - 0.08)) * std::exp(-(t - 0.08) * 14) : 0;
    const double first = std::sin(2 * pi * 987.8 * t) * std::exp(-t * 18);
    samples[i] = toSample(0.32 * first + 0.32 * second);
  }
  return samples;
}

std::vector<int16_t> blip(uint32_t rate) {
  const double pi = std::acos(-1.0);
  std::vector<int16_t> samples(rate * 12 / 100);
  double phase = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    const double progress = double(i) / samples.size();
    phase += 2 * pi * (880 - 440 * progress) / rate;
    samples[i] = toSample(0.6 * std::sin(phase) * (1 - progress));
  }
  return samples;
}

std::string waveFile(const std::vector<int16_t>& samples, uint32_t rate) {
  const uint32_t dataBytes = uint32_t(samples.size() * 2);
  std::string file = "RIFF";
  appendLittleEndian(&file, 36 + dataBytes, 4);
  file += "WAVEfmt ";
  appendLittleEndian(&file, 16, 4);
  appendLittleEndian(&file, 1, 2);  // PCM
  appendLittleEndian(&file, 1, 2);  // mono
  appendLittleEndian(&file, rate, 4);
  appendLittleEndian(&file, rate * 2, 4);
  appendLittleEndian(&file, 2, 2);
  appendLittleEndian(&file, 16, 2);
  file += "data";
  appendLittleEndian(&file, dataBytes, 4);
  for (int16_t sample : samples) appendLittleEndian(&file, uint16_t(sample), 2);
  return file;
}

}  // namespace demo_sound
