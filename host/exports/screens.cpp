#include "host/exports/screens.h"

#include "base/os/pointer.h"
#include "base/os/window.h"
#include "host/exports/main_window.h"
#include "host/exports/services.h"
#include "screens/save_screen.h"

namespace {

// The screens' host in the product: the main window through its exports, the pointer through
// the platform.
class MainWindowScreenHost : public ScreenHost {
 public:
  static constexpr uint32_t kNullMessage = 0;  // WM_NULL

  void OpenHook(Procedure procedure, void* context) override { ZPK_OpenMainWndProcEx(procedure, context); }
  // A message sent to the window is answered only between its messages, so once it returns no
  // call of the closed hook is under way.
  void CloseHook(void* context) override {
    ZPK_CloseMainWndProcEx(context);
    os::sendMessage(ZPK_GetMainWindow(), kNullMessage, 0, 0);
  }
  void StopMessageLoop() override { ZPK_StopMessageLoop(); }
  void RestartMessageLoop() override { ZPK_RestartMessageLoop(); }
  void Invalidate() override {
    if (HWND window = ZPK_GetMainWindow()) os::windowSystem().invalidate(window, nullptr, false);
  }
  void Post(uint32_t message, uint32_t wParam, int32_t lParam) override {
    os::postMessage(ZPK_GetMainWindow(), message, wParam, lParam);
  }
  POINT CursorScreenPosition() override { return os::cursorPosition(); }
  POINT CursorClientPosition() override { return os::screenToClient(ZPK_GetMainWindow(), os::cursorPosition()); }
  void ShowCursor(bool show) override { ZPK_SetShowCursor(show ? 1 : 0); }
  void SetCursor(HCURSOR cursor) override { os::setCursor(cursor); }
  HCURSOR LoadCursorFile(const char* path) override { return os::loadCursorFile(path); }
  HCURSOR ProgramCursor(const char* name) override { return os::programCursor(name); }
  HCURSOR WaitCursor() override { return os::systemWaitCursor(); }
  uint32_t TickCount() override { return os::milliseconds(); }
  std::string WindowsDirectory() override { return os::windowsDirectory(); }
  void OpenWithDefaultAction(const char* path) override { os::openWithDefaultAction(path); }
};

}  // namespace

ScreenHost& mainWindowScreenHost() {
  static MainWindowScreenHost host;
  return host;
}

int32_t RUNA1_API Nodali_SaveContextMenu(Graphic* target, int32_t page) {
  MainWindowScreenHost host;
  return RunSaveScreen(host, target, page);
}

int32_t RUNA1_API Nodali_LoadContextMenu(Graphic* target, int32_t page) {
  MainWindowScreenHost host;
  return RunLoadScreen(host, target, page);
}
