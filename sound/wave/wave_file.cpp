#include "sound/wave/wave_file.h"

#include <algorithm>
#include <cstring>

#include "base/alloc.h"
#include "base/error.h"
#include "base/os/os.h"
#include "sound/wave/acm.h"

namespace {

constexpr const char* kUnit = "WavSound";

uint32_t fail(int32_t line, const char* text) { return vkSetError(VK_ERROR_SOUND, 0, kUnit, line, text); }

uint32_t wordAt(const uint8_t* bytes) {
  uint32_t value;
  std::memcpy(&value, bytes, 4);
  return value;
}

bool isTag(const uint8_t* bytes, const char (&tag)[5]) { return std::memcmp(bytes, tag, 4) == 0; }

// Bytes of the file behind its position: a chunk that claims more cannot be read whole, and is
// refused before anything is allocated for it.
uint32_t bytesLeft(KFileObj* file) {
  uint32_t length = file->GetLength(), position = file->GetPosition();
  return length > position ? length - position : 0;
}

// A chunk header; a short read leaves zeros, which name no chunk.
void readChunkHeader(KFileObj* file, uint8_t header[8]) {
  std::memset(header, 0, 8);
  file->Read(header, 8);
}

// Room for the record and what its cbSize announces, zeros beyond `bytes`.
WAVEFORMATEX* allocateFormat(uint32_t bytes) {
  return static_cast<WAVEFORMATEX*>(vkAlloc(std::max<uint32_t>(bytes, sizeof(WAVEFORMATEX)), 1));
}

uint32_t announcedSize(const WAVEFORMATEX* format) { return sizeof(WAVEFORMATEX) + format->cbSize; }

}  // namespace

void freeWaveData(WaveData* wave) {
  if (wave->format) vkFree(wave->format);
  if (wave->data) vkFree(wave->data);
  *wave = WaveData{};
}

uint32_t readWaveFile(KFileObj* file, WaveData* wave) {
  uint8_t header[12];
  if (file->Read(header, 12) != 12) return fail(__LINE__, "Failed reading wave form audio header.");
  if (!isTag(header, "RIFF") || !isTag(header + 8, "WAVE")) return fail(__LINE__, "Invalid wave form audio file header.");
  readChunkHeader(file, header);
  if (!isTag(header, "fmt ")) return fail(__LINE__, "Invalid wave format header.");
  uint32_t formatSize = wordAt(header + 4);
  if (formatSize > bytesLeft(file)) return fail(__LINE__, "Failed reading wave format information.");
  wave->formatSize = formatSize;
  if (!(wave->format = allocateFormat(formatSize))) return vkGetLastError();
  if (file->Read(wave->format, formatSize) != formatSize) return fail(__LINE__, "Failed reading wave format information.");
  if (announcedSize(wave->format) > std::max<uint32_t>(formatSize, sizeof(WAVEFORMATEX))) {
    WAVEFORMATEX* larger = allocateFormat(announcedSize(wave->format));
    if (!larger) return vkGetLastError();
    std::memcpy(larger, wave->format, formatSize);
    vkFree(wave->format);
    wave->format = larger;
  }
  readChunkHeader(file, header);
  if (isTag(header, "fact")) {
    file->Seek(static_cast<int32_t>(wordAt(header + 4)), kSeekCurrent);
    readChunkHeader(file, header);
  }
  if (!isTag(header, "data")) return fail(__LINE__, "Invalid wave data header.");
  uint32_t dataSize = wordAt(header + 4);
  if (dataSize > bytesLeft(file)) return fail(__LINE__, "Failed reading wave data.");
  wave->dataSize = dataSize;
  if (!(wave->data = static_cast<uint8_t*>(vkAlloc(dataSize, 0)))) return vkGetLastError();
  if (file->Read(wave->data, dataSize) != dataSize) return fail(__LINE__, "Failed reading wave data.");
  return vkSucceed();
}

uint32_t writeWaveFile(KFileObj* file, const WaveData& wave) {
  uint32_t riffSize = wave.formatSize + wave.dataSize + 20;
  file->Write("RIFF", 4);
  file->Write(&riffSize, 4);
  file->Write("WAVEfmt ", 8);
  file->Write(&wave.formatSize, 4);
  file->Write(wave.format, wave.format ? wave.formatSize : 0);
  file->Write("data", 4);
  file->Write(&wave.dataSize, 4);
  file->Write(wave.data, wave.data ? wave.dataSize : 0);
  return vkSucceed();
}

uint32_t copyWaveData(WaveData* wave, const WAVEFORMATEX* format, const void* data, uint32_t bytes) {
  auto accessViolation = [] { return vkSetError(VK_ERROR_INVALID_ADDRESS, 0, kUnit, __LINE__, "Raised exception : access violation"); };
  if (bytes != 0 && !os::canRead(data, bytes)) return accessViolation();
  if (!(wave->data = static_cast<uint8_t*>(vkAlloc(bytes, 0)))) return vkGetLastError();
  std::memcpy(wave->data, data, bytes);
  wave->dataSize = bytes;
  if (!os::canRead(format, sizeof(WAVEFORMATEX))) return accessViolation();
  uint32_t formatSize = sizeof(WAVEFORMATEX) + (format->wFormatTag == WAVE_FORMAT_PCM ? 0 : format->cbSize);
  if (!os::canRead(format, formatSize)) return accessViolation();
  if (!(wave->format = allocateFormat(formatSize))) return vkGetLastError();
  std::memcpy(wave->format, format, formatSize);
  wave->formatSize = formatSize;
  return vkSucceed();
}

uint32_t FormatSamplesToBytes(const WAVEFORMATEX* format, uint32_t samples) {
  uint32_t bytes = format->nChannels * (format->wBitsPerSample / 8) * samples;
  if (format->wFormatTag == WAVE_FORMAT_PCM) return bytes;
  WAVEFORMATEX pcm{};
  pcm.wFormatTag = WAVE_FORMAT_PCM;
  pcm.nChannels = format->nChannels;
  pcm.nSamplesPerSec = format->nSamplesPerSec;
  pcm.wBitsPerSample = 16;
  pcm.nBlockAlign = static_cast<WORD>(format->nChannels * 2);
  pcm.nAvgBytesPerSec = pcm.nSamplesPerSec * pcm.nBlockAlign;
  pcm.cbSize = format->cbSize;
  // The codec is given the whole record, with the extra bytes behind it that it may read.
  acm::Stream stream;
  if (acm::streamOpen(&stream, format, &pcm) != acm::kOk) return 0;
  uint32_t size = 0;
  acm::streamSize(stream, bytes, &size, acm::kSizeDestination);
  acm::streamClose(stream);
  return size;
}
