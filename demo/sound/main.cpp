// demo_sound: composes the demo game's songs and makes its sound effects.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "demo/output_folder.h"
#include "demo/sound/demo_sound.h"

namespace {

const char kUsage[] =
    "usage: demo_sound DIRECTORY   write title.mid, ending.mid (Standard MIDI Files), chime.wav\n"
    "                              and blip.wav (16-bit mono, 22050 Hz) into DIRECTORY\n"
    "       demo_sound --help\n";

constexpr uint32_t kEffectRate = 22050;
constexpr uint32_t kTitleSeed = 1994, kEndingSeed = 2026;

bool writeFile(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), std::streamsize(bytes.size()));
  out.close();
  if (!out) std::cerr << "demo_sound: cannot write " << path.string() << "\n";
  return bool(out);
}

}  // namespace

int main(int argc, char** argv) {
  std::filesystem::path folder;
  const int early = demo_tools::outputFolder(argc, argv, "demo_sound", kUsage, &folder);
  if (early >= 0) return early;
  using namespace demo_sound;
  bool written =
      writeFile(folder / "title.mid", standardMidiFile(composeSong(Mood::kTitle, kTitleSeed))) &&
      writeFile(folder / "ending.mid", standardMidiFile(composeSong(Mood::kEnding, kEndingSeed))) &&
      writeFile(folder / "chime.wav", waveFile(chime(kEffectRate), kEffectRate)) &&
      writeFile(folder / "blip.wav", waveFile(blip(kEffectRate), kEffectRate));
  return written ? 0 : 1;
}
