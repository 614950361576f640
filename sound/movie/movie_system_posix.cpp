// The native movie system: there is no video player without the MCI window class, so no movie
// window ever comes and the reason is given as its error. The thread operations are real.
#include <chrono>
#include <cstring>

#include "base/os/os.h"
#include "sound/movie/movie_system.h"

namespace movie {

namespace {

constexpr char kNoPlayer[] = "There is no movie player in the native build.";

class NoMovieSystem : public MovieSystem {
 public:
  HWND create(HWND, const char*, uint32_t) override { return nullptr; }
  uint32_t error(HWND, char* text, uint32_t size) override {
    if (size == 0) return 1;
    std::strncpy(text, kNoPlayer, size - 1);
    text[size - 1] = '\0';
    return 1;
  }
  void putDestination(HWND, const RECT&) override {}
  int32_t end(HWND) override { return 0; }
  int32_t position(HWND) override { return 0; }
  uint32_t mode(HWND) override { return kModeStopped; }
  uint32_t play(HWND) override { return 1; }
  void stop(HWND) override {}
  void close(HWND) override {}
  void blackenClass(HWND) override {}
  RECT clientRect(HWND) override { return RECT{}; }
  HWND setFocus(HWND) override { return nullptr; }
  void setWindowPos(HWND, int32_t, int32_t, int32_t, int32_t, uint32_t) override {}
  void setTimer(HWND, uint32_t, uint32_t) override {}
  void killTimer(HWND, uint32_t) override {}
  bool getMessage(Message*) override { return false; }
  bool messageWaits() override { return false; }
  void dispatch(const Message&) override {}
  void hideCursor() override {}
  uint32_t milliseconds() override {
    auto now = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
  }
  uint32_t currentThreadId() override { return os::currentThreadId(); }
  uint32_t windowThread(HWND) override { return 0; }
  void detachInput(uint32_t, uint32_t) override {}
};

NoMovieSystem none;
MovieSystem* current = &none;

}  // namespace

MovieSystem& movieSystem() { return *current; }
void setMovieSystem(MovieSystem* system) { current = system ? system : &none; }

}  // namespace movie
