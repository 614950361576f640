// The demo's composer and sound effects: songs keep to the key and their chords, the MIDI file
// reads back note for note and converts with its loop mark, and the effects sound at their
// pitches and fade out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>

#include "demo/sound/demo_sound.h"
#include "files/file_obj.h"
#include "sound/midi/midi_converter.h"
#include "sound/wave/wave_file.h"
#include "tests/sound/analysis/audio_analysis.h"
#include "tests/temp_dir.h"

namespace {

using demo_sound::Mood;
using demo_sound::Note;
using demo_sound::Song;

bool inCMajor(uint8_t key) { return std::set<int>{0, 2, 4, 5, 7, 9, 11}.count(key % 12) == 1; }

std::vector<Note> channelNotes(const Song& song, uint8_t channel) {
  std::vector<Note> notes;
  for (const Note& note : song.notes) {
    if (note.channel == channel) notes.push_back(note);
  }
  return notes;
}

TEST(DemoComposerTest, SongsDependOnTheSeedAlone) {
  auto keys = [](const Song& song) {
    std::vector<uint8_t> keys;
    for (const Note& note : channelNotes(song, 0)) keys.push_back(note.key);
    return keys;
  };
  EXPECT_EQ(keys(demo_sound::composeSong(Mood::kTitle, 7)), keys(demo_sound::composeSong(Mood::kTitle, 7)));
  EXPECT_NE(keys(demo_sound::composeSong(Mood::kTitle, 7)), keys(demo_sound::composeSong(Mood::kTitle, 8)));
}

TEST(DemoComposerTest, MelodyKeepsToTheKeyAndLandsOnChordTonesOnStrongBeats) {
  for (Mood mood : {Mood::kTitle, Mood::kEnding}) {
    for (uint32_t seed = 1; seed < 40; ++seed) {
      Song song = demo_sound::composeSong(mood, seed);
      std::vector<Note> melody = channelNotes(song, 0);
      ASSERT_EQ(melody.size(), 32u);  // a note a beat for eight bars
      for (size_t i = 0; i < melody.size(); ++i) {
        const Note& note = melody[i];
        ASSERT_TRUE(inCMajor(note.key)) << int(note.key);
        ASSERT_GE(note.key, 65);  // F above middle C to B an octave higher
        ASSERT_LE(note.key, 83);
        EXPECT_EQ(note.start, i * demo_sound::kTicksPerBeat);
        if (i % 2 == 0) {
          const int degree = demo_sound::progression(mood)[i / 4 % 4];
          std::vector<uint8_t> chord = demo_sound::triad(degree, 0);
          bool chordTone = std::any_of(chord.begin(), chord.end(), [&](uint8_t k) { return k % 12 == note.key % 12; });
          EXPECT_TRUE(chordTone) << "seed " << seed << " beat " << i;
        }
      }
    }
  }
}

TEST(DemoComposerTest, ChordsAndBassFollowTheProgression) {
  Song song = demo_sound::composeSong(Mood::kEnding, 3);
  EXPECT_EQ(demo_sound::triad(5, 55), (std::vector<uint8_t>{57, 60, 64}));  // A minor above G
  EXPECT_EQ(demo_sound::triad(4, 36), (std::vector<uint8_t>{43, 47, 38}));  // G major, folded into an octave
  std::vector<Note> chords = channelNotes(song, 1), bass = channelNotes(song, 2);
  ASSERT_EQ(chords.size(), 24u);
  ASSERT_EQ(bass.size(), 16u);
  for (int bar = 0; bar < 8; ++bar) {
    const int degree = demo_sound::progression(Mood::kEnding)[bar % 4];
    EXPECT_EQ(chords[3 * bar].key, demo_sound::triad(degree, 55)[0]);
    EXPECT_EQ(bass[2 * bar].key, demo_sound::triad(degree, 36)[0]);
    EXPECT_EQ(bass[2 * bar + 1].start, bar * demo_sound::kTicksPerBar + 2 * demo_sound::kTicksPerBeat);
  }
  EXPECT_EQ(song.endTick, 8 * demo_sound::kTicksPerBar);
}

// Reads a variable-length number; false if it runs past the end.
bool readVariable(const std::string& bytes, size_t* at, uint32_t* value) {
  *value = 0;
  for (int i = 0; i < 4 && *at < bytes.size(); ++i) {
    uint8_t byte = uint8_t(bytes[(*at)++]);
    *value = *value << 7 | (byte & 0x7F);
    if (!(byte & 0x80)) return true;
  }
  return false;
}

TEST(DemoMidiFileTest, ReadsBackNoteForNoteWithTheLoopMarkAndEnd) {
  Song song = demo_sound::composeSong(Mood::kTitle, 11);
  std::string file = demo_sound::standardMidiFile(song);
  ASSERT_EQ(file.substr(0, 4), "MThd");
  EXPECT_EQ(file.substr(8, 6), std::string("\0\0\0\1\x01\xE0", 6));  // format 0, one track, 480 ticks a beat
  ASSERT_EQ(file.substr(14, 4), "MTrk");
  const size_t length = uint8_t(file[18]) << 24 | uint8_t(file[19]) << 16 | uint8_t(file[20]) << 8 | uint8_t(file[21]);
  ASSERT_EQ(length, file.size() - 22);
  std::multiset<std::pair<uint32_t, uint8_t>> ons, offs;
  size_t at = 22;
  uint32_t now = 0, loopMarks = 0, tempo = 0;
  bool ended = false;
  while (at < file.size() && !ended) {
    uint32_t delta;
    ASSERT_TRUE(readVariable(file, &at, &delta));
    now += delta;
    const uint8_t status = uint8_t(file[at++]);
    if (status == 0xFF) {
      const uint8_t type = uint8_t(file[at]);
      const uint8_t size = uint8_t(file[at + 1]);
      if (type == 0x51) tempo = uint8_t(file[at + 2]) << 16 | uint8_t(file[at + 3]) << 8 | uint8_t(file[at + 4]);
      ended = type == 0x2F;
      at += 2 + size;
    } else if (status == 0xF0) {
      loopMarks += file[at] == 0;
      EXPECT_EQ(now, song.loopTick);
      at += 1 + uint8_t(file[at]);
    } else if ((status & 0xF0) == 0x90 || (status & 0xF0) == 0x80) {
      ((status & 0xF0) == 0x90 ? ons : offs).insert({now, uint8_t(file[at])});
      at += 2;
    } else {
      at += (status & 0xF0) == 0xC0 ? 1 : 2;
    }
  }
  EXPECT_TRUE(ended);
  EXPECT_EQ(at, file.size());
  EXPECT_EQ(now, song.endTick);
  EXPECT_EQ(loopMarks, 1u);
  EXPECT_EQ(tempo, song.microsPerBeat);
  std::multiset<std::pair<uint32_t, uint8_t>> wantedOns, wantedOffs;
  for (const Note& note : song.notes) {
    wantedOns.insert({note.start, note.key});
    wantedOffs.insert({note.start + note.length, note.key});
  }
  EXPECT_EQ(ons, wantedOns);
  EXPECT_EQ(offs, wantedOffs);
}

TEST(DemoMidiFileTest, TheEngineConvertsItWithItsLoopMark) {
  TempDir dir;
  std::string path = dir.write("song.mid", demo_sound::standardMidiFile(demo_sound::composeSong(Mood::kEnding, 5)));
  KRawFile file;
  ASSERT_EQ(file.Open(path.c_str(), FILE_READ), 0u);
  MidiBlockList blocks;
  ASSERT_EQ(ConvertMidiFile(&file, &blocks), 0u);
  EXPECT_TRUE(blocks.loopMark);
  EXPECT_EQ(blocks.timeDivision, demo_sound::kTicksPerBeat);
  EXPECT_GT(blocks.blockCount, 0);
  FreeMidiBlocks(&blocks);
}

std::vector<float> samplesOf(const std::vector<int16_t>& pcm) { return audio::samplesOf(pcm); }

TEST(DemoEffectsTest, ChimeRingsItsTwoTonesInTurnAndFades) {
  const uint32_t rate = 22050;
  std::vector<float> chime = samplesOf(demo_sound::chime(rate));
  ASSERT_EQ(chime.size(), rate * 35 / 100);
  const size_t early = rate / 100, late = rate / 10;  // 10 ms in, and 20 ms after the second tone
  EXPECT_GT(audio::toneAmplitude(chime, early, rate / 20, 987.8, rate), 0.15);
  EXPECT_LT(audio::toneAmplitude(chime, early, rate / 20, 1318.5, rate), 0.02);
  EXPECT_GT(audio::toneAmplitude(chime, late, rate / 20, 1318.5, rate), 0.15);
  float peak = 0;
  for (float s : chime) peak = std::max(peak, std::abs(s));
  EXPECT_LT(peak, 0.7f);
  std::vector<double> levels = audio::windowLevels(chime, rate / 50);
  EXPECT_LT(levels.back(), levels[levels.size() / 2] / 2);
}

TEST(DemoEffectsTest, BlipFallsInPitchToSilence) {
  const uint32_t rate = 22050;
  std::vector<float> blip = samplesOf(demo_sound::blip(rate));
  ASSERT_EQ(blip.size(), rate * 12 / 100);
  const size_t window = rate / 50;
  EXPECT_GT(audio::toneAmplitude(blip, 0, window, 860, rate), audio::toneAmplitude(blip, 0, window, 500, rate));
  EXPECT_GT(audio::toneAmplitude(blip, blip.size() - 2 * window, window, 500, rate),
            audio::toneAmplitude(blip, blip.size() - 2 * window, window, 860, rate));
  EXPECT_LT(std::abs(blip.back()), 0.01f);
}

TEST(DemoEffectsTest, WaveFileReadsBackAsTheEngineSeesIt) {
  std::vector<int16_t> samples = {0, 1000, -1000, 32767, -32768};
  TempDir dir;
  std::string path = dir.write("effect.wav", demo_sound::waveFile(samples, 22050));
  KRawFile file;
  ASSERT_EQ(file.Open(path.c_str(), FILE_READ), 0u);
  WaveData wave;
  ASSERT_EQ(readWaveFile(&file, &wave), 0u);
  EXPECT_EQ(wave.format->wFormatTag, 1);
  EXPECT_EQ(wave.format->nChannels, 1);
  EXPECT_EQ(wave.format->nSamplesPerSec, 22050u);
  EXPECT_EQ(wave.format->nAvgBytesPerSec, 44100u);
  EXPECT_EQ(wave.format->wBitsPerSample, 16);
  ASSERT_EQ(wave.dataSize, samples.size() * 2);
  EXPECT_EQ(std::memcmp(wave.data, samples.data(), wave.dataSize), 0);
  freeWaveData(&wave);
}

}  // namespace
