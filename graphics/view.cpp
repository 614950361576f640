#include "graphics/view.h"

#include <algorithm>

#include "graphics/graphic.h"

namespace {

std::atomic<View*> currentView{nullptr};

int32_t widthOf(const RECT& r) { return r.right - r.left + 1; }
int32_t heightOf(const RECT& r) { return r.bottom - r.top + 1; }

// Links `screen` between `before` and `after`, either of which may be null.
void linkBetween(Screen* screen, Screen* before, Screen* after) {
  screen->previous = before;
  screen->next = after;
  if (before) before->next = screen;
  if (after) after->previous = screen;
}

}  // namespace

Screen* Screen::Create(Graphic* image, const RECT& window, const RECT* port) {
  Screen* screen = new Screen;
  os::Lock hold(screen->lock);
  screen->image = image;
  screen->window = window;
  if (port)
    screen->port = *port;
  else if (image)
    screen->port = image->ViewRectangle();
  return screen;
}

void Screen::Detach() {
  os::Lock hold(lock);
  Screen* before = previous.load();
  Screen* after = next.load();
  if (before) before->next = after;
  if (after) after->previous = before;
  previous = nullptr;
  next = nullptr;
}

View::View(ViewHost& host) : host_(host) {}

View::~View() { DetachAll(); }

void View::Attach(Screen* screen, Screen* reference, int32_t position) {
  if (screen == reference) return;
  screen->Detach();
  if (reference) {
    os::Lock hold(screen->lock);
    if (position == 0) {
      Screen* before = reference->previous.load();
      Screen* after = reference->next.load();
      reference->previous = nullptr;
      reference->next = nullptr;
      linkBetween(screen, before, after);
    } else if (position < 0) {
      linkBetween(screen, reference->previous.load(), reference);
    } else {
      linkBetween(screen, reference, reference->next.load());
    }
  } else {
    os::Lock hold(listLock_);
    Screen* last = &head_;
    while (Screen* after = last->next.load()) last = after;
    os::Lock holdScreen(screen->lock);
    linkBetween(screen, last, nullptr);
  }
  InvalidateWindow(screen->window);
}

void View::DetachAll() {
  while (Screen* screen = First()) screen->Detach();
}

void View::InvalidateWindow(const RECT& window) {
  host_.InvalidateWindowRect({window.left, window.top, window.right + 1, window.bottom + 1});
}

void View::InvalidateImage(const Graphic* image, const RECT& rect) {
  for (Screen* screen = First(); screen; screen = screen->next.load()) {
    if (screen->image != image) continue;
    const RECT port = screen->port, window = screen->window;
    int32_t l = std::max(rect.left, port.left), t = std::max(rect.top, port.top);
    int32_t r = std::min(rect.right, port.right), b = std::min(rect.bottom, port.bottom);
    if (l > r || t > b) continue;
    // The right and bottom edges add the window's right and bottom: the area reaches past the
    // change, which only costs repainting, and keeps the window's behaviour as modules know it.
    RECT area;
    uint32_t vw = widthOf(port), vh = heightOf(port), ww = widthOf(window), wh = heightOf(window);
    if (vw == ww && vh == wh) {
      area = {l + window.left, t + window.top, r + window.right + 1, b + window.bottom + 1};
    } else {
      auto scale = [](uint32_t to, int32_t v, uint32_t from, int32_t offset) {
        return static_cast<int32_t>(to * static_cast<uint32_t>(v) / from + static_cast<uint32_t>(offset));
      };
      area = {scale(ww, l, vw, window.left), scale(wh, t, vh, window.top),
              scale(ww, r, vw, window.right + 1), scale(wh, b, vh, window.bottom + 1)};
    }
    host_.InvalidateWindowRect(area);
  }
}

void View::Scroll(Screen* screen, int32_t dx, int32_t dy) {
  if (dx == 0 && dy == 0) return;
  host_.UpdateWindow();
  {
    os::Lock hold(screen->lock);
    screen->port.left -= dx;
    screen->port.right -= dx;
    screen->port.top -= dy;
    screen->port.bottom -= dy;
  }
  const RECT port = screen->port, window = screen->window;
  // A port without width or height shows nothing, so there is nothing to move.
  int32_t portWidth = widthOf(port), portHeight = heightOf(port);
  if (portWidth == 0 || portHeight == 0) return;
  host_.ScrollWindow(widthOf(window) * dx / portWidth, heightOf(window) * dy / portHeight, window);
}

void View::Paint(HDC dc) {
  os::Lock hold(listLock_);
  bool first = true;
  for (Screen* screen = First(); screen; screen = screen->next.load()) {
    const RECT window = screen->window, port = screen->port;
    SIZE size{widthOf(window), heightOf(window)};
    Graphic* image = screen->image;
    if (!image) continue;
    if (first) image->RealizePalette(dc, false);
    first = false;
    image->DrawBitmapToDC(dc, window.left, window.top, &size, &port);
  }
}

View* mainView() { return currentView.load(); }
void setMainView(View* view) { currentView = view; }
