/* runa1.h: the host's exports as a game module imports them (32-bit x86, module name RUNA1).
 * Every export is __stdcall and imported through a pointer slot (__imp__Name@bytes), which the
 * module linker binds to the host. Handles are opaque 32-bit values.
 * Include this header after <windows.h> when a module uses both: a few flag names of the
 * engine are also Windows macros with other values, and the engine's win here. */
#ifndef RUNA1_H
#define RUNA1_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define RUNA1_IMPORT(type) __declspec(dllimport) type __stdcall

typedef void* RUNA1_HANDLE;

/* ---- File objects ------------------------------------------------------------------------ */
#undef FILE_CREATE
#undef FILE_SHARE_READ
#undef FILE_SHARE_WRITE
#define FILE_CREATE 0x01
#define FILE_READ 0x02
#define FILE_WRITE 0x04
#define FILE_SHARE_READ 0x10
#define FILE_SHARE_WRITE 0x20

typedef RUNA1_HANDLE KFILE; /* any file object: raw file, record, archive member */

RUNA1_IMPORT(KFILE) File_OpenFile(const char* path, uint32_t flags);
RUNA1_IMPORT(uint32_t) File_CloseFile(KFILE file);
RUNA1_IMPORT(uint32_t) File_Read(KFILE file, void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Write(KFILE file, const void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Seek(KFILE file, int32_t offset, uint32_t method);
RUNA1_IMPORT(uint32_t) File_GetLength(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetPosition(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetFileName(KFILE file, char* buffer);
RUNA1_IMPORT(uint32_t) File_GetFilePath(KFILE file, char* buffer);
RUNA1_IMPORT(void*) File_GetFileHandle(KFILE file);

/* ---- Module loader and host services ----------------------------------------------------- */

/* ---- Numeric helpers ---------------------------------------------------------------------- */

/* ---- Record files and archives ------------------------------------------------------------ */

/* ---- String stream and text resources ----------------------------------------------------- */

/* ---- Images, views, fonts, z-buffer ------------------------------------------------------- */
/* Images are Windows device-independent bitmaps, rows bottom-up; colours are 0x00RRGGBB.
 * Rectangles have inclusive right and bottom. Needs <windows.h> for the bitmap types. */
typedef RUNA1_HANDLE GRAPHIC;

typedef struct ImageInfo {
  uint32_t size; /* 32 */
  uint8_t* pixels; /* first byte of the bottom row */
  int32_t width;
  int32_t height;
  uint32_t bits;
  int32_t pitch;
  uint32_t imageSize;
  uint32_t reserved;
} ImageInfo;

/* Conversion modes of graphic_SetDefConversion8BitColor. */
#define GRAPHIC_CONVERSION_NONE 0
#define GRAPHIC_CONVERSION_GREY 1
#define GRAPHIC_CONVERSION_FIXED_PALETTE 2

RUNA1_IMPORT(GRAPHIC) graphic_AllocNewBitmap(void);
RUNA1_IMPORT(GRAPHIC) graphic_CreateBitmap(int32_t width, int32_t height, uint32_t bits);
RUNA1_IMPORT(GRAPHIC) graphic_ReadBitmap(KFILE file);
RUNA1_IMPORT(uint32_t) graphic_WriteBitmap(GRAPHIC image, KFILE file);
RUNA1_IMPORT(uint32_t) graphic_DeleteBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_AttachDIBitmap(GRAPHIC image, const BITMAPINFO* info, void* bits);
RUNA1_IMPORT(uint32_t) graphic_DetachDIBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_GetDIBitmap(GRAPHIC image, BITMAPINFOHEADER* header, void** bits);
RUNA1_IMPORT(uint32_t) graphic_ReleaseDIBitmap(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_GetImageInfo(GRAPHIC image, ImageInfo* info);
RUNA1_IMPORT(uint32_t) graphic_InvalidateRect(GRAPHIC image, const RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_SetPaletteTone(GRAPHIC image, int32_t red, int32_t green, int32_t blue);
RUNA1_IMPORT(uint32_t) graphic_SetPaletteEntries(GRAPHIC image, uint32_t first, uint32_t count,
                                                 const RGBQUAD* colours);
RUNA1_IMPORT(uint32_t) graphic_GetPaletteEntries(GRAPHIC image, uint32_t first, uint32_t count,
                                                 RGBQUAD* colours);
RUNA1_IMPORT(uint32_t) graphic_UpdatePalette(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_RealizePalette(GRAPHIC image, HDC dc, int32_t background);
RUNA1_IMPORT(uint32_t) graphic_GetViewRectangle(GRAPHIC image, RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_SetViewRectangle(GRAPHIC image, int32_t left, int32_t top,
                                                int32_t right, int32_t bottom);
RUNA1_IMPORT(uint32_t) graphic_IsPointHit(GRAPHIC image, int32_t x, int32_t y);
RUNA1_IMPORT(int32_t) graphic_DrawBitmapToDC(GRAPHIC image, HDC dc, int32_t x, int32_t y,
                                             const SIZE* size, const RECT* rect);
RUNA1_IMPORT(uint32_t) graphic_AttachAlphaPlane(GRAPHIC image, const ImageInfo* alpha);
RUNA1_IMPORT(uint32_t) graphic_DetachAlphaPlane(GRAPHIC image);
RUNA1_IMPORT(uint32_t) graphic_AttachMaskPattern(GRAPHIC image, void* bits);
RUNA1_IMPORT(uint32_t) graphic_DetachMakePattern(GRAPHIC image);
RUNA1_IMPORT(ImageInfo*) graphic_GetAlphaPlaneInfo(GRAPHIC image);
RUNA1_IMPORT(int32_t) graphic_GetDefConversion8BitColor(void);
RUNA1_IMPORT(int32_t) graphic_SetDefConversion8BitColor(int32_t mode);

/* ---- Drawing core ------------------------------------------------------------------------- */
/* Flags of MOLAQ_SetDefInterface: 0x20000 uses the vector kernels whatever the processor,
 * 0x2 never uses them. */
RUNA1_IMPORT(uint32_t) MOLAQ_SetDefInterface(uint32_t flags);

/* ---- 3D ----------------------------------------------------------------------------------- */

/* ---- Sound, music, timers, movie ---------------------------------------------------------- */

/* ---- Menu screens ------------------------------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* RUNA1_H */
