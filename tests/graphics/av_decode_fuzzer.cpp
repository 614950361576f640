// Arbitrary bytes as compressed sound and compressed frames. The head's fields are bent into
// range (so that most inputs reach the coded stream), and the stream is whatever follows:
// decoding fails clearly or stays inside the input and the output buffers.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

// Replaces what follows the head by a well-formed stream of the same bytes taken as signed
// values, with one byte changed by `bend`, so that inputs also reach deep into the decoders.
void makeRealStream(std::vector<uint8_t>& data, size_t headSize, uint8_t bend) {
  std::vector<int32_t> values;
  for (size_t i = headSize; i < data.size(); ++i) values.push_back(int8_t(data[i]) * (i % 7));
  if (values.empty()) return;
  std::vector<uint8_t> stream = mqEncodeSymbols(values.data(), uint32_t(values.size()),
                                                kMQUnit32 | kMQSigned, 15, 4096);
  stream[bend % stream.size()] ^= bend;
  data.resize(headSize);
  data.insert(data.end(), stream.begin(), stream.end());
}

void decodeSound(std::vector<uint8_t> data, bool realStream, uint8_t bend) {
  SoundHeader h;
  if (data.size() < sizeof h) return;
  std::memcpy(&h, data.data(), sizeof h);
  h.version = kSoundVersion;
  h.channels = 1 + h.channels % kSoundMaxChannels;
  h.sampleRate = 1 + h.sampleRate % kSoundMaxRate;
  h.frameCount %= 5000;  // short sounds only, so that every input runs fast
  h.sourceBits = (h.sourceBits & 1) ? 8 : 16;
  h.logFrame = kSoundMinLogFrame + h.logFrame % 6;
  for (int32_t& point : h.curve) point = kSoundMinCurve + int32_t(uint32_t(point) % (24u << 16));
  if (realStream) makeRealStream(data, sizeof h, bend);
  h.streamSize = uint32_t(data.size() - sizeof h);
  std::memcpy(data.data(), &h, sizeof h);
  std::vector<int16_t> out(size_t(h.frameCount) * h.channels);
  const SoundEqualizerBand bands[] = {{100, 3.0f}, {8000, -12.0f}};
  mqDecompressSound(data.data(), data.size(), out.data(), out.size(), bands, 2);
}

void decodeFrames(std::vector<uint8_t> data, bool vector, bool realStream, uint8_t bend) {
  FramesHeader h;
  if (data.size() < sizeof h) return;
  std::memcpy(&h, data.data(), sizeof h);
  h.version = kFramesVersion;
  h.width = 1 + h.width % 80;  // small pictures only, so that every input runs fast
  h.height = 1 + h.height % 80;
  h.blockSize = 3 + h.blockSize % 3;
  if (realStream) makeRealStream(data, sizeof h, bend);
  h.streamSize = uint32_t(data.size() - sizeof h);
  std::memcpy(data.data(), &h, sizeof h);
  const int32_t pitch = int32_t(h.width * 3 + 3) & ~3;
  std::vector<std::vector<uint8_t>> frames(kCubeFrames,
                                           std::vector<uint8_t>(size_t(pitch) * h.height));
  uint8_t* pointers[kCubeFrames];
  for (int32_t t = 0; t < kCubeFrames; ++t) pointers[t] = frames[t].data();
  (vector ? mqDecompressFramesSSE2 : mqDecompressFramesPlain)(data.data(), data.size(), pointers,
                                                              pitch);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const uint8_t control = data[0];
  std::vector<uint8_t> rest(data + 1, data + size);
  const bool realStream = (control & 4) != 0;
  const uint8_t bend = control >> 3;
  if (control & 1) {
    decodeSound(std::move(rest), realStream, bend);
  } else {
    decodeFrames(std::move(rest), (control & 2) != 0, realStream, bend);
  }
  return 0;
}
