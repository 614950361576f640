/* Shows two screens, one of them stretched, reads the window's pixels back and compares them
 * with the composition of the screens; then changes an image and looks again. With the host's
 * emulated display modes switched on, it asks for a mode that the display lacks and checks that
 * the window covers the monitor with the picture scaled, and that the mouse is mapped back. */
#include <windows.h>

#include "module_log.h"
#include "window_pixels.h"

#define PICTURE_WIDTH 400
#define PICTURE_HEIGHT 300
#define FRONT_SIZE 16
#define FRONT_STRETCH 4
#define FRONT_LEFT 40
#define FRONT_TOP 30

static GRAPHIC back, front;
static volatile LONG lastMouse = -1;

static uint8_t* pixelOf(GRAPHIC image, int x, int y) {
  ImageInfo info;
  info.size = sizeof info;
  graphic_GetImageInfo(image, &info);
  return info.pixels + (info.height - 1 - y) * info.pitch + 3 * x;
}

static void setPixel(GRAPHIC image, int x, int y, uint32_t colour) {
  uint8_t* pixel = pixelOf(image, x, y);
  pixel[0] = (uint8_t)colour;
  pixel[1] = (uint8_t)(colour >> 8);
  pixel[2] = (uint8_t)(colour >> 16);
}

static uint32_t backColour(int x, int y) { return (uint32_t)(x & 0xFF) << 16 | (uint32_t)(y & 0xFF) << 8 | 0x40; }
static uint32_t frontColour(int x, int y, int generation) {
  return (uint32_t)(x * 16) << 16 | (uint32_t)(255 - y * 16) << 8 | (uint32_t)(0x80 + generation);
}

static int generation;

/* The picture as the screens compose it: the front screen covers the back one. */
static uint32_t expectedColour(int x, int y) {
  int fx = x - FRONT_LEFT, fy = y - FRONT_TOP;
  if (fx >= 0 && fy >= 0 && fx < FRONT_SIZE * FRONT_STRETCH && fy < FRONT_SIZE * FRONT_STRETCH)
    return frontColour(fx / FRONT_STRETCH, fy / FRONT_STRETCH, generation);
  return backColour(x, y);
}

static void paintFront(void) {
  for (int y = 0; y < FRONT_SIZE; ++y)
    for (int x = 0; x < FRONT_SIZE; ++x) setPixel(front, x, y, frontColour(x, y, generation));
}

static void makeScreens(void) {
  back = graphic_CreateBitmap(PICTURE_WIDTH, PICTURE_HEIGHT, 24);
  front = graphic_CreateBitmap(FRONT_SIZE, FRONT_SIZE, 24);
  for (int y = 0; y < PICTURE_HEIGHT; ++y)
    for (int x = 0; x < PICTURE_WIDTH; ++x) setPixel(back, x, y, backColour(x, y));
  paintFront();
  RECT whole = {0, 0, PICTURE_WIDTH - 1, PICTURE_HEIGHT - 1};
  RECT stretched = {FRONT_LEFT, FRONT_TOP, FRONT_LEFT + FRONT_SIZE * FRONT_STRETCH - 1,
                    FRONT_TOP + FRONT_SIZE * FRONT_STRETCH - 1};
  report("attach-back", View_AttachScreen(View_Create(back, &whole, NULL), NULL, 0) == 0);
  report("attach-front", View_AttachScreen(View_Create(front, &stretched, NULL), NULL, 0) == 0);
}

/* Compares every picture pixel with the window pixel in the middle of its scaled cell, and the
 * corners of the bars with black. The number of wrong pixels; the first one is logged. */
static uint32_t comparePicture(HWND window, int originX, int originY, int factor) {
  RECT client;
  GetClientRect(window, &client);
  uint32_t* bits = readWindow(window, client.right, client.bottom);
  uint32_t wrong = 0;
  for (int y = 0; y < PICTURE_HEIGHT; ++y) {
    for (int x = 0; x < PICTURE_WIDTH; ++x) {
      int wx = originX + x * factor + factor / 2, wy = originY + y * factor + factor / 2;
      uint32_t seen = bits[wy * client.right + wx] & 0xFFFFFF;
      if (seen != expectedColour(x, y) && wrong++ == 0) {
        logText("first wrong pixel ");
        logNumber((uint32_t)x);
        logText(",");
        logNumber((uint32_t)y);
        logText(": ");
        logNumber(seen);
        logText(" for ");
        logNumber(expectedColour(x, y));
        logText("\n");
      }
    }
  }
  if (originX > 0 && ((bits[0] & 0xFFFFFF) != 0 || (bits[client.bottom * client.right - 1] & 0xFFFFFF) != 0))
    ++wrong;
  return wrong;
}

/* The main thread paints when it gets to it: look a few times. */
static int pictureShown(HWND window, int originX, int originY, int factor) {
  for (int attempt = 0; attempt < 30; ++attempt) {
    Sleep(100);
    if (comparePicture(window, originX, originY, factor) == 0) return 1;
  }
  return 0;
}

static void changeFront(void) {
  ++generation;
  paintFront();
  RECT all = {0, 0, FRONT_SIZE - 1, FRONT_SIZE - 1};
  graphic_InvalidateRect(front, &all);
}

static uint32_t __stdcall mouseProcedure(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  if (message == WM_MOUSEMOVE) lastMouse = lParam;
  return 0;
}

static void checkWindowed(void) {
  RECT rect = {0, 0, PICTURE_WIDTH, PICTURE_HEIGHT};
  report("main-window", InitializeMainWindow("Paint Test", WS_POPUP, 0, &rect) == 0);
  HWND window = ZPK_GetMainWindow();
  makeScreens();
  report("composed", pictureShown(window, 0, 0, 1));
  changeFront();
  report("changed-image-repainted", pictureShown(window, 0, 0, 1));
}

static void checkEmulated(void) {
  report("emulated-mode-present", ZPK_TestDisplayMode(PICTURE_WIDTH, PICTURE_HEIGHT, 8) == 0);
  SIZE size = {PICTURE_WIDTH, PICTURE_HEIGHT};
  report("system", InitializeSystem(NULL, &size, "Emulated Test", 8) == 0);
  HWND window = ZPK_GetMainWindow();
  RECT actual, client;
  GetWindowRect(window, &actual);
  GetClientRect(window, &client);
  int screenWidth = GetSystemMetrics(SM_CXSCREEN), screenHeight = GetSystemMetrics(SM_CYSCREEN);
  report("covers-monitor", actual.left == 0 && actual.top == 0 && actual.right == screenWidth &&
                               actual.bottom == screenHeight && client.right == screenWidth &&
                               client.bottom == screenHeight);
  report("borderless", (GetWindowLongA(window, GWL_STYLE) & (WS_CAPTION | WS_THICKFRAME)) == 0);
  /* The largest whole factor, centred. */
  int factor = screenWidth / PICTURE_WIDTH < screenHeight / PICTURE_HEIGHT ? screenWidth / PICTURE_WIDTH
                                                                           : screenHeight / PICTURE_HEIGHT;
  int originX = (screenWidth - PICTURE_WIDTH * factor) / 2, originY = (screenHeight - PICTURE_HEIGHT * factor) / 2;
  logText("factor ");
  logNumber((uint32_t)factor);
  logText("\n");
  makeScreens();
  report("scaled-picture", pictureShown(window, originX, originY, factor));
  changeFront();
  report("scaled-change-repainted", pictureShown(window, originX, originY, factor));

  ZPK_SetMainWndProc(mouseProcedure);
  PostMessageA(window, WM_MOUSEMOVE, 0, MAKELPARAM(originX + 10 * factor + factor - 1, originY + 20 * factor));
  for (int i = 0; i < 200 && lastMouse == -1; ++i) Sleep(10);
  report("mouse-in-picture-pixels", lastMouse == MAKELPARAM(10, 20));
  ZPK_SetMainWndProc(NULL);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  char setting[8];
  if (GetEnvironmentVariableA("RUNA1_EMULATE_DISPLAY", setting, sizeof setting))
    checkEmulated();
  else
    checkWindowed();
  File_CloseFile(logFile);
  return 0;
}
