#include "host/display_environment.h"

#include <atomic>
#include <mutex>

#include "base/os/os.h"

namespace {

struct DisplayState {
  uint32_t desktopDepth = 0;
  SIZE screen{0, 0};
  os::DisplayMode found{};  // the mode the last successful test found
  bool modeChanged = false;
};

std::atomic<uint32_t> cursorShown{0};

uint32_t setCursor(uint32_t wanted) {
  uint32_t previous = cursorShown;
  if (previous == wanted) return previous;
  // The host owns the system's display count: step it until the cursor is as asked, whatever
  // other code did to it.
  if (wanted) {
    while (os::showCursor(true) < 0) {
    }
  } else {
    while (os::showCursor(false) >= 0) {
    }
    os::refreshCursor();
  }
  cursorShown = wanted;
  return previous;
}

// Recorded once, on first need; the start also shows the cursor.
DisplayState& state() {
  static DisplayState display = [] {
    DisplayState recorded;
    recorded.desktopDepth = os::displayBitsPerPixel();
    recorded.screen = os::screenSize();
    setCursor(1);
    return recorded;
  }();
  return display;
}

}  // namespace

KDisplayEnvironment::KDisplayEnvironment() { state(); }

KDisplayEnvironment::~KDisplayEnvironment() {
  Restore();
  setCursor(1);
}

// The first mode in the system's order with this size and depth wins, at any frequency.
uint32_t KDisplayEnvironment::Test(uint32_t width, uint32_t height, uint32_t depth) {
  DisplayState& display = state();
  if (depth == 0) depth = display.desktopDepth;
  os::DisplayMode mode{};
  for (uint32_t index = 0; os::enumDisplayMode(index, &mode); ++index) {
    if (mode.bitsPerPixel == depth && mode.width == width && mode.height == height) {
      display.found = mode;
      return 0;
    }
  }
  return 1;
}

uint32_t KDisplayEnvironment::Change(uint32_t width, uint32_t height, uint32_t depth) {
  DisplayState& display = state();
  if (Test(width, height, depth) == 0 && os::changeDisplayMode(&display.found)) {
    display.modeChanged = true;
    return 0;
  }
  return depth != 0 ? Change(width, height, 0) : 1;
}

void KDisplayEnvironment::Restore() {
  DisplayState& display = state();
  if (!display.modeChanged) return;
  display.modeChanged = false;
  os::changeDisplayMode(nullptr);
}

uint32_t KDisplayEnvironment::DesktopDepth() { return state().desktopDepth; }

SIZE KDisplayEnvironment::ScreenSize() { return state().screen; }

uint32_t KDisplayEnvironment::IsCursorShown() {
  state();
  return cursorShown;
}

uint32_t KDisplayEnvironment::SetCursorShown(int32_t show) {
  state();
  return setCursor(show ? 1 : 0);
}
