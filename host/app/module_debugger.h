// The module debugger as the application sees it. Only the debug configuration of the host
// has one; the release configuration runs every module without.
#pragma once

#include <string>

#include "base/fault.h"
#include "host/module/zpk_module.h"

class ModuleDebugger {
 public:
  virtual ~ModuleDebugger() = default;
  // Starts a session for the loaded `module` with the debug record at `recordPath`: the
  // breakpoints go into the image and the debugger's windows come up. False, after a line on
  // the debug output, when the module is to run without the debugger.
  virtual bool Start(CZPKModule& module, const std::string& recordPath) = 0;
  // What the module thread asks first about every exception while StartingProc runs.
  virtual VkDebugFilter Filter() = 0;
  // Ends the session, if one runs: the module's original bytes come back, the windows go.
  virtual void End() = 0;
};
