#include "sound/movie/movie_player.h"

#include <algorithm>
#include <cstring>

#include "base/os/os.h"

namespace movie {

namespace {

// 内部エラー(1)：再度実行してください。
constexpr char kNoEnd[] =
    "\x93\xE0\x95\x94\x83G\x83\x89\x81[(1)\x81\x46\x8D\xC4\x93x\x8E\xC0\x8Ds\x82\xB5\x82\xC4\x82\xAD\x82\xBE"
    "\x82\xB3\x82\xA2\x81\x42";
// 再生に失敗しました。
constexpr char kPlayRefused[] = "\x8D\xC4\x90\xB6\x82\xC9\x8E\xB8\x94s\x82\xB5\x82\xDC\x82\xB5\x82\xBD\x81\x42";
// システムにインストールされていない形式のファイルを再生しようとした可能性があります。
constexpr char kPlayFailed[] =
    "\x83V\x83X\x83\x65\x83\x80\x82\xC9\x83\x43\x83\x93\x83X\x83g\x81[\x83\x8B\x82\xB3\x82\xEA\x82\xC4\x82\xA2"
    "\x82\xC8\x82\xA2\x8C`\x8E\xAE\x82\xCC\x83t\x83@\x83\x43\x83\x8B\x82\xF0\x8D\xC4\x90\xB6\x82\xB5\x82\xE6"
    "\x82\xA4\x82\xC6\x82\xB5\x82\xBD\x89\xC2\x94\x5C\x90\xAB\x82\xAA\x82\xA0\x82\xE8\x82\xDC\x82\xB7\x81\x42";

constexpr uint32_t kWmSetCursor = 0x0020;
constexpr uint32_t kWmRButtonDown = 0x0204;
constexpr uint32_t kVkEscape = 0x1B;
constexpr uint32_t kSwpNoOwnerZOrder = 0x0200;

void putText(char* errorText, uint32_t errorSize, const char* text) {
  if (errorSize == 0) return;
  size_t length = std::min<size_t>(std::strlen(text), errorSize - 1);
  std::memcpy(errorText, text, length);
  errorText[length] = '\0';
}

bool endsMovie(const Message& message) {
  return (message.message == WM_KEYDOWN && message.wParam == kVkEscape) || message.message == kWmRButtonDown;
}

// The main window's moves and sizes carry the movie along, when they come to this thread.
void followMainWindow(MovieSystem& system, HWND movie, const Message& message) {
  if (message.message == WM_MOVE) {
    RECT client = system.clientRect(message.window);
    system.setWindowPos(movie, client.left, client.top, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
  } else if (message.message == WM_SIZE) {
    int32_t width = static_cast<int32_t>(message.lParam & 0xFFFF);
    int32_t height = static_cast<int32_t>((message.lParam >> 16) & 0xFFFF);
    system.setWindowPos(movie, 0, 0, width, height, SWP_NOZORDER | kSwpNoOwnerZOrder);
  }
}

// Steps through the movie's messages until its end, a skip, WM_QUIT, the player's own stop or a
// stall.
void runLoop(MovieSystem& system, HWND movie, const PlayRequest& request, int32_t end) {
  int32_t position = 0;
  int32_t seenPosition = position;
  uint32_t seenAt = system.milliseconds();
  while (position < end) {
    Message message{};
    if (!system.getMessage(&message)) return;
    if (request.allowSkip && endsMovie(message)) {
      system.stop(movie);
      return;
    }
    if (request.mainWindow && message.window == request.mainWindow) followMainWindow(system, movie, message);
    system.dispatch(message);
    if (message.message == kWmSetCursor) system.hideCursor();
    position = system.position(movie);
    uint32_t now = system.milliseconds();
    if (position != seenPosition) {
      seenPosition = position;
      seenAt = now;
    }
    if (position < end && system.mode(movie) == kModeStopped) return;
    if (now - seenAt >= kStallMilliseconds) {
      os::debugOutput("PlayMCIMovieFile: the movie stands still; it is given up\n");
      return;
    }
  }
}

// From the play's start to its end: 1 with the reason when the player gives no end or refuses.
uint32_t playOpened(MovieSystem& system, HWND movie, const PlayRequest& request, char* errorText,
                    uint32_t errorSize) {
  RECT client = system.clientRect(request.parent);
  system.setWindowPos(movie, client.left, client.top, client.right - client.left + 1, client.bottom - client.top + 1,
                      SWP_NOZORDER);
  if (request.destination) system.putDestination(movie, *request.destination);
  system.blackenClass(movie);
  system.setTimer(movie, kTimerId, kTimerMilliseconds);
  int32_t end = system.end(movie);
  if (end == 0) {
    putText(errorText, errorSize, kNoEnd);
    return 1;
  }
  if (system.play(movie) != 0) {
    putText(errorText, errorSize, kPlayRefused);
    return 1;
  }
  runLoop(system, movie, request, end);
  return 0;
}

// Everything that can fail. When a skip is allowed, the movie window has the keyboard during the
// play, so that Escape comes to this thread's loop; otherwise the keyboard stays where it was,
// since the window's own handling of Escape would stop the movie. Afterwards the window goes away
// whatever happened, so that a movie that does not play leaves nothing over the game, and the
// keyboard goes back.
uint32_t playInWindow(MovieSystem& system, const PlayRequest& request, char* errorText, uint32_t errorSize) {
  HWND movie = system.create(request.parent, request.fileName, kMovieStyle);
  char openError[kErrorTextSize] = "";
  uint32_t openFailed = system.error(movie, openError, sizeof openError);
  uint32_t result = 1;
  HWND keyboard = nullptr;
  if (movie && openFailed == 0) {
    if (request.allowSkip) keyboard = system.setFocus(movie);
    result = playOpened(system, movie, request, errorText, errorSize);
  } else {
    putText(errorText, errorSize, openError);
    os::messageBox(openError, request.fileName, MB_OK | MB_ICONEXCLAMATION);
  }
  if (!movie) return result;
  system.killTimer(movie, kTimerId);
  system.close(movie);
  if (keyboard) system.setFocus(keyboard);
  Message message{};
  while (system.messageWaits() && system.getMessage(&message)) system.dispatch(message);
  return result;
}

}  // namespace

uint32_t PlayMovie(MovieSystem& system, const PlayRequest& request, char* errorText, uint32_t errorSize) {
  putText(errorText, errorSize, "");
  uint32_t result;
  try {
    result = playInWindow(system, request, errorText, errorSize);
  } catch (...) {
    putText(errorText, errorSize, kPlayFailed);
    result = 1;
  }
  uint32_t thread = system.currentThreadId();
  uint32_t appThread = request.mainWindow ? system.windowThread(request.mainWindow) : 0;
  if (appThread != 0 && appThread != thread) system.detachInput(thread, appThread);
  return result;
}

}  // namespace movie
