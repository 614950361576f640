/* What the demo game shows where: shared by the game module (C) and the screenshot checker
 * (C++), so that both place the screens by the same numbers. */
#ifndef DEMO_LAYOUT_H
#define DEMO_LAYOUT_H

enum {
  DEMO_CLIENT_WIDTH = 640,
  DEMO_CLIENT_HEIGHT = 480,
  DEMO_SCROLL_STEP = 16, /* image pixels per arrow key press */
  DEMO_START_X = 900,    /* first view port corner in the big pictures */
  DEMO_START_Y = 250,
  DEMO_TITLE_LEFT = 12, /* the title plate, always on top */
  DEMO_TITLE_TOP = 12,
  DEMO_LENS_WIDTH = 160, /* the lens: the picture under the cursor, magnified */
  DEMO_LENS_HEIGHT = 120,
  DEMO_LENS_ZOOM = 2,
  DEMO_LENS_BORDER = 4, /* the lens's frame around it */
  DEMO_PICTURE_COUNT = 2 /* landscape and pattern, swapped by a click */
};

/* The places of the map scene: points of the landscape (x, then y as the map's z) in the lake,
 * on the near range and in the meadow, and their names on the labels. */
enum { DEMO_PLACE_COUNT = 3 };
static const int kDemoPlaces[2 * DEMO_PLACE_COUNT] = {400, 1320, 1000, 820, 1500, 1080};
static const char* const kDemoPlaceNames[DEMO_PLACE_COUNT] = {"LAKE", "PEAKS", "MEADOW"};

/* The CG mode's pictures: a view of each place, then the ending. The table's cells stand four
 * across, 144 by 112 apart from (8, 24). */
enum { DEMO_CG_POSITIONS = DEMO_PLACE_COUNT + 1, DEMO_CG_CELL_LEFT = 8, DEMO_CG_CELL_TOP = 24, DEMO_CG_CELL_STEP_X = 144 };

/* The scene's text window: a plate across the bottom of the client area, its text in lines of
 * DEMO_LINE_HEIGHT pixels with a rule under each. */
enum {
  DEMO_WINDOW_LEFT = 20,
  DEMO_WINDOW_TOP = 340,
  DEMO_WINDOW_RIGHT = 619, /* inclusive */
  DEMO_WINDOW_BOTTOM = 465,
  DEMO_TEXT_LEFT = 40, /* the text's clip, inclusive */
  DEMO_TEXT_TOP = 354,
  DEMO_TEXT_RIGHT = 599,
  DEMO_LINE_HEIGHT = 32,
  DEMO_TEXT_LINES = 3,
  DEMO_FONT_HEIGHT = 22,
  DEMO_WINDOW_COLOUR = 0x102040, /* 0xRRGGBB */
  DEMO_RULE_COLOUR = 0x4070A0,
  DEMO_INK_COLOUR = 0xFFF0D0,
  DEMO_RULE_RISE = 3 /* rows between a rule and the bottom of its line */
};
/* The text's font face, "ＭＳ ゴシック" in Shift-JIS (the system puts an installed Japanese face
 * in its place), and the characters that may not begin a line, "、。」）！？". */
#define DEMO_FACE "\x82\x6C\x82\x72\x20\x83\x53\x83\x56\x83\x62\x83\x4E"
#define DEMO_PROHIBITED "\x81\x41\x81\x42\x81\x76\x81\x6A\x81\x49\x81\x48"

/* Inclusive rectangles, as the engine's views take them. */
typedef struct DemoRect {
  int left, top, right, bottom;
} DemoRect;

static inline int demoClamp(int value, int low, int high) { return value < low ? low : value > high ? high : value; }

/* The corner of the landscape that the story shows behind its text at `place`, or the title's
 * first view before a place is chosen (-1): the place in the middle, kept inside the picture
 * of imageWidth by imageHeight. */
static inline void demoSceneCorner(int place, int imageWidth, int imageHeight, int* x, int* y) {
  *x = DEMO_START_X;
  *y = DEMO_START_Y;
  if (place < 0 || place >= DEMO_PLACE_COUNT) return;
  *x = demoClamp(kDemoPlaces[2 * place] - DEMO_CLIENT_WIDTH / 2, 0, imageWidth - DEMO_CLIENT_WIDTH);
  *y = demoClamp(kDemoPlaces[2 * place + 1] - DEMO_CLIENT_HEIGHT / 2, 0, imageHeight - DEMO_CLIENT_HEIGHT);
}

/* The lens around the client point (x, y) while the view port's corner is (scrollX, scrollY)
 * in a picture of imageWidth by imageHeight: its window, kept inside the client area, and the
 * part of the picture it magnifies, centred on the point under the cursor and kept inside the
 * picture. */
static inline void demoLensRects(int x, int y, int scrollX, int scrollY, int imageWidth, int imageHeight,
                                 DemoRect* window, DemoRect* port) {
  const int portWidth = DEMO_LENS_WIDTH / DEMO_LENS_ZOOM, portHeight = DEMO_LENS_HEIGHT / DEMO_LENS_ZOOM;
  window->left = demoClamp(x - DEMO_LENS_WIDTH / 2, 0, DEMO_CLIENT_WIDTH - DEMO_LENS_WIDTH);
  window->top = demoClamp(y - DEMO_LENS_HEIGHT / 2, 0, DEMO_CLIENT_HEIGHT - DEMO_LENS_HEIGHT);
  window->right = window->left + DEMO_LENS_WIDTH - 1;
  window->bottom = window->top + DEMO_LENS_HEIGHT - 1;
  port->left = demoClamp(scrollX + x - portWidth / 2, 0, imageWidth - portWidth);
  port->top = demoClamp(scrollY + y - portHeight / 2, 0, imageHeight - portHeight);
  port->right = port->left + portWidth - 1;
  port->bottom = port->top + portHeight - 1;
}

#endif
