// The drawing core: flat kernels on bare memory, the tables they share, and the interface record
// through which callers reach the kernels that exist in a plain and a vector variant.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "graphics/core/dct.h"
#include "graphics/core/frame_coder.h"
#include "graphics/core/image_codec.h"
#include "graphics/core/phrase_coder.h"
#include "graphics/core/sound_coder.h"

// A plane of pixels as the drawing subsystem passes it around: images, alpha planes, z-buffers.
struct ImageInfo {
  uint32_t size;  // always 32 on the module's side
  uint8_t* pixels;  // first byte of the bottom row
  int32_t width;
  int32_t height;
  uint32_t bits;
  int32_t pitch;
  uint32_t imageSize;
  uint32_t reserved;
};

constexpr uint32_t kMOLAQVersion = 0x10100;

// ---- Kernel signatures of the slots that have them today -------------------------------------
using YCCToIndexedFn = void (*)(uint8_t* dst, const int32_t* y, const int32_t* cb,
                                const int32_t* cr, uint32_t count);
using YCCToRGBFn = void (*)(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                            uint32_t count);
using MakeFixedPaletteFn = void (*)(RGBQUAD* table, bool grey);
using ConvertTo8BitFn = void (*)(uint8_t* dst, int32_t dstPitch, const uint8_t* src,
                                 int32_t srcPitch, int32_t width, int32_t height, int32_t bits,
                                 const RGBQUAD* palette, bool grey);
using MakeToneTableFn = void (*)(uint8_t* table, int32_t tone);
using ApplyToneFn = uint32_t (*)(const BITMAPINFOHEADER* info, uint8_t* dst, const uint8_t* src,
                                 int32_t red, int32_t green, int32_t blue);
using ClipRectanglesFn = int32_t (*)(RECT* dst, int32_t dstWidth, int32_t dstHeight, int32_t x,
                                     int32_t y, RECT* src, int32_t srcWidth, int32_t srcHeight);
using NearestColorFn = uint32_t (*)(const BITMAPINFO* info, uint32_t colour);
using DrawImageFn = uint32_t (*)(const BITMAPINFO* dstInfo, uint8_t* dstPixels,
                                 const ImageInfo* zBuffer, int32_t x, int32_t y,
                                 const BITMAPINFO* srcInfo, const uint8_t* srcPixels,
                                 const ImageInfo* alpha, const RECT* rect, uint32_t t, uint32_t z);
using FillRectangleFn = uint32_t (*)(const BITMAPINFO* info, uint8_t* pixels,
                                     const ImageInfo* zBuffer, RECT* rect, uint32_t colour,
                                     uint32_t t, uint32_t z);

// The interface record: five groups, each a count followed by that many slots, and a final 0.
// Every member is one machine word (32 bits in the product).
struct MOLAQInterface {
  uintptr_t coderCount;  // 12: entropy coder
  decltype(&::mqAnalyzePhrases) mqAnalyzePhrases;
  decltype(&::mqOptimizePhrases) mqOptimizePhrases;
  decltype(&::mqLimitPhrases) mqLimitPhrases;
  decltype(&::mqFreePhraseTable) mqFreePhraseTable;
  decltype(&::mqInitEncoder) mqInitEncoder;
  decltype(&::mqPutBits) mqPutBits;
  decltype(&::mqPutSymbol) mqPutSymbol;
  decltype(&::mqFlushEncoder) mqFlushEncoder;
  decltype(&::mqEncodeStream) mqEncodeStream;
  decltype(&::mqOpenDecoder) mqOpenDecoder;
  decltype(&::mqCloseDecoder) mqCloseDecoder;
  decltype(&::mqDecode) mqDecode;

  uintptr_t soundCount;  // 13: sound transform coder
  decltype(&::mqGetSoundFrameSize) mqGetSoundFrameSize;
  decltype(&::mqMakeSoundCurve) mqMakeSoundCurve;
  decltype(&::mqMakeInverseSoundCurve) mqMakeInverseSoundCurve;
  decltype(&::mqApplySoundEqualizer) mqApplySoundEqualizer;
  decltype(&::mqMakeWaveFormat) mqMakeWaveFormat;
  decltype(&::mqBiasSamples) mqBiasSamples;
  decltype(&::mqTransformSoundFrame) mqTransformSoundFrame;
  decltype(&::mqForwardDCT) mqForwardDCT;
  decltype(&::mqInverseSoundFrame) mqInverseSoundFrame;
  decltype(&::mqInverseDCT) mqInverseDCT;
  decltype(&::mqCompressSound) mqCompressSound;
  decltype(&::mqFreeCompressed) mqFreeCompressed;
  decltype(&::mqDecompressSound) mqDecompressSound;

  uintptr_t imageCount;  // 15: image transform coder and colour conversion
  decltype(&::mqMakeBitmapHeader) mqMakeBitmapHeader;
  decltype(&::mqFitQuantCurve) mqFitQuantCurve;
  decltype(&::mqMakeQuantTable) mqMakeQuantTable;
  decltype(&::mqForwardBlock) mqForwardBlock;
  decltype(&::mqLoadMacroblock) mqLoadMacroblock;
  decltype(&::mqRGBToYCC) mqRGBToYCC;
  YCCToIndexedFn mqYCCToIndexed;
  decltype(&::mqInverseBlock) plainInverseBlock;  // always the plain inverse block transform, unused
  decltype(&::mqInverseBlock) mqInverseBlock;
  YCCToRGBFn mqYCCToRGB;
  decltype(&::mqCompressImage) mqCompressImage;
  decltype(&::mqFreeImage) mqFreeImage;
  decltype(&::mqDecompressImage) mqDecompressImage;
  MakeFixedPaletteFn mqMakeFixedPalette;
  ConvertTo8BitFn mqConvertTo8Bit;

  uintptr_t movieCount;  // 5: moving-picture transform coder
  decltype(&::mqForwardCube) mqForwardCube;
  decltype(&::mqInverseCubePlain) mqInverseCube;
  decltype(&::mqCompressFrames) mqCompressFrames;
  decltype(&::mqFreeFrames) mqFreeFrames;
  decltype(&::mqDecompressFramesPlain) mqDecompressFrames;

  uintptr_t drawingCount;  // 6: bitmap drawing and tone
  MakeToneTableFn mqMakeToneTable;
  ApplyToneFn mqApplyTone;
  ClipRectanglesFn mqClipRectangles;
  NearestColorFn mqNearestColor;
  DrawImageFn mqDrawImage;
  FillRectangleFn mqFillRectangle;

  uintptr_t end;  // 0
};
static_assert(sizeof(MOLAQInterface) == 57 * sizeof(void*));

// ---- Dispatch ----------------------------------------------------------------------------------
// Feature bits of mqSelectInterface's flags: the high word adds, the low word takes away.
enum : uint32_t {
  kMOLAQForceVector = 0x20000,  // treat the processor as able to run the vector variants
  kMOLAQIntegerDecode = 0x10000,  // asks for the integer decoder; see mqSelectInterface
  kMOLAQNoVector = 0x2,  // never use the vector variants
};

// Fills `record` from the pristine image and sets the two-version slots by the processor's
// features and `flags`. `reserved` must be 0; otherwise 1 and nothing changes.
uint32_t mqSelectInterface(MOLAQInterface* record, uint32_t flags, uint32_t reserved);
// Builds the tables and selects the variants; a version above kMOLAQVersion gives 1. A static
// initialiser calls it before main.
uint32_t mqStartCore(uint32_t version);
// The live record, which the forwarders call through.
MOLAQInterface* mqGetInterface();
// The pristine image: every slot with its plain variant.
const MOLAQInterface& mqPristineInterface();
// Lets `fill` set the encoders' slots of the pristine image and the live record. The encoder
// library calls it before main when it is linked in; without it those slots are null.
void mqInstallEncoders(void (*fill)(MOLAQInterface* record));
// Whether the processor runs the vector variants (SSE2).
bool mqProcessorHasVectorUnit();
// Whether it also runs their AVX2 members (AVX2 and FMA, with the system's support), which the
// selection takes in place of the SSE2 ones where there are any.
bool mqProcessorHasAVX2();

// Forwarders: call the variant that the live record holds.
void mqYCCToIndexed(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                    uint32_t count);
void mqYCCToRGB(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                uint32_t count);
void mqConvertTo8Bit(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                     int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                     bool grey);
uint32_t mqDrawImage(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                     int32_t x, int32_t y, const BITMAPINFO* srcInfo, const uint8_t* srcPixels,
                     const ImageInfo* alpha, const RECT* rect, uint32_t t, uint32_t z);
void mqInverseCube(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                   int32_t blockSize, int32_t scale);
uint32_t mqDecompressFrames(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                            int32_t pitch);

// ---- Shared tables -----------------------------------------------------------------------------
// Contributions of one channel value to Y, Cb and Cr, in 8.8 fixed point.
struct YCCTerms {
  int32_t y, cb, cr;
};
// Contributions of a chroma value to two channels: Cb to (green, blue), Cr to (red, green).
struct ChromaTerms {
  int32_t first, second;
};

struct MOLAQTables {
  YCCTerms red[256], green[256], blue[256];
  ChromaTerms cb[256], cr[256];
  uint16_t scan8[64], scan16[256], scan32[1024];
  double cosine[11][512];  // cosine[n][k] = cos((2k + 1) pi / 2^(n+1)), n 1..10, k < 2^(n-1)
  double twoCosQuarterPi;
  // matrix[n]: N = 2^n rows of min(N, 32) entries, round(cos((2i + 1) k pi / 2N) * 16384).
  int16_t* matrix[9];
  int16_t cosine16[5][8];  // cosine[3] and cosine[4] scaled by 16384
};
// The tables, built on first use (the core's start builds them before main).
const MOLAQTables& mqTables();
// The zig-zag order for blocks of `size` (8, 16 or 32; smaller sizes use 8).
const uint16_t* mqScanOrder(int32_t size);

// The dither seed shared by all conversions: its low 32 bits drive the plain kernels, all 64
// bits the vector ones. Races between threads only change the pattern.
constexpr uint64_t kDitherSeedStart = 0x8768413147826113ull;
uint64_t mqLoadDitherSeed();
void mqStoreDitherSeed(uint64_t seed);

// The chroma group of a pair of Cb and Cr levels (0..6 each), index `uLevel + 7 * vLevel`.
extern const uint8_t kChromaGroup[49];

// ---- Kernels of one version --------------------------------------------------------------------
void mqMakeToneTable(uint8_t table[256], int32_t tone);
uint32_t mqApplyTone(const BITMAPINFOHEADER* info, uint8_t* dst, const uint8_t* src, int32_t red,
                     int32_t green, int32_t blue);
int32_t mqClipRectangles(RECT* dst, int32_t dstWidth, int32_t dstHeight, int32_t x, int32_t y,
                         RECT* src, int32_t srcWidth, int32_t srcHeight);
uint32_t mqNearestColor(const BITMAPINFO* info, uint32_t colour);
void mqMakeFixedPalette(RGBQUAD* table, bool grey);
// Fills `rect` (normalised and clipped in place) with `colour` at transparency `t`; with a
// z-buffer only in front of its cells. 0, or 1 for a depth other than 8 and 24 bits.
uint32_t mqFillRectangle(const BITMAPINFO* info, uint8_t* pixels, const ImageInfo* zBuffer,
                         RECT* rect, uint32_t colour, uint32_t t, uint32_t z);

// ---- The two variants of the conversions -------------------------------------------------------
void mqYCCToIndexedPlain(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                         uint32_t count);
void mqYCCToIndexedSSE2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                        uint32_t count);
void mqYCCToRGBPlain(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                     uint32_t count);
void mqYCCToRGBSSE2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                    uint32_t count);
// The same bytes as the SSE2 variant, 16 pixels at a time, where the processor has AVX2.
void mqYCCToRGBAVX2(uint8_t* dst, const int32_t* y, const int32_t* cb, const int32_t* cr,
                    uint32_t count);
void mqConvertTo8BitPlain(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                          int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                          bool grey);
void mqConvertTo8BitSSE2(uint8_t* dst, int32_t dstPitch, const uint8_t* src, int32_t srcPitch,
                         int32_t width, int32_t height, int32_t bits, const RGBQUAD* palette,
                         bool grey);

// ---- The variants of the blit ---------------------------------------------------------------
// Draws `rect` of the source (all of it when null) at (x, y) of the destination, through the
// source's alpha plane or 1-bit mask, at transparency `t` (256 and above draws nothing), testing
// and claiming depth `z` in `zBuffer`. Pairs: 1 to 8 or 24, 8 to 8 or 24, 24 to 24; others give 1.
uint32_t mqDrawImagePlain(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                          int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                          const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                          uint32_t t, uint32_t z);
uint32_t mqDrawImageSSE2(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                         int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                         const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                         uint32_t t, uint32_t z);
// The SSE2 variant with the 24-bit rows in AVX2, for processors that have it.
uint32_t mqDrawImageAVX2(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                         int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                         const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                         uint32_t t, uint32_t z);
