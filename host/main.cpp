// Entry of runa1.exe.
#include "base/os/win32_types.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) { return 0; }
