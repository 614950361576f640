/* Its initialiser, on the main thread before the start, forbids the vector kernels; the start
 * chooses them anew by the processor. Pictures decoded by the plain and the vector inverse
 * transforms differ in a few pixels, so a checksum tells which variant decoded. */
#include <windows.h>

#include "../module_log.h"

enum { kNoVector = 2 };

void __stdcall ModuleInit(void) { MOLAQ_SetDefInterface(kNoVector); }

static uint32_t pictureChecksum(void) {
  GRAPHIC image = MOLAQImage_ReadImageFile("picture.mq", 0);
  if (!image) return 0;
  BITMAPINFOHEADER header;
  void* bits;
  graphic_GetDIBitmap(image, &header, &bits);
  uint32_t sum = 0;
  for (uint32_t i = 0; i < header.biSizeImage; ++i) sum = sum * 31 + ((const uint8_t*)bits)[i];
  graphic_DeleteBitmap(image);
  return sum;
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  uint32_t atStart = pictureChecksum();
  MOLAQ_SetDefInterface(kNoVector);
  uint32_t plain = pictureChecksum();
  MOLAQ_SetDefInterface(0);
  uint32_t byProcessor = pictureChecksum();
  report("read", atStart != 0);
  report("variants-differ", plain != byProcessor);
  report("start-chose-anew", atStart == byProcessor);
  File_CloseFile(logFile);
  return 0;
}
