// Standard MIDI files written by the tests, and the stream events of a converted song.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "sound/device/midi_stream.h"
#include "sound/midi/midi_converter.h"

inline std::string variableLength(uint32_t value) {
  std::string bytes(1, static_cast<char>(value & 0x7F));
  while (value >>= 7) bytes.insert(bytes.begin(), static_cast<char>(0x80 | (value & 0x7F)));
  return bytes;
}

inline std::string big32(uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

// A track body: events with their deltas, as raw bytes (running status is the writer's choice).
struct TrackBytes {
  std::string bytes;

  TrackBytes& at(uint32_t delta, std::initializer_list<uint8_t> event) {
    bytes += variableLength(delta);
    for (uint8_t byte : event) bytes += static_cast<char>(byte);
    return *this;
  }
  TrackBytes& raw(const std::string& more) {
    bytes += more;
    return *this;
  }
  TrackBytes& end(uint32_t delta = 0) { return at(delta, {0xFF, 0x2F, 0x00}); }
};

inline std::string chunk(const char* id, const std::string& body, uint32_t statedSize) {
  return std::string(id, 4) + big32(statedSize) + body;
}

inline std::string midiHeader(uint16_t format, uint16_t tracks, uint16_t division) {
  std::string body = {static_cast<char>(format >> 8), static_cast<char>(format), static_cast<char>(tracks >> 8),
                      static_cast<char>(tracks), static_cast<char>(division >> 8), static_cast<char>(division)};
  return chunk("MThd", body, 6);
}

inline std::string midiFile(uint16_t format, const std::vector<TrackBytes>& tracks, uint16_t division = 96) {
  std::string file = midiHeader(format, static_cast<uint16_t>(tracks.size()), division);
  for (const TrackBytes& track : tracks) file += chunk("MTrk", track.bytes, static_cast<uint32_t>(track.bytes.size()));
  return file;
}

// One stream event of a converted song.
struct StreamEvent {
  uint32_t delta;
  uint32_t event;
  std::vector<uint8_t> bytes;  // a long event's parameters, without the padding
  int block;
  bool broken = false;  // stands for the rest of a block that does not end on an event boundary

  bool operator==(const StreamEvent& other) const {
    return delta == other.delta && event == other.event && bytes == other.bytes && broken == other.broken;
  }
};

inline std::ostream& operator<<(std::ostream& out, const StreamEvent& e) {
  if (e.broken) return out << "{broken end of block " << e.block << "}";
  out << "{" << e.delta << ", 0x" << std::hex << e.event << std::dec;
  for (uint8_t byte : e.bytes) out << " " << int(byte);
  return out << " (block " << e.block << ")}";
}

// The events of all blocks in order; a block that does not end on an event boundary adds a
// broken event, so that a test sees it.
inline std::vector<StreamEvent> streamEvents(const MidiBlockList& song) {
  std::vector<StreamEvent> events;
  for (int32_t block = 0; block < song.blockCount; ++block) {
    const uint8_t* data = song.blocks[block];
    uint32_t used = song.blockSizes[block];
    uint32_t offset = 0;
    while (offset + kMidiEventHeaderBytes <= used) {
      uint32_t words[3];
      std::memcpy(words, data + offset, sizeof words);
      StreamEvent event{words[0], words[2], {}, block};
      offset += kMidiEventHeaderBytes;
      if (words[2] & kMidiEventLong) {
        uint32_t length = words[2] & 0xFFFFFF;
        event.bytes.assign(data + offset, data + offset + length);
        offset += (length + 3) & ~3u;
      }
      events.push_back(event);
    }
    if (offset != used) events.push_back({0, 0, {}, block, true});
  }
  return events;
}

// Short stream events: status, data 1, data 2 in the low bytes.
inline uint32_t message(uint8_t status, uint8_t data1, uint8_t data2 = 0) {
  return status | data1 << 8 | data2 << 16;
}
