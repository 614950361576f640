// The moving-picture transform coder: eight 24-bit frames coded together, each macroblock of
// 2N by 2N pixels over the eight frames cut into cubes of N by N by 8 samples (N = 2^blockSize,
// blockSize 3 to 5) and transformed in all three dimensions, so that what stays still costs
// almost nothing beyond its first temporal coefficient.
//
// Compressed frames, all fields little-endian:
//
//   offset size  field
//   0      4     version, 0x100
//   4      4     width in pixels, 1 to 16384
//   8      4     height in rows, 1 to 16384
//   12     4     blockSize, 3 to 5
//   16     12    spatial quantiser curve a, b, c: int32 16.16, as the picture format's
//   28     12    temporal quantiser curve a, b, c over the 8 temporal indices, the same way
//   40     4     S, byte count of the coded stream
//   44     S     coded stream (phrase coder, signed 32-bit values)
//
// The frames are in Y, Cb, Cr with chroma halved both ways. The coded stream holds the
// macroblocks row by row in the frames' memory order, left to right; each as six cubes: the
// four luminance cubes (top left, top right, bottom left, bottom right in memory order), then
// Cb, then Cr, each chroma cube covering the whole macroblock at half resolution. A cube's
// 8 N^2 coefficients go by temporal index, and inside one by the picture format's zig-zag
// order. Coefficient (u, v, w) comes back shifted left by q[u] + q[v] + qt[w] (the quantiser
// tables of the two curves) and the transformed result right by 21.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

enum : int32_t { kCubeFrames = 8, kCubeFramesLog = 3 };
constexpr uint32_t kFramesVersion = 0x100;
constexpr uint32_t kFramesMaxSide = 16384;

// Stops the process on a cube size out of range (blockSize 3 to 5, scale 0 or 1), as the block
// transforms do: no caller passes one from data.
inline void mqCheckCubeSize(int32_t blockSize, int32_t scale) {
  if (blockSize < 3 || blockSize > 5 || scale < 0 || scale > 1) std::abort();
}

struct FramesHeader {
  uint32_t version;
  uint32_t width;
  uint32_t height;
  uint32_t blockSize;
  int32_t curveA, curveB, curveC;
  int32_t timeA, timeB, timeC;
  uint32_t streamSize;
};
static_assert(sizeof(FramesHeader) == 44);

enum : uint32_t {
  kFramesDone = 0,
  kFramesBadHeader = 1,  // wrong version, a field out of range, or the stream is cut short
  kFramesBadStream = 2,  // the coded stream cannot be opened
};

// Whether every field of the header that coded frames depend on is in range.
bool mqFramesHeaderInRange(const FramesHeader& header);

// The quantiser tables of the two curves of a header.
struct CubeQuantisers {
  uint32_t space[32];
  uint32_t time[kCubeFrames];
  explicit CubeQuantisers(const FramesHeader& header);
};

// Forward transform of the N by N by 8 samples at `src` (sample (x, y, t) at
// src[t * framePitch + y * pitch + x]) into coefficients in natural order, (u, v, w) at
// dst[(w * N + v) * N + u], scaled by 2^(21 - q[u] - q[v] - qt[w]) so that mqInverseCube with
// the same tables gives the samples back, and rounded.
void mqForwardCube(int32_t* dst, const float* src, int32_t pitch, int32_t framePitch,
                   const uint32_t* q, const uint32_t* qt, int32_t blockSize);
// Inverse of mqForwardCube onto a grid refined by 2^scale in both spatial directions (scale 0
// or 1): dst holds 8 frames of (N << scale)^2 samples, rows of N << scale. `src` is unchanged.
// Its two variants: the plain one in doubles through the recursive transform, the SSE2 one in
// floats by matrix columns, skipping zero rows and planes; they may differ by 1.
void mqInverseCubePlain(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                        int32_t blockSize, int32_t scale);
void mqInverseCubeSSE2(int32_t* dst, const int32_t* src, const uint32_t* q, const uint32_t* qt,
                       int32_t blockSize, int32_t scale);

// Compresses eight 24-bit frames (rows `pitch` bytes apart, memory order) of the header's size,
// block size and curves; the version and stream size are filled in. Coefficients other than a
// cube's first whose magnitude is at most `threshold` become 0. Gives a buffer for mqFreeFrames,
// or null for a header out of range.
uint8_t* mqCompressFrames(const FramesHeader* header, const uint8_t* const frames[kCubeFrames],
                          int32_t pitch, uint32_t threshold, uint32_t* byteCount);
void mqFreeFrames(uint8_t* data);
// Checks the head of `size` bytes of compressed frames and copies it to `header`.
uint32_t mqReadFramesHeader(const void* data, size_t size, FramesHeader* header);
// Decodes eight frames into `frames`, each of the header's width and height in 24-bit pixels,
// rows `pitch` bytes apart. One of the codes above. Each variant uses its own inverse cube and
// colour conversion.
uint32_t mqDecompressFramesPlain(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                                 int32_t pitch);
uint32_t mqDecompressFramesSSE2(const void* data, size_t size, uint8_t* const frames[kCubeFrames],
                                int32_t pitch);
