// Songs played through the MIDI_* exports on the virtual stream device, and what it heard.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/exports/midi.h"
#include "sound/device/midi_virtual.h"
#include "tests/files/memory_file.h"

// A channel message heard, at its tick and time.
struct Heard {
  uint64_t tick;
  uint32_t message;
  double microseconds;
};

class MidiPlayerTest : public ::testing::Test {
 protected:
  void SetUp() override { setMidiBackend(&device); }
  void TearDown() override { setMidiBackend(nullptr); }

  static CMIDIMusic* load(const std::string& bytes) {
    MemoryFile file(bytes);
    return MIDI_ReadMidi(nullptr, &file);
  }

  // Channel messages the stream played, in order.
  std::vector<Heard> played() const {
    std::vector<Heard> heard;
    for (const MidiRecord& record : device.records)
      if (record.kind == MidiRecord::kEvent && (record.word & 0xFF000000) == kMidiEventShort)
        heard.push_back({record.tick, record.word, record.microseconds});
    return heard;
  }

  // Volume words sent at once (controller 7), in order.
  std::vector<Heard> volumesSent() const {
    std::vector<Heard> sent;
    for (const MidiRecord& record : device.records)
      if (record.kind == MidiRecord::kMessage && (record.word & 0xFFF0) == 0x07B0)
        sent.push_back({record.tick, record.word, record.microseconds});
    return sent;
  }

  size_t count(MidiRecord::Kind kind) const {
    size_t n = 0;
    for (const MidiRecord& record : device.records) n += record.kind == kind;
    return n;
  }

  VirtualMidiBackend device;
};

inline bool operator==(const Heard& a, const Heard& b) { return a.tick == b.tick && a.message == b.message; }

inline std::ostream& operator<<(std::ostream& out, const Heard& heard) {
  return out << "{tick " << heard.tick << ", 0x" << std::hex << heard.message << std::dec << " at "
             << heard.microseconds << " us}";
}

inline uint32_t volumeWord(uint8_t channel, uint32_t value) { return 0xB0 | channel | 7 << 8 | value << 16; }
