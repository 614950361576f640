#include "base/os/pointer.h"

#include <shellapi.h>

#include "base/os/win32_text.h"

namespace os {

HCURSOR loadCursorFile(const char* path) { return LoadCursorFromFileW(widen(path).c_str()); }

HCURSOR programCursor(const char* name) {
  HCURSOR cursor = LoadCursorA(GetModuleHandleW(nullptr), name);
  return cursor ? cursor : LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
}

HCURSOR systemWaitCursor() { return LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_WAIT)); }

void setCursor(HCURSOR cursor) { SetCursor(cursor); }

POINT cursorPosition() {
  POINT point{};
  GetCursorPos(&point);
  return point;
}

POINT screenToClient(HWND window, POINT point) {
  ScreenToClient(window, &point);
  return point;
}

void sendMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  if (window) SendMessageW(window, message, wParam, lParam);
}

void postMessage(HWND window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  if (window) PostMessageW(window, message, wParam, lParam);
}

std::string windowsDirectory() {
  char folder[511];
  UINT length = GetWindowsDirectoryA(folder, sizeof folder);
  return length < sizeof folder ? std::string(folder, length) : std::string();
}

void openWithDefaultAction(const char* path) {
  std::wstring file = widen(path);
  SHELLEXECUTEINFOW info{};
  info.cbSize = sizeof info;
  info.lpVerb = L"Open";
  info.lpFile = file.c_str();
  ShellExecuteExW(&info);
}

}  // namespace os
