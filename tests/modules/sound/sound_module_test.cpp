// Runs the sound modules under Wine and listens: the host plays into the PulseAudio rig's null
// sink through Wine's PulseAudio driver, and the sink's monitor is recorded. The recording must
// hold the expected tones at their levels and in their order; the device's latency only shifts
// them.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/modules/host_run.h"
#include "tests/sound/analysis/audio_analysis.h"
#include "tests/sound/analysis/sink_recorder.h"
#include "tests/temp_dir.h"

namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kWindow = 882;  // 20 ms
constexpr double kLevel = 0.5;   // the test waves' peak

std::string recordingPath(const std::string& name) { return std::string(MODULE_DIR) + "/recordings/" + name + ".raw"; }

void copyWaves(const TempDir& work) {
  for (const auto& entry : std::filesystem::directory_iterator(WAVE_DIR))
    std::filesystem::copy_file(entry.path(), work.path() / entry.path().filename(),
                               std::filesystem::copy_options::overwrite_existing);
}

// Runs a module with its waves while the sink is recorded, with a little silence on each side.
Outcome runRecorded(const std::string& module, const TempDir& work, audio::Recording* recording) {
  SinkRecorder recorder(RECORD_SCRIPT, recordingPath(module));
  EXPECT_TRUE(SinkRecorder::rigRunning()) << "no PulseAudio rig: scripts/run-tests.sh starts it (scripts/pulse-env.sh)";
  EXPECT_TRUE(recorder.start()) << "the recorder did not connect";
  copyWaves(work);
  Outcome outcome = runModuleInWork(module, work, {{"RUNA1_AUDIO", "winmm"}});
  Sleep(500);
  EXPECT_TRUE(recorder.stop(recording)) << "no recording";
  return outcome;
}

// Runs the host on a module from a Unix shell with `unixEnvironment` ("NAME=value ..."): the
// audio driver of a Wine process reads the Unix environment, which a Windows parent cannot
// change for its child. The exit code comes back in a file.
Outcome runModuleFromShell(const std::string& module, const TempDir& work, const std::string& unixEnvironment) {
  std::filesystem::copy_file(modulePath(module), work.file(module + ".zpe"),
                             std::filesystem::copy_options::overwrite_existing);
  std::string folder = unixPath(work.path()), host = unixPath(RUNA1_EXE);
  std::string command = "cd '" + folder + "' && " + unixEnvironment + " RUNA1_AUTO_ANSWER=ok RUNA1_AUDIO=winmm wine '" +
                        host + "' " + module + ".zpe >stderr.txt 2>&1; echo $? >exit.tmp; mv exit.tmp exit.txt";
  Outcome outcome;
  if (folder.empty() || host.empty() || !startUnixCommand(command)) return outcome;
  for (int i = 0; i < 600 && !std::filesystem::exists(work.file("exit.txt")); ++i) Sleep(100);
  std::string code = work.read("exit.txt");
  if (!code.empty()) outcome.exitCode = static_cast<DWORD>(std::stoul(code));
  outcome.diagnostics = work.read("stderr.txt");
  return outcome;
}

// Where a tone sounds: spans of at least 100 ms at a third of the waves' level or more. Drops
// of up to 100 ms are bridged: on a busy machine Wine's stream may run dry for a moment.
constexpr size_t kBridge = 5;
std::vector<audio::Span> toneSpans(const std::vector<float>& samples, double frequency, double level = kLevel) {
  return audio::spansAbove(audio::toneTrack(samples, frequency, kRate, kWindow), level / 3, 5, kBridge);
}

std::string describe(const std::vector<audio::Span>& spans) {
  std::string text;
  for (const audio::Span& s : spans) text += "[" + std::to_string(s.begin) + ", " + std::to_string(s.end) + ") ";
  return text.empty() ? "none" : text;
}

TEST(SoundModuleTest, WavesOfEveryFormPlayInOrderAtTheirLevel) {
  TempDir work;
  audio::Recording recording;
  Outcome outcome = runRecorded("sound_play_module", work, &recording);
  expectAllPassed(work.read("run.log"), outcome,
                  {"warm-up", "own_s16_44k_1320.wav", "mixer-open", "m8_11k_440.wav", "s16_22k_660.wav", "m16_44k_880.wav",
                   "s8_22k_1100.wav", "ima_22k_550.wav", "mixer-close"});
  std::vector<float> mono = recording.mono();
  ASSERT_GT(mono.size(), kRate);
  // The first sound, on a device of its own, is not listened for: Wine loses such a sound now
  // and then (about one run in three here), before it reaches the server. Its end is checked in
  // the log; its playing is checked natively.
  size_t previousEnd = 0;  // 0 before the first tone
  for (double frequency : {440.0, 660.0, 880.0, 1100.0, 550.0}) {
    std::vector<double> track = audio::toneTrack(mono, frequency, kRate, kWindow);
    std::vector<audio::Span> spans = toneSpans(mono, frequency);
    ASSERT_EQ(spans.size(), 1u) << frequency << " Hz: " << describe(spans);
    const audio::Span& span = spans[0];
    // 300 ms of sound: 15 windows, give or take the windows a start or end falls into, and what
    // a moment of the stream running dry adds inside or takes at an edge.
    EXPECT_GE(span.length(), 10u) << frequency << " Hz";
    EXPECT_LE(span.length(), 15u + kBridge) << frequency << " Hz";
    std::vector<double> sounding;
    for (size_t w = span.begin; w < span.end; ++w)
      if (track[w] > kLevel / 3) sounding.push_back(track[w]);
    EXPECT_NEAR(audio::meanOver(sounding, {1, sounding.size() - 1}), kLevel, 0.08) << frequency << " Hz";
    if (previousEnd) {
      EXPECT_GE(span.begin, previousEnd + 8) << frequency << " Hz follows the one before after a silence";
    }
    previousEnd = span.end;
  }
}

TEST(SoundModuleTest, ALoopChangesVolumeOthersJoinAndNothingSoundsAfterTheStop) {
  TempDir work;
  audio::Recording recording;
  Outcome outcome = runRecorded("sound_control_module", work, &recording);
  expectAllPassed(work.read("run.log"), outcome,
                  {"mixer-open", "read", "loop", "playing", "volume", "play-b", "play-c", "b-done", "c-done", "stop",
                   "stopped", "mixer-close"});
  std::vector<float> mono = recording.mono();
  std::vector<double> loop = audio::toneTrack(mono, 440, kRate, kWindow);
  std::vector<audio::Span> loopSpans = audio::spansAbove(loop, kLevel / 12, 5, kBridge);
  ASSERT_EQ(loopSpans.size(), 1u) << "the loop sounds without a gap: " << describe(loopSpans);
  const audio::Span& looping = loopSpans[0];
  EXPECT_GE(looping.length(), 120u) << "at least 2.4 s of looping";
  // Full volume for 900 ms, then a quarter.
  double full = audio::meanOver(loop, {looping.begin + 5, looping.begin + 35});
  double quarter = audio::meanOver(loop, {looping.begin + 55, looping.begin + 85});
  EXPECT_NEAR(full, kLevel, 0.08);
  EXPECT_NEAR(quarter / full, 0.25, 0.03);
  // The two others sound together, over the quiet loop, and end before it is stopped.
  std::vector<audio::Span> b = toneSpans(mono, 660), c = toneSpans(mono, 880);
  ASSERT_EQ(b.size(), 1u) << describe(b);
  ASSERT_EQ(c.size(), 1u) << describe(c);
  EXPECT_LE(std::max(b[0].begin, c[0].begin) - std::min(b[0].begin, c[0].begin), 2u) << "they start together";
  EXPECT_NEAR(static_cast<double>(b[0].length()), 50.0, 2.0) << "one second";
  EXPECT_GT(b[0].begin, looping.begin + 85);
  EXPECT_LT(b[0].end, looping.end);
  // After the stop: silence to the end of the recording (the module waits 800 ms, then closes).
  std::vector<double> levels = audio::windowLevels(mono, kWindow);
  ASSERT_GT(levels.size(), looping.end + 40);
  double loudest = *std::max_element(levels.begin() + static_cast<ptrdiff_t>(looping.end + 1), levels.end());
  EXPECT_LT(loudest, 0.002) << "something sounded after the stop, " << describe({{looping.end, levels.size()}});
}

TEST(SoundModuleTest, WithoutAnAudioServerEverySoundIsRefusedAndTheGameGoesOn) {
  TempDir work;
  copyWaves(work);
  Outcome outcome = runModuleFromShell("sound_fault_module", work, "PULSE_SERVER=unix:/nonexistent/runa1-no-server");
  expectAllPassed(work.read("run.log"), outcome,
                  {"bad-channels", "bad-bits", "open-refused", "read", "play-refused", "not-playing", "stop-unopened",
                   "volume-kept", "format", "not-a-wave", "null-play", "null-stop", "null-playing", "null-delete",
                   "close"});
}

TEST(SoundModuleTest, TheHostEndsWhileSoundsPlay) {
  TempDir work;
  copyWaves(work);
  DWORD start = GetTickCount();
  Outcome outcome = runModuleInWork("sound_exit_module", work, {{"RUNA1_AUDIO", "winmm"}}, 30000);
  expectAllPassed(work.read("run.log"), outcome, {"mixer-open", "loop", "once", "leaving"});
  EXPECT_LT(GetTickCount() - start, 15000u) << "the close of the mixer must not hang the host's end";
}

}  // namespace
