// The blit and fill kernels, generated from one source: a row walker that applies the coverage
// (1-bit plane or 8-bit alpha) and the depth test, chosen at compile time, and pixel operations
// that combine one pixel. Each combination of options is its own instantiation, so the inner
// loops test nothing but the pixel's own data.
#pragma once

#include <cstddef>
#include <cstdint>

#include "graphics/core/molaq.h"

// A blit after the checks and the clipping. Every pointer stands at the top row of the clipped
// area; rows are walked backwards through memory by each plane's pitch.
struct BlitJob {
  uint8_t* dst;
  ptrdiff_t dstPitch;
  const uint8_t* src;  // for a 1-bit source the row start; its column is `coverColumn`
  ptrdiff_t srcPitch;
  const uint8_t* cover;  // the 1-bit source, the alpha plane, or null
  ptrdiff_t coverPitch;
  int32_t coverColumn;  // bits of a 1-bit plane, bytes of an 8-bit one
  uint32_t coverBits;  // 0 (everything drawn), 1 or 8
  uint8_t* depth;  // the z cells of the row, or null
  ptrdiff_t depthPitch;
  int32_t width, height;
  uint32_t t, z;
  const BITMAPINFO* srcInfo;
  const BITMAPINFO* dstInfo;
};
using BlitKernel = void (*)(const BlitJob& job);

// The checks, the clipping and the starting points common to both variants; runs the kernel
// of the format pair, with the given variants of the two-version kernels.
uint32_t drawImage(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                   int32_t x, int32_t y, const BITMAPINFO* srcInfo, const uint8_t* srcPixels,
                   const ImageInfo* alpha, const RECT* rect, uint32_t t, uint32_t z,
                   BlitKernel blit8To8, BlitKernel blit24To24);

void mqBlitMask8(const BlitJob& job);
void mqBlitMask24(const BlitJob& job);
void mqBlit8To24(const BlitJob& job);
void mqBlit8To8Plain(const BlitJob& job);
void mqBlit8To8SSE2(const BlitJob& job);
void mqBlit24To24Plain(const BlitJob& job);
void mqBlit24To24SSE2(const BlitJob& job);
void mqBlit24To24AVX2(const BlitJob& job);

// ---- Vector rows (SSE2) --------------------------------------------------------------------
// Each gives exactly the bytes of the per-pixel operation it stands for. They work in groups of
// pixels and give the count they did; the caller finishes the row. (Opaque rows are copied with
// memcpy, which uses the widest moves the processor has.)
// 24-bit pixels: dst = (dst * t >> 8) + (src * (256 - t) >> 8) per channel; t from 1 to 255.
int32_t toneRowSSE2(uint8_t* dst, const uint8_t* src, int32_t pixels, uint32_t t);
// Premultiplied alpha over 24-bit pixels: nothing where a is 0, else
// dst = sat((dst * A[a] >> 8) + (src * (256 - t) >> 8)).
int32_t blendRowSSE2(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels,
                     uint32_t t);
int32_t fillRow24SSE2(uint8_t* dst, int32_t pixels, const uint8_t colour[3]);
// dst = (dst * t >> 8) + toned per channel; `toned` is the colour already scaled by 256 - t.
int32_t toneFillRow24SSE2(uint8_t* dst, int32_t pixels, uint32_t t, const uint8_t toned[3]);
// 24-bit pixels copied where their bit of the 1-bit plane `mask` is set, the first bit at
// `column`.
int32_t maskedCopyRow24SSE2(uint8_t* dst, const uint8_t* src, const uint8_t* mask, int32_t column,
                            int32_t pixels);

// ---- Vector rows (AVX2), where the processor has it -------------------------------------------
int32_t toneRowAVX2(uint8_t* dst, const uint8_t* src, int32_t pixels, uint32_t t);
int32_t blendRowAVX2(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t pixels,
                     uint32_t t);
int32_t maskedCopyRow24AVX2(uint8_t* dst, const uint8_t* src, const uint8_t* mask, int32_t column,
                            int32_t pixels);

namespace blit {

// The dissolve generator: bits 8 to 15 of a state stepped before each use.
struct Random {
  uint32_t state;
  uint32_t next() {
    state = 5 * state + 0x9273;
    return (state >> 8) & 0xff;
  }
};

// Bits of a 1-bit plane, read from big-endian 32-bit words, the first at `column`. A word is
// loaded only when its first bit is wanted, so a row never reads past its last used word.
class MaskBits {
 public:
  void start(const uint8_t* row, int32_t column) {
    next_ = row + (column >> 5) * 4;
    word_ = load(next_) << (column & 31);
    next_ += 4;
    left_ = 32 - (column & 31);
  }
  bool take() {
    if (left_ == 0) {
      word_ = load(next_);
      next_ += 4;
      left_ = 32;
    }
    bool bit = (word_ >> 31) != 0;
    word_ <<= 1;
    --left_;
    return bit;
  }

 private:
  static uint32_t load(const uint8_t* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
  }
  const uint8_t* next_ = nullptr;
  uint32_t word_ = 0;
  int32_t left_ = 0;
};

// 16 bits of a 1-bit plane from bit `column` of `row` on, the first in bit 15: what a vector
// row tests at once. Reads only the bytes that hold them.
inline uint32_t maskBits16(const uint8_t* row, int32_t column) {
  const uint8_t* p = row + (column >> 3);
  uint32_t bits = uint32_t{p[0]} << 16 | uint32_t{p[1]} << 8;
  if ((column & 7) != 0) bits |= p[2];
  return (bits >> (8 - (column & 7))) & 0xffff;
}

enum class Coverage { All, Bits, Alpha };

// Walks the rows of `job` with one operation. Rows without a per-pixel test go to the
// operation's `span` where it has one (the vector rows).
template <Coverage kCover, bool kDepth, class Op>
Op walk(const BlitJob& job, Op op) {
  uint8_t* dst = job.dst;
  const uint8_t* src = job.src;
  const uint8_t* cover = job.cover;
  uint8_t* depth = job.depth;
  for (int32_t row = 0; row < job.height; ++row) {
    constexpr bool kWholeRow = kCover != Coverage::Bits && !kDepth;
    constexpr bool kMaskedRow = kCover == Coverage::Bits && !kDepth;
    if constexpr (kWholeRow && requires { op.span(dst, src, cover, job.width); }) {
      op.span(dst, src, kCover == Coverage::Alpha ? cover + job.coverColumn : nullptr,
              job.width);
    } else if constexpr (kMaskedRow && requires { op.maskedSpan(dst, src, cover, 0, job.width); }) {
      op.maskedSpan(dst, src, cover, job.coverColumn, job.width);
    } else {
      [[maybe_unused]] uint32_t* cells = reinterpret_cast<uint32_t*>(depth);
      [[maybe_unused]] MaskBits bits;
      if constexpr (kCover == Coverage::Bits) bits.start(cover, job.coverColumn);
      for (int32_t x = 0; x < job.width; ++x) {
        uint32_t a = 255;
        if constexpr (kCover == Coverage::Bits) {
          if (!bits.take()) continue;
        }
        if constexpr (kCover == Coverage::Alpha) a = cover[job.coverColumn + x];
        // The depth is claimed before alpha and transparency are looked at.
        if constexpr (kDepth) {
          if (cells[x] < job.z) continue;
          cells[x] = job.z;
        }
        op.pixel(dst, src, x, a);
      }
    }
    dst -= job.dstPitch;
    src -= job.srcPitch;
    if constexpr (kCover != Coverage::All) cover -= job.coverPitch;
    if constexpr (kDepth) depth -= job.depthPitch;
  }
  return op;
}

// Runs `op` with the coverage and depth test of the job, chosen once.
template <class Op>
Op run(const BlitJob& job, const Op& op) {
  bool depth = job.depth != nullptr;
  switch (job.coverBits) {
    case 1:
      return depth ? walk<Coverage::Bits, true>(job, op) : walk<Coverage::Bits, false>(job, op);
    case 8:
      return depth ? walk<Coverage::Alpha, true>(job, op) : walk<Coverage::Alpha, false>(job, op);
    default:
      return depth ? walk<Coverage::All, true>(job, op) : walk<Coverage::All, false>(job, op);
  }
}

// ---- 24-bit destinations --------------------------------------------------------------------
struct Bgr {
  uint8_t c[3];
};

// Where the colour of a pixel comes from. Sources for t above 0 deliver it already scaled by
// (256 - t) / 256.
struct PixelSource {
  Bgr operator()(const uint8_t* row, int32_t x) const {
    const uint8_t* p = row + 3 * x;
    return {{p[0], p[1], p[2]}};
  }
};
struct TonedPixelSource {
  const uint8_t* t2;
  Bgr operator()(const uint8_t* row, int32_t x) const {
    const uint8_t* p = row + 3 * x;
    return {{t2[p[0]], t2[p[1]], t2[p[2]]}};
  }
};
struct PaletteSource {
  const Bgr* palette;
  Bgr operator()(const uint8_t* row, int32_t x) const { return palette[row[x]]; }
};
struct ColourSource {
  Bgr colour;
  Bgr operator()(const uint8_t*, int32_t) const { return colour; }
};

// What a 24-bit operation needs besides its source: T1 and the alpha weights A.
struct BlendTables {
  uint32_t t;
  uint8_t t1[256];
  uint16_t weight[256];
};

template <class Source>
struct Copy24 {
  Source source;
  const BlendTables* tables;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t) const {
    Bgr colour = source(src, x);
    uint8_t* d = dst + 3 * x;
    for (int i = 0; i < 3; ++i) d[i] = colour.c[i];
  }
};

template <class Source>
struct Tone24 {
  Source source;
  const BlendTables* tables;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t) const {
    Bgr colour = source(src, x);
    uint8_t* d = dst + 3 * x;
    for (int i = 0; i < 3; ++i) d[i] = static_cast<uint8_t>(tables->t1[d[i]] + colour.c[i]);
  }
};

template <class Source>
struct Blend24 {
  Source source;
  const BlendTables* tables;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t a) const {
    if (a == 0) return;
    uint32_t weight = tables->weight[a];
    Bgr colour = source(src, x);
    uint8_t* d = dst + 3 * x;
    for (int i = 0; i < 3; ++i) {
      uint32_t v = ((d[i] * weight) >> 8) + colour.c[i];
      d[i] = static_cast<uint8_t>(v > 255 ? 255 : v);
    }
  }
};

// Fills the tables for transparency `t` (below 256).
void makeBlendTables(BlendTables& tables, uint32_t t);

// Chooses the operation of a 24-bit destination by alpha and transparency, once per call.
// `raw` gives the source colours as they are, `toned` scaled by (256 - t) / 256.
template <template <class> class Copy, template <class> class Tone, template <class> class Blend,
          class Raw, class Toned>
void drawTo24(const BlitJob& job, const Raw& raw, const Toned& toned) {
  BlendTables tables;
  makeBlendTables(tables, job.t);
  if (job.coverBits == 8) {
    if (job.t == 0) run(job, Blend<Raw>{raw, &tables});
    else run(job, Blend<Toned>{toned, &tables});
  } else if (job.t == 0) {
    run(job, Copy<Raw>{raw, &tables});
  } else {
    run(job, Tone<Toned>{toned, &tables});
  }
}

// ---- 8-bit destinations ---------------------------------------------------------------------
struct IndexSource {
  uint8_t operator()(const uint8_t* row, int32_t x) const { return row[x]; }
};
struct ConstantIndex {
  uint8_t index;
  uint8_t operator()(const uint8_t*, int32_t) const { return index; }
};

template <class Source>
struct Copy8 {
  Source source;
  Random random;
  uint32_t t;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t) { dst[x] = source(src, x); }
};

// Transparency on indices is a random dissolve.
template <class Source>
struct Dissolve8 {
  Source source;
  Random random;
  uint32_t t;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t) {
    if (random.next() >= t) dst[x] = source(src, x);
  }
};

template <class Source>
struct AlphaDissolve8 {
  Source source;
  Random random;
  uint32_t t;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t a) {
    uint32_t r = random.next();
    if (a != 0 && r <= a) dst[x] = source(src, x);
  }
};

// The first step decides the transparency; only a pixel that passes takes the second.
template <class Source>
struct TonedAlphaDissolve8 {
  Source source;
  Random random;
  uint32_t t;
  void pixel(uint8_t* dst, const uint8_t* src, int32_t x, uint32_t a) {
    if (random.next() < t) return;
    uint32_t r = random.next();
    if (a != 0 && r <= a) dst[x] = source(src, x);
  }
};

// Chooses the operation of an 8-bit destination once per call; gives the generator's state.
template <template <class> class Copy, class Source>
Random drawTo8(const BlitJob& job, const Source& source, Random random) {
  if (job.coverBits == 8) {
    if (job.t == 0) return run(job, AlphaDissolve8<Source>{source, random, job.t}).random;
    return run(job, TonedAlphaDissolve8<Source>{source, random, job.t}).random;
  }
  if (job.t == 0) return run(job, Copy<Source>{source, random, job.t}).random;
  return run(job, Dissolve8<Source>{source, random, job.t}).random;
}

}  // namespace blit
