// Music under Wine on a machine without a MIDI device. With RUNA1_MIDI=system nothing plays and
// the game runs on; otherwise the engine's own synthesiser plays, into the PulseAudio rig's null
// sink, whose monitor is recorded: the song's notes at their pitches and in their order, its
// loop, the volume's fall and the silence after the stop. The device's latency only shifts them.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tests/modules/host_run.h"
#include "tests/sound/analysis/audio_analysis.h"
#include "tests/sound/analysis/sink_recorder.h"
#include "tests/sound/midi/midi_bytes.h"
#include "tests/sound/synth/soundfont_bytes.h"
#include "tests/temp_dir.h"

namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kWindow = 882;           // 20 ms
constexpr size_t kWindowsPerSecond = 50;
constexpr double kIntro = 523.25, kFirst = 440, kSecond = 659.26;  // C5, A4, E5

TEST(MidiRunTest, WithTheSystemsDeviceOnlyPlayingFailsCleanlyAndTheGameRunsOn) {
  TempDir work;
  TrackBytes track;
  track.at(0, {0x90, 60, 100}).at(0, {0xB0, 0x07, 90}).at(0, {0xF0, 0x00}).at(96, {0x80, 60, 0}).end();
  work.write("song.mid", midiFile(0, {track}, 96));
  work.write("bad.mid", "MThd, or so it says");
  Outcome outcome = runModuleInWork("midi_module", work, {{"RUNA1_MIDI", "system"}});
  expectAllPassed(work.read("run.log"), outcome,
                  {"read", "open-gives-the-handle", "play-fails", "play-unlooped-fails", "not-playing", "pause-fails",
                   "restart-fails", "volume", "short-message", "long-message", "stop", "delete", "bad-file-refused",
                   "open-new", "delete-new", "delete-null", "runs-on"});
}

// An intro of C5 for 0.4 s, the loop mark at 0.5 s, then A4 and E5 for 0.4 s each, a second apart.
std::string loopedSong() {
  TrackBytes track;
  track.at(0, {0xB0, 7, 100}).at(0, {0x90, 72, 110}).at(384, {0x80, 72, 0});
  track.at(0, {0xF0, 0x00}).at(96, {0x90, 69, 110}).at(384, {0x80, 69, 0});
  track.at(96, {0x90, 76, 110}).at(384, {0x80, 76, 0}).end(96);
  return midiFile(0, {track}, 480);
}

std::string recordingPath(const std::string& name) { return std::string(MODULE_DIR) + "/recordings/" + name + ".raw"; }

Outcome runRecorded(const TempDir& work, const std::string& name, audio::Recording* recording) {
  SinkRecorder recorder(RECORD_SCRIPT, recordingPath(name));
  EXPECT_TRUE(SinkRecorder::rigRunning()) << "no PulseAudio rig: scripts/run-tests.sh starts it (scripts/pulse-env.sh)";
  EXPECT_TRUE(recorder.start()) << "the recorder did not connect";
  Outcome outcome = runModuleInWork("midi_play_module", work, {{"RUNA1_AUDIO", "winmm"}, {"RUNA1_TRACE", "midi"}});
  Sleep(500);
  EXPECT_TRUE(recorder.stop(recording)) << "no recording";
  return outcome;
}

std::string describe(const std::vector<audio::Span>& spans) {
  std::string text;
  for (const audio::Span& s : spans) text += "[" + std::to_string(s.begin) + ", " + std::to_string(s.end) + ") ";
  return text.empty() ? "none" : text;
}

double peakOf(const std::vector<double>& track) { return track.empty() ? 0 : *std::max_element(track.begin(), track.end()); }

// The recording of the looped song: the intro once, then A4 and E5 by turns a second apart,
// their level at a quarter after the volume fell to half, and nothing after the stop.
void expectTheLoopedSong(const audio::Recording& recording) {
  std::vector<float> mono = recording.mono();
  ASSERT_GT(mono.size(), 6 * kRate);
  std::vector<double> intro = audio::toneTrack(mono, kIntro, kRate, kWindow);
  std::vector<double> first = audio::toneTrack(mono, kFirst, kRate, kWindow);
  std::vector<double> second = audio::toneTrack(mono, kSecond, kRate, kWindow);
  double level = peakOf(first);
  ASSERT_GT(level, 0.02) << "the music sounds";
  // Spans of a tone at an eighth of its loudest: the quieter loops after the volume fell count.
  auto spansOf = [&](const std::vector<double>& track) { return audio::spansAbove(track, level / 8, 10, 3); };
  std::vector<audio::Span> introSpans = spansOf(intro), firstSpans = spansOf(first), secondSpans = spansOf(second);
  ASSERT_EQ(introSpans.size(), 1u) << "the intro plays once: " << describe(introSpans);
  ASSERT_GE(firstSpans.size(), 5u) << describe(firstSpans);
  ASSERT_LE(firstSpans.size(), 6u) << describe(firstSpans);
  ASSERT_GE(secondSpans.size(), 5u) << describe(secondSpans);
  // Wine loses the head of a device's first sound now and then: the loop is timed from its first
  // A4, half a second after the intro's start. The device may drift a few windows over the song.
  size_t base = firstSpans[0].begin;
  EXPECT_LE(introSpans[0].end, base) << "the intro comes first";
  EXPECT_GE(introSpans[0].length(), 10u) << "0.4 s, of which Wine may lose the head";
  EXPECT_LE(introSpans[0].length(), 23u) << "0.4 s";
  EXPECT_LE(base - introSpans[0].begin, 28u);
  // The loop's notes a second apart; the stop may cut the sixth A4 short.
  for (size_t loop = 0; loop < firstSpans.size(); ++loop) {
    EXPECT_NEAR(static_cast<double>(firstSpans[loop].begin), static_cast<double>(base + 50 * loop), 4) << "A4, loop " << loop;
    if (loop < 5) {
      EXPECT_NEAR(static_cast<double>(firstSpans[loop].length()), 20, 4) << "A4, loop " << loop;
    }
  }
  for (size_t loop = 0; loop < secondSpans.size(); ++loop)
    EXPECT_NEAR(static_cast<double>(secondSpans[loop].begin), static_cast<double>(base + 25 + 50 * loop), 4) << "E5, loop " << loop;
  // The volume falls 3.5 s after the start: the loops from 4.5 s on are a quarter as loud.
  auto spanLevel = [&](const audio::Span& span) { return audio::meanOver(first, {span.begin + 3, span.end - 3}); };
  double loud = spanLevel(firstSpans[1]), quiet = spanLevel(firstSpans[4]);
  EXPECT_NEAR(quiet / loud, 0.25, 0.07) << loud << " then " << quiet;
  // The stop comes 5.8 s after the start: nothing sounds from a little after it to the end.
  std::vector<double> levels = audio::windowLevels(mono, kWindow);
  size_t silentFrom = base + 56 * kWindowsPerSecond / 10;
  ASSERT_LT(silentFrom + kWindowsPerSecond / 5, levels.size());
  EXPECT_LT(*std::max_element(levels.begin() + static_cast<ptrdiff_t>(silentFrom), levels.end()), level / 50)
      << "silence after the stop";
}

TEST(MidiRunTest, TheSynthesiserPlaysTheSongOnADeviceOfItsOwn) {
  TempDir work;
  work.write("song.mid", loopedSong());
  // Beside the game: a broken soundfont, refused, and the sine one, which plays.
  work.write("broken.sf2", sineSoundFont().substr(0, 300));
  work.write("sine.sf2", sineSoundFont());
  audio::Recording recording;
  Outcome outcome = runRecorded(work, "own_device", &recording);
  expectAllPassed(work.read("run.log"), outcome, {"read", "open", "play", "playing", "volume", "stop", "stopped", "delete"});
  EXPECT_NE(outcome.diagnostics.find("broken.sf2 is refused"), std::string::npos) << outcome.diagnostics;
  EXPECT_NE(outcome.diagnostics.find("plays with"), std::string::npos) << outcome.diagnostics;
  expectTheLoopedSong(recording);
}

TEST(MidiRunTest, TheSynthesiserPlaysTheSongThroughTheMixer) {
  TempDir work;
  work.write("song.mid", loopedSong());
  work.write("sine.sf2", sineSoundFont());
  work.write("use-mixer", "");
  audio::Recording recording;
  Outcome outcome = runRecorded(work, "mixed", &recording);
  expectAllPassed(work.read("run.log"), outcome,
                  {"mixer-open", "read", "open", "play", "playing", "volume", "stop", "stopped", "delete", "mixer-close"});
  expectTheLoopedSong(recording);
}

// Without a soundfont beside the game, the system's GM soundfont plays, reached through Wine's
// drive of the Unix root: the piano's A4 is heard in each loop. The game ends while it plays,
// and the host ends cleanly.
TEST(MidiRunTest, WithoutASoundFontOfItsOwnTheGameGetsTheSystemsOne) {
  TempDir work;
  work.write("song.mid", loopedSong());
  work.write("leave-playing", "");
  audio::Recording recording;
  Outcome outcome = runRecorded(work, "system_font", &recording);
  expectAllPassed(work.read("run.log"), outcome, {"read", "open", "play", "playing", "volume"});
  EXPECT_NE(outcome.diagnostics.find("plays with Z:\\usr\\share\\sounds\\sf2\\"), std::string::npos) << outcome.diagnostics;
  std::vector<float> mono = recording.mono();
  std::vector<double> first = audio::toneTrack(mono, kFirst, kRate, kWindow);
  double level = peakOf(first);
  EXPECT_GT(level, 0.01) << "the music sounds";
  std::vector<audio::Span> spans = audio::spansAbove(first, level / 4, 5, 3);
  EXPECT_GE(spans.size(), 3u) << describe(spans);
}

}  // namespace
