#include <gtest/gtest.h>

#include <cstring>

#include "graphics/core/molaq.h"
#include "host/exports/drawing_core.h"

namespace {

class DispatchTest : public ::testing::Test {
 protected:
  void TearDown() override { MOLAQ_SetDefInterface(0); }
  static const MOLAQInterface& live() { return *mqGetInterface(); }
  static bool usesVector(const MOLAQInterface& r) {
    bool vector = r.mqYCCToRGB != mqYCCToRGBPlain;
    EXPECT_EQ(r.mqYCCToIndexed == mqYCCToIndexedSSE2, vector) << "the variants are chosen together";
    EXPECT_EQ(r.mqConvertTo8Bit == mqConvertTo8BitSSE2, vector);
    EXPECT_EQ(r.mqDrawImage == mqDrawImagePlain, !vector);
    // Where the processor has AVX2, its members stand in for the SSE2 ones, forced or not.
    const bool wide = mqProcessorHasAVX2();
    EXPECT_EQ(r.mqDrawImage == (wide ? mqDrawImageAVX2 : mqDrawImageSSE2), vector);
    EXPECT_EQ(r.mqYCCToRGB == (wide ? mqYCCToRGBAVX2 : mqYCCToRGBSSE2), vector);
    EXPECT_EQ(r.mqInverseBlock == (wide ? mqInverseBlockAVX2 : mqInverseBlockSSE2), vector);
    EXPECT_EQ(r.mqInverseBlock == mqInverseBlockPlain, !vector);
    EXPECT_EQ(r.mqDecompressImage == (wide ? mqDecompressImageAVX2 : mqDecompressImageSSE2), vector);
    EXPECT_EQ(r.mqDecompressImage == mqDecompressImagePlain, !vector);
    EXPECT_EQ(r.plainInverseBlock, &mqInverseBlockPlain) << "the unused slot keeps the plain transform";
    EXPECT_EQ(r.mqInverseCube == mqInverseCubeSSE2, vector);
    EXPECT_EQ(r.mqDecompressFrames == mqDecompressFramesSSE2, vector);
    EXPECT_EQ(r.mqDecompressFrames == mqDecompressFramesPlain, !vector);
    EXPECT_EQ(r.mqFillRectangle, &mqFillRectangle) << "the fill has one version";
    return vector;
  }
};

TEST_F(DispatchTest, RecordHasFiveCountedGroupsAndAFinalZero) {
  const MOLAQInterface& r = live();
  EXPECT_EQ(r.coderCount, 12u);
  EXPECT_EQ(r.soundCount, 13u);
  EXPECT_EQ(r.imageCount, 15u);
  EXPECT_EQ(r.movieCount, 5u);
  EXPECT_EQ(r.drawingCount, 6u);
  EXPECT_EQ(r.end, 0u);
  // Each count stands right before its group's slots.
  const uintptr_t* words = reinterpret_cast<const uintptr_t*>(&r);
  EXPECT_EQ(words[0], 12u);
  EXPECT_EQ(words[13], 13u);
  EXPECT_EQ(words[27], 15u);
  EXPECT_EQ(words[43], 5u);
  EXPECT_EQ(words[49], 6u);
  EXPECT_EQ(words[56], 0u);
  EXPECT_EQ(r.mqMakeToneTable, &mqMakeToneTable);
  EXPECT_EQ(r.mqApplyTone, &mqApplyTone);
  EXPECT_EQ(r.mqClipRectangles, &mqClipRectangles);
  EXPECT_EQ(r.mqNearestColor, &mqNearestColor);
  EXPECT_EQ(r.mqMakeFixedPalette, &mqMakeFixedPalette);
}

TEST_F(DispatchTest, TheCodecIsInTheRecordAndTheFloatingPointDecoderServes) {
  const MOLAQInterface& r = live();
  EXPECT_EQ(r.mqDecode, &mqDecodeFloat);
  EXPECT_EQ(r.mqOpenDecoder, &mqOpenDecoder);
  EXPECT_EQ(r.mqEncodeStream, &mqEncodeStream);
  EXPECT_EQ(r.mqCompressImage, &mqCompressImage);
}

TEST_F(DispatchTest, TheSoundAndMovieCodersFillTheirGroups) {
  const MOLAQInterface& r = live();
  EXPECT_EQ(r.mqGetSoundFrameSize, &mqGetSoundFrameSize);
  EXPECT_EQ(r.mqForwardDCT, &mqForwardDCT);
  EXPECT_EQ(r.mqInverseDCT, &mqInverseDCT);
  EXPECT_EQ(r.mqCompressSound, &mqCompressSound);
  EXPECT_EQ(r.mqDecompressSound, &mqDecompressSound);
  EXPECT_EQ(r.mqForwardCube, &mqForwardCube);
  EXPECT_EQ(r.mqCompressFrames, &mqCompressFrames);
  EXPECT_EQ(r.mqFreeFrames, &mqFreeFrames);
  // No slot of the two groups is left empty.
  const uintptr_t* words = reinterpret_cast<const uintptr_t*>(&r);
  for (int i = 14; i < 27; ++i) EXPECT_NE(words[i], 0u) << "sound slot " << i - 13;
  for (int i = 44; i < 49; ++i) EXPECT_NE(words[i], 0u) << "movie slot " << i - 43;
}

TEST_F(DispatchTest, FlagsForceOrForbidTheVectorVariants) {
  EXPECT_EQ(MOLAQ_SetDefInterface(kMOLAQForceVector), 0u);
  EXPECT_TRUE(usesVector(live())) << "0x20000 gives the vector variants everywhere";
  EXPECT_EQ(MOLAQ_SetDefInterface(kMOLAQForceVector | kMOLAQNoVector), 0u);
  EXPECT_FALSE(usesVector(live())) << "0x2 wins over everything";
  MOLAQ_SetDefInterface(kMOLAQNoVector);
  EXPECT_FALSE(usesVector(live()));
  MOLAQ_SetDefInterface(0);
  EXPECT_EQ(usesVector(live()), mqProcessorHasVectorUnit()) << "without flags the processor decides";
}

TEST_F(DispatchTest, TheIntegerDecoderBitChangesNothing) {
  MOLAQInterface withoutFlag, withFlag;
  ASSERT_EQ(mqSelectInterface(&withoutFlag, 0, 0), 0u);
  ASSERT_EQ(mqSelectInterface(&withFlag, kMOLAQIntegerDecode, 0), 0u);
  EXPECT_EQ(std::memcmp(&withoutFlag, &withFlag, sizeof withFlag), 0);
  ASSERT_EQ(mqSelectInterface(&withFlag, kMOLAQIntegerDecode | kMOLAQForceVector, 0), 0u);
  EXPECT_TRUE(usesVector(withFlag));
}

TEST_F(DispatchTest, SelectionRebuildsFromThePristineImage) {
  MOLAQInterface record;
  std::memset(&record, 0xCC, sizeof record);
  ASSERT_EQ(mqSelectInterface(&record, kMOLAQNoVector, 0), 0u);
  EXPECT_EQ(std::memcmp(&record, &mqPristineInterface(), sizeof record), 0)
      << "with the vector variants forbidden the record is the pristine image";
  MOLAQInterface untouched = record;
  EXPECT_EQ(mqSelectInterface(&record, kMOLAQForceVector, 1), 1u) << "reserved must be 0";
  EXPECT_EQ(std::memcmp(&record, &untouched, sizeof record), 0);
}

TEST_F(DispatchTest, CoreStartsOnlyForItsOwnVersionOrOlder) {
  EXPECT_EQ(mqStartCore(kMOLAQVersion + 1), 1u);
  EXPECT_EQ(mqStartCore(kMOLAQVersion), 0u);
  EXPECT_EQ(mqStartCore(0x10000), 0u);
}

TEST_F(DispatchTest, ForwardersCallTheSelectedVariant) {
  // The vector conversion of a constant plane dithers with its own generators: the seed's
  // high words move only when it runs.
  int32_t y[16] = {}, cb[16] = {}, cr[16] = {};
  uint8_t out[16];
  mqStoreDitherSeed(kDitherSeedStart);
  MOLAQ_SetDefInterface(kMOLAQForceVector);
  mqYCCToIndexed(out, y, cb, cr, 16);
  EXPECT_NE(mqLoadDitherSeed() >> 32, kDitherSeedStart >> 32);
  mqStoreDitherSeed(kDitherSeedStart);
  MOLAQ_SetDefInterface(kMOLAQNoVector);
  mqYCCToIndexed(out, y, cb, cr, 16);
  EXPECT_EQ(mqLoadDitherSeed() >> 32, kDitherSeedStart >> 32);
}

// Stand-ins for the slots of the live record, counting the calls that reach them.
int slotCalls = 0;
uint32_t countingDecode(MQDecoder*, void*, void*, uint32_t count) {
  ++slotCalls;
  return count + 1;
}
void countingInverseBlock(int32_t* dst, int32_t*, const uint32_t*, int32_t blockSize, int32_t, int32_t, double*) {
  ++slotCalls;
  dst[0] = blockSize;
}
uint32_t countingDecompress(const ImageHeader*, uint8_t*, int32_t bits, int32_t, const void*, int32_t,
                            bool, uint32_t, void*, size_t) {
  ++slotCalls;
  return uint32_t(bits);
}

TEST_F(DispatchTest, TheCodecForwardersCallThroughTheLiveRecord) {
  MOLAQInterface* record = mqGetInterface();
  record->mqDecode = countingDecode;
  record->mqInverseBlock = countingInverseBlock;
  record->mqDecompressImage = countingDecompress;
  slotCalls = 0;
  MQDecoderState state{};
  EXPECT_EQ(mqDecode(nullptr, &state, nullptr, 41), 42u);
  int32_t block[64] = {};
  mqInverseBlock(block, block, nullptr, 5, 0, 0, nullptr);
  EXPECT_EQ(block[0], 5);
  ImageHeader header{};
  EXPECT_EQ(mqDecompressImage(&header, nullptr, 24, 0, nullptr, 0, false, 0, nullptr, 0), 24u);
  EXPECT_EQ(slotCalls, 3);
}

}  // namespace
