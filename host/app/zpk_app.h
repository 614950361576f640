// CZPKApp: the application, once per process. InitInstance scans the command line; Run
// loads the main module, fixes the base and working directories, runs the module's
// StartingProc on a thread of its own, stands up the main window when the module asks for it,
// dispatches the window's messages while the module runs, and tears everything down when
// StartingProc returns.
#pragma once

#include <cstdint>
#include <string>

#include "base/os/os.h"
#include "host/frame/message_loop.h"
#include "host/app/module_debugger.h"
#include "host/frame/start_handshake.h"
#include "host/module/zpk_module.h"

class CZPKApp {
 public:
  // Starts the library before anything else of it runs; the destructor takes it down. With a
  // `debugger` this is the debug configuration of the host: DEBUG starts it.
  explicit CZPKApp(ModuleDebugger* debugger = nullptr);
  ~CZPKApp();
  CZPKApp(const CZPKApp&) = delete;
  CZPKApp& operator=(const CZPKApp&) = delete;

  // Scans `commandLine` (Shift-JIS, without the program's name). Always true. A command line
  // that Shift-JIS cannot hold is not scanned: Run refuses it.
  bool InitInstance(const os::SystemText& commandLine);
  // The process's exit code.
  int Run();

  CZPKModule& GetMainModule() { return module_; }
  const std::string& GetDebugRecordFileName() const { return debugRecordFileName_; }

 private:
  // Shows that a text from the system cannot be written in Shift-JIS; the exit code.
  int RefuseText(const char* what, const std::string& shown);
  void EndDebugging();

  std::string moduleFileName_;
  std::string refusedCommandLine_;  // with its missing characters marked; empty when none
  ModuleDebugger* debugger_;
  uint32_t debugFlag_ = 0;  // DEBUG, in the debug configuration
  std::string debugRecordFileName_;
  bool baseDirectoryGiven_ = false;
  std::string baseDirectory_;
  CZPKModule module_;
  StartHandshake handshake_;  // the window parameters and the request and ready events
  MessageLoop loop_;          // the stop count, the gate event and the loop lock
};

// The module chooser's filter, as the dialog seam takes it.
inline constexpr const char kModuleFilter[] = "Z.P.K.Module (*.zpe)|*.zpe|All Files (*.*)|*.*||";

// The debug record file name of a module: its directory, its file title (the name behind the
// last separator less everything from its last full stop) and ".drt".
std::string debugRecordFileNameOf(const std::string& modulePath, const std::string& moduleDirectory);
