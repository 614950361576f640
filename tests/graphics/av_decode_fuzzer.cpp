// Arbitrary bytes as compressed sound and compressed frames: whatever the header and the coded
// stream claim, decoding fails clearly or stays inside the input and the output buffers.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

void decodeSound(const uint8_t* data, size_t size) {
  SoundHeader header;
  if (mqReadSoundHeader(data, size, &header) != kSoundDone) return;
  // Short sounds only, so that every input runs fast.
  const size_t samples = size_t(header.frameCount % 5000) * header.channels;
  std::vector<int16_t> out(samples);
  const SoundEqualizerBand bands[] = {{100, 3.0f}, {8000, -12.0f}};
  mqDecompressSound(data, size, out.data(), out.size(), bands, 2);
}

void decodeFrames(const uint8_t* data, size_t size, bool vector) {
  FramesHeader header;
  if (mqReadFramesHeader(data, size, &header) != kFramesDone) return;
  if (header.width > 96 || header.height > 96) return;
  const int32_t pitch = int32_t(header.width * 3 + 3) & ~3;
  std::vector<std::vector<uint8_t>> frames(kCubeFrames, std::vector<uint8_t>(size_t(pitch) * header.height));
  uint8_t* pointers[kCubeFrames];
  for (int32_t t = 0; t < kCubeFrames; ++t) pointers[t] = frames[t].data();
  (vector ? mqDecompressFramesSSE2 : mqDecompressFramesPlain)(data, size, pointers, pitch);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t control = data[0];
  if (control & 1) {
    decodeSound(data + 1, size - 1);
  } else {
    decodeFrames(data + 1, size - 1, (control & 2) != 0);
  }
  return 0;
}
