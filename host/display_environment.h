// The display as the host found it and as the game changed it: the desktop's depth and size
// recorded once, display mode tests and changes, and the host's cursor flag. Process-wide; an
// instance is a scope that starts it and, when it ends, gives the user the display and the
// cursor back.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

// The environment variable that lets the host emulate display modes that the display lacks: when
// it is set and not "0", tests report such modes as present and changes to them succeed.
inline constexpr const char kEmulateDisplaySetting[] = "RUNA1_EMULATE_DISPLAY";

class KDisplayEnvironment {
 public:
  KDisplayEnvironment();
  ~KDisplayEnvironment();
  KDisplayEnvironment(const KDisplayEnvironment&) = delete;
  KDisplayEnvironment& operator=(const KDisplayEnvironment&) = delete;

  // 0 when the display has the mode, 1 when not. A depth of 0 is the desktop's.
  static uint32_t Test(uint32_t width, uint32_t height, uint32_t depth);
  // 0 when the display now shows the mode, 1 when it could not be had; a failure at a depth
  // other than 0 is tried again at the desktop's.
  static uint32_t Change(uint32_t width, uint32_t height, uint32_t depth);
  // Back to the user's mode, if a change is in force.
  static void Restore();
  // Whether the last change shows an emulated mode: the display stays as it is, and the main
  // window shows the picture scaled over the whole monitor.
  static bool IsEmulated();

  static uint32_t DesktopDepth();
  static SIZE ScreenSize();
  static uint32_t IsCursorShown();
  // Shows (nonzero) or hides the cursor; gives the previous state, 0 or 1.
  static uint32_t SetCursorShown(int32_t show);
};
