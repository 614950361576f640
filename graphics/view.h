// The picture of the main window: a list of screens, each showing a rectangle of an image in a
// rectangle of the window, composed afresh on every paint. Later screens cover earlier ones.
// The view knows the window only through the narrow ViewHost that its owner implements.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/os/os.h"
#include "base/os/win32_types.h"

class Graphic;

// One node of the list. Rectangles are inclusive; the window one is in client coordinates, the
// port one in image pixels. The links are read without a lock (the painter may race with an
// editor), so they are atomic words; rectangles are written under the node's lock.
struct Screen {
  std::atomic<Screen*> previous{nullptr};
  std::atomic<Screen*> next{nullptr};
  RECT window{};
  RECT port{};
  Graphic* image = nullptr;  // not owned; null in the list's head
  os::CriticalSection lock;

  // A detached node showing `port` of `image` in `window`; a null port takes the image's view
  // rectangle as it is now.
  static Screen* Create(Graphic* image, const RECT& window, const RECT* port);
  // Unlinks the node from its neighbours; a detached node stays as it is.
  void Detach();
};

// What the view needs of its window. Rectangles are exclusive (right and bottom one past), as
// the window system takes them, unless named otherwise.
class ViewHost {
 public:
  virtual ~ViewHost() = default;
  // Marks the area for the next paint without erasing the background.
  virtual void InvalidateWindowRect(const RECT& area) = 0;
  // Paints what is invalid now, before returning.
  virtual void UpdateWindow() = 0;
  // Moves the pixels of `area` by (dx, dy), clipped to `area`; the exposed strip becomes invalid.
  // `area` is a screen's inclusive window rectangle, handed over as it stands as both the scroll
  // and the clip rectangle.
  virtual void ScrollWindow(int32_t dx, int32_t dy, const RECT& area) = 0;
};

class View {
 public:
  explicit View(ViewHost& host);
  // Detaches the screens still in the list, so that none points at the freed head.
  ~View();
  View(const View&) = delete;
  View& operator=(const View&) = delete;

  Screen* First() const { return head_.next.load(); }
  // Links `screen` in: with a null reference behind the last node; else in the place of
  // `reference` (position 0, which is detached), directly before it (negative) or behind it
  // (positive). Invalidates the screen's area. A screen already in a list is moved.
  void Attach(Screen* screen, Screen* reference, int32_t position);
  void DetachAll();
  // Invalidates the window rectangle `window` (inclusive).
  void InvalidateWindow(const RECT& window);
  // Invalidates the window area of every screen that shows `rect` (inclusive) of `image`.
  void InvalidateImage(const Graphic* image, const RECT& rect);
  // Moves the picture of `screen` by (dx, dy) image pixels: positive goes right and down.
  void Scroll(Screen* screen, int32_t dx, int32_t dy);
  // Draws every screen on `dc` in list order, stretching port to window, under the list's lock;
  // the palette of the first image is realised as the foreground palette.
  void Paint(HDC dc);

 private:
  ViewHost& host_;
  Screen head_;
  os::CriticalSection listLock_;  // held by the painter and by appending
};

// The main window's view: null while there is no main window. The frame sets it once its window
// exists and clears it before the window goes.
View* mainView();
void setMainView(View* view);
