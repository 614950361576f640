// The window system over USER32 and GDI. Every frame, whatever its class, runs the frame
// procedure, which hands each message to the host's frame logic; the class's own procedure
// becomes the base handling that the logic calls. The frame is a wide window, so that the system
// gives it every character whatever its code page; the logic and the module's class procedure
// get characters in Shift-JIS, as a window of code page 932 does.
#include "base/os/window.h"

#include <map>
#include <string>

#include "base/os/win32_text.h"

namespace os {

namespace {

constexpr wchar_t kFrameClassName[] = L"Z.P.K.Frame";
constexpr WORD kIconId = 0x80;

// The one frame's logic and its class's procedure.
FrameClient* frameClient = nullptr;
WNDPROC baseProcedure = nullptr;

bool isCharacterMessage(UINT message) {
  return message == WM_CHAR || message == WM_DEADCHAR || message == WM_SYSCHAR || message == WM_SYSDEADCHAR ||
         message == WM_IME_CHAR;
}

// The wide character message that the frame's logic is handling now, in its Shift-JIS form.
struct WideCharacter {
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  bool defaulted;  // the system's default handling has had it
};
WideCharacter* currentCharacter = nullptr;

// One UTF-16 unit as code page 932 has it: one or two bytes, '?' for what it lacks.
std::string shiftJisOf(wchar_t unit) {
  char bytes[2];
  int count = WideCharToMultiByte(kShiftJis, 0, &unit, 1, bytes, 2, nullptr, nullptr);
  return count > 0 ? std::string(bytes, static_cast<size_t>(count)) : std::string("?");
}

// As a window of code page 932 gets a character: a double-byte one as one WM_IME_CHAR with the
// lead byte above the trail byte, or as two messages of one byte each, lead byte first.
LRESULT deliverCharacter(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  std::string bytes = shiftJisOf(static_cast<wchar_t>(wParam));
  WideCharacter wide{message, wParam, lParam, false};
  WideCharacter* outer = currentCharacter;
  currentCharacter = &wide;
  LRESULT result = 0;
  if (message == WM_IME_CHAR && bytes.size() == 2) {
    result = frameClient->frameMessage(window, message,
                                       static_cast<uint8_t>(bytes[0]) << 8 | static_cast<uint8_t>(bytes[1]), lParam);
  } else {
    for (char byte : bytes) result = frameClient->frameMessage(window, message, static_cast<uint8_t>(byte), lParam);
  }
  currentCharacter = outer;
  return result;
}

LRESULT CALLBACK frameProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!frameClient) return DefWindowProcW(window, message, wParam, lParam);
  if (isCharacterMessage(message)) return deliverCharacter(window, message, wParam, lParam);
  return frameClient->frameMessage(window, message, wParam, lParam);
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

// Draws through `draw` into a picture of `scaled.size`, stretches it into its destination and
// paints the rest of the client area black.
void paintScaled(HWND frame, HDC dc, const ScaledPicture& scaled, const std::function<void(HDC)>& draw) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = scaled.size.cx;
  info.bmiHeader.biHeight = -scaled.size.cy;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  HDC picture = CreateCompatibleDC(dc);
  HBITMAP bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (picture && bitmap) {
    HGDIOBJ previous = SelectObject(picture, bitmap);
    draw(picture);
    const RECT& to = scaled.destination;
    SetStretchBltMode(dc, COLORONCOLOR);
    StretchBlt(dc, to.left, to.top, to.right - to.left, to.bottom - to.top, picture, 0, 0, scaled.size.cx,
               scaled.size.cy, SRCCOPY);
    SelectObject(picture, previous);
    ExcludeClipRect(dc, to.left, to.top, to.right, to.bottom);
    RECT client;
    GetClientRect(frame, &client);
    FillRect(dc, &client, static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH)));
  }
  if (bitmap) DeleteObject(bitmap);
  if (picture) DeleteDC(picture);
}

class User32WindowSystem : public WindowSystem {
 public:
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
    if (name.empty() || RegisterClassW(&wide) == 0) return false;
    classProcedures_[name] = windowClass.lpfnWndProc;
    return true;
  }

  HWND createFrame(FrameClient* client, const char* className, const char* title, uint32_t style,
                   uint32_t exStyle, const RECT& rect) override {
    static const bool frameClassRegistered = registerFrameClass();
    std::wstring name = className ? widen(className) : std::wstring(frameClassRegistered ? kFrameClassName : L"");
    auto procedure = classProcedures_.find(name);
    // The default class's procedure is the system's default handling, which the wide frame
    // takes in its wide form.
    baseProcedure = procedure != classProcedures_.end() && procedure->second != DefWindowProcA ? procedure->second
                                                                                                : nullptr;
    frameClient = client;
    HWND frame = CreateWindowExW(exStyle, name.c_str(), widen(title).c_str(), style, rect.left, rect.top,
                                 rect.right - rect.left, rect.bottom - rect.top, nullptr, nullptr,
                                 GetModuleHandleW(nullptr), nullptr);
    if (!frame) frameClient = nullptr;
    return frame;
  }

  void showFrame(HWND frame) override {
    ShowWindow(frame, SW_SHOW);
    SetForegroundWindow(frame);
  }

  void setTimer(HWND frame, uint32_t id, uint32_t milliseconds) override { SetTimer(frame, id, milliseconds, nullptr); }
  void killTimer(HWND frame, uint32_t id) override { KillTimer(frame, id); }

  void destroyFrame(HWND frame) override {
    DestroyWindow(frame);
    frameClient = nullptr;
  }

  // A character goes to the module's procedure in Shift-JIS as it stands, not through the system
  // code page's conversion of CallWindowProcA; the system's own handling gets it once, wide.
  intptr_t defaultMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) override {
    if (currentCharacter && message == currentCharacter->message) {
      if (baseProcedure) return baseProcedure(frame, message, wParam, lParam);
      if (currentCharacter->defaulted) return 0;
      currentCharacter->defaulted = true;
      return DefWindowProcW(frame, message, currentCharacter->wParam, currentCharacter->lParam);
    }
    if (!baseProcedure) return DefWindowProcW(frame, message, wParam, lParam);
    LRESULT result = CallWindowProcA(baseProcedure, frame, message, wParam, lParam);
    // The module's procedure has had the window's text in the system code page, which may lack
    // its characters: the window keeps the text itself, as it was given.
    if (message == WM_NCCREATE && result)
      DefWindowProcW(frame, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(reinterpret_cast<CREATESTRUCTW*>(lParam)->lpszName));
    else if (message == WM_SETTEXT)
      DefWindowProcW(frame, WM_SETTEXT, 0, lParam);
    return result;
  }

  void postMessage(HWND frame, uint32_t message, uintptr_t wParam, intptr_t lParam) override {
    PostMessageW(frame, message, wParam, lParam);
  }
  uint32_t hostMessage() override {
    static const UINT message = RegisterWindowMessageW(L"Z.P.K.Frame.Host");
    return message;
  }

  bool pumpMessages() override {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
      if (message.message == WM_QUIT) return false;
      dispatch(message);
    }
    return true;
  }

  bool dispatchNext(bool* quit) override {
    MSG message;
    if (!PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE)) return false;
    if (GetMessageW(&message, nullptr, 0, 0) <= 0) {
      *quit = true;
      return true;
    }
    dispatch(message);
    return true;
  }

  bool waitForWork(Thread* thread, EventHandle gate) override {
    HANDLE handles[2] = {reinterpret_cast<HANDLE>(threadHandle(thread)), gate};
    for (;;) {
      if (WaitForSingleObject(gate, 0) == WAIT_OBJECT_0) {
        DWORD woken = MsgWaitForMultipleObjectsEx(1, handles, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
        return woken != WAIT_OBJECT_0 + 1;
      }
      // Stopped: only messages sent by other threads are answered, which PeekMessage does.
      DWORD woken = MsgWaitForMultipleObjects(2, handles, FALSE, INFINITE, QS_SENDMESSAGE);
      if (woken == WAIT_OBJECT_0 + 2) {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
      } else if (woken != WAIT_OBJECT_0 + 1) {
        return true;  // the thread's end, or a wait that cannot be made
      }
    }
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

  void paint(HWND frame, const ScaledPicture* scaled, const std::function<void(HDC)>& draw) override {
    PAINTSTRUCT paint;
    HDC dc = BeginPaint(frame, &paint);
    if (dc && scaled)
      paintScaled(frame, dc, *scaled, draw);
    else if (dc)
      draw(dc);
    EndPaint(frame, &paint);
  }

  void invalidate(HWND frame, const RECT* area, bool erase) override { InvalidateRect(frame, area, erase); }
  void update(HWND frame) override { UpdateWindow(frame); }
  void scroll(HWND frame, int32_t dx, int32_t dy, const RECT& scroll, const RECT& clip) override {
    ScrollWindow(frame, dx, dy, &scroll, &clip);
  }

  void styles(HWND frame, uint32_t* style, uint32_t* exStyle) override {
    *style = static_cast<uint32_t>(GetWindowLongW(frame, GWL_STYLE));
    *exStyle = static_cast<uint32_t>(GetWindowLongW(frame, GWL_EXSTYLE));
  }

  // The visibility stays as it is: showing is ShowWindow's business. The z-order follows the
  // topmost style, which only SetWindowPos changes.
  void setStyles(HWND frame, uint32_t style, uint32_t exStyle) override {
    LONG visible = GetWindowLongW(frame, GWL_STYLE) & WS_VISIBLE;
    SetWindowLongW(frame, GWL_STYLE, static_cast<LONG>(style & ~WS_VISIBLE) | visible);
    SetWindowLongW(frame, GWL_EXSTYLE, static_cast<LONG>(exStyle));
    SetWindowPos(frame, (exStyle & WS_EX_TOPMOST) ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE | SWP_FRAMECHANGED);
  }

  HMENU menu(HWND frame) override { return GetMenu(frame); }
  void setMenu(HWND frame, HMENU menu) override {
    SetMenu(frame, menu);
    DrawMenuBar(frame);
  }
  void showWindow(HWND frame, int32_t command) override { ShowWindow(frame, command); }
  void setWindowPos(HWND frame, int32_t x, int32_t y, int32_t width, int32_t height, uint32_t flags) override {
    SetWindowPos(frame, nullptr, x, y, width, height, flags);
  }
  RECT windowRect(HWND frame) override {
    RECT rect{};
    GetWindowRect(frame, &rect);
    return rect;
  }
  RECT clientRect(HWND frame) override {
    RECT rect{};
    GetClientRect(frame, &rect);
    return rect;
  }
  POINT clientToScreen(HWND frame, POINT point) override {
    ClientToScreen(frame, &point);
    return point;
  }
  RECT monitorRect(HWND frame) override {
    MONITORINFO info{};
    info.cbSize = sizeof info;
    if (!GetMonitorInfoW(MonitorFromWindow(frame, MONITOR_DEFAULTTONEAREST), &info))
      return RECT{0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)};
    return info.rcMonitor;
  }
  bool isChild(HWND parent, HWND window) override { return IsChild(parent, window) != 0; }
  void clipCursor(const RECT* area) override { ClipCursor(area); }
  void beep() override { MessageBeep(MB_OK); }
  uint32_t priorityClass() override { return GetPriorityClass(GetCurrentProcess()); }
  void setPriorityClass(uint32_t priorityClass) override { SetPriorityClass(GetCurrentProcess(), priorityClass); }

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

 private:
  std::map<std::wstring, WNDPROC> classProcedures_;
};

User32WindowSystem user32;
WindowSystem* current = &user32;

}  // namespace

WindowSystem& windowSystem() { return *current; }
void setWindowSystem(WindowSystem* system) { current = system ? system : &user32; }

}  // namespace os
