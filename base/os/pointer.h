// The pointer and cross-thread window calls of the menu screens: cursors (files, the program's
// resources, the system's), the pointer's position, messages sent or posted to a window from
// another thread, and documents opened by the shell. Over USER32 and SHELL32 in the product;
// natively there is no pointer: positions are (0, 0), cursors are null, messages go nowhere and
// nothing opens.
#pragma once

#include <cstdint>
#include <string>

#include "base/os/win32_types.h"

namespace os {

// A cursor file (.cur or .ani), path in Shift-JIS; null when it cannot be loaded.
HCURSOR loadCursorFile(const char* path);
// The program's cursor resource of that name, or the system's arrow when the program has none.
HCURSOR programCursor(const char* name);
HCURSOR systemWaitCursor();
void setCursor(HCURSOR cursor);
POINT cursorPosition();
POINT screenToClient(HWND window, POINT point);
// SendMessage (waits for the window's thread to handle it) and PostMessage.
void sendMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam);
void postMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam);
// GetWindowsDirectoryA, at most 511 bytes; empty natively.
std::string windowsDirectory();
// The shell's "Open" verb on a file (the system's default action for its kind), path in
// Shift-JIS; the result isn't looked at. Nothing natively.
void openWithDefaultAction(const char* path);

}  // namespace os
