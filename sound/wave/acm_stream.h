// One stream of the Audio Compression Manager that converts a whole wave at once.
#pragma once

#include <cstdint>

#include "sound/wave/acm.h"

class KACMStream {
 public:
  KACMStream() = default;
  ~KACMStream();
  KACMStream(const KACMStream&) = delete;
  KACMStream& operator=(const KACMStream&) = delete;

  // Closes an open stream first.
  uint32_t Open(const WAVEFORMATEX* destination, const WAVEFORMATEX* source);
  // Destination bytes that `sourceBytes` give; 0 for 0. A source too short for the codec is
  // asked about again with twice its length, until that reaches 0.
  uint32_t GetDestinationSize(uint32_t sourceBytes);
  // Both counts come in as the buffers' sizes and go out as the bytes used.
  uint32_t Convert(void* destination, uint32_t* destinationBytes, const void* source, uint32_t* sourceBytes,
                   uint32_t flags);
  uint32_t Close();

 private:
  uint32_t isOpen_ = 0;
  acm::Stream stream_{};
};

// The header of one conversion over the two buffers, as the stream calls want it.
acm::StreamHeader acmHeaderOver(void* destination, uint32_t destinationBytes, const void* source,
                                uint32_t sourceBytes);
