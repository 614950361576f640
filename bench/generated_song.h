// A MIDI file for the benchmarks: a conductor track with a tempo change on every bar's first note,
// and 15 instrument tracks of notes in running status, pitch bends, expression and volume
// controllers and program changes, from a fixed random sequence. Bars of 1920 ticks (480 a
// quarter); each note lasts `shortest` ticks plus up to `spread` more.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/sound/midi/midi_bytes.h"

inline std::string generatedSong(int bars, uint32_t shortest, uint32_t spread) {
  std::vector<TrackBytes> tracks(16);
  uint32_t seed = 12345;
  auto next = [&seed] { return (seed = seed * 1103515245 + 12345) >> 16; };
  for (int bar = 0; bar < bars; ++bar) {
    tracks[0].at(bar ? 1920 : 0, {0x90, 0, 1}).at(0, {0xFF, 0x51, 0x03, 0x07, static_cast<uint8_t>(next()), 0x20});
    for (uint8_t channel = 1; channel < 16; ++channel) {
      TrackBytes& track = tracks[channel];
      uint32_t left = 1920;
      track.at(0, {static_cast<uint8_t>(0xB0 | channel), 0x07, static_cast<uint8_t>(60 + next() % 60)});
      if (bar % 8 == 0) track.at(0, {static_cast<uint8_t>(0xC0 | channel), static_cast<uint8_t>(next() % 128)});
      while (left > 0) {
        uint32_t step = std::min<uint32_t>(left, shortest + next() % spread);
        uint8_t key = static_cast<uint8_t>(36 + next() % 60);
        track.at(0, {static_cast<uint8_t>(0x90 | channel), key, 100}).at(step, {key, 0});
        track.at(0, {static_cast<uint8_t>(0xE0 | channel), static_cast<uint8_t>(next() % 128), 64});
        track.at(0, {static_cast<uint8_t>(0xB0 | channel), 0x0B, static_cast<uint8_t>(next() % 128)});
        left -= step;
      }
    }
  }
  for (TrackBytes& track : tracks) track.end();
  return midiFile(1, tracks, 480);
}
