// The music mode and the CG mode under Wine, seen and heard: galleries_module shows them in the
// main window and asks for the player's moves, which this runner makes with xdotool on the test
// run's X server, while the PulseAudio rig's sink is recorded. The module checks the window's
// pixels; the recording must hold the chosen tracks in their order, looped or once, and the
// volume that the slider set.
#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/modules/host_run.h"
#include "tests/sound/analysis/audio_analysis.h"
#include "tests/sound/analysis/sink_recorder.h"
#include "tests/temp_dir.h"
#include "tools/screen_art/gallery_look.h"

namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kWindow = 882;  // 20 ms
constexpr double kLevel = 0.5;   // the tracks' peak
constexpr size_t kBridge = 5;    // drops of Wine's stream of up to 100 ms are bridged

// Plays the player for the module: each "do N VERB X Y" line of its log is done with xdotool,
// at the client point (X, Y) or by the motion (X, Y) for "nudge", and answered with the file
// done-N in the module's folder.
class Player {
 public:
  explicit Player(const TempDir& work) : work_(work), folder_(unixPath(work.path())) {}

  void Step() {
    std::istringstream log(work_.read("run.log"));
    std::string line;
    std::vector<std::string> asks;
    while (std::getline(log, line)) {
      std::istringstream words(line);
      std::string word;
      words >> word;
      if (word == "client") words >> left_ >> top_;
      if (word == "do") asks.push_back(line);
    }
    for (size_t i = done_; i < asks.size(); ++i) {
      std::istringstream words(asks[i]);
      std::string word, verb;
      int number = 0;
      int64_t loggedX = 0, loggedY = 0;  // logged as unsigned: a motion left or up wraps
      words >> word >> number >> verb >> loggedX >> loggedY;
      int32_t x = static_cast<int32_t>(loggedX), y = static_cast<int32_t>(loggedY);
      std::string at = std::to_string(left_ + x) + " " + std::to_string(top_ + y), command;
      if (verb == "nudge") {
        command = "xdotool mousemove_relative -- " + std::to_string(x) + " " + std::to_string(y);
      } else {
        command = "xdotool mousemove " + at + " sleep 0.1" + (verb == "click" ? " click 1" : verb == "rclick" ? " click 3" : "");
      }
      char done[16];
      std::snprintf(done, sizeof done, "done-%03d", number);
      ASSERT_TRUE(startUnixCommand(command + "; touch '" + folder_ + "/" + done + "'")) << command;
      // The next move waits for this one's answer: the module acts on one at a time.
      for (int wait = 0; wait < 200 && !std::filesystem::exists(work_.path() / done); ++wait) Sleep(50);
      done_ = i + 1;
    }
  }

 private:
  const TempDir& work_;
  std::string folder_;
  int left_ = 0, top_ = 0;
  size_t done_ = 0;
};

std::vector<audio::Span> toneSpans(const std::vector<float>& samples, double frequency, double threshold) {
  return audio::spansAbove(audio::toneTrack(samples, frequency, kRate, kWindow), threshold, 5, kBridge);
}

// The mean level of the windows of `span` that sound above `threshold`: the moments that the
// stream ran dry do not count.
double soundingMean(const std::vector<double>& levels, audio::Span span, double threshold) {
  std::vector<double> sounding;
  for (size_t w = span.begin; w < span.end && w < levels.size(); ++w)
    if (levels[w] > threshold) sounding.push_back(levels[w]);
  return audio::meanOver(sounding, {0, sounding.size()});
}

std::string describe(const std::vector<audio::Span>& spans) {
  std::string text;
  for (const audio::Span& s : spans) text += "[" + std::to_string(s.begin) + ", " + std::to_string(s.end) + ") ";
  return text.empty() ? "none" : text;
}

TEST(GalleriesRunTest, TheGalleriesAnswerTheMouseShowTheirPicturesAndPlayTheChosenTracks) {
  ASSERT_TRUE(SinkRecorder::rigRunning()) << "no PulseAudio rig: scripts/run-tests.sh starts it (scripts/pulse-env.sh)";
  TempDir work;
  std::filesystem::copy(ART_DIR, work.path() / "art", std::filesystem::copy_options::recursive);
  SinkRecorder recorder(RECORD_SCRIPT, std::string(MODULE_DIR) + "/recordings/galleries.raw");
  ASSERT_TRUE(recorder.start()) << "the recorder did not connect";
  // The pointer starts away from the window, so that no control is lit before the module asks.
  startUnixCommand("xdotool mousemove 1020 760");

  std::atomic<bool> ended{false};
  Outcome outcome;
  std::thread host([&] {
    outcome = runModuleInWork("galleries_module", work, {{"RUNA1_AUDIO", "winmm"}, {"RUNA1_TRACE", "midi"}}, 240000);
    ended = true;
  });
  Player player(work);
  while (!ended) {
    player.Step();
    Sleep(50);
  }
  host.join();
  Sleep(500);
  audio::Recording recording;
  ASSERT_TRUE(recorder.stop(&recording)) << "no recording";

  expectAllPassed(work.read("run.log"), outcome,
                  {"main-window", "archives", "music-shows-screen", "track-lit", "one-lit-at-a-time",
                   "ended-track-stays-lit", "second-click-clears", "midi-chosen", "midi-track-lit",
                   "broken-track-runs-on", "music-right-button-ends", "music-settings-stored", "music-again",
                   "music-exit-gives-0", "cg-shows-unlocked", "cg-page-down", "cg-row-up", "cg-page-up",
                   "viewer-shows-picture", "viewer-pans-against-the-mouse", "viewer-pans-back",
                   "viewer-stops-at-the-edge", "viewer-next-variant", "viewer-right-button-leaves", "small-picture",
                   "small-picture-stays", "back-to-table", "missing-picture", "cg-exit-gives-10", "short-table-lower",
                   "cg-right-button-gives-minus-1", "missing-archives"});
  EXPECT_NE(work.read("run.log").find("\nend\n"), std::string::npos) << "the module did not reach its end";
  // This machine has no MIDI device: the MIDI track asked the system's stream, which refused.
  EXPECT_NE(outcome.diagnostics.find("the system stream did not open"), std::string::npos) << outcome.diagnostics;

  // Track 3 loops beyond its one second until track 10 replaces it; track 10 plays its second
  // once; track 6 plays at full volume, then at step 6, a quarter, until its second click. The
  // rig may lose a moment at the recording's start and drop the stream for a moment anywhere, so
  // a track is judged by where it first and last sounds.
  std::vector<float> mono = recording.mono();
  std::vector<audio::Span> looped = toneSpans(mono, MUSIC_ART_TRACK_TONE(3), kLevel / 3);
  std::vector<audio::Span> once = toneSpans(mono, MUSIC_ART_TRACK_TONE(10), kLevel / 3);
  std::vector<audio::Span> quieter = toneSpans(mono, MUSIC_ART_TRACK_TONE(6), kLevel / 16);
  ASSERT_FALSE(looped.empty());
  ASSERT_EQ(once.size(), 1u) << describe(once);
  ASSERT_FALSE(quieter.empty());
  EXPECT_GE(looped.back().end - looped.front().begin, 75u) << "longer than the wave: it loops; " << describe(looped);
  EXPECT_GE(once[0].length(), 40u);
  EXPECT_LE(once[0].length(), 50u + kBridge) << "once, and no more";
  EXPECT_LE(looped.back().end, once[0].begin + 2) << "the new track replaces the old";
  EXPECT_GE(quieter.front().begin, once[0].end + 25) << "a silence after the track that played once";
  std::vector<double> level = audio::toneTrack(mono, MUSIC_ART_TRACK_TONE(6), kRate, kWindow);
  size_t begin = quieter.front().begin, end = quieter.back().end;
  ASSERT_GE(end - begin, 100u) << describe(quieter);
  double full = soundingMean(level, {begin, begin + 50}, kLevel / 3);
  double quarter = soundingMean(level, {end - 50, end}, kLevel / 16);
  EXPECT_NEAR(full, kLevel, 0.08);
  EXPECT_NEAR(quarter / full, 0.25, 0.04);
  for (int track : {1, 3, 6, 10})
    for (const audio::Span& span : toneSpans(mono, MUSIC_ART_TRACK_TONE(track), kLevel / 16))
      EXPECT_LE(span.end, end + 2) << "nothing sounds after the last stop: track " << track;
}

}  // namespace
