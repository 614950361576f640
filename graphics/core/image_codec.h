// The picture coder: header of a stored picture, block transforms, the decompressor
// (image_codec.cpp) and the compressor (image_encoder.cpp, in the tools only) of 24-bit pictures.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/os/win32_types.h"

enum : uint32_t {
  kImageVersion = 0x100,
  kImageCoder = 0x20,
  kChroma444 = 0x101010,  // four Cb and four Cr blocks per macroblock
  kChroma422 = 0x100808,  // two each, chroma halved vertically
  kChroma420 = 0x100404,  // one each, chroma halved both ways
};

// The picture's header record, all fields little-endian.
struct ImageHeader {
  uint32_t version;
  uint32_t coder;
  uint32_t width;
  uint32_t height;
  uint32_t bits;  // 1, 4, 8 (lossless) or 24 (transform)
  uint32_t chromaFormat;
  uint32_t blockSize;  // log2 of a block's side, 3 to 5
  uint32_t reserved1;
  int32_t curveA, curveB, curveC;  // 16.16 quantiser curve: a i^2 + b i + c
  uint32_t reserved2[2];
};
static_assert(sizeof(ImageHeader) == 52);

enum : uint32_t { kDecompressDone = 0, kDecompressUnsupported = 3, kDecompressEmpty = 4 };

// Where the chroma blocks of a macroblock stand: their count per plane and the doublings of
// each block's samples across and down.
struct ChromaLayout {
  int32_t blocks;
  int32_t doubleX, doubleY;
};
// The layout of a chroma format; false for a format that is none of the three.
bool mqChromaLayout(uint32_t format, ChromaLayout* layout);

void mqMakeBitmapHeader(BITMAPINFOHEADER* out, const ImageHeader* header, int32_t scale);
// Fits the curve through quantiser shifts p0 at index 0, p1 at (n - 1) / 2 and p2 at n - 1 of
// blocks of `1 << blockSize`.
void mqFitQuantCurve(int32_t blockSize, double p0, double p1, double p2, int32_t* a, int32_t* b,
                     int32_t* c);
// q[i] = clamp(((i^2 a + i b + c) >> 16) + 7, 0, 14) for the `1 << blockSize` indices.
void mqMakeQuantTable(uint32_t* q, int32_t blockSize, int32_t a, int32_t b, int32_t c);

// Inverse transform of the (1 << blockSize)-square block at the top left of `src` (row length
// W = N << sx) onto W by (N << sy) samples; with `q`, coefficients are scaled up by 2^(q[v] +
// q[u]) and results down by 2^14. `dst` may be `src`. `work` is unused: the kernels keep their
// own. Calls the variant of the live interface record.
void mqInverseBlock(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize, int32_t sx,
                    int32_t sy, double* work);
// The plain variant: the formula's sums in double precision, rounded to nearest.
void mqInverseBlockPlain(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                         int32_t sx, int32_t sy, double* work);
// The vector variant: single precision, within 1 of the plain variant's results.
void mqInverseBlockSSE2(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                        int32_t sx, int32_t sy, double* work);
// The AVX2 variant: the vector variant's sums with eight lanes and fused multiply-adds, within 1
// of the plain variant's results.
void mqInverseBlockAVX2(int32_t* dst, int32_t* src, const uint32_t* q, int32_t blockSize,
                        int32_t sx, int32_t sy, double* work);
// One line of the inverse transform: `count` coefficients from `src` (stride `srcStride`) onto
// `1 << logSize` samples written at `dstStride`; logSize 3 to 8.
void mqInverseLine(double* dst, int32_t dstStride, const double* src, int32_t srcStride,
                   int32_t count, int32_t logSize);
// Forward transform of an n-square block of samples (row length `pitch`) into coefficients in
// natural order, scaled so that mqInverseBlock with the same `q` gives the samples back.
void mqForwardBlock(int32_t* dst, const float* src, int32_t pitch, const uint32_t* q,
                    int32_t blockSize);
// Cuts the 2n-square macroblock at (x, y) of a 24-bit bitmap into float planes of red, green
// and blue (rows of 2n). Beyond the picture, each row continues with the mean of its pixels, and
// missing rows take the mean of the present rows.
void mqLoadMacroblock(float* red, float* green, float* blue, const uint8_t* pixels, int32_t pitch,
                      int32_t width, int32_t height, int32_t x, int32_t y, int32_t side);
// Turns red, green, blue planes into Y, Cb, Cr in place (Cb and Cr centred on 0).
void mqRGBToYCC(float* first, float* second, float* third, uint32_t count);

// Decodes a 24-bit picture into `dst` (`bits` 8 or 24, rows `pitch` apart in memory order),
// blown up by 2^scale; grey writes the luminance only. `dataSize` bounds the coded stream.
// Calls the variant of the live interface record.
uint32_t mqDecompressImage(const ImageHeader* header, uint8_t* dst, int32_t bits, int32_t pitch,
                           const void* data, int32_t scale, bool grey, uint32_t tableLimit,
                           void* tableMemory, size_t dataSize);
// The variants, each with the block transform and colour conversions of its own kind.
uint32_t mqDecompressImagePlain(const ImageHeader* header, uint8_t* dst, int32_t bits,
                                int32_t pitch, const void* data, int32_t scale, bool grey,
                                uint32_t tableLimit, void* tableMemory, size_t dataSize);
uint32_t mqDecompressImageSSE2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize);
uint32_t mqDecompressImageAVX2(const ImageHeader* header, uint8_t* dst, int32_t bits,
                               int32_t pitch, const void* data, int32_t scale, bool grey,
                               uint32_t tableLimit, void* tableMemory, size_t dataSize);
// Decodes like mqDecompressImage with the kernels of the variant that the live record holds, on
// two threads: the arithmetic decoding on a helper thread, the transforms and the colour
// conversion on the caller's, one row of macroblocks behind. The same pixels as that variant.
// Decodes on the caller's thread alone if no thread can be started.
uint32_t mqDecompressImageTwoThreads(const ImageHeader* header, uint8_t* dst, int32_t bits,
                                     int32_t pitch, const void* data, int32_t scale, bool grey,
                                     uint32_t tableLimit, void* tableMemory, size_t dataSize);
// Codes a 24-bit bitmap by the header's format, block size and curve. Coefficients other than
// the first with magnitude at most `threshold` become 0. Gives a buffer for mqFreeImage.
uint8_t* mqCompressImage(const ImageHeader* header, const uint8_t* pixels, int32_t pitch,
                         uint32_t* byteCount, uint32_t shortRun, uint32_t phraseLimit,
                         uint32_t threshold);
void mqFreeImage(uint8_t* data);
