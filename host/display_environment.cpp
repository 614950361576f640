#include "host/display_environment.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "base/os/os.h"

namespace {

struct DisplayState {
  uint32_t desktopDepth = 0;
  SIZE screen{0, 0};
  bool modeChanged = false;
  bool emulated = false;  // an emulated mode is shown instead of a real one
};

// The setting that lets the host show modes the display lacks: set and not "0".
bool emulationWanted() {
  const char* setting = std::getenv(kEmulateDisplaySetting);
  return setting && *setting && std::strcmp(setting, "0") != 0;
}

// What an emulated mode can be: a picture that a monitor can show scaled, at a depth that
// images have.
bool emulatable(uint32_t width, uint32_t height, uint32_t depth) {
  constexpr uint32_t kLargestSide = 8192;
  bool knownDepth = depth == 0 || depth == 8 || depth == 15 || depth == 16 || depth == 24 || depth == 32;
  return knownDepth && width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide;
}

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

// The first mode in the system's order with this size and depth wins, at any frequency. A depth
// of 0 is the desktop's.
bool findMode(const DisplayState& display, uint32_t width, uint32_t height, uint32_t depth, os::DisplayMode* found) {
  if (depth == 0) depth = display.desktopDepth;
  for (uint32_t index = 0; os::enumDisplayMode(index, found); ++index) {
    if (found->bitsPerPixel == depth && found->width == width && found->height == height) return true;
  }
  return false;
}

}  // namespace

KDisplayEnvironment::KDisplayEnvironment() { state(); }

KDisplayEnvironment::~KDisplayEnvironment() {
  Restore();
  setCursor(1);
}

uint32_t KDisplayEnvironment::Test(uint32_t width, uint32_t height, uint32_t depth) {
  os::DisplayMode mode{};
  if (findMode(state(), width, height, depth, &mode)) return 0;
  return emulationWanted() && emulatable(width, height, depth) ? 0 : 1;
}

uint32_t KDisplayEnvironment::Change(uint32_t width, uint32_t height, uint32_t depth) {
  DisplayState& display = state();
  auto changeTo = [&](uint32_t bitsPerPixel) {
    os::DisplayMode mode{};
    return findMode(display, width, height, bitsPerPixel, &mode) && os::changeDisplayMode(&mode);
  };
  if (changeTo(depth) || (depth != 0 && changeTo(0))) {
    display.modeChanged = true;
    return 0;
  }
  if (!emulationWanted() || !emulatable(width, height, depth)) return 1;
  display.emulated = true;
  return 0;
}

bool KDisplayEnvironment::IsEmulated() { return state().emulated; }

void KDisplayEnvironment::Restore() {
  DisplayState& display = state();
  display.emulated = false;
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
