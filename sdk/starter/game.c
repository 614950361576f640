/* A first game module: a window with a picture of two rectangles; its close box ends the game. */
#include <windows.h>
#include <runa1.h>

static volatile LONG closing;

/* Runs on the main thread: the host only beeps at the close box, the game decides. */
static uint32_t __stdcall onClose(HWND window, uint32_t message, uint32_t wParam, int32_t lParam) {
  closing = 1;
  return 0;
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  RECT client = {0, 0, 639, 479}; /* inclusive right and bottom */
  RECT frame = client;
  CalcDefaultWindowRect(&frame);
  InitializeMainWindow("Starter", WS_CAPTION | WS_SYSMENU, 0, &frame);
  ZPK_SetWndMessageProc(WM_CLOSE, onClose);

  GRAPHIC picture = graphic_CreateBitmap(640, 480, 24);
  RECT sky = {0, 0, 639, 299}, ground = {0, 300, 639, 479};
  graphic_DrawFullRectangle(picture, &sky, 0x4080C0, 0, 0);
  graphic_DrawFullRectangle(picture, &ground, 0x306020, 0, 0);
  SCREEN screen = View_Create(picture, &client, NULL);
  View_AttachScreen(screen, NULL, 0);

  while (!closing) Sleep(50);

  View_DetachAllScreen();
  View_Delete(screen);
  graphic_DeleteBitmap(picture);
  ZPK_SetWndMessageProc(WM_CLOSE, NULL);
  return 0; /* the host ends when this returns */
}
