// The conversion of MIDI files into stream blocks, read back from the blocks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/os/os.h"
#include "sound/midi/midi_converter.h"
#include "tests/files/memory_file.h"
#include "tests/sound/midi/midi_bytes.h"

namespace {

struct Converted {
  explicit Converted(const std::string& bytes) {
    MemoryFile file(bytes);
    result = ConvertMidiFile(&file, &song);
  }
  ~Converted() { FreeMidiBlocks(&song); }
  std::vector<StreamEvent> events() const { return streamEvents(song); }

  uint32_t result;
  MidiBlockList song;
};

constexpr uint32_t kFlag = kMidiEventCallback;
constexpr uint32_t kNop = kMidiEventNop;
constexpr uint32_t kTempo = kMidiEventTempo;

uint32_t noteOn(uint8_t key, uint8_t channel = 0) { return message(0x90 | channel, key, 100); }

TrackBytes notes(std::initializer_list<std::pair<uint32_t, uint8_t>> deltaAndKey) {
  TrackBytes track;
  for (auto [delta, key] : deltaAndKey) track.at(delta, {0x90, key, 100});
  return track;
}

TEST(MidiConverterTest, ChannelMessagesKeepTheirBytesDeltasAndRunningStatus) {
  TrackBytes track;
  track.at(0, {0x90, 0x3C, 0x64})
      .at(10, {0x3C, 0x00})        // running status
      .at(5, {0xC0, 0x05})         // program change: one data byte
      .at(0, {0xD1, 0x40})         // channel pressure: one data byte
      .at(7, {0xE0, 0x00, 0x40})   // pitch bend
      .at(0, {0x01, 0x7F})         // running status of the pitch bend
      .at(3, {0xB0, 0x0A, 0x20})   // pan: a controller that is not the volume
      .at(1, {0xF6})               // tune request: the byte alone
      .at(0, {0xF8})
      .end();
  Converted converted(midiFile(0, {track}, 480));
  ASSERT_EQ(converted.result, 0u);
  EXPECT_EQ(converted.song.timeDivision, 480u);
  EXPECT_EQ(converted.song.blockCount, 1);
  EXPECT_FALSE(converted.song.loopMark);
  std::vector<StreamEvent> expected = {
      {0, message(0x90, 0x3C, 0x64), {}, 0}, {10, message(0x90, 0x3C, 0), {}, 0},
      {5, message(0xC0, 0x05), {}, 0},       {0, message(0xD1, 0x40), {}, 0},
      {7, message(0xE0, 0, 0x40), {}, 0},    {0, message(0xE0, 0x01, 0x7F), {}, 0},
      {3, message(0xB0, 0x0A, 0x20), {}, 0}, {1, 0xF6, {}, 0},
      {0, 0xF8, {}, 0},
  };
  EXPECT_EQ(converted.events(), expected);
}

TEST(MidiConverterTest, TracksMergeByTimeAndTiesGoToTheLowerTrack) {
  // Absolute times: track 0 at 0, 20, 30; track 1 at 5, 20, 50; track 2 at 20.
  Converted converted(midiFile(1, {notes({{0, 1}, {20, 2}, {10, 3}}).end(),
                                   notes({{5, 11}, {15, 12}, {30, 13}}).end(), notes({{20, 21}}).end()}));
  ASSERT_EQ(converted.result, 0u);
  std::vector<StreamEvent> expected = {
      {0, noteOn(1), {}, 0},  {5, noteOn(11), {}, 0}, {15, noteOn(2), {}, 0}, {0, noteOn(12), {}, 0},
      {0, noteOn(21), {}, 0}, {10, noteOn(3), {}, 0}, {20, noteOn(13), {}, 0},
  };
  EXPECT_EQ(converted.events(), expected);
}

TEST(MidiConverterTest, VolumesAndTempoWaitForTheTimeToMoveOn) {
  // Channel volumes in channel order, the first with the time and the flag, the latest word of
  // a channel only, then the tempo; a volume with no later step of time is never written.
  TrackBytes track;
  track.at(0, {0x90, 1, 100})
      .at(0, {0xB3, 0x07, 60})
      .at(0, {0xB0, 0x07, 50})
      .at(0, {0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20})
      .at(0, {0x07, 70})  // running status: channel 0's volume again
      .at(10, {0x90, 2, 100})
      .at(0, {0xFF, 0x51, 0x03, 0x0F, 0x42, 0x40})
      .at(10, {0x90, 3, 100})
      .at(0, {0xB1, 0x07, 40})
      .end();
  Converted converted(midiFile(0, {track}));
  ASSERT_EQ(converted.result, 0u);
  std::vector<StreamEvent> expected = {
      {0, noteOn(1), {}, 0},
      {0, kFlag | kNop | message(0xB0, 7, 70), {}, 0},
      {0, kNop | message(0xB3, 7, 60), {}, 0},
      {0, kTempo | 500000, {}, 0},
      {10, noteOn(2), {}, 0},
      {0, kFlag | kTempo | 1000000, {}, 0},
      {10, noteOn(3), {}, 0},
  };
  EXPECT_EQ(converted.events(), expected);
}

TEST(MidiConverterTest, ATempoAtTheStartGoesBehindTheNotesOfLaterTracks) {
  TrackBytes conductor;
  conductor.at(0, {0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20}).end();
  Converted converted(midiFile(1, {conductor, notes({{0, 1}, {10, 2}}).end()}));
  ASSERT_EQ(converted.result, 0u);
  std::vector<StreamEvent> expected = {
      {0, noteOn(1), {}, 0}, {0, kFlag | kTempo | 500000, {}, 0}, {10, noteOn(2), {}, 0}};
  EXPECT_EQ(converted.events(), expected);
}

TEST(MidiConverterTest, WhatOpensAMomentWithoutBeingWrittenLosesOrMovesItsTime) {
  // A meta event alone at its time: the 10 ticks up to it vanish from the stream.
  TrackBytes alone = notes({{0, 1}});
  alone.at(10, {0xFF, 0x01, 0x03, 'a', 'b', 'c'}).at(10, {0x90, 2, 100}).end();
  Converted metaAlone(midiFile(0, {alone}));
  EXPECT_EQ(metaAlone.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {10, noteOn(2), {}, 0}}));

  // Behind a note of its moment it costs nothing.
  TrackBytes behind = notes({{0, 1}, {10, 2}});
  behind.at(0, {0xFF, 0x01, 0x01, 'a'}).at(10, {0x90, 3, 100}).end();
  Converted metaBehind(midiFile(0, {behind}));
  EXPECT_EQ(metaBehind.events(),
            (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {10, noteOn(2), {}, 0}, {10, noteOn(3), {}, 0}}));

  // An end of track alone at its time: the other track's later notes come earlier.
  Converted endAlone(midiFile(1, {notes({{0, 1}}).end(10), notes({{20, 2}}).end()}));
  EXPECT_EQ(endAlone.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {10, noteOn(2), {}, 0}}));

  // A meta event of an earlier track opens the moment of a later track's note: that note too.
  TrackBytes conductor;
  conductor.at(0, {0xFF, 0x58, 0x04, 4, 2, 24, 8}).at(30, {0xFF, 0x51, 0x03, 0x07, 0xA1, 0x20}).end();
  Converted conducted(midiFile(1, {conductor, notes({{0, 1}, {30, 2}, {30, 3}}).end()}));
  EXPECT_EQ(conducted.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0},
                                                          {0, noteOn(2), {}, 0},
                                                          {0, kFlag | kTempo | 500000, {}, 0},
                                                          {30, noteOn(3), {}, 0}}));

  // A volume that opens its moment keeps the time for itself: the notes of its moment move
  // forward, the volume goes out at the next step with the time, and the rest keeps its place.
  TrackBytes volumeFirst = notes({{0, 1}});
  volumeFirst.at(10, {0xB0, 0x07, 50}).at(0, {0x90, 2, 100}).at(10, {0x90, 3, 100}).end();
  Converted volume(midiFile(0, {volumeFirst}));
  EXPECT_EQ(volume.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0},
                                                       {0, noteOn(2), {}, 0},
                                                       {10, kFlag | kNop | message(0xB0, 7, 50), {}, 0},
                                                       {10, noteOn(3), {}, 0}}));
}

TEST(MidiConverterTest, MetaEventsSkipTheirFixedCountsWhateverTheirLengthSays) {
  TrackBytes track;
  track.at(0, {0xFF, 0x00, 0x00, 0x11, 0x22})  // sequence number: 3 bytes, the length byte says 0
      .at(0, {0x90, 1, 100})
      .at(0, {0xFF, 0x21, 0x05, 0x33})  // port: 2 bytes
      .at(0, {0x90, 2, 100})
      .at(0, {0xFF, 0x54, 0x00, 1, 2, 3, 4, 5})  // SMPTE offset: 6 bytes
      .at(0, {0x90, 3, 100})
      .at(0, {0xFF, 0x58, 0x09, 4, 2, 24, 8})  // time signature: 5 bytes
      .at(0, {0x90, 4, 100})
      .at(0, {0xFF, 0x59, 0x02, 0x01, 0x00})  // key signature: 3 bytes
      .at(0, {0x90, 5, 100})
      .at(0, {0xFF, 0x7F, 0x03, 0x41, 0x00, 0x01})  // sequencer data of length 3: 4 bytes
      .at(0, {0x90, 6, 100})
      .at(0, {0xFF, 0x05, 0x02, 'l', 'a'})  // lyric: its length obeyed
      .at(0, {0x90, 7, 100})
      .at(0, {0xFF, 0x51, 0x00, 0x07, 0xA1, 0x20})  // tempo: the three bytes behind the length
      .at(0, {0x90, 8, 100})
      .at(0, {0xFF, 0x7F, 0x02, 0x41, 0x00})  // sequencer data of another length: the end
      .at(0, {0x90, 9, 100})
      .end();
  Converted converted(midiFile(0, {track}));
  ASSERT_EQ(converted.result, 0u);
  std::vector<StreamEvent> expected;
  for (uint8_t key = 1; key <= 8; ++key) expected.push_back({0, noteOn(key), {}, 0});
  EXPECT_EQ(converted.events(), expected) << "the tempo is dropped at the end, the ninth note never read";
}

TEST(MidiConverterTest, SystemExclusiveEventsBecomeLongEvents) {
  TrackBytes track;
  track.at(0, {0xF0, 0x04, 0x41, 0x10, 0x42, 0xF7})
      .at(5, {0xF7, 0x02, 0x43, 0x12})
      .at(0, {0xF0, 0x01, 0x7E})
      .at(1, {0x90, 1, 100})
      .end();
  Converted converted(midiFile(0, {track}));
  ASSERT_EQ(converted.result, 0u);
  std::vector<StreamEvent> expected = {
      {0, kMidiEventLong | 5, {0xF0, 0x41, 0x10, 0x42, 0xF7}, 0},
      {5, kMidiEventLong | 2, {0x43, 0x12}, 0},
      {0, kMidiEventLong | 2, {0xF0, 0x7E}, 0},
      {1, noteOn(1), {}, 0},
  };
  EXPECT_EQ(converted.events(), expected);
  EXPECT_EQ(converted.song.blockSizes[0], 4 * 12 + 8 + 4 + 4u) << "parameters padded to 4 bytes";
}

TEST(MidiConverterTest, AnEmptySystemExclusiveMarksTheLoopAtABlockOfItsOwn) {
  for (std::string mark : {std::string("\xF0\x00", 2), std::string("\xF0\x01\xF7", 3), std::string("\xF7\x00", 2)}) {
    TrackBytes track = notes({{0, 1}, {10, 2}});
    track.raw(variableLength(0) + mark);
    track.at(10, {0x90, 3, 100}).end();
    Converted converted(midiFile(0, {track}));
    ASSERT_EQ(converted.result, 0u);
    EXPECT_TRUE(converted.song.loopMark);
    EXPECT_EQ(converted.song.loopBlock, 1);
    EXPECT_EQ(converted.events(),
              (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {10, noteOn(2), {}, 0}, {10, noteOn(3), {}, 1}}));
  }
  // The 0xF7 of a mark made with 0xF7 stays in the track and begins the next delta.
  TrackBytes f7 = notes({{0, 1}});
  f7.at(0, {0xF7, 0x01}).raw("\xF7\x05").raw(std::string("\x90\x02\x64", 3)).end();
  Converted withF7(midiFile(0, {f7}));
  ASSERT_EQ(withF7.result, 0u);
  EXPECT_EQ(withF7.events(),
            (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {0x77 << 7 | 5, noteOn(2), {}, 1}}));

  // A mark at the start leaves nothing to close: the loop begins at block 0.
  TrackBytes first;
  first.at(0, {0xF0, 0x00}).at(10, {0x90, 1, 100}).end();
  Converted atStart(midiFile(0, {first}));
  EXPECT_EQ(atStart.song.loopBlock, 0);
  EXPECT_EQ(atStart.events(), (std::vector<StreamEvent>{{10, noteOn(1), {}, 0}}));

  // A mark alone at its time loses that time, as a meta event does.
  TrackBytes alone = notes({{0, 1}});
  alone.at(10, {0xF0, 0x00}).at(10, {0x90, 2, 100}).end();
  Converted markAlone(midiFile(0, {alone}));
  EXPECT_EQ(markAlone.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {10, noteOn(2), {}, 1}}));
}

TEST(MidiConverterTest, A128BytePrefixIsSkippedAndNoOtherLength) {
  std::string song = midiFile(0, {notes({{0, 1}, {10, 2}}).end()});
  Converted plain(song);
  Converted prefixed(std::string(128, 'x') + song);
  ASSERT_EQ(prefixed.result, 0u);
  EXPECT_EQ(prefixed.events(), plain.events());
  EXPECT_EQ(Converted(std::string(64, 'x') + song).result, 1u);
  EXPECT_EQ(Converted(std::string(129, 'x') + song).result, 1u);
}

TEST(MidiConverterTest, AFormatWordWithALowByteOfZeroMeansOneTrack) {
  std::string tracks = chunk("MTrk", notes({{0, 1}}).end().bytes, 8) + chunk("MTrk", notes({{0, 2}}).end().bytes, 8);
  Converted oneTrack(midiHeader(0x0100, 2, 96) + tracks);
  ASSERT_EQ(oneTrack.result, 0u);
  EXPECT_EQ(oneTrack.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}}));
  Converted both(midiHeader(1, 2, 96) + tracks);
  EXPECT_EQ(both.events().size(), 2u);
}

TEST(MidiConverterTest, LongSongsFillBlocksUpToTheirCloseMark) {
  TrackBytes track;
  std::vector<StreamEvent> expected;
  for (uint32_t i = 0; i < 20000; ++i) {
    uint8_t key = static_cast<uint8_t>(i % 100);
    track.at(i % 3, {0x90, key, 100});
    expected.push_back({i % 3, noteOn(key), {}, 0});
    if (i % 1000 == 999) {  // long events now and then
      track.at(0, {0xF0, 0x03, 1, 2, 0xF7});
      expected.push_back({0, kMidiEventLong | 4, {0xF0, 1, 2, 0xF7}, 0});
    }
  }
  Converted converted(midiFile(0, {track.end()}));
  ASSERT_EQ(converted.result, 0u);
  ASSERT_EQ(converted.song.blockCount, 4);
  for (int32_t block = 0; block + 1 < converted.song.blockCount; ++block) {
    EXPECT_GE(converted.song.blockSizes[block], 0xFE00u);
    EXPECT_LT(converted.song.blockSizes[block], 0xFE00u + 16);
  }
  EXPECT_EQ(converted.events(), expected);
}

TEST(MidiConverterTest, ThousandsOfBlocksGrowTheBlockList) {
  // 300 loop marks close 300 blocks: the list grows past its first 256 entries.
  TrackBytes track;
  for (int i = 0; i < 300; ++i) track.at(1, {0x90, 1, 100}).at(0, {0xF0, 0x00});
  Converted converted(midiFile(0, {track.end()}));
  ASSERT_EQ(converted.result, 0u);
  EXPECT_EQ(converted.song.blockCount, 300);
  EXPECT_EQ(converted.song.capacity, 512);
  EXPECT_EQ(converted.song.loopBlock, 300);
  EXPECT_EQ(converted.events().size(), 300u);
}

// ---- Bad input -------------------------------------------------------------------------------

TEST(MidiConverterBadInputTest, BrokenHeadersAreRefused) {
  std::string track = chunk("MTrk", notes({{0, 1}}).end().bytes, 8);
  EXPECT_EQ(Converted("").result, 1u);
  EXPECT_EQ(Converted("MThd").result, 1u);
  EXPECT_EQ(Converted(chunk("MThd", std::string("\0\0\0\1\0\x60\0", 7), 7) + track).result, 1u);
  EXPECT_EQ(Converted(midiHeader(1, 1, 96) + chunk("MTrx", notes({{0, 1}}).end().bytes, 8)).result, 1u);
  EXPECT_EQ(Converted(midiHeader(1, 2, 96) + track).result, 1u) << "a second track that is not there";
}

TEST(MidiConverterBadInputTest, EveryTruncationGivesOneOrACleanPrefixOfTheSong) {
  TrackBytes track;
  track.at(0, {0x90, 1, 100}).at(3, {0xF0, 0x03, 1, 2, 0xF7}).at(0, {0xB0, 0x07, 9}).at(2, {0xFF, 0x58, 4, 4, 2, 24, 8});
  track.at(1, {0xC0, 5}).at(300, {0x80, 1, 0}).end();
  std::string song = midiFile(0, {track});
  Converted whole(song);
  for (size_t length = 0; length < song.size(); ++length) {
    Converted cut(song.substr(0, length));
    if (length < 22) {
      EXPECT_EQ(cut.result, 1u) << length;
      continue;
    }
    ASSERT_EQ(cut.result, 0u) << length;
    std::vector<StreamEvent> events = cut.events();
    ASSERT_LE(events.size(), whole.events().size()) << length;
    EXPECT_TRUE(std::equal(events.begin(), events.end(), whole.events().begin())) << length;
  }
}

TEST(MidiConverterBadInputTest, TrackSizesPastTheEndAndNumbersThatNeverEnd) {
  // The last track claims far more than the file holds: what is there plays.
  std::string body = notes({{0, 1}, {5, 2}}).bytes;
  Converted lastTooLong(midiHeader(0, 1, 96) + chunk("MTrk", body, 0xFFFFFFF0));
  ASSERT_EQ(lastTooLong.result, 0u);
  EXPECT_EQ(lastTooLong.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {5, noteOn(2), {}, 0}}));
  // An earlier one: the next track's header is not found.
  Converted earlierTooLong(midiHeader(1, 2, 96) + chunk("MTrk", body, 0x7FFFFFFF) + chunk("MTrk", body, 8));
  EXPECT_EQ(earlierTooLong.result, 1u);

  // A delta whose bytes all have the top bit set ends its track; the other track plays on.
  TrackBytes endless = notes({{0, 1}});
  endless.raw(std::string(40, '\x80'));
  Converted converted(midiFile(1, {endless, notes({{0, 2}, {7, 3}}).end()}));
  ASSERT_EQ(converted.result, 0u);
  EXPECT_EQ(converted.events(),
            (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {0, noteOn(2), {}, 0}, {7, noteOn(3), {}, 0}}));

  // A system exclusive longer than the rest of its track, a meta event cut short.
  TrackBytes longSysex = notes({{0, 1}});
  longSysex.at(0, {0xF0, 0xFF, 1, 2, 3});
  TrackBytes shortMeta = notes({{0, 2}});
  shortMeta.at(0, {0xFF, 0x51, 0x03, 0x07});
  Converted cutEvents(midiFile(1, {longSysex, shortMeta}));
  ASSERT_EQ(cutEvents.result, 0u);
  EXPECT_EQ(cutEvents.events(), (std::vector<StreamEvent>{{0, noteOn(1), {}, 0}, {0, noteOn(2), {}, 0}}));
}

TEST(MidiConverterBadInputTest, NoTracksOrEmptyTracksGiveAnEmptySong) {
  for (const std::string& bytes : {midiHeader(1, 0, 96), midiHeader(1, 2, 96) + chunk("MTrk", "", 0) + chunk("MTrk", "", 0),
                                   midiFile(0, {TrackBytes().end()})}) {
    Converted converted(bytes);
    ASSERT_EQ(converted.result, 0u);
    EXPECT_EQ(converted.song.blockCount, 0);
    ASSERT_NE(converted.song.blocks, nullptr);
    EXPECT_EQ(converted.song.blocks[0], nullptr);
  }
}

#ifndef _WIN32
// Natively the blocks are known to the platform layer, which tells freed ones apart.
TEST(MidiConverterBadInputTest, FreeingTheSongFreesEveryBlock) {
  TrackBytes track;
  for (int i = 0; i < 10000; ++i) track.at(1, {0x90, 1, 100});
  MemoryFile file(midiFile(0, {track.end()}));
  MidiBlockList song;
  ASSERT_EQ(ConvertMidiFile(&file, &song), 0u);
  std::vector<uint8_t*> blocks(song.blocks, song.blocks + song.blockCount);
  ASSERT_EQ(blocks.size(), 2u);
  for (uint8_t* block : blocks) EXPECT_TRUE(os::canRead(block, kMidiBlockBytes));
  FreeMidiBlocks(&song);
  EXPECT_EQ(song.blocks, nullptr);
  for (uint8_t* block : blocks) EXPECT_FALSE(os::canRead(block, 1));
}
#endif

}  // namespace
