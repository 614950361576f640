// Entry of runa1d.exe, the debug configuration of the host: the application with the module
// debugger, which the DEBUG switch starts.
#include "base/os/os.h"
#include "debugger/windows/debug_win_thread.h"
#include "host/app/zpk_app.h"

namespace {

CDebugWinThread theDebugger;
CZPKApp theApp(&theDebugger);

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  theApp.InitInstance(os::commandLineArguments());
  return theApp.Run();
}
