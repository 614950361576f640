// Arbitrary bytes as coded streams and pictures: whatever the dictionary, the frequencies and the
// header claim, decoding stays inside the stream and the output buffer.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "graphics/core/molaq.h"

namespace {

uint32_t word(const uint8_t* data) {
  uint32_t value;
  std::memcpy(&value, data, 4);
  return value;
}

void decodeStream(const uint8_t* data, size_t size, uint32_t control) {
  uint32_t mode = 3 + control % 3 + ((control & 4) ? 0x80 : 0);
  uint32_t limit = (control & 8) ? kMQNoTableLimit : (control >> 4) & 0xFFFF;
  MQDecoderState state;
  MQDecoder* decoder = mqOpenDecoder(&state, sizeof(state), data, mode, limit, nullptr, size);
  if (decoder == nullptr) return;
  std::vector<uint32_t> out(4096);
  bool integer = (control & 0x100000) != 0;
  for (uint32_t piece : {1u, 100u, 4096u, 777u}) {
    (integer ? mqDecodeInteger : mqDecode)(decoder, &state, out.data(), piece);
  }
  mqCloseDecoder(decoder);
}

void decodePicture(const uint8_t* data, size_t size, uint32_t control) {
  ImageHeader header;
  std::memcpy(&header, data, sizeof header);
  // Small pictures only, so that every input runs fast; the scale, the depth and the variant
  // come from the input.
  header.width = header.width % 80 + 1;
  header.height = header.height % 80 + 1;
  int32_t scale = int32_t(control % 4);
  int32_t bits = (control & 4) ? 8 : 24;
  bool grey = (control & 8) != 0;
  int32_t pitch = int32_t(((header.width << scale) * bits + 31) / 32 * 4);
  std::vector<uint8_t> out(size_t(pitch) * (header.height << scale));
  // The variants, the AVX2 one where the processor has it, and the two-thread decoder.
  decltype(&mqDecompressImagePlain) variants[4] = {mqDecompressImagePlain, mqDecompressImageSSE2,
                                                   mqProcessorHasAVX2() ? mqDecompressImageAVX2 : mqDecompressImageSSE2,
                                                   mqDecompressImageTwoThreads};
  auto decompress = variants[(control >> 4) & 3];
  decompress(&header, out.data(), bits, pitch, data + sizeof header, scale, grey, kMQTableLimit,
             nullptr, size - sizeof header);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 4) return 0;
  uint32_t control = word(data);
  data += 4;
  size -= 4;
  if ((control & 0x80000000u) && size >= sizeof(ImageHeader)) {
    decodePicture(data, size, control);
  } else {
    decodeStream(data, size, control);
  }
  return 0;
}
