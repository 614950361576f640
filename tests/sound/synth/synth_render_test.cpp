// Rendered notes through the SDK tool (midirender): MIDI files whose notes the test knows, played
// with a sine soundfont the test writes and with the Debian GM soundfont; the pitch of each note's
// span, the onsets at the file's times, and the levels of the two sides.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/sound/midi/midi_bytes.h"
#include "tests/sound/synth/soundfont_bytes.h"
#include "tests/temp_dir.h"

namespace {

constexpr double kRate = 44100;
constexpr uint16_t kDivision = 480;  // at the default tempo, 480 ticks are half a second

struct Rendered {
  std::vector<float> left, right;
};

// Runs the tool and reads the 16-bit stereo frames of the "data" chunk it writes.
Rendered render(const TempDir& work, const std::string& song, const std::string& soundfont) {
  std::string midi = work.write("song.mid", song);
  std::string wav = work.file("song.wav");
  std::string command = std::string(MIDIRENDER) + " \"" + soundfont + "\" \"" + midi + "\" \"" + wav + "\"";
  EXPECT_EQ(std::system(command.c_str()), 0) << command;
  std::string bytes = work.read("song.wav");
  Rendered out;
  size_t data = bytes.find("data");
  EXPECT_NE(data, std::string::npos);
  for (size_t at = data + 8; at + 4 <= bytes.size(); at += 4) {
    out.left.push_back(static_cast<int16_t>(static_cast<uint8_t>(bytes[at]) | bytes[at + 1] << 8) / 32768.0f);
    out.right.push_back(static_cast<int16_t>(static_cast<uint8_t>(bytes[at + 2]) | bytes[at + 3] << 8) / 32768.0f);
  }
  return out;
}

size_t frameAt(double seconds) { return static_cast<size_t>(std::max(0.0, seconds) * kRate); }

double rms(const std::vector<float>& samples, double from, double to) {
  double sum = 0;
  size_t a = frameAt(from), b = std::min(frameAt(to), samples.size());
  for (size_t i = a; i < b; ++i) sum += samples[i] * samples[i];
  return b > a ? std::sqrt(sum / (b - a)) : 0;
}

// The frequency of a span from its rising zero crossings, first to last.
double frequency(const std::vector<float>& samples, double from, double to) {
  double first = -1, last = -1;
  int crossings = 0;
  for (size_t i = frameAt(from) + 1; i < std::min(frameAt(to), samples.size()); ++i) {
    if (samples[i - 1] < 0 && samples[i] >= 0) {
      double at = i - 1 + samples[i - 1] / (samples[i - 1] - samples[i]);
      if (first < 0) first = at;
      last = at;
      ++crossings;
    }
  }
  return crossings > 1 ? (crossings - 1) * kRate / (last - first) : 0;
}

// The first time from `from` on where the sound rises above a tenth of the span's peak.
double onset(const std::vector<float>& samples, double from, double to) {
  float peak = 0;
  for (size_t i = frameAt(from); i < std::min(frameAt(to), samples.size()); ++i) peak = std::max(peak, std::fabs(samples[i]));
  for (size_t i = frameAt(from); i < std::min(frameAt(to), samples.size()); ++i)
    if (std::fabs(samples[i]) > peak / 10) return i / kRate;
  return -1;
}

std::string sineFont(const TempDir& work) { return work.write("sine.sf2", sineSoundFont()); }

TEST(SynthRenderTest, EachNoteSoundsAtItsPitchFromItsTime) {
  TempDir work;
  // Four notes of 0.4 s, half a second apart: A4, C5, E5, A5.
  TrackBytes track;
  const uint8_t keys[] = {69, 72, 76, 81};
  for (uint8_t key : keys) track.at(key == 69 ? 0 : 96, {0x90, key, 127}).at(384, {0x80, key, 0});
  Rendered out = render(work, midiFile(0, {track.end()}, kDivision), sineFont(work));
  ASSERT_GT(out.left.size(), frameAt(1.9));
  for (int i = 0; i < 4; ++i) {
    double start = 0.5 * i;
    double expected = 440 * std::pow(2.0, (keys[i] - 69) / 12.0);
    EXPECT_NEAR(frequency(out.left, start + 0.05, start + 0.35), expected, expected * 0.002) << int(keys[i]);
    EXPECT_NEAR(onset(out.left, start - 0.05, start + 0.2), start, 0.003) << int(keys[i]);
    EXPECT_LT(rms(out.left, start + 0.42, start + 0.48), 0.001) << "released and silent before the next";
  }
}

TEST(SynthRenderTest, PitchBendMovesTheNoteByItsRange) {
  TempDir work;
  TrackBytes track;
  track.at(0, {0xE0, 0x7F, 0x7F}).at(0, {0x90, 69, 127}).at(480, {0xE0, 0x00, 0x20}).at(480, {0x80, 69, 0});
  // A range of 12 semitones by registered parameter 0.
  track.at(0, {0xB0, 101, 0}).at(0, {0xB0, 100, 0}).at(0, {0xB0, 6, 12}).at(0, {0xE0, 0x7F, 0x7F});
  track.at(0, {0x90, 69, 127}).at(480, {0x80, 69, 0});
  Rendered out = render(work, midiFile(0, {track.end()}, kDivision), sineFont(work));
  double full = std::pow(2.0, 8191 / 8192.0 * 2 / 12);
  double quarterDown = std::pow(2.0, -0.5 * 2 / 12);
  EXPECT_NEAR(frequency(out.left, 0.05, 0.45), 440 * full, 1);
  EXPECT_NEAR(frequency(out.left, 0.55, 0.95), 440 * quarterDown, 1);
  EXPECT_NEAR(frequency(out.left, 1.05, 1.45), 440 * std::pow(2.0, 8191 / 8192.0), 2);
}

TEST(SynthRenderTest, PanVolumeAndExpressionShowInTheLevelsOfTheTwoSides) {
  TempDir work;
  TrackBytes track;
  track.at(0, {0xB1, 10, 0}).at(0, {0x91, 69, 127}).at(480, {0x81, 69, 0});      // hard left
  track.at(0, {0xB2, 10, 127}).at(0, {0x92, 69, 127}).at(480, {0x82, 69, 0});    // hard right
  track.at(0, {0x93, 69, 127}).at(480, {0xB3, 7, 64}).at(480, {0xB3, 11, 64});   // centre, then quieter twice
  track.at(480, {0x83, 69, 0});
  Rendered out = render(work, midiFile(0, {track.end()}, kDivision), sineFont(work));
  EXPECT_GT(rms(out.left, 0.1, 0.4), 0.1);
  EXPECT_LT(rms(out.right, 0.1, 0.4), rms(out.left, 0.1, 0.4) * 0.001);
  EXPECT_GT(rms(out.right, 0.6, 0.9), 0.1);
  EXPECT_LT(rms(out.left, 0.6, 0.9), rms(out.right, 0.6, 0.9) * 0.001);
  double centre = rms(out.left, 1.1, 1.4);
  EXPECT_NEAR(rms(out.right, 1.1, 1.4), centre, centre * 0.01);
  EXPECT_NEAR(centre / rms(out.left, 0.1, 0.4), std::sqrt(0.5), 0.01) << "equal power at the centre";
  // The volume falls from its default of 100 to 64, then the expression from 127 to 64.
  double volume = (64 / 100.0) * (64 / 100.0), expression = (64 / 127.0) * (64 / 127.0);
  EXPECT_NEAR(rms(out.left, 1.6, 1.9) / centre, volume, 0.01);
  EXPECT_NEAR(rms(out.left, 2.1, 2.4) / centre, volume * expression, 0.005);
}

TEST(SynthRenderTest, TheGeneralMidiSoundfontPlaysNotesAndDrumsAtTheirTimes) {
  TempDir work;
  TrackBytes track;
  track.at(0, {0xC0, 0}).at(0, {0x90, 60, 100}).at(240, {0x80, 60, 0});
  track.at(240, {0x99, 38, 110}).at(240, {0x89, 38, 0});  // a snare on the drum channel at 0.5 s
  track.at(240, {0xC1, 40}).at(0, {0x91, 67, 100}).at(480, {0x81, 67, 0});  // a violin at 1 s
  Rendered out = render(work, midiFile(0, {track.end()}, kDivision), "/usr/share/sounds/sf2/TimGM6mb.sf2");
  ASSERT_GT(out.left.size(), frameAt(1.5));
  EXPECT_NEAR(onset(out.left, 0, 0.2), 0, 0.005);
  EXPECT_NEAR(onset(out.left, 0.45, 0.7), 0.5, 0.005);
  EXPECT_NEAR(onset(out.left, 0.95, 1.3), 1.0, 0.05) << "a bowed attack rises slower";
  EXPECT_GT(rms(out.left, 0.5, 0.6), 0.01);
  EXPECT_GT(rms(out.left, 1.2, 1.4), 0.01);
}

}  // namespace
