// midirender: plays a MIDI file on the engine's own synthesiser with a SoundFont 2 and writes
// what it sounds like to a WAV file (16-bit stereo), as runa1.exe plays the file.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "base/alloc.h"
#include "base/library.h"
#include "files/file_obj.h"
#include "sound/midi/midi_music.h"
#include "sound/synth/synth_renderer.h"
#include "sound/wave/wave_file.h"

namespace {

const char kUsage[] =
    "usage: midirender [--rate HZ] SOUNDFONT.sf2 SONG.mid OUTPUT.wav\n"
    "       midirender --help\n"
    "Plays SONG.mid once with the instruments of SOUNDFONT.sf2 and writes 16-bit stereo at HZ\n"
    "frames a second (44100 unless told) to OUTPUT.wav, up to the end of the last note's release.\n";

int usageError(const std::string& text) {
  std::cerr << "midirender: " << text << "\n" << kUsage;
  return 2;
}

int failure(const std::string& text) {
  std::cerr << "midirender: " << text << "\n";
  return 1;
}

bool writeWave(const std::string& path, const std::vector<float>& mix, uint32_t rate) {
  WaveData wave;
  wave.formatSize = 16;  // the PCM record, without cbSize
  wave.format = static_cast<WAVEFORMATEX*>(vkAlloc(sizeof(WAVEFORMATEX), 1));
  wave.dataSize = static_cast<uint32_t>(mix.size() * sizeof(int16_t));
  wave.data = static_cast<uint8_t*>(vkAlloc(wave.dataSize, 0));
  if (!wave.format || !wave.data) return false;
  *wave.format = WAVEFORMATEX{1, 2, rate, rate * 4, 4, 16, 0};
  auto* pcm = reinterpret_cast<int16_t*>(wave.data);
  for (size_t i = 0; i < mix.size(); ++i)
    pcm[i] = static_cast<int16_t>(std::lround(std::clamp(mix[i], -1.0f, 32767.0f / 32768) * 32768));
  KRawFile file;
  bool written = file.Open(path.c_str(), FILE_WRITE | FILE_CREATE) == 0 && writeWaveFile(&file, wave) == 0;
  freeWaveData(&wave);
  return written;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
    std::cout << kUsage;
    return 0;
  }
  uint32_t rate = 44100;
  if (arguments.size() >= 2 && arguments[0] == "--rate") {
    rate = static_cast<uint32_t>(std::strtoul(arguments[1].c_str(), nullptr, 10));
    if (rate < 8000 || rate > 192000) return usageError("the rate must lie between 8000 and 192000");
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  if (arguments.size() != 3) return usageError("wrong number of arguments");
  vkInitialize(VK_LIBRARY_VERSION);
  SoundFont font;
  std::string error;
  if (!font.loadFile(arguments[0], &error)) return failure(arguments[0] + ": " + error);
  KRawFile song;
  if (song.Open(arguments[1].c_str(), FILE_READ) != 0) return failure(arguments[1] + ": cannot open it");
  CMIDIMusic music;
  if (music.ReadFile(&song) != 0) return failure(arguments[1] + ": not a MIDI file");
  std::vector<float> mix = renderMidiSong(music, font, rate);
  if (!writeWave(arguments[2], mix, rate)) return failure(arguments[2] + ": cannot write it");
  vkUninitialize();
  return 0;
}
