// Stop and Run of the debugged module: every thread of the module suspended, and each brought
// back to the suspend count it had before; the run event lets a stopped filter go on.
#pragma once

#include <cstdint>
#include <vector>

#include "base/os/os.h"

// The system's suspend and resume of a thread; each gives the count before the call, or
// kFailed.
class ThreadControl {
 public:
  static constexpr uint32_t kFailed = 0xFFFFFFFF;
  virtual ~ThreadControl() = default;
  virtual uint32_t Suspend(uintptr_t thread) = 0;
  virtual uint32_t Resume(uintptr_t thread) = 0;
};

class RunControl {
 public:
  // The run event starts set: the module runs.
  explicit RunControl(ThreadControl& threads);
  ~RunControl();
  RunControl(const RunControl&) = delete;
  RunControl& operator=(const RunControl&) = delete;

  // Suspends `threads`. Nothing when the module is stopped already; false then.
  bool Stop(const std::vector<uintptr_t>& threads);
  // Resumes the threads of the last Stop. Nothing without one; false then.
  bool Run();
  bool IsRunning() const { return running_; }
  // Waits up to `milliseconds` for Run; true once the module runs.
  bool WaitForRun(uint32_t milliseconds) { return os::waitEvent(runEvent_, milliseconds); }

 private:
  ThreadControl& control_;
  os::EventHandle runEvent_;
  bool running_ = true;
  bool suspended_ = false;
  std::vector<uintptr_t> threads_;
  std::vector<uint32_t> keptCounts_;  // each thread's suspend count before the Stop
};
