// The system's Audio Compression Manager, with the values the engine gives it.
#include "sound/wave/acm.h"

namespace acm {

uint32_t streamOpen(Stream* stream, const WAVEFORMATEX* source, const WAVEFORMATEX* destination) {
  return acmStreamOpen(stream, nullptr, const_cast<WAVEFORMATEX*>(source), const_cast<WAVEFORMATEX*>(destination),
                       nullptr, 0, 0, ACM_STREAMOPENF_NONREALTIME);
}

uint32_t streamClose(Stream stream) { return acmStreamClose(stream, 0); }

uint32_t streamSize(Stream stream, uint32_t bytes, uint32_t* size, uint32_t flags) {
  DWORD answer = 0;
  MMRESULT result = acmStreamSize(stream, bytes, &answer, flags);
  *size = answer;
  return result;
}

uint32_t streamPrepareHeader(Stream stream, StreamHeader* header) { return acmStreamPrepareHeader(stream, header, 0); }

uint32_t streamConvert(Stream stream, StreamHeader* header, uint32_t flags) {
  return acmStreamConvert(stream, header, flags);
}

uint32_t streamUnprepareHeader(Stream stream, StreamHeader* header) {
  return acmStreamUnprepareHeader(stream, header, 0);
}

}  // namespace acm
