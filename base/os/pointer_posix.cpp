#include "base/os/pointer.h"

namespace os {

HCURSOR loadCursorFile(const char*) { return nullptr; }
HCURSOR programCursor(const char*) { return nullptr; }
HCURSOR systemWaitCursor() { return nullptr; }
void setCursor(HCURSOR) {}
POINT cursorPosition() { return POINT{0, 0}; }
POINT screenToClient(HWND, POINT point) { return point; }
void sendMessage(HWND, uint32_t, uintptr_t, intptr_t) {}
void postMessage(HWND, uint32_t, uintptr_t, intptr_t) {}
std::string windowsDirectory() { return std::string(); }
void openWithDefaultAction(const char*) {}

}  // namespace os
