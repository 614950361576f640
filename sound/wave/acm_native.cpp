// The stream calls of the Audio Compression Manager over the engine's own ADPCM block
// decoders, for platforms without the system's codecs. A stream decodes one ADPCM format to
// PCM of 8 or 16 bits with the same channels and rate, whole blocks at a time, as the system's
// codecs do; the sizes follow from the blocks.
#include <algorithm>
#include <new>
#include <vector>

#include "sound/wave/acm.h"
#include "sound/wave/adpcm.h"

namespace acm {

struct NativeStream {
  AdpcmLayout layout;
  uint32_t outputBits;
  uint32_t outputBlockBytes() const { return layout.samplesPerBlock * layout.channels * (outputBits / 8); }
};

namespace {

constexpr uint32_t kPrepared = 0x20000;  // ACMSTREAMHEADER_STATUSF_PREPARED
constexpr uint32_t kDone = 0x10000;      // ACMSTREAMHEADER_STATUSF_DONE

bool headerValid(const StreamHeader* header) { return header && header->cbStruct >= sizeof(StreamHeader); }

}  // namespace

uint32_t streamOpen(Stream* stream, const WAVEFORMATEX* source, const WAVEFORMATEX* destination) {
  if (!stream || !source || !destination) return kInvalidParameter;
  *stream = nullptr;
  AdpcmLayout layout;
  if (!adpcmLayoutOf(source, &layout)) return kNotPossible;
  uint32_t bits = destination->wBitsPerSample;
  if (destination->wFormatTag != WAVE_FORMAT_PCM || destination->nChannels != source->nChannels ||
      destination->nSamplesPerSec != source->nSamplesPerSec || (bits != 8 && bits != 16) ||
      destination->nBlockAlign != destination->nChannels * bits / 8)
    return kNotPossible;
  *stream = new (std::nothrow) NativeStream{layout, bits};
  return *stream ? kOk : kNotPossible;
}

uint32_t streamClose(Stream stream) {
  if (!stream) return kInvalidParameter;
  delete stream;
  return kOk;
}

uint32_t streamSize(Stream stream, uint32_t bytes, uint32_t* size, uint32_t flags) {
  if (!stream || !size) return kInvalidParameter;
  *size = 0;
  uint64_t blockBytes = stream->layout.blockAlign, outputBytes = stream->outputBlockBytes();
  uint64_t answer;
  if (flags == kSizeSource) {
    answer = bytes / blockBytes * outputBytes;
  } else if (flags == kSizeDestination) {
    answer = (bytes + outputBytes - 1) / outputBytes * blockBytes;
  } else {
    return kInvalidParameter;
  }
  if (answer == 0 || answer > 0xFFFFFFFF) return kNotPossible;
  *size = static_cast<uint32_t>(answer);
  return kOk;
}

uint32_t streamPrepareHeader(Stream stream, StreamHeader* header) {
  if (!stream || !headerValid(header)) return kInvalidParameter;
  header->fdwStatus |= kPrepared;
  return kOk;
}

uint32_t streamConvert(Stream stream, StreamHeader* header, uint32_t flags) {
  if (!stream || !headerValid(header) || !(header->fdwStatus & kPrepared)) return kInvalidParameter;
  const AdpcmLayout& layout = stream->layout;
  uint32_t outputBytes = stream->outputBlockBytes();
  uint32_t blocks = std::min(header->cbSrcLength / layout.blockAlign, header->cbDstLength / outputBytes);
  std::vector<int16_t> frames(size_t{layout.samplesPerBlock} * layout.channels);
  header->cbSrcLengthUsed = header->cbDstLengthUsed = 0;
  for (uint32_t b = 0; b < blocks; ++b) {
    if (!decodeAdpcmBlock(layout, header->pbSrc + size_t{b} * layout.blockAlign, frames.data())) break;
    uint8_t* out = header->pbDst + size_t{b} * outputBytes;
    for (size_t i = 0; i < frames.size(); ++i) {
      if (stream->outputBits == 8) {
        out[i] = static_cast<uint8_t>((frames[i] >> 8) + 0x80);
      } else {
        out[2 * i] = static_cast<uint8_t>(frames[i]);
        out[2 * i + 1] = static_cast<uint8_t>(frames[i] >> 8);
      }
    }
    header->cbSrcLengthUsed += layout.blockAlign;
    header->cbDstLengthUsed += outputBytes;
  }
  header->fdwStatus |= kDone;
  return kOk;
}

uint32_t streamUnprepareHeader(Stream stream, StreamHeader* header) {
  if (!stream || !headerValid(header) || !(header->fdwStatus & kPrepared)) return kInvalidParameter;
  header->fdwStatus &= ~kPrepared;
  return kOk;
}

}  // namespace acm
