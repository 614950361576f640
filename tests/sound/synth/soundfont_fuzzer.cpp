// Random bytes as a SoundFont 2 file, and as the file's preset data behind the sine font's
// samples: a file is refused with a message or read, and then every preset plays notes across
// the keyboard without reading outside the sample data.
#include <cstdlib>
#include <string>
#include <vector>

#include "sound/synth/soundfont.h"
#include "sound/synth/synthesizer.h"
#include "tests/sound/synth/soundfont_bytes.h"

namespace {

void loadAndPlay(const std::string& bytes) {
  SoundFont font;
  std::string error;
  if (!font.load(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), &error)) {
    if (error.empty()) std::abort();
    return;
  }
  Synthesizer synth(font, 22050);
  std::vector<float> out(2 * 256);
  for (size_t p = 0; p < font.presets().size() && p < 8; ++p) {
    const SoundFontItem& preset = font.presets()[p];
    synth.message(0xB0 | 0 << 8 | (preset.bank & 0x7F) << 16);
    synth.message(0xC0 | (preset.program & 0x7F) << 8);
    for (uint8_t key : {0, 60, 127}) synth.message(0x90 | key << 8 | 100 << 16);
    synth.render(out.data(), 256);
    synth.message(0xB0 | 123 << 8);
    synth.render(out.data(), 256);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string bytes(reinterpret_cast<const char*>(data), size);
  loadAndPlay(bytes);
  // The same bytes in place of the sine font's preset data.
  std::string font = sineSoundFont();
  size_t pdta = font.find("pdta");
  std::string body = font.substr(12, pdta - 8 - 12) + riffList("pdta", bytes);
  loadAndPlay(riffChunk("RIFF", "sfbk" + body));
  return 0;
}
