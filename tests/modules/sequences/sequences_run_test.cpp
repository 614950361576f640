// Runs the sequences module under Wine on the test run's X server and PulseAudio rig: the runner
// records the sink, clicks with xdotool where the module asks, and then checks what the module
// saw in the window (fade levels, the composition, scroll positions) against the sequences'
// timing, and what the sink played: the opening's sound, and the ending's music up to the click.
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/modules/host_run.h"
#include "tests/sound/analysis/audio_analysis.h"
#include "tests/sound/analysis/sink_recorder.h"
#include "tests/temp_dir.h"
#include "tools/screen_art/sequence_look.h"

namespace {

constexpr uint32_t kRate = 44100;
constexpr size_t kWindow = 882;  // 20 ms
constexpr double kLevel = 0.5;   // the test tones' peak

// One reading of the window: the module's tick and the colours at its four points.
struct Sample {
  uint32_t tick;
  uint32_t topLeft, bandLeft, bandRight, composed;
};

// What the module wrote: its lines, the ticks it noted by name, and its readings in blocks that
// follow the tick lines "opening-end" and "ending-end".
struct ModuleLog {
  std::string text;
  std::map<std::string, uint32_t> ticks;
  std::map<std::string, std::vector<Sample>> samples;
};

ModuleLog parseLog(const std::string& text) {
  ModuleLog log{text, {}, {}};
  std::istringstream lines(text);
  std::string line, block;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string first;
    words >> first;
    if (first == "s") {
      Sample sample{};
      words >> sample.tick >> sample.topLeft >> sample.bandLeft >> sample.bandRight >> sample.composed;
      log.samples[block].push_back(sample);
    } else if (first.size() > 4 && first.compare(first.size() - 4, 4, "-end") == 0) {
      words >> log.ticks[first];
      block = first.substr(0, first.size() - 4);
    } else if (first.find('-') != std::string::npos || first == "click") {
      words >> log.ticks[first];
    }
  }
  return log;
}

// Runs xdotool at a screen point, from a Unix shell that Wine starts.
void rightClick(int x, int y) {
  startUnixCommand("xdotool mousemove " + std::to_string(x) + " " + std::to_string(y) + " sleep 0.1 click 3");
  Sleep(700);  // xdotool's own pause and the click's way through the X server
}

// Runs the module while playing the player: each file "ask-N" that it writes, with a screen
// point, is clicked there and answered with the file "done-N". The log stays in MODULE_DIR.
Outcome runWithClicks(const TempDir& work) {
  std::atomic<bool> finished{false};
  Outcome outcome;
  std::thread host([&] {
    outcome = runModuleInWork("sequences_module", work, {{"RUNA1_AUDIO", "winmm"}}, 240000);
    finished = true;
  });
  for (int next = 1; !finished; Sleep(50)) {
    std::string ask = work.read("ask-00" + std::to_string(next));
    if (ask.empty() || ask.back() != '\n') continue;  // not there, or not written out yet
    int x = 0, y = 0;
    std::istringstream(ask) >> x >> y;
    rightClick(x, y);
    work.write("done-00" + std::to_string(next++), "");
  }
  host.join();
  std::filesystem::copy_file(work.file("run.log"), std::string(MODULE_DIR) + "/run.log",
                             std::filesystem::copy_options::overwrite_existing);
  return outcome;
}

int channel(uint32_t colour, int shift) { return static_cast<int>(colour >> shift & 0xFF); }

// A fade from one colour to another at one point: the readings from the last one that shows the
// old colour to the first that shows the new.
struct Ramp {
  std::vector<Sample> readings;
  uint32_t Duration() const { return readings.back().tick - readings.front().tick; }
};

Ramp findRamp(const std::vector<Sample>& samples, uint32_t Sample::*point, uint32_t from, uint32_t to) {
  auto end = std::find_if(samples.begin(), samples.end(), [&](const Sample& s) { return s.*point == to; });
  if (end == samples.end()) return {};
  auto begin = std::find_if(std::make_reverse_iterator(end), samples.rend(),
                            [&](const Sample& s) { return s.*point == from; });
  if (begin == samples.rend()) return {};
  return Ramp{std::vector<Sample>(begin.base() - 1, end + 1)};
}

// The readings inside the ramp lie on the straight way from the old colour to the new one in
// proportion to their time; the worst miss in shares. Each frame's blend rounds its two terms
// down, which over the 60 frames of a 2 s fade moves a channel by up to a fifth of its way
// (ahead where it falls, behind where it rises), so a miss below 0.3 is a fade on time; a blend
// without the frames' rescaling would be all but done after a few frames.
constexpr double kShareMiss = 0.3;
double worstShareMiss(const Ramp& ramp, uint32_t Sample::*point, uint32_t from, uint32_t to, int shift) {
  double worst = 0;
  double span = channel(to, shift) - channel(from, shift);
  for (size_t i = 1; i + 1 < ramp.readings.size(); ++i) {
    const Sample& s = ramp.readings[i];
    double share = (channel(s.*point, shift) - channel(from, shift)) / span;
    double time = static_cast<double>(s.tick - ramp.readings.front().tick) / ramp.Duration();
    worst = std::max(worst, std::abs(share - time));
  }
  return worst;
}

std::set<uint32_t> levelsIn(const Ramp& ramp, uint32_t Sample::*point) {
  std::set<uint32_t> levels;
  for (size_t i = 1; i + 1 < ramp.readings.size(); ++i) levels.insert(ramp.readings[i].*point);
  return levels;
}

class SequencesRunTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    work = new TempDir;
    for (const char* name : {"Sequence.arc", "music.arc", "sounds.arc"})
      std::filesystem::copy_file(std::string(FILES_DIR) + "/" + name, work->file(name),
                                 std::filesystem::copy_options::overwrite_existing);
    SinkRecorder recorder(RECORD_SCRIPT, std::string(MODULE_DIR) + "/recordings/sequences.raw");
    rigRunning = SinkRecorder::rigRunning() && recorder.start();
    outcome = runWithClicks(*work);
    Sleep(500);
    recorded = rigRunning && recorder.stop(&recording);
    log = parseLog(work->read("run.log"));
  }
  static void TearDownTestSuite() { delete work; }

  static TempDir* work;
  static Outcome outcome;
  static ModuleLog log;
  static audio::Recording recording;
  static bool rigRunning, recorded;
};

TempDir* SequencesRunTest::work;
Outcome SequencesRunTest::outcome;
ModuleLog SequencesRunTest::log;
audio::Recording SequencesRunTest::recording;
bool SequencesRunTest::rigRunning, SequencesRunTest::recorded;

TEST_F(SequencesRunTest, TheModuleSawEachCaseThrough) {
  expectAllPassed(log.text, outcome,
                  {"mixer-open", "main-window", "archives", "warm-up", "opening-runs-to-its-end", "opening-ends-black",
                   "ending-shows-second-picture", "ending-cut-short", "ending-stops-at-second-picture",
                   "blank-without-pictures", "bare-ending-cut-short", "no-target"});
  EXPECT_NE(log.text.find("end\n"), std::string::npos) << log.text;
  // The whole opening: its waits and fades add up to 55 s.
  uint32_t opening = log.ticks["opening-end"] - log.ticks["opening-start"];
  EXPECT_GE(opening, 55000u);
  EXPECT_LT(opening, 60000u);
  // A click during a wait is seen when the wait's one sleep ends: within 2.4 s of the ending's
  // second wait, and the time xdotool takes.
  EXPECT_LT(log.ticks["ending-end"] - log.ticks["click"], 4500u);
  EXPECT_GE(log.ticks["bare-end"] - log.ticks["bare-click"], 3000u) << "the bare ending sleeps to 4363 ms";
  EXPECT_LT(log.ticks["bare-end"] - log.ticks["bare-click"], 6000u);
}

// The title comes up with the tone and the pictures fade into each other in proportion to the
// time: a blend of the old and the new colour whose share follows the clock.
TEST_F(SequencesRunTest, OpeningFadesShowTheirLevels) {
  const std::vector<Sample>& samples = log.samples["opening"];
  ASSERT_GT(samples.size(), 1000u);

  Ramp title = findRamp(samples, &Sample::topLeft, 0, SEQ_ART_COLOUR(6690));
  ASSERT_GT(title.readings.size(), 2u) << "the title comes up from black";
  EXPECT_NEAR(title.Duration(), 1500, 400);
  EXPECT_GE(levelsIn(title, &Sample::topLeft).size(), 5u) << "through levels of the tone";
  EXPECT_LT(worstShareMiss(title, &Sample::topLeft, 0, SEQ_ART_COLOUR(6690), 16), kShareMiss);

  for (auto [from, to] : {std::pair{6300, 6310}, std::pair{6350, 6360}}) {
    Ramp fade = findRamp(samples, &Sample::bandLeft, SEQ_ART_COLOUR(from), SEQ_ART_COLOUR(to));
    ASSERT_GT(fade.readings.size(), 2u) << to << " fades in over " << from;
    EXPECT_NEAR(fade.Duration(), 1500, 400) << to;
    EXPECT_GE(levelsIn(fade, &Sample::bandLeft).size(), 5u) << to;
    for (int shift : {8, 16})
      EXPECT_LT(worstShareMiss(fade, &Sample::bandLeft, SEQ_ART_COLOUR(from), SEQ_ART_COLOUR(to), shift), kShareMiss) << to;
  }
}

// The right half of the band takes two pictures in turn over the left one's; the small pictures
// are composed into the band one after the other, the one read into a slot that was read again
// never shows.
TEST_F(SequencesRunTest, OpeningComposesPictures) {
  const std::vector<Sample>& samples = log.samples["opening"];
  auto shows = [&](auto predicate) { return std::find_if(samples.begin(), samples.end(), predicate); };
  auto half = shows([](const Sample& s) { return s.bandRight == SEQ_ART_COLOUR(6330); });
  ASSERT_NE(half, samples.end());
  auto second = std::find_if(half, samples.end(), [](const Sample& s) {
    return s.bandRight == SEQ_ART_COLOUR(6340) && s.bandLeft == SEQ_ART_COLOUR(6320);
  });
  EXPECT_NE(second, samples.end()) << "the second half over the first, beside the band";

  auto at = samples.begin();
  for (int number : {6370, 6380, 6390, 6400, 6410, 6430}) {
    at = std::find_if(at, samples.end(), [&](const Sample& s) { return s.composed == SEQ_ART_COLOUR(number); });
    ASSERT_NE(at, samples.end()) << number << " is composed in its turn";
    EXPECT_EQ(at->bandLeft, SEQ_ART_COLOUR(6370)) << "around it the band's picture";
  }
  EXPECT_EQ(shows([](const Sample& s) { return s.composed == SEQ_ART_COLOUR(6420); }), samples.end());
}

// The tall picture scrolls from its bottom to its top over 12 s, in proportion to the time.
TEST_F(SequencesRunTest, OpeningScrollsAtItsPace) {
  const std::vector<Sample>& samples = log.samples["opening"];
  // Readings of the picture itself, not of a blend that happens to carry the rows' mark: the band's
  // point lies 190 rows further down the picture.
  std::vector<std::pair<double, double>> rows;  // (tick, row at the top left)
  for (const Sample& s : samples)
    if (SEQ_ART_IS_ROW_COLOUR(s.topLeft) && SEQ_ART_IS_ROW_COLOUR(s.bandLeft) &&
        SEQ_ART_ROW_OF(s.bandLeft) == SEQ_ART_ROW_OF(s.topLeft) + 190)
      rows.emplace_back(s.tick, SEQ_ART_ROW_OF(s.topLeft));
  ASSERT_GT(rows.size(), 100u);
  EXPECT_NEAR(rows.front().second, 1450, 40) << "it starts at its bottom";
  EXPECT_EQ(rows.back().second, 10) << "and ends at rest at its top";
  // A paint that comes between a frame's draw and the window's scroll shows the picture moved
  // one frame's step (12 rows at most) too far until the next paint; otherwise the rows only fall.
  for (size_t i = 1; i < rows.size(); ++i) ASSERT_LE(rows[i].second, rows[i - 1].second + 12) << i;
  // The slope of the rows between the ends, by least squares, in rows per millisecond.
  double n = 0, st = 0, sr = 0, stt = 0, str = 0;
  for (auto [tick, row] : rows) {
    if (row < 100 || row > 1350) continue;
    double t = tick - rows.front().first;
    n += 1;
    st += t;
    sr += row;
    stt += t * t;
    str += t * row;
  }
  ASSERT_GT(n, 50);
  double slope = (n * str - st * sr) / (n * stt - st * st);
  EXPECT_NEAR(slope, -1440.0 / 12000, 0.025);
}

// The ending's pictures fade in over 2 s each; the click leaves the second one standing.
TEST_F(SequencesRunTest, EndingFadesUntilTheClick) {
  const std::vector<Sample>& samples = log.samples["ending"];
  Ramp first = findRamp(samples, &Sample::topLeft, 0, SEQ_ART_COLOUR(6460));
  ASSERT_GT(first.readings.size(), 2u);
  EXPECT_NEAR(first.Duration(), 2000, 400);
  Ramp second = findRamp(samples, &Sample::topLeft, SEQ_ART_COLOUR(6460), SEQ_ART_COLOUR(6470));
  ASSERT_GT(second.readings.size(), 2u);
  EXPECT_NEAR(second.Duration(), 2000, 400);
  EXPECT_NEAR(static_cast<double>(second.readings.front().tick - first.readings.front().tick), 4363, 400)
      << "the second picture comes at its clock time";
  for (int shift : {8, 16})
    EXPECT_LT(worstShareMiss(second, &Sample::topLeft, SEQ_ART_COLOUR(6460), SEQ_ART_COLOUR(6470), shift), kShareMiss);
}

// The sink played the opening's sound once for its length, and the ending's music from the
// ending's start until the click ended it, far short of its 20 s.
TEST_F(SequencesRunTest, SoundAndMusicAreHeard) {
  ASSERT_TRUE(rigRunning) << "no PulseAudio rig: scripts/run-tests.sh starts it (scripts/pulse-env.sh)";
  ASSERT_TRUE(recorded) << "no recording";
  std::vector<float> mono = recording.mono();
  auto spans = [&](double frequency) {
    return audio::spansAbove(audio::toneTrack(mono, frequency, kRate, kWindow), kLevel / 3, 5, 5);
  };
  std::vector<audio::Span> sound = spans(880);
  ASSERT_EQ(sound.size(), 1u);
  EXPECT_NEAR(static_cast<double>(sound[0].length()), 50, 8) << "one second";
  // The music's spans after the sound; on a busy machine Wine's stream may run dry now and then,
  // so the music is taken from its first span to its last.
  std::vector<audio::Span> music = spans(660);
  auto first = std::find_if(music.begin(), music.end(), [&](const audio::Span& m) { return m.begin > sound[0].end; });
  ASSERT_NE(first, music.end()) << "the ending's music";
  audio::Span ending{first->begin, music.back().end};
  size_t heard = 0;
  for (auto m = first; m != music.end(); ++m) heard += m->length();
  EXPECT_GT(heard, ending.length() / 2) << "the music sounds through the ending";
  double played = (log.ticks["ending-end"] - log.ticks["ending-start"]) / 20.0;
  EXPECT_NEAR(static_cast<double>(ending.length()), played, 40) << "the music ends with the sequence";
}

}  // namespace
