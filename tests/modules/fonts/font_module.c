/* Draws a Japanese text page after page into font images with a font whose face the system
 * lacks, blits each mask in colour onto a picture shown in the main window, waits until the
 * window shows it, and writes what the window shows to "window.bmp" for the runner, with the
 * result and pen of each page in the log. */
#include <windows.h>

#include "../module_log.h"
#include "../../fonts/layout_page.h"

#define PICTURE_HEIGHT (LAYOUT_HEIGHT * LAYOUT_PAGES)
#define BACKGROUND 0x203040
#define INK 0xFFE060

static GRAPHIC picture;

static char* readText(ZPKMODULE module) {
  uint32_t id = ZPK_GetResourceID(module, "text");
  uint32_t length = ZPK_GetResourceLength(module, id);
  static char text[4096];
  if (length >= sizeof text) return 0;
  KFILE file = ZPK_OpenResource(module, id);
  uint32_t read = File_Read(file, text, length);
  File_CloseFile(file);
  text[read] = 0;
  return read == length ? text : 0;
}

static void logPage(int page, int32_t result, POINT pen) {
  logText("page ");
  logNumber((uint32_t)page);
  logText(" result ");
  if (result < 0) logText("-1");
  else logNumber((uint32_t)result);
  logText(" pen ");
  logNumber((uint32_t)pen.x);
  logText(" ");
  logNumber((uint32_t)pen.y);
  logText("\n");
}

/* Each page into a mask of its own, blitted into its band of the picture. */
static int drawPages(const char* text, HFONT font) {
  RGBQUAD ink = {INK & 0xFF, (INK >> 8) & 0xFF, INK >> 16, 0};
  uint32_t offset = 0;
  for (int page = 0; page < LAYOUT_PAGES; ++page) {
    GRAPHIC mask = FontGrph_Create(LAYOUT_WIDTH, LAYOUT_HEIGHT);
    if (!mask) return 0;
    FontGrph_SelectFont(mask, font, 0);
    FontGrph_SetProbitChars(mask, LAYOUT_PROHIBITED);
    int32_t result = FontGrph_DrawText(mask, text + offset);
    POINT pen;
    FontGrph_GetTextLocation(mask, &pen);
    logPage(page, result, pen);
    graphic_SetPaletteEntries(mask, 1, 1, &ink);
    graphic_DrawBitmapToBitmap(mask, picture, 0, page * LAYOUT_HEIGHT, NULL, 0, 0);
    FontGrph_Delete(mask);
    if (result < 2) return result == -1;
    offset += (uint32_t)result;
  }
  return 0;
}

/* The client area's pixels, 32 bits each, rows top-down. */
static uint32_t* readWindow(HWND window) {
  static uint32_t* bits;
  BITMAPINFO info = {0};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = LAYOUT_WIDTH;
  info.bmiHeader.biHeight = -PICTURE_HEIGHT;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  HDC windowDc = GetDC(window);
  HDC memory = CreateCompatibleDC(windowDc);
  static HBITMAP bitmap;
  if (bitmap) DeleteObject(bitmap);
  bitmap = CreateDIBSection(windowDc, &info, DIB_RGB_COLORS, (void**)&bits, NULL, 0);
  HGDIOBJ previous = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, LAYOUT_WIDTH, PICTURE_HEIGHT, windowDc, 0, 0, SRCCOPY);
  SelectObject(memory, previous);
  DeleteDC(memory);
  ReleaseDC(window, windowDc);
  return bits;
}

static uint32_t pictureColour(int x, int y) {
  ImageInfo info;
  info.size = sizeof info;
  graphic_GetImageInfo(picture, &info);
  const uint8_t* pixel = info.pixels + (info.height - 1 - y) * info.pitch + 3 * x;
  return (uint32_t)pixel[2] << 16 | (uint32_t)pixel[1] << 8 | pixel[0];
}

/* The main thread paints when it gets to it: look a few times. The window's pixels when they
 * show the picture, else null. */
static uint32_t* shownPicture(HWND window) {
  for (int attempt = 0; attempt < 30; ++attempt) {
    Sleep(100);
    uint32_t* bits = readWindow(window);
    int same = 1;
    for (int y = 0; y < PICTURE_HEIGHT && same; ++y)
      for (int x = 0; x < LAYOUT_WIDTH && same; ++x) same = (bits[y * LAYOUT_WIDTH + x] & 0xFFFFFF) == pictureColour(x, y);
    if (same) return bits;
  }
  return 0;
}

/* The window's pixels as a 24-bit BMP file. */
static int writeWindow(const uint32_t* bits) {
  GRAPHIC copy = graphic_CreateBitmap(LAYOUT_WIDTH, PICTURE_HEIGHT, 24);
  ImageInfo info;
  info.size = sizeof info;
  graphic_GetImageInfo(copy, &info);
  for (int y = 0; y < PICTURE_HEIGHT; ++y)
    for (int x = 0; x < LAYOUT_WIDTH; ++x) {
      uint8_t* pixel = info.pixels + (info.height - 1 - y) * info.pitch + 3 * x;
      uint32_t colour = bits[y * LAYOUT_WIDTH + x];
      pixel[0] = (uint8_t)colour;
      pixel[1] = (uint8_t)(colour >> 8);
      pixel[2] = (uint8_t)(colour >> 16);
    }
  KFILE file = File_OpenFile("window.bmp", FILE_WRITE | FILE_CREATE);
  uint32_t failed = graphic_WriteBitmap(copy, file);
  File_CloseFile(file);
  graphic_DeleteBitmap(copy);
  return failed == 0;
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  logText("code page ");
  logNumber(GetACP());
  logText("\n");
  RECT rect = {0, 0, LAYOUT_WIDTH, PICTURE_HEIGHT};
  report("main-window", InitializeMainWindow("Font Test", WS_POPUP, 0, &rect) == 0);
  picture = graphic_CreateBitmap(LAYOUT_WIDTH, PICTURE_HEIGHT, 24);
  graphic_DrawFullRectangle(picture, NULL, BACKGROUND, 0, 0);
  RECT whole = {0, 0, LAYOUT_WIDTH - 1, PICTURE_HEIGHT - 1};
  report("screen", View_AttachScreen(View_Create(picture, &whole, NULL), NULL, 0) == 0);

  const char* text = readText(module);
  report("text", text != 0);
  /* A face that neither Linux nor Wine has, and no Japanese character set asked for. */
  HFONT font = CreateFontA(LAYOUT_FONT_HEIGHT, 0, 0, 0, FW_NORMAL, 0, 0, 0, DEFAULT_CHARSET, 0, 0, 0, 0, LAYOUT_FACE);
  report("font", font != 0);
  report("pages", text && font && drawPages(text, font));
  uint32_t* shown = shownPicture(ZPK_GetMainWindow());
  report("shown", shown != 0);
  report("written", shown && writeWindow(shown));
  View_DetachAllScreen();
  DeleteObject(font);
  File_CloseFile(logFile);
  return 0;
}
