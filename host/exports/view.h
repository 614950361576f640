// View_* exports: the screens of the main window's picture. The handle is a Screen; 0 means
// success and 1 that there is no main window.
#pragma once

#include <cstdint>

#include "graphics/graphic.h"
#include "graphics/view.h"

extern "C" {
// A detached screen; null for a null window rectangle.
Screen* RUNA1_API View_Create(Graphic* image, const RECT* window, const RECT* port);
uint32_t RUNA1_API View_Delete(Screen* screen);
uint32_t RUNA1_API View_AttachScreen(Screen* screen, Screen* reference, int32_t position);
uint32_t RUNA1_API View_DetachScreen(Screen* screen);
uint32_t RUNA1_API View_DetachAllScreen();
Screen* RUNA1_API View_GetFirstScreen();
Screen* RUNA1_API View_GetNextScreen(Screen* screen);
uint32_t RUNA1_API View_GetViewWindow(Screen* screen, RECT* window);
uint32_t RUNA1_API View_GetViewPort(Screen* screen, RECT* port);
uint32_t RUNA1_API View_SetViewWindow(Screen* screen, const RECT* window);
uint32_t RUNA1_API View_SetViewPort(Screen* screen, const RECT* port);
uint32_t RUNA1_API View_ScrollViewWindow(Screen* screen, int32_t dx, int32_t dy);
}
