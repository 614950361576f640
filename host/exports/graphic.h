// graphic_* exports: image objects for the module. The handle is a Graphic; 0 means success
// and 1 failure unless a function says otherwise.
#pragma once

#include <cstdint>

#include "files/file_obj.h"
#include "graphics/graphic.h"
#include "graphics/zbuffer.h"

extern "C" {
Graphic* RUNA1_API graphic_AllocNewBitmap();
Graphic* RUNA1_API graphic_CreateBitmap(int32_t width, int32_t height, uint32_t bits);
Graphic* RUNA1_API graphic_ReadBitmap(KFileObj* file);
uint32_t RUNA1_API graphic_WriteBitmap(Graphic* image, KFileObj* file);
uint32_t RUNA1_API graphic_DeleteBitmap(Graphic* image);
uint32_t RUNA1_API graphic_AttachDIBitmap(Graphic* image, const BITMAPINFO* info, void* bits);
uint32_t RUNA1_API graphic_DetachDIBitmap(Graphic* image);
uint32_t RUNA1_API graphic_GetDIBitmap(Graphic* image, BITMAPINFOHEADER* header, void** bits);
uint32_t RUNA1_API graphic_ReleaseDIBitmap(Graphic* image);
uint32_t RUNA1_API graphic_GetImageInfo(Graphic* image, ImageInfo* info);
uint32_t RUNA1_API graphic_InvalidateRect(Graphic* image, const RECT* rect);
uint32_t RUNA1_API graphic_SetPaletteTone(Graphic* image, int32_t red, int32_t green, int32_t blue);
uint32_t RUNA1_API graphic_SetPaletteEntries(Graphic* image, uint32_t first, uint32_t count,
                                             const RGBQUAD* colours);
uint32_t RUNA1_API graphic_GetPaletteEntries(Graphic* image, uint32_t first, uint32_t count,
                                             RGBQUAD* colours);
uint32_t RUNA1_API graphic_UpdatePalette(Graphic* image);
uint32_t RUNA1_API graphic_RealizePalette(Graphic* image, HDC dc, int32_t background);
uint32_t RUNA1_API graphic_GetViewRectangle(Graphic* image, RECT* rect);
uint32_t RUNA1_API graphic_SetViewRectangle(Graphic* image, int32_t left, int32_t top,
                                            int32_t right, int32_t bottom);
uint32_t RUNA1_API graphic_IsPointHit(Graphic* image, int32_t x, int32_t y);
int32_t RUNA1_API graphic_DrawBitmapToDC(Graphic* image, HDC dc, int32_t x, int32_t y,
                                         const SIZE* size, const RECT* rect);
// Copies the z-buffer's record into the image (the blits of this image as source use it);
// a null z-buffer gives 1 and changes nothing.
uint32_t RUNA1_API graphic_SelectZBuffer(Graphic* image, ZBuffer* zBuffer);
uint32_t RUNA1_API graphic_AttachAlphaPlane(Graphic* image, const ImageInfo* alpha);
uint32_t RUNA1_API graphic_DetachAlphaPlane(Graphic* image);
uint32_t RUNA1_API graphic_AttachMaskPattern(Graphic* image, void* bits);
uint32_t RUNA1_API graphic_DetachMakePattern(Graphic* image);
ImageInfo* RUNA1_API graphic_GetAlphaPlaneInfo(Graphic* image);
// Draws `rect` of the source (its view rectangle when null) at (x, y) of the destination, with
// the source's alpha plane and z-buffer, at transparency `t` and depth `z`, and invalidates
// what it covered. 1 without pixels or for a pair of formats that has no kernel.
uint32_t RUNA1_API graphic_DrawBitmapToBitmap(Graphic* source, Graphic* destination, int32_t x,
                                              int32_t y, const RECT* rect, uint32_t t, uint32_t z);
// Fills `rect` (normalised and clipped in place; the whole image when null) with `colour`.
uint32_t RUNA1_API graphic_DrawFullRectangle(Graphic* image, RECT* rect, uint32_t colour,
                                             uint32_t t, uint32_t z);
int32_t RUNA1_API graphic_GetDefConversion8BitColor();
int32_t RUNA1_API graphic_SetDefConversion8BitColor(int32_t mode);
}
