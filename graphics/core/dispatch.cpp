// The interface record: its pristine image, the live copy, the choice of variants by processor
// features and flags, the core's start, and the forwarders that call through the live record.
#include "graphics/core/molaq.h"

namespace {

// The slots of the encoders stay empty here: the encoder library fills them when it is linked
// in (mqInstallEncoders), which the tools do and the host does not.
constexpr MOLAQInterface makePristine() {
  MOLAQInterface record{};
  record.coderCount = 12;
  record.mqOpenDecoder = mqOpenDecoder;
  record.mqCloseDecoder = mqCloseDecoder;
  record.mqDecode = mqDecodeFloat;
  record.soundCount = 13;
  record.mqGetSoundFrameSize = mqGetSoundFrameSize;
  record.mqMakeSoundCurve = mqMakeSoundCurve;
  record.mqMakeInverseSoundCurve = mqMakeInverseSoundCurve;
  record.mqApplySoundEqualizer = mqApplySoundEqualizer;
  record.mqMakeWaveFormat = mqMakeWaveFormat;
  record.mqBiasSamples = mqBiasSamples;
  record.mqTransformSoundFrame = mqTransformSoundFrame;
  record.mqForwardDCT = mqForwardDCT;
  record.mqInverseSoundFrame = mqInverseSoundFrame;
  record.mqInverseDCT = mqInverseDCT;
  record.mqDecompressSound = mqDecompressSound;
  record.imageCount = 15;
  record.mqMakeBitmapHeader = mqMakeBitmapHeader;
  record.mqFitQuantCurve = mqFitQuantCurve;
  record.mqMakeQuantTable = mqMakeQuantTable;
  record.mqForwardBlock = mqForwardBlock;
  record.mqLoadMacroblock = mqLoadMacroblock;
  record.mqRGBToYCC = mqRGBToYCC;
  record.plainInverseBlock = mqInverseBlockPlain;
  record.mqInverseBlock = mqInverseBlockPlain;
  record.mqDecompressImage = mqDecompressImagePlain;
  record.mqYCCToIndexed = mqYCCToIndexedPlain;
  record.mqYCCToRGB = mqYCCToRGBPlain;
  record.mqMakeFixedPalette = mqMakeFixedPalette;
  record.mqConvertTo8Bit = mqConvertTo8BitPlain;
  record.movieCount = 5;
  record.mqForwardCube = mqForwardCube;
  record.mqInverseCube = mqInverseCubePlain;
  record.mqDecompressFrames = mqDecompressFramesPlain;
  record.drawingCount = 6;
  record.mqMakeToneTable = mqMakeToneTable;
  record.mqApplyTone = mqApplyTone;
  record.mqClipRectangles = mqClipRectangles;
  record.mqNearestColor = mqNearestColor;
  record.mqDrawImage = mqDrawImagePlain;
  record.mqFillRectangle = mqFillRectangle;
  record.end = 0;
  return record;
}

constinit MOLAQInterface pristineRecord = makePristine();

constinit MOLAQInterface liveRecord = makePristine();

// The two decoders of the entropy coder: the floating-point one in service and the integer
// one that the selection below never reaches.
constexpr auto kDecodeFloatingPoint = &mqDecodeFloat;
constexpr auto kDecodeInteger = &mqDecodeInteger;

template <typename Fn>
void choose(Fn& slot, bool vector, Fn plain, Fn simd) {
  slot = vector ? simd : plain;
}

// The same for kernels with an AVX2 member, which serves where the processor has AVX2.
template <typename Fn>
void choose(Fn& slot, bool vector, bool wide, Fn plain, Fn simd, Fn avx2) {
  slot = !vector ? plain : wide ? avx2 : simd;
}

// Starts the core before main, so that the record is usable from static initialisers on.
const uint32_t coreStarted = mqStartCore(kMOLAQVersion);

}  // namespace

const MOLAQInterface& mqPristineInterface() { return pristineRecord; }

void mqInstallEncoders(void (*fill)(MOLAQInterface* record)) {
  fill(&pristineRecord);
  fill(&liveRecord);
}

MOLAQInterface* mqGetInterface() { return &liveRecord; }

uint32_t mqSelectInterface(MOLAQInterface* record, uint32_t flags, uint32_t reserved) {
  if (reserved != 0) return 1;
  *record = pristineRecord;
  uint32_t features = flags;
  if (mqProcessorHasVectorUnit()) features |= kMOLAQForceVector;
  // What the high word adds and the low word does not take away, in 16 bits.
  uint16_t active = static_cast<uint16_t>((features >> 16) & ~(features & 0xffff));
  // The integer decoder is asked for by a bit that a 16-bit word cannot hold: this test never
  // succeeds, so the floating-point decoder serves whatever the flags say.
  record->mqDecode = (active & kMOLAQIntegerDecode) ? kDecodeInteger : kDecodeFloatingPoint;
  bool vector = (active & kMOLAQNoVector) != 0;
  // Forcing the vector variants never forces AVX2: only the processor can give it.
  bool wide = vector && mqProcessorHasAVX2();
  choose(record->mqYCCToIndexed, vector, mqYCCToIndexedPlain, mqYCCToIndexedSSE2);
  choose(record->mqYCCToRGB, vector, wide, mqYCCToRGBPlain, mqYCCToRGBSSE2, mqYCCToRGBAVX2);
  choose(record->mqConvertTo8Bit, vector, mqConvertTo8BitPlain, mqConvertTo8BitSSE2);
  choose(record->mqDrawImage, vector, wide, mqDrawImagePlain, mqDrawImageSSE2, mqDrawImageAVX2);
  choose(record->mqInverseBlock, vector, wide, mqInverseBlockPlain, mqInverseBlockSSE2, mqInverseBlockAVX2);
  choose(record->mqDecompressImage, vector, wide, mqDecompressImagePlain, mqDecompressImageSSE2,
         mqDecompressImageAVX2);
  choose(record->mqInverseCube, vector, mqInverseCubePlain, mqInverseCubeSSE2);
  choose(record->mqDecompressFrames, vector, mqDecompressFramesPlain, mqDecompressFramesSSE2);
  return 0;
}

uint32_t mqStartCore(uint32_t version) {
  if (version > kMOLAQVersion) return 1;
  mqTables();
  return mqSelectInterface(&liveRecord, 0, 0);
}

void mqYCCToIndexed(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                    uint32_t count) {
  liveRecord.mqYCCToIndexed(dst, y, cb, cr, count);
}

void mqYCCToRGB(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                uint32_t count) {
  liveRecord.mqYCCToRGB(dst, y, cb, cr, count);
}

void mqConvertTo8Bit(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                     int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                     bool grey) {
  liveRecord.mqConvertTo8Bit(dst, dstPitch, src, srcPitch, width, height, bits, palette, grey);
}

uint32_t mqDrawImage(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                     int32_t x, int32_t y, const BITMAPINFO* srcInfo, const uint8_t* srcPixels,
                     const ImageInfo* alpha, const RECT* rect, uint32_t t, uint32_t z) {
  return liveRecord.mqDrawImage(dstInfo, dstPixels, zBuffer, x, y, srcInfo, srcPixels, alpha,
                                rect, t, z);
}

uint32_t mqDecode(MQDecoder* decoder, void* state, void* dst, uint32_t count) {
  return liveRecord.mqDecode(decoder, state, dst, count);
}

void mqInverseBlock(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize, int32_t sx,
                    int32_t sy, double* work) {
  liveRecord.mqInverseBlock(dst, src, q, blockSize, sx, sy, work);
}

uint32_t mqDecompressImage(const ImageHeader* header, uint8_t* dst, int32_t bits, int32_t pitch,
                           const void* data, int32_t scale, bool grey, uint32_t tableLimit,
                           void* tableMemory, size_t dataSize) {
  return liveRecord.mqDecompressImage(header, dst, bits, pitch, data, scale, grey, tableLimit,
                                      tableMemory, dataSize);
}

void mqInverseCube(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                   int32_t blockSize, int32_t scale) {
  liveRecord.mqInverseCube(dst, src, q, qt, blockSize, scale);
}

uint32_t mqDecompressFrames(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                            int32_t pitch) {
  return liveRecord.mqDecompressFrames(data, size, frames, pitch);
}
