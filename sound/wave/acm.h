// The platform seam of compressed wave data: the stream calls of the Audio Compression Manager.
// The product calls the system's (acm_win32.cpp); the native build has block decoders of the
// ADPCM formats behind the same calls (acm_native.cpp). Results are the system's MMRESULT codes.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

#ifdef _WIN32
#include <mmreg.h>
#include <msacm.h>
#endif

namespace acm {

#ifdef _WIN32
using Stream = HACMSTREAM;
using StreamHeader = ACMSTREAMHEADER;
#else
struct NativeStream;
using Stream = NativeStream*;
struct StreamHeader {
  uint32_t cbStruct;
  uint32_t fdwStatus;
  uintptr_t dwUser;
  uint8_t* pbSrc;
  uint32_t cbSrcLength;
  uint32_t cbSrcLengthUsed;
  uintptr_t dwSrcUser;
  uint8_t* pbDst;
  uint32_t cbDstLength;
  uint32_t cbDstLengthUsed;
  uintptr_t dwDstUser;
  uint32_t dwReservedDriver[10];
};
#endif

enum : uint32_t {
  kSizeSource = 0,       // ACM_STREAMSIZEF_SOURCE: how many destination bytes these source bytes give
  kSizeDestination = 1,  // ACM_STREAMSIZEF_DESTINATION: how many source bytes these destination bytes need
  kConvertBlockAlign = 4,
  kConvertStart = 0x10,
  kConvertEnd = 0x20,
};
enum : uint32_t { kOk = 0, kNotSupported = 8, kInvalidParameter = 11, kNotPossible = 512 };

// A non-real-time stream from `source` to `destination`.
uint32_t streamOpen(Stream* stream, const WAVEFORMATEX* source, const WAVEFORMATEX* destination);
uint32_t streamClose(Stream stream);
uint32_t streamSize(Stream stream, uint32_t bytes, uint32_t* size, uint32_t flags);
uint32_t streamPrepareHeader(Stream stream, StreamHeader* header);
uint32_t streamConvert(Stream stream, StreamHeader* header, uint32_t flags);
uint32_t streamUnprepareHeader(Stream stream, StreamHeader* header);

}  // namespace acm
