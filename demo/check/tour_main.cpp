// demo_tour_check: tells whether the demo's tour saw and heard what the game must show and play.
#include <cmath>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "base/library.h"
#include "demo/art/demo_art.h"
#include "demo/check/frame_check.h"
#include "demo/check/tour_check.h"
#include "demo/menus/menu_art.h"
#include "files/file_obj.h"
#include "sound/wave/wave_file.h"
#include "tests/sound/analysis/audio_analysis.h"

namespace {

const char kUsage[] =
    "usage: demo_tour_check --tour DIR --pictures DIR --report FILE\n"
    "Checks the screenshots that scripts/demo.sh's tour saved in DIR (title, startup, sound,\n"
    "scene, menu, quit, bonus, cg, cgview, tracks, opening, roll, map, place, save, ending,\n"
    "load, loaded)\n"
    "against the game's files in\n"
    "--pictures (the menus' bitmaps in its menus/ folder), and that its recording\n"
    "DIR/sound.raw holds the title's music and the first voice, this at the half volume the tour\n"
    "sets. The report is the file the game wrote through RUNA1_DEMO_REPORT. Exit code 0 if\n"
    "everything is there.\n";

constexpr size_t kRecordingDecimation = 8;  // 44100 Hz to 5512.5 Hz
constexpr double kMinimumCorrelation = 0.5;
// The tour sets the voice volume to step 7 of 8: half the voice's level.
constexpr double kTourVoiceGain = 0.5, kGainTolerance = 0.1;
constexpr int32_t kChosenPlace = 1;  // the tour picks the second place

// The mono samples of a 16-bit PCM wave file; empty with a message if it is none.
std::vector<float> readWave(const std::string& path, uint32_t* rate, std::string* error) {
  KRawFile file;
  WaveData wave;
  std::vector<float> samples;
  if (file.Open(path.c_str(), FILE_READ) != 0 || readWaveFile(&file, &wave) != 0 || wave.format->wFormatTag != 1 ||
      wave.format->wBitsPerSample != 16) {
    *error = path + ": not a 16-bit PCM wave file";
    freeWaveData(&wave);
    return samples;
  }
  const uint32_t channels = wave.format->nChannels;
  *rate = wave.format->nSamplesPerSec;
  std::vector<int16_t> pcm(wave.dataSize / 2);
  std::memcpy(pcm.data(), wave.data, pcm.size() * 2);
  freeWaveData(&wave);
  samples.assign(pcm.size() / channels, 0);
  for (uint32_t channel = 0; channel < channels; ++channel) {
    std::vector<float> one = audio::samplesOf(pcm, channels, channel);
    for (size_t i = 0; i < samples.size(); ++i) samples[i] += one[i] / float(channels);
  }
  return samples;
}

struct Heard {
  double correlation = -1;  // below 0 when the file cannot be read
  double gain = 0;  // the level of the recording where it matches best over the file's level
};

// How well `seconds` of the file from `from` match somewhere in the recording, both seen at the
// same low rate, and at what gain.
Heard bestMatch(const std::vector<float>& recording, const std::string& path, double from, double seconds,
                std::string* error) {
  uint32_t rate = 0;
  std::vector<float> samples = readWave(path, &rate, error);
  if (samples.empty()) return {};
  const size_t factor = rate * kRecordingDecimation / 44100;
  const size_t begin = size_t(from * rate), count = size_t(seconds * rate);
  if (factor == 0 || begin + count > samples.size()) {
    *error = path + ": too short";
    return {};
  }
  std::vector<float> reference(samples.begin() + begin, samples.begin() + begin + count);
  reference = demo_check::decimate(reference, factor);
  if (recording.size() < reference.size()) return {0, 0};
  const audio::Match match = audio::crossCorrelate(recording, reference, 0, recording.size() - reference.size());
  double heardEnergy = 0, energy = 0;
  for (size_t i = 0; i < reference.size(); ++i) {
    heardEnergy += double{recording[match.lag + i]} * recording[match.lag + i];
    energy += double{reference[i]} * reference[i];
  }
  return {match.correlation, energy > 0 ? std::sqrt(heardEnergy / energy) : 0};
}

int report(const std::string& what, const std::vector<std::string>& problems) {
  if (problems.empty()) {
    std::cout << "demo_tour_check: " << what << ": as expected\n";
    return 0;
  }
  for (const std::string& problem : problems) std::cerr << "demo_tour_check: " << what << ": " << problem << "\n";
  return 1;
}

// The bonus menu with no button lit; the CG mode with the second place's and the ending's
// thumbnails, the others locked; the viewer showing the second place's picture from its top
// left; the music mode with the first track lit and MIDI chosen. The sliders are the screens'.
int checkBonusScreens(const std::string& tour, const std::string& menus, int32_t left, int32_t top) {
  const char* const names[] = {"startup.tree/yodan.bmp", "cgmode.tree/cg.bmp",       "cgmode.tree/bg501.bmp",
                               "cgmode.tree/bg503.bmp",  "gallery.tree/bg5010.bmp",  "musicmod.tree/music.bmp",
                               "musicmod.tree/m01.bmp",  "musicmod.tree/mmidon.bmp"};
  std::vector<Picture> bitmaps(std::size(names));
  std::string error;
  for (size_t i = 0; i < bitmaps.size(); ++i) {
    if (!readPicture(menus + names[i], &bitmaps[i], &error)) return std::cerr << "demo_tour_check: " << error << "\n", 1;
  }
  const Picture &bonus = bitmaps[0], &cg = bitmaps[1], &placeThumbnail = bitmaps[2], &endingThumbnail = bitmaps[3],
                &placePicture = bitmaps[4], &music = bitmaps[5], &firstTrack = bitmaps[6], &midi = bitmaps[7];
  const std::vector<DemoRect> cgSlider = {{591, 58, 622, 374}}, musicSlider = {{306, 427, 469, 457}};
  const int32_t cellTop = DEMO_CG_CELL_TOP, secondCell = DEMO_CG_CELL_LEFT + DEMO_CG_CELL_STEP_X;
  const int32_t fourthCell = DEMO_CG_CELL_LEFT + 3 * DEMO_CG_CELL_STEP_X;
  const struct {
    const char* shot;
    const Picture& ground;
    std::vector<demo_check::Piece> pieces;
    const std::vector<DemoRect>& controls;
  } screens[] = {
      {"bonus", bonus, {}, {}},
      {"cg", cg, {{&placeThumbnail, secondCell, cellTop}, {&endingThumbnail, fourthCell, cellTop}}, cgSlider},
      {"cgview", placePicture, {}, {}},
      {"tracks", music, {{&firstTrack, 8, 24}, {&midi, 128, 424}}, musicSlider},
  };
  int failures = 0;
  for (const auto& screen : screens) {
    Picture picture;
    if (!readPicture(tour + "/" + screen.shot + ".png", &picture, &error)) {
      std::cerr << "demo_tour_check: " << error << "\n";
      ++failures;
      continue;
    }
    failures += report(screen.shot,
                       demo_check::checkComposition(picture, left, top, screen.ground, screen.pieces, screen.controls));
  }
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
    std::cout << kUsage;
    return 0;
  }
  std::string tour, pictures, reportPath;
  for (int at = 1; at + 1 < argc; at += 2) {
    const std::string option = argv[at];
    if (option == "--tour") tour = argv[at + 1];
    else if (option == "--pictures") pictures = argv[at + 1];
    else if (option == "--report") reportPath = argv[at + 1];
  }
  if (argc != 7 || tour.empty() || pictures.empty() || reportPath.empty()) {
    std::cerr << "demo_tour_check: --tour, --pictures and --report are needed\n" << kUsage;
    return 2;
  }
  vkInitialize(VK_LIBRARY_VERSION);
  std::ifstream reportFile(reportPath);
  int32_t left = -1, top = -1;
  for (std::string line; std::getline(reportFile, line);) {
    std::istringstream words(line);
    std::string word;
    if (words >> word && word == "client") words >> left >> top;
  }
  if (left < 0) return std::cerr << "demo_tour_check: " << reportPath << " has no line \"client LEFT TOP\"\n", 1;

  demo_check::DemoPictures titlePictures;
  Picture ending, label;
  std::string error;
  const std::string labelName = "/place" + std::to_string(kChosenPlace) + ".mqi";
  if (!demo_check::readPictures(pictures, &titlePictures, &error) ||
      !demo_check::readEngineFile(pictures + "/ending.mqi", &ending, &error) ||
      !demo_check::readEngineFile(pictures + labelName, &label, &error)) {
    return std::cerr << "demo_tour_check: " << error << "\n", 1;
  }
  const Picture& landscape = titlePictures.big[0];
  auto shot = [&](const std::string& name, Picture* picture) {
    if (readPicture(tour + "/" + name + ".png", picture, &error)) return true;
    std::cerr << "demo_tour_check: " << error << "\n";
    return false;
  };
  int failures = 0;
  Picture picture;
  demo_check::DemoState title;
  title.lens = true;
  title.pointerX = 560;
  title.pointerY = 130;
  failures += !shot("title", &picture) || report("title", demo_check::compareFrame(picture, left, top, titlePictures, title));
  // The start-up menu of kind 3 with no button lit; the sound configuration over it, MIDI chosen.
  Picture startup, scene, menu, bitmap, alpha;
  const std::string menus = pictures + "/menus/";
  auto menuBitmap = [&](const std::string& name, Picture* bitmap) {
    if (readPicture(menus + name, bitmap, &error)) return true;
    std::cerr << "demo_tour_check: " << error << "\n";
    return false;
  };
  failures += !shot("startup", &startup) || !menuBitmap("startup.tree/start3.bmp", &bitmap) ||
              report("startup", demo_check::checkWholeFrame(startup, left, top, bitmap));
  if (shot("sound", &picture) && menuBitmap("soundcfg.tree/option.bmp", &bitmap) &&
      menuBitmap("soundcfg.tree/optiona.bmp", &alpha)) {
    // The source buttons and the three sliders with their arrows.
    const std::vector<DemoRect> controls = {{270, 84, 374, 119}, {417, 84, 521, 119}, {306, 162, 486, 192},
                                            {306, 244, 486, 274}, {306, 326, 486, 356}};
    std::vector<std::string> problems = demo_check::checkOverlay(picture, left, top, bitmap, alpha, startup, controls);
    const struct {
      const char* what;
      int32_t x, y;
      uint32_t colour;
    } sources[] = {{"MIDI chosen", 417 + 5, 84 + 5, demo_menus::kLitColour},
                   {"wave not chosen", 270 + 5, 84 + 5, demo_menus::kPlateColour}};
    for (const auto& source : sources) {
      if (!demo_check::closeColours(demo_art::colourAt(picture, left + source.x, top + source.y), source.colour)) {
        problems.push_back(std::string(source.what) + ": its button does not show it");
      }
    }
    failures += report("sound", problems);
  } else {
    ++failures;
  }
  failures += !shot("scene", &scene) || report("scene", demo_check::checkScene(scene, left, top, landscape, -1, 2));
  // The main menu over the scene as it stood; its quit box in the middle of the client area.
  failures += !shot("menu", &menu) || !menuBitmap("mainmenu.tree/menu.bmp", &bitmap) ||
              !menuBitmap("mainmenu.tree/menuc.bmp", &alpha) ||
              report("menu", demo_check::checkOverlay(menu, left, top, bitmap, alpha, scene));
  failures += !shot("quit", &picture) || !menuBitmap("mainmenu.tree/diquit.bmp", &bitmap) ||
              report("quit", demo_check::checkInset(picture, left, top, bitmap, (DEMO_CLIENT_WIDTH - bitmap.width) / 2,
                                                    (DEMO_CLIENT_HEIGHT - bitmap.height) / 2));
  failures += checkBonusScreens(tour, pictures + "/menus/", left, top);
  // The opening's title card and the staff roll's first picture, each while it stands.
  for (const char* sequence : {"opening", "roll"}) {
    const std::string card = std::string(sequence) == "opening" ? "bg6690.bmp" : "bg6460.bmp";
    failures += !shot(sequence, &picture) || !menuBitmap("sequence.tree/" + card, &bitmap) ||
                report(sequence, demo_check::checkWholeFrame(picture, left, top, bitmap));
  }
  failures += !shot("map", &picture) || report("map", demo_check::checkMapLabel(picture, left, top, label));
  failures += !shot("place", &picture) ||
              report("place", demo_check::checkScene(picture, left, top, landscape, kChosenPlace, 2));
  failures += !shot("save", &picture) || report("save", demo_check::checkSavePage(picture, left, top, -1));
  failures += !shot("ending", &picture) || report("ending", demo_check::checkWholeFrame(picture, left, top, ending));
  failures += !shot("load", &picture) || report("load", demo_check::checkSavePage(picture, left, top, kChosenPlace));
  failures += !shot("loaded", &picture) ||
              report("loaded", demo_check::checkScene(picture, left, top, landscape, kChosenPlace, 2));

  audio::Recording recording;
  if (!audio::readRawRecording(tour + "/sound.raw", &recording)) {
    std::cerr << "demo_tour_check: cannot read " << tour << "/sound.raw\n";
    return 1;
  }
  const std::vector<float> heard = demo_check::decimate(recording.mono(), kRecordingDecimation);
  const struct {
    const char* what;
    std::string file;
    double from, seconds;
  } sounds[] = {{"music", pictures + "/title.wav", 0.5, 1.0}, {"voice", pictures + "/voice00.wav", 0.2, 1.0}};
  for (const auto& sound : sounds) {
    const Heard heardSound = bestMatch(heard, sound.file, sound.from, sound.seconds, &error);
    if (heardSound.correlation < 0) {
      std::cerr << "demo_tour_check: " << error << "\n";
      ++failures;
      continue;
    }
    const bool heardIt = heardSound.correlation >= kMinimumCorrelation;
    (heardIt ? std::cout : std::cerr) << "demo_tour_check: " << sound.what << ": the recording matches "
                                      << sound.file << " with a correlation of " << heardSound.correlation
                                      << (heardIt ? "" : ", too little") << " at a gain of " << heardSound.gain
                                      << "\n";
    failures += !heardIt;
  }
  const Heard voice = bestMatch(heard, pictures + "/voice00.wav", 0.2, 1.0, &error);
  if (voice.gain < kTourVoiceGain - kGainTolerance || voice.gain > kTourVoiceGain + kGainTolerance) {
    std::cerr << "demo_tour_check: the voice plays at a gain of " << voice.gain << ", not at " << kTourVoiceGain
              << " as the tour's voice volume asks\n";
    ++failures;
  }
  vkUninitialize();
  return failures ? 1 : 0;
}
