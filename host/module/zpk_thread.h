// CZPKThread: the module thread. It runs the main module's StartingProc above normal priority,
// attached to the library; the game is that one call, and its return ends the host.
#pragma once

#include <cstdint>

#include "base/fault.h"
#include "base/os/os.h"
#include "host/module/zpk_module.h"

class CZPKThread {
 public:
  explicit CZPKThread(CZPKModule* module);
  ~CZPKThread();
  CZPKThread(const CZPKThread&) = delete;
  CZPKThread& operator=(const CZPKThread&) = delete;

  // The debugger's filter, asked first about every exception while StartingProc runs; set
  // before Start.
  void SetDebugFilter(VkDebugFilter filter) { debugFilter_ = filter; }
  // Starts the thread; false when the system has none to give.
  bool Start();
  // Waits up to `milliseconds` for the thread's end; true while it still runs.
  bool IsRunningAfter(uint32_t milliseconds);
  os::Thread* Handle() const { return thread_; }

  // The body: 1 when the module has no StartingProc (after a box that says so), else 0.
  uint32_t Run();

 private:
  static uint32_t Entry(void* self);

  CZPKModule* module_;
  os::Thread* thread_ = nullptr;
  VkDebugFilter debugFilter_ = nullptr;
};
