// Files written by a real MIDI tool (python3-mido, at build time) played on the virtual stream
// device: what is heard equals the tool's own reading of its files, tick for tick, with the times
// its tempo map gives; the volume controllers come as scaled volume words at their ticks.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/sound/midi/midi_player.h"

namespace {

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

struct Listing {
  std::vector<Heard> messages;  // channel messages other than the volume, in the tool's order
  std::vector<Heard> volumes;
};

Listing readListing(const std::string& path) {
  Listing listing;
  std::istringstream lines(readAll(path));
  uint64_t tick;
  double microseconds;
  uint32_t status, data1, data2;
  while (lines >> tick >> microseconds >> status >> data1 >> data2) {
    Heard heard{tick, status | data1 << 8 | data2 << 16, microseconds};
    bool volume = (status & 0xF0) == 0xB0 && data1 == 7;
    (volume ? listing.volumes : listing.messages).push_back(heard);
  }
  return listing;
}

class MidiToolFilesTest : public MidiPlayerTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(MidiToolFilesTest, WhatIsHeardIsWhatTheToolReadsFromItsFile) {
  std::string name = std::string(TOOL_SONGS) + "/" + GetParam();
  Listing expected = readListing(name + ".txt");
  ASSERT_GT(expected.messages.size(), 40u);
  CMIDIMusic* music = load(readAll(name + ".mid"));
  ASSERT_NE(music, nullptr);
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(60e6);
  EXPECT_EQ(MIDI_IsPlaying(music), 0u) << "the song has ended";

  std::vector<Heard> heard = played();
  ASSERT_EQ(heard, expected.messages);
  for (size_t i = 0; i < heard.size(); ++i)
    EXPECT_NEAR(heard[i].microseconds, expected.messages[i].microseconds, 2) << i << " " << heard[i];
  std::vector<Heard> volumes = volumesSent();
  EXPECT_EQ(volumes, expected.volumes);
  for (size_t i = 0; i < volumes.size() && i < expected.volumes.size(); ++i)
    EXPECT_NEAR(volumes[i].microseconds, expected.volumes[i].microseconds, 2) << i;
  MIDI_Delete(music);
}

INSTANTIATE_TEST_SUITE_P(Songs, MidiToolFilesTest, ::testing::Values("tool_format0", "tool_format1"));

}  // namespace
