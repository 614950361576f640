// The movie system over the MCI window class of MSVFW32: the window plays the file through the
// system's MCI video driver, and the loop's messages are the calling thread's own.
#include "sound/movie/movie_system.h"

#include <vfw.h>

#include <string>

#include "base/os/win32_text.h"

namespace movie {

namespace {

constexpr char kNoWindow[] = "The movie window could not be created.";

class MciMovieSystem : public MovieSystem {
 public:
  HWND create(HWND parent, const char* fileName, uint32_t style) override {
    std::wstring name = os::widen(fileName);
    return MCIWndCreateW(parent, GetModuleHandleW(nullptr), style, name.c_str());
  }
  uint32_t error(HWND movie, char* text, uint32_t size) override {
    if (size == 0) return 0;
    if (!movie) {
      lstrcpynA(text, kNoWindow, static_cast<int>(size));
      return 0;
    }
    wchar_t wide[512] = L"";
    auto code = static_cast<uint32_t>(SendMessageW(movie, MCIWNDM_GETERRORW, 512, reinterpret_cast<LPARAM>(wide)));
    wide[511] = L'\0';
    int length = WideCharToMultiByte(os::kShiftJis, 0, wide, -1, text, static_cast<int>(size), nullptr, nullptr);
    text[length > 0 ? length - 1 : 0] = '\0';
    return code;
  }
  void putDestination(HWND movie, const RECT& destination) override {
    RECT copy = destination;
    SendMessageW(movie, MCIWNDM_PUT_DEST, 0, reinterpret_cast<LPARAM>(&copy));
  }
  int32_t end(HWND movie) override { return static_cast<int32_t>(SendMessageW(movie, MCIWNDM_GETEND, 0, 0)); }
  int32_t position(HWND movie) override {
    return static_cast<int32_t>(SendMessageW(movie, MCIWNDM_GETPOSITIONA, 0, 0));
  }
  uint32_t mode(HWND movie) override { return static_cast<uint32_t>(SendMessageW(movie, MCIWNDM_GETMODEA, 0, 0)); }
  uint32_t play(HWND movie) override { return static_cast<uint32_t>(SendMessageW(movie, MCI_PLAY, 0, 0)); }
  void stop(HWND movie) override { SendMessageW(movie, MCI_STOP, 0, 0); }
  void close(HWND movie) override { SendMessageW(movie, WM_CLOSE, 0, 0); }
  void blackenClass(HWND movie) override {
    SetClassLongPtrW(movie, GCLP_HCURSOR, 0);
    SetClassLongPtrW(movie, GCLP_HBRBACKGROUND, reinterpret_cast<LONG_PTR>(GetStockObject(BLACK_BRUSH)));
    InvalidateRect(movie, nullptr, TRUE);
  }

  RECT clientRect(HWND window) override {
    RECT client{};
    GetClientRect(window, &client);
    return client;
  }
  HWND setFocus(HWND window) override { return SetFocus(window); }
  void setWindowPos(HWND window, int32_t x, int32_t y, int32_t width, int32_t height, uint32_t flags) override {
    SetWindowPos(window, nullptr, x, y, width, height, flags);
  }
  void setTimer(HWND window, uint32_t id, uint32_t milliseconds) override {
    SetTimer(window, id, milliseconds, nullptr);
  }
  void killTimer(HWND window, uint32_t id) override { KillTimer(window, id); }
  bool getMessage(Message* message) override {
    MSG msg;
    if (GetMessageA(&msg, nullptr, 0, 0) <= 0) return false;
    *message = {msg.hwnd, msg.message, msg.wParam, msg.lParam, static_cast<uint32_t>(msg.time), msg.pt};
    return true;
  }
  bool messageWaits() override {
    MSG msg;
    return PeekMessageA(&msg, nullptr, 0, 0, PM_NOREMOVE) != 0;
  }
  void dispatch(const Message& message) override {
    MSG msg{message.window, message.message, message.wParam, message.lParam, message.time, message.point};
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
  }
  void hideCursor() override { SetCursor(nullptr); }
  uint32_t milliseconds() override { return GetTickCount(); }
  uint32_t currentThreadId() override { return GetCurrentThreadId(); }
  uint32_t windowThread(HWND window) override { return GetWindowThreadProcessId(window, nullptr); }
  void detachInput(uint32_t thread, uint32_t other) override { AttachThreadInput(thread, other, FALSE); }
};

MciMovieSystem mci;
MovieSystem* current = &mci;

}  // namespace

MovieSystem& movieSystem() { return *current; }
void setMovieSystem(MovieSystem* system) { current = system ? system : &mci; }

}  // namespace movie
