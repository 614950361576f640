// The wave file reader on arbitrary bytes: it either reads a wave, which then writes back and
// decodes inside its buffers, or fails with one of the reader's own reports.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "base/error.h"
#include "sound/wave/acm_stream.h"
#include "sound/wave/wave_file.h"
#include "tests/files/memory_file.h"

namespace {

void requireReaderReport(uint32_t result) {
  static const char* const kKnown[] = {
      "Failed reading wave form audio header.", "Invalid wave form audio file header.",
      "Invalid wave format header.",            "Failed reading wave format information.",
      "Invalid wave data header.",              "Failed reading wave data.",
  };
  const VKERRORRECORD* record = vkGetErrorRecord();
  if (result != VK_ERROR_SOUND || !record->message) std::abort();
  for (const char* known : kKnown)
    if (std::strcmp(record->message, known) == 0) return;
  std::abort();
}

// Decodes a compressed wave whole, as the level envelope of a sound does.
void decodeWhole(const WaveData& wave) {
  const WAVEFORMATEX& format = *wave.format;
  WAVEFORMATEX pcm{};
  pcm.wFormatTag = WAVE_FORMAT_PCM;
  pcm.nChannels = format.nChannels;
  pcm.nSamplesPerSec = format.nSamplesPerSec;
  pcm.wBitsPerSample = 16;
  pcm.nBlockAlign = static_cast<WORD>(format.nChannels * 2);
  KACMStream stream;
  if (stream.Open(&pcm, &format) != 0) return;
  uint32_t size = stream.GetDestinationSize(wave.dataSize);
  if (size == 0 || size > (64u << 20)) return;
  std::vector<uint8_t> out(size);
  uint32_t made = size, used = wave.dataSize;
  stream.Convert(out.data(), &made, wave.data, &used, acm::kConvertBlockAlign);
  if (made > size || used > wave.dataSize) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  MemoryFile file(std::string(reinterpret_cast<const char*>(data), size));
  WaveData wave;
  uint32_t result = readWaveFile(&file, &wave);
  if (result != 0) {
    requireReaderReport(result);
  } else {
    MemoryFile out(std::string(), FILE_WRITE);
    writeWaveFile(&out, wave);
    if (out.bytes().size() != 28u + wave.formatSize + wave.dataSize) std::abort();
    if (wave.format->wFormatTag != WAVE_FORMAT_PCM) decodeWhole(wave);
  }
  freeWaveData(&wave);
  return 0;
}
