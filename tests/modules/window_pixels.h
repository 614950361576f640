/* The pixels of a window's client area as the screen shows them, read back through GDI: the
 * modules' own screenshot. Needs USER32 GetDC, ReleaseDC and GDI32 CreateCompatibleDC,
 * CreateDIBSection, SelectObject, BitBlt, DeleteDC, DeleteObject among the module's imports. */
#ifndef WINDOW_PIXELS_H
#define WINDOW_PIXELS_H

#include <windows.h>

#include <stdint.h>

/* The client area's pixels, 32 bits each, rows top-down; valid until the next call. */
static uint32_t* readWindow(HWND window, int width, int height) {
  static uint32_t* bits;
  BITMAPINFO info = {0};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  HDC windowDc = GetDC(window);
  HDC memory = CreateCompatibleDC(windowDc);
  static HBITMAP bitmap;
  if (bitmap) DeleteObject(bitmap);
  bitmap = CreateDIBSection(windowDc, &info, DIB_RGB_COLORS, (void**)&bits, NULL, 0);
  HGDIOBJ previous = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, windowDc, 0, 0, SRCCOPY);
  SelectObject(memory, previous);
  DeleteDC(memory);
  ReleaseDC(window, windowDc);
  return bits;
}

#endif
