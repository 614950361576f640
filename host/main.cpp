// Entry of runa1.exe: the application object, its command line and its run.
#include "base/os/os.h"
#include "host/app/zpk_app.h"

namespace {

CZPKApp theApp;

}  // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
  theApp.InitInstance(os::commandLineArguments());
  return theApp.Run();
}
