/* The demo game: a small game in a 640x480 window. The opening comes first. The title screen is
 * a big landscape that the arrow keys scroll, with a framed lens that follows the mouse and
 * magnifies what lies under it, a click that swaps the landscape for a colour pattern, and a
 * title plate on top; Enter opens the start-up menu (new game, continue, sound configuration,
 * bonus, quit), L loads a saved story, Escape or the close box ends the game. The story walks
 * through the scene script (scene.sjis): Japanese text drawn with font images in a ruled text
 * window, each entry voiced, the main menu over it on Escape or the right button; the map scene
 * where the player picks a place; the save screen; the last scene, the staff roll and the
 * ending. Music is our own MIDI song, or its rendering as a wave where no MIDI device plays; the
 * voice volume, the music volume and the message speed come from the sound configuration's
 * profile values.
 *
 * The window hooks run on the host's main thread and only note what happened; the game loop
 * on the module thread owns the screens and applies the input. With the environment variable
 * RUNA1_DEMO_REPORT naming a file, the game writes there where its client area lies on the
 * screen ("client LEFT TOP"), "ready" once the first frame is painted, the title's state after
 * every change ("state SCROLLX SCROLLY PICTURE LENSX LENSY"), the screens it shows ("screen
 * NAME"), what it plays and chooses, and "end": what a test or a script driving the demo needs
 * to know. */
#include "demo_game.h"

#include "demo_layout.h"

static const char kTitle[] = "Runa1 Demo";
static const char* const kPictureFiles[DEMO_PICTURE_COUNT] = {"landscape.mqi", "pattern.mqi"};

/* Written by the hooks (main thread), taken by the game loop (module thread). */
static volatile LONG pendingStepsX, pendingStepsY, pendingClicks, pendingEnters, pendingLoads, pendingMenus, quitAsked;
static volatile LONG pointerMoves, pointerPosition; /* the lParam of the last WM_MOUSEMOVE */

/* The game's own state, module thread only. */
static HWND window;
static KFILE reportFile;
static GRAPHIC pictures[DEMO_PICTURE_COUNT], titlePlate, lensFrame;
static SCREEN mainScreen, lensFrameScreen, lensScreen, titleScreen;
static int shown, scrollX = DEMO_START_X, scrollY = DEMO_START_Y;
static int lensShown, lensX, lensY;

static uint32_t __stdcall onKeyDown(HWND hwnd, uint32_t message, uint32_t key, int32_t flags) {
  switch (key) {
    case VK_LEFT: __atomic_sub_fetch(&pendingStepsX, 1, __ATOMIC_SEQ_CST); break;
    case VK_RIGHT: __atomic_add_fetch(&pendingStepsX, 1, __ATOMIC_SEQ_CST); break;
    case VK_UP: __atomic_sub_fetch(&pendingStepsY, 1, __ATOMIC_SEQ_CST); break;
    case VK_DOWN: __atomic_add_fetch(&pendingStepsY, 1, __ATOMIC_SEQ_CST); break;
    case VK_RETURN:
    case VK_SPACE: __atomic_add_fetch(&pendingEnters, 1, __ATOMIC_SEQ_CST); break;
    case 'L': __atomic_add_fetch(&pendingLoads, 1, __ATOMIC_SEQ_CST); break;
    case VK_ESCAPE: __atomic_add_fetch(&pendingMenus, 1, __ATOMIC_SEQ_CST); break;
  }
  return 0;
}

/* The frame only beeps at its close box and leaves the decision to the game: it ends. */
static uint32_t __stdcall onClose(HWND hwnd, uint32_t message, uint32_t wParam, int32_t lParam) {
  __atomic_store_n(&quitAsked, 1, __ATOMIC_SEQ_CST);
  return 0;
}

static uint32_t __stdcall onMouseMove(HWND hwnd, uint32_t message, uint32_t buttons, int32_t position) {
  __atomic_store_n(&pointerPosition, position, __ATOMIC_SEQ_CST);
  __atomic_add_fetch(&pointerMoves, 1, __ATOMIC_SEQ_CST);
  return 0;
}

static uint32_t __stdcall onButtonDown(HWND hwnd, uint32_t message, uint32_t buttons, int32_t position) {
  __atomic_add_fetch(&pendingClicks, 1, __ATOMIC_SEQ_CST);
  return 0;
}

static uint32_t __stdcall onRightButtonDown(HWND hwnd, uint32_t message, uint32_t buttons, int32_t position) {
  __atomic_add_fetch(&pendingMenus, 1, __ATOMIC_SEQ_CST);
  return 0;
}

/* Appends the decimal digits of `value` (with a sign if negative) and returns the new end. */
static char* appendNumber(char* out, int value) {
  char digits[12];
  int count = 0;
  unsigned magnitude = value < 0 ? 0u - (unsigned)value : (unsigned)value;
  if (value < 0) *out++ = '-';
  do {
    digits[count++] = (char)('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude);
  while (count) *out++ = digits[--count];
  return out;
}

void reportLine(const char* word, int count, const int* numbers) {
  if (!reportFile) return;
  char line[96];
  char* end = line;
  for (const char* c = word; *c;) *end++ = *c++;
  for (int i = 0; i < count; ++i) {
    *end++ = ' ';
    end = appendNumber(end, numbers[i]);
  }
  *end++ = '\n';
  File_Write(reportFile, line, (uint32_t)(end - line));
}

void reportWords(const char* first, const char* second) {
  if (!reportFile) return;
  char line[96];
  uint32_t length = 0;
  for (const char* part[] = {first, " ", second}, **p = part; p < part + 3; ++p) {
    for (const char* c = *p; *c && length < sizeof line - 1; ++c) line[length++] = *c;
  }
  line[length++] = '\n';
  File_Write(reportFile, line, length);
}

static void reportState(void) {
  const int state[5] = {scrollX, scrollY, shown, lensX, lensY};
  reportLine("state", 5, state);
}

static void openReport(void) {
  char path[MAX_PATH];
  DWORD length = GetEnvironmentVariableA("RUNA1_DEMO_REPORT", path, sizeof path);
  if (length > 0 && length < sizeof path) reportFile = File_OpenFile(path, FILE_WRITE | FILE_CREATE);
}

void complain(const char* what, const char* name) {
  char message[360];
  uint32_t length = 0;
  for (const char* part[] = {"demo: ", what, " ", name, "\n"}, **p = part; p < part + 5; ++p) {
    for (const char* c = *p; *c && length < sizeof message - 1; ++c) message[length++] = *c;
  }
  message[length] = 0;
  DWORD written;
  WriteFile(GetStdHandle(STD_ERROR_HANDLE), message, length, &written, NULL);
  OutputDebugStringA(message);
}

/* A 640x480 client area in a captioned window, centred on the screen. */
static int openWindow(void) {
  const DWORD style = WS_OVERLAPPED | WS_CAPTION | WS_SYSMENU | WS_MINIMIZEBOX;
  RECT rect = {0, 0, DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT};
  AdjustWindowRectEx(&rect, style, FALSE, 0);
  int width = rect.right - rect.left, height = rect.bottom - rect.top;
  int left = (GetSystemMetrics(SM_CXSCREEN) - width) / 2, top = (GetSystemMetrics(SM_CYSCREEN) - height) / 2;
  RECT placed = {left > 0 ? left : 0, top > 0 ? top : 0, 0, 0};
  placed.right = placed.left + width;
  placed.bottom = placed.top + height;
  if (InitializeMainWindow(kTitle, style, 0, &placed) != 0) return 0;
  window = ZPK_GetMainWindow();
  return window != NULL;
}

static RECT toRect(DemoRect r) {
  RECT rect = {r.left, r.top, r.right, r.bottom};
  return rect;
}

static int pictureWidth(void) {
  ImageInfo info;
  graphic_GetImageInfo(pictures[shown], &info);
  return info.width;
}

static int pictureHeight(void) {
  ImageInfo info;
  graphic_GetImageInfo(pictures[shown], &info);
  return info.height;
}

static void lensRects(RECT* lensWindow, RECT* lensPort) {
  DemoRect w, p;
  demoLensRects(lensX, lensY, scrollX, scrollY, pictureWidth(), pictureHeight(), &w, &p);
  *lensWindow = toRect(w);
  *lensPort = toRect(p);
}

static RECT lensFrameRect(void) {
  RECT lensWindow, lensPort;
  lensRects(&lensWindow, &lensPort);
  RECT frame = {lensWindow.left - DEMO_LENS_BORDER, lensWindow.top - DEMO_LENS_BORDER,
                lensWindow.right + DEMO_LENS_BORDER, lensWindow.bottom + DEMO_LENS_BORDER};
  return frame;
}

static RECT mainPort(void) {
  RECT port = {scrollX, scrollY, scrollX + DEMO_CLIENT_WIDTH - 1, scrollY + DEMO_CLIENT_HEIGHT - 1};
  return port;
}

static RECT titleRect(void) {
  ImageInfo info;
  graphic_GetImageInfo(titlePlate, &info);
  RECT rect = {DEMO_TITLE_LEFT, DEMO_TITLE_TOP, DEMO_TITLE_LEFT + info.width - 1, DEMO_TITLE_TOP + info.height - 1};
  return rect;
}

static GRAPHIC readPicture(const char* name) {
  GRAPHIC picture = MOLAQImage_ReadImageFile(name, 0);
  if (!picture) complain("cannot read", name);
  return picture;
}

/* Reads the pictures and builds the screens: the picture filling the client area, the lens in
 * its frame (attached once the pointer shows up) and the title plate on top. */
static int buildScreens(void) {
  for (int i = 0; i < DEMO_PICTURE_COUNT; ++i) {
    if (!(pictures[i] = readPicture(kPictureFiles[i]))) return 0;
  }
  if (!(titlePlate = readPicture("title.mqi")) || !(lensFrame = readPicture("lens.mqi"))) return 0;
  RECT client = {0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1};
  RECT port = mainPort();
  RECT title = titleRect();
  RECT frame = lensFrameRect();
  RECT lensWindow, lensPort;
  lensRects(&lensWindow, &lensPort);
  mainScreen = View_Create(pictures[shown], &client, &port);
  lensFrameScreen = View_Create(lensFrame, &frame, NULL);
  lensScreen = View_Create(pictures[shown], &lensWindow, &lensPort);
  titleScreen = View_Create(titlePlate, &title, NULL);
  return View_AttachScreen(mainScreen, NULL, 0) == 0 && View_AttachScreen(titleScreen, NULL, 0) == 0;
}

/* ScrollWindow moved every pixel of the client area, those of an overlay too: repaint the
 * overlay where it stands and where its pixels went. */
static void repairOverlay(RECT area, int dx, int dy) {
  RECT stands = {area.left, area.top, area.right + 1, area.bottom + 1};
  RECT moved = {stands.left + dx, stands.top + dy, stands.right + dx, stands.bottom + dy};
  InvalidateRect(window, &stands, FALSE);
  InvalidateRect(window, &moved, FALSE);
}

/* The view scrolls the window's inclusive rectangle as the system's exclusive one: the last
 * column and row stay where they were. Repaint them. */
static void repairLastColumnAndRow(void) {
  RECT column = {DEMO_CLIENT_WIDTH - 1, 0, DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT};
  RECT row = {0, DEMO_CLIENT_HEIGHT - 1, DEMO_CLIENT_WIDTH, DEMO_CLIENT_HEIGHT};
  InvalidateRect(window, &column, FALSE);
  InvalidateRect(window, &row, FALSE);
}

static void placeLens(void) {
  RECT lensWindow, lensPort;
  lensRects(&lensWindow, &lensPort);
  RECT frame = lensFrameRect();
  View_SetViewWindow(lensFrameScreen, &frame);
  View_SetViewWindow(lensScreen, &lensWindow);
  View_SetViewPort(lensScreen, &lensPort);
}

static int scrollBy(int stepsX, int stepsY) {
  int x = demoClamp(scrollX + stepsX * DEMO_SCROLL_STEP, 0, pictureWidth() - DEMO_CLIENT_WIDTH);
  int y = demoClamp(scrollY + stepsY * DEMO_SCROLL_STEP, 0, pictureHeight() - DEMO_CLIENT_HEIGHT);
  int dx = x - scrollX, dy = y - scrollY;
  if (!dx && !dy) return 0;
  /* The view moves right over the picture: the picture moves left in the window. */
  View_ScrollViewWindow(mainScreen, -dx, -dy);
  scrollX = x;
  scrollY = y;
  repairLastColumnAndRow();
  repairOverlay(titleRect(), -dx, -dy);
  if (lensShown) {
    repairOverlay(lensFrameRect(), -dx, -dy);
    placeLens();
  }
  return 1;
}

static void moveLens(int32_t position) {
  lensX = demoClamp((int16_t)(position & 0xFFFF), 0, DEMO_CLIENT_WIDTH - 1);
  lensY = demoClamp((int16_t)((uint32_t)position >> 16), 0, DEMO_CLIENT_HEIGHT - 1);
  placeLens();
  if (!lensShown) {
    lensShown = View_AttachScreen(lensFrameScreen, titleScreen, -1) == 0 &&
                View_AttachScreen(lensScreen, titleScreen, -1) == 0;
  }
}

/* Shows the other picture at the same place: new screens take the places of the old ones. */
static void swapPicture(void) {
  shown = (shown + 1) % DEMO_PICTURE_COUNT;
  RECT client = {0, 0, DEMO_CLIENT_WIDTH - 1, DEMO_CLIENT_HEIGHT - 1};
  RECT port = mainPort();
  RECT lensWindow, lensPort;
  lensRects(&lensWindow, &lensPort);
  SCREEN oldMain = mainScreen, oldLens = lensScreen;
  mainScreen = View_Create(pictures[shown], &client, &port);
  lensScreen = View_Create(pictures[shown], &lensWindow, &lensPort);
  View_AttachScreen(mainScreen, oldMain, 0);
  if (lensShown) View_AttachScreen(lensScreen, oldLens, 0);
  View_Delete(oldMain);
  View_Delete(oldLens);
}

static void hookInput(ZPKWNDPROC keys, ZPKWNDPROC close, ZPKWNDPROC mouse, ZPKWNDPROC buttons, ZPKWNDPROC rightButtons) {
  ZPK_SetWndMessageProc(WM_KEYDOWN, keys);
  ZPK_SetWndMessageProc(WM_CLOSE, close);
  ZPK_SetWndMessageProc(WM_MOUSEMOVE, mouse);
  ZPK_SetWndMessageProc(WM_LBUTTONDOWN, buttons);
  ZPK_SetWndMessageProc(WM_RBUTTONDOWN, rightButtons);
}

int quitRequested(void) { return __atomic_load_n(&quitAsked, __ATOMIC_SEQ_CST) != 0; }

int takeMenuRequests(void) { return __atomic_exchange_n(&pendingMenus, 0, __ATOMIC_SEQ_CST); }

int takeAdvances(void) {
  return __atomic_exchange_n(&pendingEnters, 0, __ATOMIC_SEQ_CST) + __atomic_exchange_n(&pendingClicks, 0, __ATOMIC_SEQ_CST);
}

void forgetInput(void) {
  __atomic_store_n(&pendingStepsX, 0, __ATOMIC_SEQ_CST);
  __atomic_store_n(&pendingStepsY, 0, __ATOMIC_SEQ_CST);
  __atomic_store_n(&pendingLoads, 0, __ATOMIC_SEQ_CST);
  takeMenuRequests();
  takeAdvances();
}

void hostScreenBegins(void) { hookInput(NULL, onClose, NULL, NULL, NULL); }

void hostScreenEnds(void) {
  forgetInput();
  hookInput(onKeyDown, onClose, onMouseMove, onButtonDown, onRightButtonDown);
}

/* The title's screens in their order, the lens among them once the pointer has shown up. */
static void showTitle(void) {
  View_DetachAllScreen();
  View_AttachScreen(mainScreen, NULL, 0);
  if (lensShown) {
    View_AttachScreen(lensFrameScreen, NULL, 0);
    View_AttachScreen(lensScreen, NULL, 0);
  }
  View_AttachScreen(titleScreen, NULL, 0);
  InvalidateRect(window, NULL, FALSE);
}

typedef enum TitleChoice { TITLE_START, TITLE_LOAD, TITLE_QUIT } TitleChoice;

/* Applies what the hooks noted, until Enter, L, Escape or the close box. */
static TitleChoice title(void) {
  LONG movesSeen = __atomic_load_n(&pointerMoves, __ATOMIC_SEQ_CST);
  for (;;) {
    if (quitRequested() || takeMenuRequests()) return TITLE_QUIT;
    if (__atomic_exchange_n(&pendingEnters, 0, __ATOMIC_SEQ_CST)) return TITLE_START;
    if (__atomic_exchange_n(&pendingLoads, 0, __ATOMIC_SEQ_CST)) return TITLE_LOAD;
    int changed = 0;
    LONG stepsX = __atomic_exchange_n(&pendingStepsX, 0, __ATOMIC_SEQ_CST);
    LONG stepsY = __atomic_exchange_n(&pendingStepsY, 0, __ATOMIC_SEQ_CST);
    if (stepsX || stepsY) changed |= scrollBy(stepsX, stepsY);
    if (__atomic_exchange_n(&pendingClicks, 0, __ATOMIC_SEQ_CST) & 1) {
      swapPicture();
      changed = 1;
    }
    LONG moves = __atomic_load_n(&pointerMoves, __ATOMIC_SEQ_CST);
    if (moves != movesSeen) {
      movesSeen = moves;
      moveLens(__atomic_load_n(&pointerPosition, __ATOMIC_SEQ_CST));
      changed = 1;
    }
    if (changed) reportState();
    Sleep(10);
  }
}

/* The game's flow: the opening, the title, then the start-up menu's choice. The sound configuration and the
 * bonus menu go back to the start-up menu; the story ends at the ending, at the main menu's way back to the
 * title, or with the game. */
static void runGame(void) {
  playOpening();
  for (;;) {
    showTitle();
    forgetInput();
    reportWords("screen", "title");
    playTitleMusic();
    TitleChoice choice = title();
    if (choice == TITLE_QUIT) return;
    Progress progress = {STAGE_INTRO, -1};
    if (choice == TITLE_LOAD) {
      if (!loadStory(&progress)) continue;
    } else {
      StartupChoice start;
      while ((start = startupMenu()) == START_SOUND || start == START_BONUS) {
        if (start == START_SOUND) configureSound();
        else bonusMenu();
      }
      if (start == START_QUIT) return;
      if (start == START_CONTINUE && !loadStory(&progress)) continue;
    }
    if (!playStory(progress)) return;
  }
}

static void deleteScreen(SCREEN screen) {
  if (screen) View_Delete(screen);
}

static void tearDown(void) {
  hookInput(NULL, NULL, NULL, NULL, NULL);
  View_DetachAllScreen();
  closeStory();
  deleteScreen(mainScreen);
  deleteScreen(lensFrameScreen);
  deleteScreen(lensScreen);
  deleteScreen(titleScreen);
  for (int i = 0; i < DEMO_PICTURE_COUNT; ++i) graphic_DeleteBitmap(pictures[i]);
  graphic_DeleteBitmap(titlePlate);
  graphic_DeleteBitmap(lensFrame);
}

/* What an installer would leave: where the screens find their files and the saves go, and
 * that the music is there as waves as well. */
static void install(ZPKMODULE module) {
  char folder[MAX_PATH];
  const char* base = ZPK_GetBaseDirectory(module);
  int length = 0;
  while (base && base[length] && length < MAX_PATH - 8) folder[length] = base[length], ++length;
  if (length && folder[length - 1] != '\\') folder[length++] = '\\';
  folder[length] = 0;
  ZPK_SetRegistryKey("Runa1", "Demo");
  ZPK_WriteProfileString("Installed", "BinDir", folder);
  for (const char* c = "saves"; *c; ++c) folder[length++] = *c;
  folder[length] = 0;
  CreateDirectoryA(folder, NULL);
  ZPK_WriteProfileString("Installed", "SaveDir", folder);
  ZPK_WriteProfileInt("Installed", "WaveBGMFile", 1);
}

uint32_t __stdcall StartingProc(ZPKMODULE module) {
  openReport();
  install(module);
  if (!openWindow()) {
    complain("cannot open", "the main window");
    return 1;
  }
  ZPK_SetShowCursor(1);
  POINT origin = {0, 0};
  ClientToScreen(window, &origin);
  const int corner[2] = {origin.x, origin.y};
  reportLine("client", 2, corner);
  if (buildScreens() && openStory(module, pictures[0])) {
    hookInput(onKeyDown, onClose, onMouseMove, onButtonDown, onRightButtonDown);
    UpdateWindow(window);
    reportLine("ready", 0, NULL);
    reportState();
    runGame();
  }
  tearDown();
  reportLine("end", 0, NULL);
  if (reportFile) File_CloseFile(reportFile);
  return 0;
}
