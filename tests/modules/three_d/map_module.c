/* The map scene seen in the window. First a frame of k3dDrawAFrameScreen is shown and read
 * back. Then k3dSelectPlaceOnMap runs while the test's runner presses keys and moves and clicks
 * the mouse (xdotool); at the decision the listener reads the window back and compares it with
 * the frame of the place and height that the inputs lead to. The module writes "client X Y"
 * and "ready" to report.txt for the runner, and a line per WM_PAINT to paints.txt, so that the
 * runner can wait until a flight has ended. */
#include <windows.h>

#include "../module_log.h"
#include "../window_pixels.h"

#define WIDTH 320
#define HEIGHT 240
#define MAP_SIZE 120
#define PLACE_COUNT 4

static GRAPHIC map;
static GRAPHIC labels[PLACE_COUNT];
static int32_t places[2 * PLACE_COUNT] = {20, 20, 100, 30, 90, 100, 30, 90};
static int32_t labelOffsets[2 * PLACE_COUNT] = {4, 4, 4, 4, 4, 4, 4, 4};
static RGBQUAD colours[256];
static KFILE paints;

/* Texels name their block of 8 by 8: 1 + column + 16 * row. */
static uint8_t texelName(int u, int v) { return (uint8_t)(1 + u / 8 + 16 * (v / 8)); }

static uint8_t* rowOf(GRAPHIC image, int y) {
  ImageInfo info;
  info.size = sizeof info;
  graphic_GetImageInfo(image, &info);
  return info.pixels + (info.height - 1 - y) * info.pitch;
}

static GRAPHIC indexedImage(int width, int height) {
  GRAPHIC image = graphic_CreateBitmap(width, height, 8);
  graphic_SetPaletteEntries(image, 0, 256, colours);
  return image;
}

static void makeMap(void) {
  /* Colour 0 is black, the colour of the ground around the map; the others differ. */
  for (int i = 1; i < 256; ++i) {
    colours[i].rgbRed = (BYTE)i;
    colours[i].rgbGreen = (BYTE)(i * 3);
    colours[i].rgbBlue = (BYTE)(255 - i);
  }
  map = indexedImage(MAP_SIZE, MAP_SIZE);
  /* Stored row v is texel row v. */
  for (int v = 0; v < MAP_SIZE; ++v) {
    uint8_t* row = rowOf(map, MAP_SIZE - 1 - v);
    for (int u = 0; u < MAP_SIZE; ++u) row[u] = texelName(u, v);
  }
  for (int i = 0; i < PLACE_COUNT; ++i) {
    labels[i] = indexedImage(9, 9);
    for (int y = 0; y < 9; ++y)
      for (int x = 0; x < 9; ++x) rowOf(labels[i], y)[x] = (uint8_t)(240 + i);
  }
}

static uint32_t colourOf(uint8_t index) {
  return (uint32_t)colours[index].rgbRed << 16 | (uint32_t)colours[index].rgbGreen << 8 | colours[index].rgbBlue;
}

/* The pixels of the window that differ from `frame` seen through the palette. */
static uint32_t wrongPixels(GRAPHIC frame) {
  uint32_t* bits = readWindow(ZPK_GetMainWindow(), WIDTH, HEIGHT);
  uint32_t wrong = 0;
  for (int y = 0; y < HEIGHT; ++y) {
    uint8_t* row = rowOf(frame, y);
    for (int x = 0; x < WIDTH; ++x) wrong += (bits[y * WIDTH + x] & 0xFFFFFF) != colourOf(row[x]);
  }
  return wrong;
}

/* The window shows `frame`, once the main thread has painted. */
static int frameShown(GRAPHIC frame) {
  for (int attempt = 0; attempt < 50; ++attempt) {
    if (wrongPixels(frame) == 0) return 1;
    Sleep(100);
  }
  logText("wrong pixels ");
  logNumber(wrongPixels(frame));
  logText("\n");
  return 0;
}

static void checkFrame(void) {
  GRAPHIC frame = indexedImage(WIDTH, HEIGHT);
  int32_t clip[4] = {0, 0, WIDTH - 1, HEIGHT - 1}, center[2] = {WIDTH / 2, HEIGHT / 2};
  K3DVector eye = {-30, -80, -40}, target = {60, 0, 52};
  k3dDrawAFrameScreen(frame, clip, center, HEIGHT, map, &eye, &target);
  report("frame-centre-is-target", rowOf(frame, HEIGHT / 2)[WIDTH / 2] == texelName(60, 52));
  report("frame-corner-is-ground", rowOf(frame, 0)[0] == 0 && rowOf(frame, HEIGHT - 1)[WIDTH - 1] == 0);
  RECT whole = {0, 0, WIDTH - 1, HEIGHT - 1};
  SCREEN screen = View_Create(frame, &whole, NULL);
  View_AttachScreen(screen, NULL, 0);
  report("frame-shown", frameShown(frame));
}

/* The selection's camera, from its rules: stations between each place and the next, the
 * height doubling from 2^12 / 65536 of the focal distance, the eye at the place's station. */
typedef struct {
  K3DVector eye, target;
} Camera;

static Camera cameraOf(int place, int height, int station) {
  int next = (station + 1) % PLACE_COUNT;
  double focal = HEIGHT;
  Camera camera;
  camera.eye.x = (places[2 * station] + places[2 * next]) >> 1;
  camera.eye.y = -(double)(1 << (height + 12)) * focal / 65536;
  camera.eye.z = (places[2 * station + 1] + places[2 * next + 1]) >> 1;
  camera.target.x = places[2 * place];
  camera.target.y = 0;
  camera.target.z = places[2 * place + 1];
  return camera;
}

static double mix(double a, double b) { return a + (b - a) * 1.0; }

/* The listener: its table's slot 1 is a member function that takes two int32. A fastcall
 * function takes `self` in ECX like one and pops the two arguments it finds on the stack. */
static int decisions, decisionArgumentsZero, decisionFrameShown;

static void __fastcall onDecision(void* self, int unused, int32_t first, int32_t second) {
  ++decisions;
  decisionArgumentsZero = first == 0 && second == 0;
  /* The runner's inputs: right (place 1, station 0), up (height 4), the mouse to the left
   * (place 0, station 1), keypad 9 (place 1, height 5, station 3), then Escape and the right
   * button, which change nothing. The last flight ended at the camera of the last move. */
  Camera from = cameraOf(0, 4, 1), to = cameraOf(1, 5, 3), shown;
  shown.eye.x = mix(from.eye.x, to.eye.x);
  shown.eye.y = mix(from.eye.y, to.eye.y);
  shown.eye.z = mix(from.eye.z, to.eye.z);
  shown.target.x = mix(from.target.x, to.target.x);
  shown.target.y = mix(from.target.y, to.target.y);
  shown.target.z = mix(from.target.z, to.target.z);
  GRAPHIC frame = indexedImage(WIDTH, HEIGHT);
  int32_t clip[4] = {0, 0, WIDTH - 1, HEIGHT - 1}, center[2] = {(WIDTH - 1) >> 1, (HEIGHT - 1) >> 1};
  k3dDrawAFrameScreen(frame, clip, center, HEIGHT, map, &shown.eye, &shown.target);
  graphic_DrawBitmapToBitmap(labels[1], frame, center[0] - labelOffsets[2], center[1] - labelOffsets[3], NULL, 0, 0);
  decisionFrameShown = frameShown(frame);
  graphic_DeleteBitmap(frame);
}

static void* listenerTable[2] = {0, (void*)onDecision};
static void* listener = listenerTable;

static uint32_t __stdcall notePaints(void* context, HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  if (message == WM_PAINT) File_Write(paints, "paint\n", 6);
  return 0;
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openLog();
  RECT rect = {0, 0, WIDTH, HEIGHT};
  report("main-window", InitializeMainWindow("Map Test", WS_POPUP, 0, &rect) == 0);
  makeMap();
  checkFrame();

  paints = File_OpenFile("paints.txt", FILE_WRITE | FILE_CREATE | FILE_SHARE_READ);
  ZPK_OpenMainWndProcEx(notePaints, &paints);
  POINT origin = {0, 0};
  ClientToScreen(ZPK_GetMainWindow(), &origin);
  KFILE runner = File_OpenFile("report.txt", FILE_WRITE | FILE_CREATE | FILE_SHARE_READ);
  char line[40] = "client ";
  int length = 7;
  for (int i = 0; i < 2; ++i) {
    int value = i ? origin.y : origin.x, digits = 1;
    for (int rest = value; rest >= 10; rest /= 10) ++digits;
    for (int d = digits - 1; d >= 0; --d, value /= 10) line[length + d] = (char)('0' + value % 10);
    length += digits;
    line[length++] = i ? '\n' : ' ';
  }
  File_Write(runner, line, (uint32_t)length);
  File_Write(runner, "ready\n", 6);
  File_CloseFile(runner);

  int32_t screenRect[4] = {0, 0, WIDTH - 1, HEIGHT - 1};
  int32_t place = 0, height = -1;
  k3dSelectPlaceOnMap(screenRect, map, places, labels, labelOffsets, PLACE_COUNT, &place, &height, &listener);
  ZPK_CloseMainWndProcEx(&paints);
  File_CloseFile(paints);
  logText("place ");
  logNumber((uint32_t)place);
  logText("\nheight ");
  logNumber((uint32_t)height);
  logText("\n");
  report("listener-called-once", decisions == 1 && decisionArgumentsZero);
  report("decision-frame-shown", decisionFrameShown);
  report("place-chosen", place == 1);
  report("height-chosen", height == 5);
  report("screens-detached", View_GetFirstScreen() == NULL);
  File_CloseFile(logFile);
  return 0;
}
