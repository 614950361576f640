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

/* Inclusive rectangles, as the engine's views take them. */
typedef struct DemoRect {
  int left, top, right, bottom;
} DemoRect;

static inline int demoClamp(int value, int low, int high) { return value < low ? low : value > high ? high : value; }

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
