// The sound compressor.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "graphics/core/coded_record.h"
#include "graphics/core/phrase_coder.h"
#include "graphics/core/sound_coder.h"

namespace {

constexpr uint32_t kShortRun = 15;
constexpr uint32_t kPhraseLimit = 4096;

}  // namespace

uint8_t* mqCompressSound(const SoundHeader* header, const void* samples, uint32_t peakBits,
                         uint32_t* byteCount) {
  if (!mqSoundHeaderInRange(*header) || peakBits > 24) return nullptr;
  const int32_t logFrame = static_cast<int32_t>(header->logFrame), n = 1 << logFrame;
  const uint32_t channels = header->channels;
  std::vector<double> inverseSteps(n);
  mqMakeInverseSoundCurve(inverseSteps.data(), logFrame, header->curve);
  SoundFrameMemory memory(logFrame);
  SoundFrame* frame = memory.frame;

  std::vector<int16_t> block(static_cast<size_t>(n) * channels);
  std::vector<int32_t> biased(block.size());
  std::vector<int32_t> symbols;
  const uint32_t blocks = header->frameCount / n + (header->frameCount % n != 0);
  symbols.reserve(static_cast<size_t>(blocks) * channels * (n + 1));
  for (uint32_t b = 0; b < blocks; ++b) {
    const uint32_t count = std::min<uint32_t>(n, header->frameCount - b * n);
    const size_t first = static_cast<size_t>(b) * n * channels,
                 values = static_cast<size_t>(count) * channels;
    if (header->sourceBits == 16) {
      std::memcpy(block.data(), static_cast<const int16_t*>(samples) + first, values * 2);
    } else {
      mqBiasSamples(biased.data(), static_cast<const uint8_t*>(samples) + first,
                    static_cast<uint32_t>(values));
      for (size_t i = 0; i < values; ++i) block[i] = static_cast<int16_t>(biased[i] * 256);
    }
    for (uint32_t channel = 0; channel < channels; ++channel) {
      mqTransformSoundFrame(frame, block.data() + channel, static_cast<int32_t>(channels), count,
                            inverseSteps.data(), peakBits);
      symbols.push_back(frame->shift);
      symbols.insert(symbols.end(), frame->coefficients(), frame->coefficients() + n);
    }
  }
  std::vector<uint8_t> stream;
  if (!symbols.empty()) {
    stream = mqEncodeSymbols(symbols.data(), static_cast<uint32_t>(symbols.size()),
                             kMQUnit32 | kMQSigned, kShortRun, kPhraseLimit);
  }
  return mqPackCodedRecord(*header, kSoundVersion, stream, byteCount);
}

void mqFreeCompressed(uint8_t* data) { std::free(data); }
