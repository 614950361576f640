// The bitmap-to-bitmap blit and the rectangle fill: checks, clipping and starting points, and the
// kernels of each format pair, instantiated from the templates of blit.h.
#include "graphics/core/blit.h"

#include <algorithm>
#include <cstring>

using namespace blit;

namespace {

Bgr bgrOf(const RGBQUAD& q) { return {{q.rgbBlue, q.rgbGreen, q.rgbRed}}; }

uint32_t colourOf(const RGBQUAD& q) {
  return uint32_t{q.rgbRed} << 16 | uint32_t{q.rgbGreen} << 8 | q.rgbBlue;
}

ptrdiff_t rowBytes(int32_t width, uint32_t bits) {
  return static_cast<ptrdiff_t>(((int64_t{width} * bits + 31) >> 5) << 2);
}

// The vector variants: the same operations, with whole rows done by the vector rows of `Rows`
// (SSE2 or AVX2). An opaque row is a memcpy: the C library's copy moves as wide as the processor
// allows. A row under a 1-bit plane copies its pixels in groups and finishes bit by bit.
struct SSE2Rows {
  static constexpr auto tone = toneRowSSE2;
  static constexpr auto blend = blendRowSSE2;
  static constexpr auto maskedCopy = maskedCopyRow24SSE2;
};
struct AVX2Rows {
  static constexpr auto tone = toneRowAVX2;
  static constexpr auto blend = blendRowAVX2;
  static constexpr auto maskedCopy = maskedCopyRow24AVX2;
};

template <class Rows>
struct VectorOps {
  template <class Source>
  struct Copy24 : blit::Copy24<Source> {
    void span(uint8_t* dst, const uint8_t* src, const uint8_t*, int32_t width) const {
      std::memcpy(dst, src, 3 * static_cast<size_t>(width));
    }
    void maskedSpan(uint8_t* dst, const uint8_t* src, const uint8_t* mask, int32_t column, int32_t width) const {
      int32_t x = Rows::maskedCopy(dst, src, mask, column, width);
      MaskBits bits;
      bits.start(mask, column + x);
      for (; x < width; ++x)
        if (bits.take()) this->pixel(dst, src, x, 255);
    }
  };
  template <class Source>
  struct Tone24 : blit::Tone24<Source> {
    void span(uint8_t* dst, const uint8_t* src, const uint8_t*, int32_t width) const {
      for (int32_t x = Rows::tone(dst, src, width, this->tables->t); x < width; ++x)
        this->pixel(dst, src, x, 255);
    }
  };
  template <class Source>
  struct Blend24 : blit::Blend24<Source> {
    void span(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, int32_t width) const {
      for (int32_t x = Rows::blend(dst, src, alpha, width, this->tables->t); x < width; ++x)
        this->pixel(dst, src, x, alpha[x]);
    }
  };
};

template <class Source>
struct VectorCopy8 : Copy8<Source> {
  void span(uint8_t* dst, const uint8_t* src, const uint8_t*, int32_t width) const {
    std::memcpy(dst, src, static_cast<size_t>(width));
  }
};

Random blit8To8(const BlitJob& job, bool vector, Random random) {
  return vector ? drawTo8<VectorCopy8>(job, IndexSource{}, random)
                : drawTo8<Copy8>(job, IndexSource{}, random);
}

// The generator of an 8-to-8 blit lives in the low half of the core's dither seed.
void blit8To8WithSeed(const BlitJob& job, bool vector) {
  uint64_t seed = mqLoadDitherSeed();
  Random random = blit8To8(job, vector, Random{static_cast<uint32_t>(seed)});
  mqStoreDitherSeed((seed & ~uint64_t{0xffffffff}) | random.state);
}

}  // namespace

void blit::makeBlendTables(BlendTables& tables, uint32_t t) {
  tables.t = t;
  mqMakeToneTable(tables.t1, static_cast<int32_t>(t) - 256);
  for (uint32_t a = 0; a < 256; ++a)
    tables.weight[a] = static_cast<uint16_t>(std::min(256u, (0xff00 - (256 - t) * a) / 255));
}

void mqBlitMask8(const BlitJob& job) {
  uint8_t index = static_cast<uint8_t>(mqNearestColor(job.dstInfo, colourOf(job.srcInfo->bmiColors[1])));
  // Any start will do for the dissolve of a mask; the core's seed serves as one.
  drawTo8<Copy8>(job, ConstantIndex{index}, Random{static_cast<uint32_t>(mqLoadDitherSeed())});
}

void mqBlitMask24(const BlitJob& job) {
  Bgr colour = bgrOf(job.srcInfo->bmiColors[1]), toned;
  for (int i = 0; i < 3; ++i) toned.c[i] = static_cast<uint8_t>((colour.c[i] * (256 - job.t)) >> 8);
  drawTo24<Copy24, Tone24, Blend24>(job, ColourSource{colour}, ColourSource{toned});
}

void mqBlit8To24(const BlitJob& job) {
  // The palette is scaled once: for t above 0 every use wants it toned.
  uint8_t t2[256];
  mqMakeToneTable(t2, -static_cast<int32_t>(job.t));
  Bgr palette[256];
  for (int i = 0; i < 256; ++i) {
    Bgr colour = bgrOf(job.srcInfo->bmiColors[i]);
    for (int c = 0; c < 3; ++c) palette[i].c[c] = t2[colour.c[c]];
  }
  drawTo24<Copy24, Tone24, Blend24>(job, PaletteSource{palette}, PaletteSource{palette});
}

void mqBlit8To8Plain(const BlitJob& job) { blit8To8WithSeed(job, false); }
void mqBlit8To8SSE2(const BlitJob& job) { blit8To8WithSeed(job, true); }

void mqBlit24To24Plain(const BlitJob& job) {
  uint8_t t2[256];
  mqMakeToneTable(t2, -static_cast<int32_t>(job.t));
  drawTo24<Copy24, Tone24, Blend24>(job, PixelSource{}, TonedPixelSource{t2});
}

namespace {

template <class Rows>
void blit24To24Vector(const BlitJob& job) {
  uint8_t t2[256];
  mqMakeToneTable(t2, -static_cast<int32_t>(job.t));
  using Ops = VectorOps<Rows>;
  drawTo24<Ops::template Copy24, Ops::template Tone24, Ops::template Blend24>(job, PixelSource{}, TonedPixelSource{t2});
}

}  // namespace

void mqBlit24To24SSE2(const BlitJob& job) { blit24To24Vector<SSE2Rows>(job); }
void mqBlit24To24AVX2(const BlitJob& job) { blit24To24Vector<AVX2Rows>(job); }

uint32_t drawImage(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                   int32_t x, int32_t y, const BITMAPINFO* srcInfo, const uint8_t* srcPixels,
                   const ImageInfo* alpha, const RECT* rect, uint32_t t, uint32_t z,
                   BlitKernel blit8To8, BlitKernel blit24To24) {
  uint8_t* zPixels = zBuffer ? zBuffer->pixels : nullptr;
  const uint8_t* alphaPixels = alpha ? alpha->pixels : nullptr;
  uint32_t sb = srcInfo->bmiHeader.biBitCount, db = dstInfo->bmiHeader.biBitCount;
  bool pairAllowed = sb <= db && (sb == 1 || sb == 8 || sb == 24) && (db == 8 || db == 24);
  if (!pairAllowed) return 1;
  if (alphaPixels && alpha->bits != 1 && alpha->bits != 8) return 1;

  int32_t srcWidth = srcInfo->bmiHeader.biWidth, srcHeight = srcInfo->bmiHeader.biHeight;
  int32_t dstWidth = dstInfo->bmiHeader.biWidth, dstHeight = dstInfo->bmiHeader.biHeight;
  RECT source = rect ? *rect : RECT{0, 0, srcWidth - 1, srcHeight - 1};
  RECT target;
  if (mqClipRectangles(&target, dstWidth, dstHeight, x, y, &source, srcWidth, srcHeight) != 0)
    return 0;

  ptrdiff_t srcPitch = rowBytes(srcWidth, sb), dstPitch = rowBytes(dstWidth, db);
  ptrdiff_t srcRow = srcHeight - 1 - source.top, dstRow = dstHeight - 1 - target.top;
  BlitJob job{};
  job.dst = dstPixels + dstRow * dstPitch + target.left * (db / 8);
  job.dstPitch = dstPitch;
  job.src = srcPixels + srcRow * srcPitch + (sb >= 8 ? source.left * (sb / 8) : 0);
  job.srcPitch = srcPitch;
  if (sb == 1) {
    job.cover = srcPixels + srcRow * srcPitch;
    job.coverPitch = srcPitch;
    job.coverBits = 1;
  } else if (alphaPixels) {
    job.cover = alphaPixels + srcRow * alpha->pitch;
    job.coverPitch = alpha->pitch;
    job.coverBits = alpha->bits;
  }
  job.coverColumn = source.left;
  // The z row is found with the destination's pitch and stepped with the z-buffer's own.
  if (zPixels) {
    job.depth = zPixels + dstRow * dstPitch + target.left * 4;
    job.depthPitch = zBuffer->pitch;
  }
  job.width = source.right - source.left + 1;
  job.height = source.bottom - source.top + 1;
  job.t = t;
  job.z = z;
  job.srcInfo = srcInfo;
  job.dstInfo = dstInfo;
  if (t >= 256) return 0;

  if (sb == 1) (db == 8 ? mqBlitMask8 : mqBlitMask24)(job);
  else if (sb == 8) (db == 8 ? blit8To8 : mqBlit8To24)(job);
  else blit24To24(job);
  return 0;
}

uint32_t mqDrawImagePlain(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                          int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                          const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                          uint32_t t, uint32_t z) {
  return drawImage(dstInfo, dstPixels, zBuffer, x, y, srcInfo, srcPixels, alpha, rect, t, z,
                   mqBlit8To8Plain, mqBlit24To24Plain);
}

uint32_t mqDrawImageSSE2(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                         int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                         const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                         uint32_t t, uint32_t z) {
  return drawImage(dstInfo, dstPixels, zBuffer, x, y, srcInfo, srcPixels, alpha, rect, t, z,
                   mqBlit8To8SSE2, mqBlit24To24SSE2);
}

uint32_t mqDrawImageAVX2(const BITMAPINFO* dstInfo, uint8_t* dstPixels, const ImageInfo* zBuffer,
                         int32_t x, int32_t y, const BITMAPINFO* srcInfo,
                         const uint8_t* srcPixels, const ImageInfo* alpha, const RECT* rect,
                         uint32_t t, uint32_t z) {
  return drawImage(dstInfo, dstPixels, zBuffer, x, y, srcInfo, srcPixels, alpha, rect, t, z,
                   mqBlit8To8SSE2, mqBlit24To24AVX2);
}

// ---- Fill -------------------------------------------------------------------------------------
namespace {

// A fill after normalising and clipping: rows are walked forwards through memory, from the
// lowest screen row of the rectangle up.
struct FillJob {
  uint8_t* dst;
  ptrdiff_t pitch;
  uint8_t* depth;
  ptrdiff_t depthPitch;
  int32_t width, height;
  uint32_t z;
};

// With a z-buffer a pixel is drawn only in front of its cell, and the depth goes into the cell
// after it: one column out of step, the cell behind a row's last pixel included.
template <bool kDepth, class Op>
void fillRows(const FillJob& job, Op op) {
  uint8_t* dst = job.dst;
  uint8_t* depth = job.depth;
  for (int32_t row = 0; row < job.height; ++row) {
    if constexpr (kDepth) {
      uint32_t* cells = reinterpret_cast<uint32_t*>(depth);
      for (int32_t x = 0; x < job.width; ++x) {
        if (cells[x] <= job.z) continue;
        op.pixel(dst, x);
        cells[x + 1] = job.z;
      }
      depth += job.depthPitch;
    } else {
      op.span(dst, job.width);
    }
    dst += job.pitch;
  }
}

template <class Op>
void fill(const FillJob& job, const Op& op) {
  job.depth ? fillRows<true>(job, op) : fillRows<false>(job, op);
}

// An opaque fill without depth draws its first row and copies it to the others.
template <class Op>
void fillByFirstRow(const FillJob& job, const Op& op) {
  op.span(job.dst, job.width);
  size_t bytes = static_cast<size_t>(job.width) * 3;
  for (int32_t row = 1; row < job.height; ++row) std::memcpy(job.dst + row * job.pitch, job.dst, bytes);
}

struct Fill24 {
  uint8_t colour[3];
  void pixel(uint8_t* dst, int32_t x) const { std::memcpy(dst + 3 * x, colour, 3); }
  void span(uint8_t* dst, int32_t width) const {
    for (int32_t x = fillRow24SSE2(dst, width, colour); x < width; ++x) pixel(dst, x);
  }
};

struct ToneFill24 {
  uint8_t toned[3];
  uint32_t t;
  const uint8_t* t1;
  void pixel(uint8_t* dst, int32_t x) const {
    for (int i = 0; i < 3; ++i) dst[3 * x + i] = static_cast<uint8_t>(t1[dst[3 * x + i]] + toned[i]);
  }
  void span(uint8_t* dst, int32_t width) const {
    for (int32_t x = toneFillRow24SSE2(dst, width, t, toned); x < width; ++x) pixel(dst, x);
  }
};

struct Fill8 {
  uint8_t index;
  void pixel(uint8_t* dst, int32_t x) const { dst[x] = index; }
  void span(uint8_t* dst, int32_t width) const { std::memset(dst, index, static_cast<size_t>(width)); }
};

struct DissolveFill8 {
  uint8_t index;
  uint32_t t;
  Random random;
  void pixel(uint8_t* dst, int32_t x) {
    if (random.next() >= t) dst[x] = index;
  }
  void span(uint8_t* dst, int32_t width) {
    for (int32_t x = 0; x < width; ++x) pixel(dst, x);
  }
};

// Normalises one axis of the rectangle; false when it misses the image. Only a hit stores
// the clamped values back.
bool clampAxis(LONG& low, LONG& high, int32_t size) {
  LONG a = std::min(low, high), b = std::max(low, high);
  if (b < 0 || a >= size) return false;
  low = std::max<LONG>(a, 0);
  high = std::min<LONG>(b, size - 1);
  return true;
}

}  // namespace

uint32_t mqFillRectangle(const BITMAPINFO* info, uint8_t* pixels, const ImageInfo* zBuffer,
                         RECT* rect, uint32_t colour, uint32_t t, uint32_t z) {
  colour = mqNearestColor(info, colour);
  if (t >= 256) return 0;
  uint32_t bits = info->bmiHeader.biBitCount;
  if (bits != 8 && bits != 24) return 1;
  int32_t width = info->bmiHeader.biWidth, height = info->bmiHeader.biHeight;
  if (!clampAxis(rect->left, rect->right, width)) return 0;
  if (!clampAxis(rect->top, rect->bottom, height)) return 0;

  ptrdiff_t pitch = info->bmiHeader.biSizeImage / static_cast<uint32_t>(height);
  ptrdiff_t firstRow = height - 1 - rect->bottom;
  FillJob job{};
  job.dst = pixels + firstRow * pitch + rect->left * static_cast<ptrdiff_t>(bits / 8);
  job.pitch = pitch;
  if (zBuffer && zBuffer->pixels) {
    job.depth = zBuffer->pixels + firstRow * zBuffer->pitch + rect->left * 4;
    job.depthPitch = zBuffer->pitch;
  }
  job.width = rect->right - rect->left + 1;
  job.height = rect->bottom - rect->top + 1;
  job.z = z;

  if (bits == 8) {
    uint8_t index = static_cast<uint8_t>(colour);
    if (t == 0) fill(job, Fill8{index});
    // Any start will do for the dissolve of a fill; the core's seed serves as one.
    else fill(job, DissolveFill8{index, t, Random{static_cast<uint32_t>(mqLoadDitherSeed())}});
    return 0;
  }
  uint8_t bgr[3] = {static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                    static_cast<uint8_t>(colour >> 16)};
  if (t == 0) {
    Fill24 opaque{{bgr[0], bgr[1], bgr[2]}};
    job.depth ? fill(job, opaque) : fillByFirstRow(job, opaque);
    return 0;
  }
  uint8_t t1[256], t2[256];
  mqMakeToneTable(t1, static_cast<int32_t>(t) - 256);
  mqMakeToneTable(t2, -static_cast<int32_t>(t));
  fill(job, ToneFill24{{t2[bgr[0]], t2[bgr[1]], t2[bgr[2]]}, t, t1});
  return 0;
}
