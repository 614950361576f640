// The window system over USER32. Every frame runs the frame procedure, whatever its class:
// it refuses WM_CLOSE with a beep, so that only the module decides when the game ends.
#include "base/os/window.h"

#include <string>

#include "base/os/win32_text.h"

namespace os {

namespace {

constexpr wchar_t kFrameClassName[] = L"Z.P.K.Frame";
constexpr WORD kIconId = 0x80;

LRESULT CALLBACK frameProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_CLOSE) {
    MessageBeep(MB_OK);
    return 0;
  }
  return DefWindowProcW(window, message, wParam, lParam);
}

bool registerFrameClass() {
  WNDCLASSW frameClass{};
  frameClass.style = CS_HREDRAW | CS_VREDRAW;
  frameClass.lpfnWndProc = frameProcedure;
  frameClass.hInstance = GetModuleHandleW(nullptr);
  frameClass.hIcon = LoadIconW(frameClass.hInstance, MAKEINTRESOURCEW(kIconId));
  frameClass.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
  frameClass.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
  frameClass.lpszClassName = kFrameClassName;
  return RegisterClassW(&frameClass) != 0;
}

void dispatch(MSG& message) {
  TranslateMessage(&message);
  DispatchMessageW(&message);
}

class User32WindowSystem : public WindowSystem {
 public:
  // The class's own procedure gives way to the frame procedure: the window is a wide one,
  // and the frame decides about closing.
  bool registerClass(const WNDCLASSA& windowClass) override {
    std::wstring name = widen(windowClass.lpszClassName);
    std::wstring menu = widen(windowClass.lpszMenuName);
    WNDCLASSW wide{};
    wide.style = windowClass.style;
    wide.lpfnWndProc = frameProcedure;
    wide.cbClsExtra = windowClass.cbClsExtra;
    wide.cbWndExtra = windowClass.cbWndExtra;
    wide.hInstance = windowClass.hInstance ? windowClass.hInstance : GetModuleHandleW(nullptr);
    wide.hIcon = windowClass.hIcon;
    wide.hCursor = windowClass.hCursor;
    wide.hbrBackground = windowClass.hbrBackground;
    wide.lpszMenuName = windowClass.lpszMenuName ? menu.c_str() : nullptr;
    wide.lpszClassName = name.c_str();
    return !name.empty() && RegisterClassW(&wide) != 0;
  }

  HWND createFrame(const char* className, const char* title, uint32_t style, uint32_t exStyle,
                   const RECT& rect) override {
    static const bool frameClassRegistered = registerFrameClass();
    std::wstring name = className ? widen(className) : std::wstring(frameClassRegistered ? kFrameClassName : L"");
    return CreateWindowExW(exStyle, name.c_str(), widen(title).c_str(), style, rect.left, rect.top,
                           rect.right - rect.left, rect.bottom - rect.top, nullptr, nullptr,
                           GetModuleHandleW(nullptr), nullptr);
  }

  void showFrame(HWND frame) override {
    ShowWindow(frame, SW_SHOW);
    SetForegroundWindow(frame);
  }

  void setTimer(HWND frame, uint32_t id, uint32_t milliseconds) override { SetTimer(frame, id, milliseconds, nullptr); }

  void destroyFrame(HWND frame) override { DestroyWindow(frame); }

  bool pumpMessages() override {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) return false;
      dispatch(message);
    }
    return true;
  }

  void waitDispatching(void* event) override {
    HANDLE handle = event;
    while (MsgWaitForMultipleObjects(1, &handle, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
      MSG message;
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        // A quit in this wait belongs to the message loop that follows: put it back.
        if (message.message == WM_QUIT) {
          PostQuitMessage(static_cast<int>(message.wParam));
          break;
        }
        dispatch(message);
      }
    }
  }

  int32_t systemMetric(int32_t index) override { return GetSystemMetrics(index); }

  void fillDefaultClass(WNDCLASSA* windowClass) override {
    HINSTANCE instance = GetModuleHandleW(nullptr);
    windowClass->lpfnWndProc = DefWindowProcA;
    windowClass->cbClsExtra = 0;
    windowClass->cbWndExtra = 0;
    windowClass->hInstance = instance;
    windowClass->hIcon = LoadIconW(instance, MAKEINTRESOURCEW(kIconId));
    windowClass->hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    windowClass->hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    windowClass->lpszMenuName = nullptr;
  }
};

User32WindowSystem user32;
WindowSystem* current = &user32;

}  // namespace

WindowSystem& windowSystem() { return *current; }
void setWindowSystem(WindowSystem* system) { current = system ? system : &user32; }

}  // namespace os
