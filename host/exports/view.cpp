#include "host/exports/view.h"

namespace {

// Invalidates `window` (inclusive) of the main window, if there is one.
void invalidate(const RECT& window) {
  if (View* view = mainView()) view->InvalidateWindow(window);
}

}  // namespace

Screen* RUNA1_API View_Create(Graphic* image, const RECT* window, const RECT* port) {
  if (!window) return nullptr;
  return Screen::Create(image, *window, port);
}

uint32_t RUNA1_API View_Delete(Screen* screen) {
  const RECT window = screen->window;
  screen->Detach();
  delete screen;
  invalidate(window);
  return 0;
}

uint32_t RUNA1_API View_AttachScreen(Screen* screen, Screen* reference, int32_t position) {
  View* view = mainView();
  if (!view) return 1;
  view->Attach(screen, reference, position);
  return 0;
}

uint32_t RUNA1_API View_DetachScreen(Screen* screen) {
  screen->Detach();
  invalidate(screen->window);
  return 0;
}

uint32_t RUNA1_API View_DetachAllScreen() {
  while (Screen* screen = View_GetFirstScreen()) View_DetachScreen(screen);
  return 0;
}

Screen* RUNA1_API View_GetFirstScreen() {
  View* view = mainView();
  return view ? view->First() : nullptr;
}

Screen* RUNA1_API View_GetNextScreen(Screen* screen) { return screen->next.load(); }

uint32_t RUNA1_API View_GetViewWindow(Screen* screen, RECT* window) {
  *window = screen->window;
  return 0;
}

uint32_t RUNA1_API View_GetViewPort(Screen* screen, RECT* port) {
  *port = screen->port;
  return 0;
}

uint32_t RUNA1_API View_SetViewWindow(Screen* screen, const RECT* window) {
  const RECT old = screen->window;
  {
    os::Lock hold(screen->lock);
    screen->window = *window;
  }
  invalidate(old);
  invalidate(*window);
  return 0;
}

uint32_t RUNA1_API View_SetViewPort(Screen* screen, const RECT* port) {
  {
    os::Lock hold(screen->lock);
    screen->port = *port;
  }
  invalidate(screen->window);
  return 0;
}

uint32_t RUNA1_API View_ScrollViewWindow(Screen* screen, int32_t dx, int32_t dy) {
  View* view = mainView();
  if (!view) return 1;
  view->Scroll(screen, dx, dy);
  return 0;
}
