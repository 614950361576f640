#include "host/exports/graphic.h"

#include <cstring>

namespace {

Graphic* makeImage() {
  Graphic* image = new Graphic(kConversionDefault);
  image->SetConversionMode(kMadeObjectConversion);
  return image;
}

// A drawing changes the pixels under the derived data: a toned copy of a true-colour image
// is marked stale; the display palette of an indexed one is brought up to date.
void prepareDestination(Graphic& image) {
  if (image.Header().biBitCount > 8) {
    if (image.TonedCopy()) image.SetUpdateFlag();
  } else {
    image.UpdatePalette();
  }
}

}  // namespace

Graphic* RUNA1_API graphic_AllocNewBitmap() { return makeImage(); }

Graphic* RUNA1_API graphic_CreateBitmap(int32_t width, int32_t height, uint32_t bits) {
  Graphic* image = makeImage();
  if (image->CreateBitmap(width, height, bits) != 0) {
    delete image;
    return nullptr;
  }
  return image;
}

Graphic* RUNA1_API graphic_ReadBitmap(KFileObj* file) {
  Graphic* image = makeImage();
  if (image->ReadBitmap(file) != 0) {
    delete image;
    return nullptr;
  }
  return image;
}

uint32_t RUNA1_API graphic_WriteBitmap(Graphic* image, KFileObj* file) {
  return image->WriteBitmap(file);
}

uint32_t RUNA1_API graphic_DeleteBitmap(Graphic* image) {
  delete image;
  return 0;
}

uint32_t RUNA1_API graphic_AttachDIBitmap(Graphic* image, const BITMAPINFO* info, void* bits) {
  return image->AttachDIBitmap(info, bits, true);
}

uint32_t RUNA1_API graphic_DetachDIBitmap(Graphic* image) { return image->DetachDIBitmap(); }

uint32_t RUNA1_API graphic_GetDIBitmap(Graphic* image, BITMAPINFOHEADER* header, void** bits) {
  if (header) *header = image->Header();
  if (bits) *bits = image->Pixels();
  return 0;
}

uint32_t RUNA1_API graphic_ReleaseDIBitmap(Graphic* image) {
  image->ReleaseDIBitmap();
  return 0;
}

uint32_t RUNA1_API graphic_GetImageInfo(Graphic* image, ImageInfo* info) {
  image->GetImageInfo(info);
  return 0;
}

uint32_t RUNA1_API graphic_InvalidateRect(Graphic* image, const RECT* rect) {
  return image->InvalidateRect(rect);
}

uint32_t RUNA1_API graphic_SetPaletteTone(Graphic* image, int32_t red, int32_t green, int32_t blue) {
  image->SetPaletteTone(red, green, blue);
  return 0;
}

uint32_t RUNA1_API graphic_SetPaletteEntries(Graphic* image, uint32_t first, uint32_t count,
                                             const RGBQUAD* colours) {
  return image->SetPaletteEntries(first, count, colours);
}

uint32_t RUNA1_API graphic_GetPaletteEntries(Graphic* image, uint32_t first, uint32_t count,
                                             RGBQUAD* colours) {
  return image->GetPaletteEntries(first, count, colours);
}

uint32_t RUNA1_API graphic_UpdatePalette(Graphic* image) { return image->UpdatePalette(); }

uint32_t RUNA1_API graphic_RealizePalette(Graphic* image, HDC dc, int32_t background) {
  return image->RealizePalette(dc, background != 0);
}

uint32_t RUNA1_API graphic_GetViewRectangle(Graphic* image, RECT* rect) {
  *rect = image->ViewRectangle();
  return 0;
}

uint32_t RUNA1_API graphic_SetViewRectangle(Graphic* image, int32_t left, int32_t top,
                                            int32_t right, int32_t bottom) {
  image->SetViewRectangle(left, top, right, bottom);
  return 0;
}

uint32_t RUNA1_API graphic_IsPointHit(Graphic* image, int32_t x, int32_t y) {
  return image->IsPointHit(x, y);
}

int32_t RUNA1_API graphic_DrawBitmapToDC(Graphic* image, HDC dc, int32_t x, int32_t y,
                                         const SIZE* size, const RECT* rect) {
  return image->DrawBitmapToDC(dc, x, y, size, rect);
}

uint32_t RUNA1_API graphic_AttachAlphaPlane(Graphic* image, const ImageInfo* alpha) {
  return image->AttachAlphaPlane(alpha);
}

uint32_t RUNA1_API graphic_DetachAlphaPlane(Graphic* image) {
  image->DetachAlphaPlane();
  return 0;
}

uint32_t RUNA1_API graphic_AttachMaskPattern(Graphic* image, void* bits) {
  image->AttachMaskPattern(static_cast<uint8_t*>(bits));
  return 0;
}

uint32_t RUNA1_API graphic_DetachMakePattern(Graphic* image) { return graphic_DetachAlphaPlane(image); }

ImageInfo* RUNA1_API graphic_GetAlphaPlaneInfo(Graphic* image) { return image->AlphaInfo(); }

int32_t RUNA1_API graphic_GetDefConversion8BitColor() { return DefaultConversion.load(); }

int32_t RUNA1_API graphic_SetDefConversion8BitColor(int32_t mode) {
  DefaultConversion.exchange(mode);
  return mode;
}

uint32_t RUNA1_API graphic_SelectZBuffer(Graphic* image, ZBuffer* zBuffer) {
  return image->SelectZBuffer(zBuffer ? &zBuffer->Info() : nullptr);
}

uint32_t RUNA1_API graphic_DrawBitmapToBitmap(Graphic* source, Graphic* destination, int32_t x,
                                              int32_t y, const RECT* rect, uint32_t t, uint32_t z) {
  if (!source->Pixels() || !destination->Pixels()) return 1;
  const RECT& area = rect ? *rect : source->ViewRectangle();
  {
    // Only the source is locked: the module thread is the one writer of the destination, and
    // a frame the window reads half-drawn is repaired by the invalidation below.
    os::Lock hold(source->Lock());
    source->UpdatePalette();
    prepareDestination(*destination);
    if (mqDrawImage(destination->BitmapInfo(), destination->Pixels(), source->ZBufferInfo(), x, y,
                    source->BitmapInfo(), source->Pixels(), source->AlphaInfo(), &area, t, z) != 0)
      return 1;
  }
  RECT clipped = area, target;
  const BITMAPINFOHEADER &from = source->Header(), &to = destination->Header();
  if (mqClipRectangles(&target, to.biWidth, to.biHeight, x, y, &clipped, from.biWidth,
                       from.biHeight) == 0)
    graphic_InvalidateRect(destination, &target);
  return 0;
}

uint32_t RUNA1_API graphic_DrawFullRectangle(Graphic* image, RECT* rect, uint32_t colour,
                                             uint32_t t, uint32_t z) {
  if (!image->Pixels()) return 1;
  RECT whole{0, 0, image->Header().biWidth - 1, image->Header().biHeight - 1};
  if (!rect) rect = &whole;
  prepareDestination(*image);
  {
    os::Lock hold(image->Lock());
    if (mqFillRectangle(image->BitmapInfo(), image->Pixels(), image->ZBufferInfo(), rect, colour,
                        t, z) != 0)
      return 1;
  }
  graphic_InvalidateRect(image, rect);
  return 0;
}
