// The MIDI_* exports playing songs on the virtual stream device: what is heard, when, and how the
// song ends, loops, pauses and takes its volumes.
#include <gtest/gtest.h>

#include <vector>

#include "base/os/os.h"
#include "tests/sound/midi/midi_bytes.h"
#include "tests/sound/midi/midi_player.h"

namespace {

constexpr double kSecond = 1e6;
constexpr uint32_t kAllNotesOff = 0x7BB0;

uint32_t key(uint8_t note, uint8_t channel = 0) { return message(0x90 | channel, note, 100); }

// Notes on channel 0 at the given deltas.
TrackBytes notes(std::initializer_list<std::pair<uint32_t, uint8_t>> deltaAndKey) {
  TrackBytes track;
  for (auto [delta, note] : deltaAndKey) track.at(delta, {0x90, note, 100});
  return track;
}

using MidiMusicTest = MidiPlayerTest;

TEST_F(MidiMusicTest, ASongPlaysItsMergedEventsAtTheirTimesAndEndsByItself) {
  // 96 ticks a quarter; the tempo halves the quarter at tick 192, on a note.
  TrackBytes melody = notes({{0, 60}, {96, 62}, {96, 64}});
  melody.at(0, {0xFF, 0x51, 0x03, 0x03, 0xD0, 0x90}).at(96, {0x90, 65, 100}).end();
  TrackBytes bass;
  bass.at(0, {0x91, 36, 100}).at(192, {0x81, 36, 0}).at(96, {0x91, 38, 100}).end();
  CMIDIMusic* music = load(midiFile(1, {melody, bass}, 96));
  ASSERT_NE(music, nullptr);
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  EXPECT_EQ(MIDI_IsPlaying(music), 1u);
  ASSERT_NE(device.stream(), nullptr);
  EXPECT_EQ(device.stream()->timeDivision(), 96u);

  device.advance(10 * kSecond);
  std::vector<Heard> expected = {
      {0, key(60), 0},           {0, key(36, 1), 0},         {96, key(62), 500000}, {192, key(64), 1000000},
      {192, message(0x81, 36, 0), 1000000}, {288, key(65), 1250000}, {288, key(38, 1), 1250000},
  };
  std::vector<Heard> heard = played();
  ASSERT_EQ(heard, expected);
  for (size_t i = 0; i < heard.size(); ++i) EXPECT_NEAR(heard[i].microseconds, expected[i].microseconds, 1) << i;

  // The last block came back: the song stopped, silenced every channel and closed.
  EXPECT_EQ(MIDI_IsPlaying(music), 0u);
  EXPECT_EQ(device.stream(), nullptr);
  std::vector<uint32_t> silenced;
  for (const MidiRecord& record : device.records)
    if (record.kind == MidiRecord::kMessage) silenced.push_back(record.word);
  ASSERT_EQ(silenced.size(), 16u);
  for (uint32_t channel = 0; channel < 16; ++channel) EXPECT_EQ(silenced[channel], kAllNotesOff | channel);
  EXPECT_EQ(device.records.back().kind, MidiRecord::kClose);
  EXPECT_EQ(count(MidiRecord::kDone), 1u);
  EXPECT_EQ(MIDI_Delete(music), 0u);
}

TEST_F(MidiMusicTest, TheSongsVolumesAreSentScaledByTheMasterVolumeAtTheirTicks) {
  TrackBytes track = notes({{0, 60}});
  track.at(0, {0xB0, 0x07, 64}).at(0, {0xB1, 0x07, 127}).at(96, {0x90, 62, 100}).at(0, {0xB0, 0x07, 32});
  track.at(96, {0x90, 64, 100}).end();
  CMIDIMusic* music = load(midiFile(0, {track}, 96));
  ASSERT_NE(music, nullptr);

  // With the full master volume the song's words go out as they stand, each moment's volumes
  // from one flagged callback.
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(10 * kSecond);
  EXPECT_EQ(volumesSent(), (std::vector<Heard>{{0, volumeWord(0, 64), 0}, {0, volumeWord(1, 127), 0},
                                               {96, volumeWord(0, 32), 0}}));
  EXPECT_EQ(count(MidiRecord::kPosition), 2u);

  // Set while closed, a master volume is only stored; it scales the song at the next play.
  device.records.clear();
  EXPECT_EQ(MIDI_SetVolume(music, 0x8000), 0u);
  EXPECT_TRUE(device.records.empty());
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(10 * kSecond);
  EXPECT_EQ(volumesSent(), (std::vector<Heard>{{0, volumeWord(0, 32), 0}, {0, volumeWord(1, 63), 0},
                                               {96, volumeWord(0, 16), 0}}));
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, AMasterVolumeChangeSendsOnlyTheChannelsThatChange) {
  TrackBytes track = notes({{0, 60}});
  track.at(0, {0xB2, 0x07, 80}).at(96, {0x90, 62, 100}).at(960, {0x90, 64, 100}).end();
  CMIDIMusic* music = load(midiFile(0, {track}, 96));
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  // Before their first volume word the channels stand at 100.
  MIDI_SetVolume(music, 0x8000);
  std::vector<Heard> sent = volumesSent();
  ASSERT_EQ(sent.size(), 16u);
  for (uint8_t channel = 0; channel < 16; ++channel) EXPECT_EQ(sent[channel].message, volumeWord(channel, 50));

  device.advance(0);  // channel 2's word, behind the first note
  sent = volumesSent();
  ASSERT_EQ(sent.size(), 17u);
  EXPECT_EQ(sent[16].message, volumeWord(2, 40));
  device.records.clear();
  MIDI_SetVolume(music, 0x8000);
  EXPECT_TRUE(volumesSent().empty()) << "nothing changed";
  MIDI_SetVolume(music, 0xFFFF);
  sent = volumesSent();
  ASSERT_EQ(sent.size(), 16u);
  EXPECT_EQ(sent[2].message, volumeWord(2, 80));
  EXPECT_EQ(sent[3].message, volumeWord(3, 100));
  device.records.clear();
  MIDI_SetVolume(music, 0x1FFFF);  // above the top: the top
  EXPECT_TRUE(volumesSent().empty());
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, ALoopMarkLoopsOnlyWhenPlayedLooped) {
  TrackBytes track = notes({{0, 1}, {96, 2}});
  track.at(0, {0xF0, 0x00}).at(96, {0x90, 3, 100}).at(0, {0x90, 4, 100}).end(96);
  CMIDIMusic* music = load(midiFile(0, {track}, 96));
  ASSERT_NE(music, nullptr);

  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(60 * kSecond);
  EXPECT_EQ(played().size(), 4u);
  EXPECT_EQ(MIDI_IsPlaying(music), 0u);

  // Looped, the part behind the mark comes again and again, the part before it never.
  device.records.clear();
  ASSERT_EQ(MIDI_PlayMidi(music, 1), 0u);
  device.advance(3 * kSecond);
  EXPECT_EQ(MIDI_IsPlaying(music), 1u);
  std::vector<Heard> heard = played();
  ASSERT_GE(heard.size(), 10u);
  EXPECT_EQ(heard[0], (Heard{0, key(1), 0}));
  EXPECT_EQ(heard[1], (Heard{96, key(2), 0}));
  for (size_t i = 2; i < heard.size(); i += 2) {
    uint64_t round = (i - 2) / 2;
    EXPECT_EQ(heard[i], (Heard{192 + 96 * round, key(3), 0})) << i;
    if (i + 1 < heard.size()) {
      EXPECT_EQ(heard[i + 1], (Heard{192 + 96 * round, key(4), 0})) << i;
    }
  }
  EXPECT_EQ(MIDI_StopMidi(music), 0u);
  EXPECT_EQ(MIDI_IsPlaying(music), 0u);
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, WithoutAMarkALoopedSongRepeatsWhole) {
  TrackBytes track;
  for (int i = 0; i < 6000; ++i) track.at(i ? 1 : 0, {0x90, static_cast<uint8_t>(i % 128), 100});
  CMIDIMusic* music = load(midiFile(0, {track.end()}, 96));
  ASSERT_EQ(music->Song().blockCount, 2);
  ASSERT_EQ(MIDI_PlayMidi(music, 1), 0u);
  device.advance(6000 * 500000.0 / 96 * 2.5);
  std::vector<Heard> heard = played();
  ASSERT_GE(heard.size(), 12000u);
  for (size_t i = 0; i < 12000; ++i) ASSERT_EQ(heard[i].message, key(static_cast<uint8_t>(i % 6000 % 128))) << i;
  EXPECT_EQ(heard[6000].tick, 5999u) << "the second round follows the first without a gap";
  EXPECT_GE(count(MidiRecord::kDone), 4u);
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, PauseHoldsTheSongAndRestartGoesOn) {
  CMIDIMusic* music = load(midiFile(0, {notes({{0, 1}, {96, 2}, {96, 3}}).end()}, 96));
  EXPECT_EQ(MIDI_PauseMidi(music), 1u) << "not playing";
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  EXPECT_EQ(MIDI_RestartMidi(music), 1u) << "not paused";
  device.advance(0.75 * kSecond);
  EXPECT_EQ(MIDI_PauseMidi(music), 0u);
  EXPECT_EQ(MIDI_PauseMidi(music), 1u);
  device.advance(5 * kSecond);
  EXPECT_EQ(played().size(), 2u) << "nothing plays while paused";
  EXPECT_EQ(MIDI_RestartMidi(music), 0u);
  EXPECT_EQ(MIDI_RestartMidi(music), 1u);
  device.advance(0.2 * kSecond);
  EXPECT_EQ(played().size(), 2u);
  device.advance(0.1 * kSecond);
  ASSERT_EQ(played().size(), 3u);
  EXPECT_NEAR(played()[2].microseconds, 1000000, 1) << "paused time does not count";
  MIDI_StopMidi(music);
  EXPECT_EQ(MIDI_RestartMidi(music), 1u) << "closed";
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, PlayingAgainStartsOverAndAStoppedSongOpensANewStream) {
  CMIDIMusic* music = load(midiFile(0, {notes({{0, 1}, {96, 2}, {96, 3}}).end()}, 96));
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(0.6 * kSecond);
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(0.6 * kSecond);
  std::vector<Heard> heard = played();
  ASSERT_EQ(heard.size(), 4u);
  EXPECT_EQ(heard[2], (Heard{0, key(1), 0})) << "from the first block, the position back at 0";
  EXPECT_EQ(count(MidiRecord::kStop), 1u);
  EXPECT_EQ(count(MidiRecord::kOpen), 1u);

  EXPECT_EQ(MIDI_StopMidi(music), 0u);
  EXPECT_EQ(device.stream(), nullptr);
  EXPECT_EQ(MIDI_StopMidi(music), 0u) << "stopping a closed song is harmless";
  device.records.clear();
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(10 * kSecond);
  EXPECT_EQ(count(MidiRecord::kOpen), 1u);
  EXPECT_EQ(played().size(), 3u);
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, ShortAndLongMessagesGoOutOnlyWithAStream) {
  CMIDIMusic* music = load(midiFile(0, {notes({{0, 1}}).end()}));
  const uint8_t reset[] = {0xF0, 0x7E, 0x7F, 0x09, 0x01, 0xF7};
  EXPECT_EQ(MIDI_OutShortMsg(music, 0x403C90), 0u);
  EXPECT_EQ(MIDI_OutLongMsg(music, reset, sizeof reset), 0u);
  EXPECT_TRUE(device.records.empty());

  ASSERT_EQ(MIDI_OpenMidi(music), music);
  EXPECT_EQ(MIDI_OutShortMsg(music, 0x403C90), 0u);
  EXPECT_EQ(device.records.back().kind, MidiRecord::kMessage);
  EXPECT_EQ(device.records.back().word, 0x403C90u);

  ASSERT_EQ(MIDI_OutLongMsg(music, reset, sizeof reset), 0u);
  device.advance(0);
  const MidiRecord* sent = nullptr;
  const MidiRecord* done = nullptr;
  for (const MidiRecord& record : device.records) {
    if (record.kind == MidiRecord::kEvent) sent = &record;
    if (record.kind == MidiRecord::kDone) done = &record;
  }
  ASSERT_NE(sent, nullptr);
  EXPECT_EQ(sent->word, kMidiEventLong | sizeof reset);
  EXPECT_EQ(sent->bytes, std::vector<uint8_t>(std::begin(reset), std::end(reset)));
  ASSERT_NE(done, nullptr);
  EXPECT_EQ(done->word, 12u + 8u);
#ifndef _WIN32
  EXPECT_FALSE(os::canRead(done->header, 1)) << "the done notice freed the message's block";
#endif
  EXPECT_EQ(MIDI_OutLongMsg(music, reset, 0x1000000), 1u) << "longer than an event can say";
  MIDI_Delete(music);
}

TEST_F(MidiMusicTest, WithoutADeviceEveryCallFailsCleanly) {
  device.openResult = MMSYSERR_NODRIVER;
  CMIDIMusic* opened = MIDI_OpenMidi(nullptr);
  ASSERT_NE(opened, nullptr) << "the object is made all the same";
  CMIDIMusic* music = load(midiFile(0, {notes({{0, 1}}).end()}));
  ASSERT_NE(music, nullptr);
  EXPECT_EQ(MIDI_PlayMidi(music, 1), 1u);
  EXPECT_EQ(MIDI_IsPlaying(music), 0u);
  EXPECT_EQ(MIDI_PauseMidi(music), 1u);
  EXPECT_EQ(MIDI_RestartMidi(music), 1u);
  EXPECT_EQ(MIDI_SetVolume(music, 100), 0u);
  EXPECT_EQ(MIDI_OutShortMsg(music, 0x90), 0u);
  EXPECT_EQ(MIDI_StopMidi(music), 0u);
  EXPECT_TRUE(device.records.empty());
  EXPECT_EQ(MIDI_Delete(music), 0u);
  EXPECT_EQ(MIDI_Delete(opened), 0u);
  EXPECT_EQ(MIDI_Delete(nullptr), 0u);
}

TEST_F(MidiMusicTest, AnEmptySongDoesNotPlayAndABadFileDeletesTheObject) {
  CMIDIMusic* empty = load(midiHeader(1, 0, 96));
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(MIDI_PlayMidi(empty, 0), 1u) << "its first block is null";
  EXPECT_EQ(MIDI_IsPlaying(empty), 0u);
  MIDI_Delete(empty);

  CMIDIMusic* fresh = new CMIDIMusic;
  EXPECT_EQ(MIDI_PlayMidi(fresh, 0), 1u) << "nothing read";
  // A given object that does not take the file is deleted, its stream closed with it.
  ASSERT_EQ(MIDI_OpenMidi(fresh), fresh);
  device.records.clear();
  MemoryFile bad(std::string("RIFF...."));
  EXPECT_EQ(MIDI_ReadMidi(fresh, &bad), nullptr);
  ASSERT_FALSE(device.records.empty());
  EXPECT_EQ(device.records.back().kind, MidiRecord::kClose);
}

TEST_F(MidiMusicTest, ReadingAnotherSongStopsTheOneThatPlays) {
  CMIDIMusic* music = load(midiFile(0, {notes({{0, 1}, {96, 2}}).end()}, 96));
  ASSERT_EQ(MIDI_PlayMidi(music, 1), 0u);
  device.advance(0);
  MemoryFile second(midiFile(0, {notes({{0, 7}, {96, 8}}).end()}, 96));
  ASSERT_EQ(MIDI_ReadMidi(music, &second), music);
  EXPECT_EQ(MIDI_IsPlaying(music), 0u);
  EXPECT_EQ(device.stream(), nullptr);
  ASSERT_EQ(MIDI_PlayMidi(music, 0), 0u);
  device.advance(10 * kSecond);
  std::vector<Heard> heard = played();
  ASSERT_EQ(heard.size(), 3u);
  EXPECT_EQ(heard[1].message, key(7));
  EXPECT_EQ(heard[2].message, key(8));
  MIDI_Delete(music);
}

}  // namespace
