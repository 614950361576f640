// A program on the foundation library alone, for the faults that no module can cause: run with
// "report" it frees a misaligned address (a fatal report of the library), with "allocation" it
// asks for more memory than there is, with "trap" it executes a breakpoint. What comes back from
// the call is written to stderr.
#include <cstdio>
#include <cstring>

#include "base/alloc.h"
#include "base/error.h"
#include "base/library.h"
#include "base/os/os.h"

int main(int argc, char** argv) {
  vkInitialize(VK_LIBRARY_VERSION);
  const char* fault = argc > 1 ? argv[1] : "";
  char line[96];
  if (std::strcmp(fault, "report") == 0) {
    static char block[64];
    uint32_t result = vkFree(block + 1);
    std::snprintf(line, sizeof line, "probe: vkFree gave %u, code %u\n", result, vkGetLastError());
  } else if (std::strcmp(fault, "allocation") == 0) {
    void* block = vkAlloc(0xF0000000u, 0);
    std::snprintf(line, sizeof line, "probe: vkAlloc gave %p\n", block);
  } else {
    os::breakpointTrap();
    std::snprintf(line, sizeof line, "probe: behind the trap\n");
  }
  os::writeDiagnostic(line);
  vkUninitialize();
  return 0;
}
