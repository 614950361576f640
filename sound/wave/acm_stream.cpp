#include "sound/wave/acm_stream.h"

#include <cstring>

#include "base/error.h"
#include "base/trace.h"

namespace {

constexpr const char* kUnit = "WavSound";

uint32_t fail(int32_t line, const char* text) { return vkSetError(VK_ERROR_SOUND, 0, kUnit, line, text); }

}  // namespace

acm::StreamHeader acmHeaderOver(void* destination, uint32_t destinationBytes, const void* source,
                                uint32_t sourceBytes) {
  acm::StreamHeader header;
  std::memset(&header, 0, sizeof header);
  header.cbStruct = sizeof header;
  header.pbSrc = static_cast<decltype(header.pbSrc)>(const_cast<void*>(source));
  header.cbSrcLength = sourceBytes;
  header.pbDst = static_cast<decltype(header.pbDst)>(destination);
  header.cbDstLength = destinationBytes;
  return header;
}

KACMStream::~KACMStream() {
  if (isOpen_) Close();
}

uint32_t KACMStream::Open(const WAVEFORMATEX* destination, const WAVEFORMATEX* source) {
  if (isOpen_) Close();
  if (acm::streamOpen(&stream_, source, destination) != acm::kOk) {
    TraceMessage("Failed ACM open.\n");
    return fail(__LINE__, "Fialed ACM open");
  }
  isOpen_ = 1;
  return vkSucceed();
}

uint32_t KACMStream::GetDestinationSize(uint32_t sourceBytes) {
  for (uint32_t bytes = sourceBytes; bytes != 0; bytes <<= 1) {
    uint32_t size = 0;
    if (acm::streamSize(stream_, bytes, &size, acm::kSizeSource) != acm::kOk)
      TraceMessage("Fialed getting destination size to convert wave format.\n");
    else if (size != 0)
      return size;
  }
  return 0;
}

uint32_t KACMStream::Convert(void* destination, uint32_t* destinationBytes, const void* source,
                             uint32_t* sourceBytes, uint32_t flags) {
  acm::StreamHeader header = acmHeaderOver(destination, *destinationBytes, source, *sourceBytes);
  *destinationBytes = *sourceBytes = 0;
  if (acm::streamPrepareHeader(stream_, &header) != acm::kOk) {
    TraceMessage("Failed preparing ACM stream header.\n");
    return fail(__LINE__, "Failed preparing ACM stream header");
  }
  if (acm::streamConvert(stream_, &header, flags) != acm::kOk) {
    TraceMessage("Failed conversion wave format.\n");
    return fail(__LINE__, "Failed conversion wave format");
  }
  *sourceBytes = header.cbSrcLengthUsed;
  *destinationBytes = header.cbDstLengthUsed;
  if (acm::streamUnprepareHeader(stream_, &header) != acm::kOk) {
    TraceMessage("Failed un-preparing ACM stream header.\n");
    return fail(__LINE__, "Failed un-preparing ACM stream header");
  }
  return vkSucceed();
}

uint32_t KACMStream::Close() {
  isOpen_ = 0;
  if (acm::streamClose(stream_) != acm::kOk) {
    TraceMessage("Failed ACM close.\n");
    return fail(__LINE__, "Failed ACM close");
  }
  return vkSucceed();
}
