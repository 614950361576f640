// The single-version kernels of the core: tone, clipping, nearest colour, fixed palette.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "graphics/core/molaq.h"

void mqMakeToneTable(uint8_t table[256], int32_t tone) {
  if (tone == 0) {
    for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>(i);
  } else if (tone < 0) {
    int32_t step = tone <= -256 ? 0 : tone + 256;
    for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>((i * step) >> 8);
  } else {
    int32_t step = tone >= 256 ? 0 : 256 - tone;
    for (int i = 0; i < 256; ++i) table[i] = static_cast<uint8_t>((0xff00 - step * (255 - i)) >> 8);
  }
}

uint32_t mqApplyTone(const BITMAPINFOHEADER* info, uint8_t* dst, const uint8_t* src, int32_t red,
                     int32_t green, int32_t blue) {
  if (red == 0 && green == 0 && blue == 0) {
    std::memcpy(dst, src, static_cast<size_t>((info->biSizeImage + 3) / 4) * 4);
    return 0;
  }
  uint8_t redTable[256], greenTable[256], blueTable[256];
  mqMakeToneTable(redTable, red);
  mqMakeToneTable(greenTable, green);
  mqMakeToneTable(blueTable, blue);
  const int32_t width = info->biWidth, height = info->biHeight;
  if (width == 0 || height == 0) return 1;
  const uint32_t pitch = info->biSizeImage / static_cast<uint32_t>(height);
  if (pitch == 0) return 1;
  for (int32_t row = 0; row < height; ++row) {
    const uint8_t* in = src + row * pitch;
    uint8_t* out = dst + row * pitch;
    for (int32_t x = 0; x < width; ++x, in += 3, out += 3) {
      out[0] = blueTable[in[0]];
      out[1] = greenTable[in[1]];
      out[2] = redTable[in[2]];
    }
  }
  return 0;
}

int32_t mqClipRectangles(RECT* dst, int32_t dstWidth, int32_t dstHeight, int32_t x, int32_t y,
                         RECT* src, int32_t srcWidth, int32_t srcHeight) {
  if (src->right < 0 || src->bottom < 0) return 1;
  if (src->right >= srcWidth) {
    if (src->left >= srcWidth) return 1;
    src->right = srcWidth - 1;
  }
  if (src->bottom >= srcHeight) {
    if (src->top >= srcHeight) return 1;
    src->bottom = srcHeight - 1;
  }
  if (src->left >= srcWidth || src->top >= srcHeight) return 1;
  int32_t dx = 0, dy = 0;
  if (src->left < 0) {
    dx = -src->left;
    src->left = 0;
  }
  if (src->top < 0) {
    dy = -src->top;
    src->top = 0;
  }
  int32_t left = x + dx, top = y + dy;
  if (left >= dstWidth || top >= dstHeight) return 1;
  dst->left = left;
  dst->top = top;
  dst->right = src->right - src->left + left;
  dst->bottom = src->bottom - src->top + top;
  if (dst->right < 0 || dst->bottom < 0) return 1;
  if (dst->right >= dstWidth) {
    src->right += dstWidth - 1 - dst->right;
    dst->right = dstWidth - 1;
  }
  if (dst->bottom >= dstHeight) {
    src->bottom += dstHeight - 1 - dst->bottom;
    dst->bottom = dstHeight - 1;
  }
  if (dst->left < 0) {
    src->left += -dst->left;
    dst->left = 0;
  }
  if (dst->top < 0) {
    src->top += -dst->top;
    dst->top = 0;
  }
  return src->right < src->left || src->bottom < src->top;
}

uint32_t mqNearestColor(const BITMAPINFO* info, uint32_t colour) {
  uint32_t bits = info->bmiHeader.biBitCount;
  if (bits > 8) return colour;
  int32_t blue = colour & 0xff, green = (colour >> 8) & 0xff, red = (colour >> 16) & 0xff;
  const RGBQUAD* table = info->bmiColors;
  uint32_t best = 0;
  int32_t bestDistance = 0x7fffffff;
  for (uint32_t i = 0; i < (1u << bits); ++i) {
    int32_t db = table[i].rgbBlue - blue, dg = table[i].rgbGreen - green, dr = table[i].rgbRed - red;
    int32_t distance = db * db + dg * dg + dr * dr;
    if (distance < bestDistance) {
      bestDistance = distance;
      best = i;
    }
  }
  return best;
}

void mqMakeFixedPalette(RGBQUAD* table, bool grey) {
  for (int i = 0; i < 256; ++i) {
    if (grey) {
      table[i] = {static_cast<uint8_t>(i), static_cast<uint8_t>(i), static_cast<uint8_t>(i), 0};
      continue;
    }
    // 32 chroma groups of 8 brightness levels; a group stands for a point of a 7 by 7 grid of
    // (Cb, Cr) levels.
    int t = (i >> 3) * 48 / 31;
    int u = t % 7 - 3, v = t / 7 - 3;
    double cb = u * 255 / 6, cr = v * 255 / 6, y = (i & 7) * 255 / 7;
    auto channel = [](double value) {
      return static_cast<uint8_t>(std::clamp<long>(std::lround(value), 0, 255));
    };
    table[i] = {channel(1.772 * cb + y), channel(-0.34414 * cb - 0.71414 * cr + y),
                channel(1.402 * cr + y), 0};
  }
}
