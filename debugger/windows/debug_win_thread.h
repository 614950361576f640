// CDebugWinThread: the debugger of the host's debug configuration. A thread of its own runs
// the debug frame; the debug filter, on whichever module thread an exception comes, feeds the
// session under one process-wide lock. Ending the session writes the module's bytes back, so
// that the module goes on without the debugger.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "base/os/os.h"
#include "debugger/debug_filter.h"
#include "debugger/debug_session.h"
#include "debugger/run_control.h"
#include "host/app/module_debugger.h"

class CDbgMDIFrm;

// SuspendThread and ResumeThread.
class Win32ThreadControl : public ThreadControl {
 public:
  uint32_t Suspend(uintptr_t thread) override;
  uint32_t Resume(uintptr_t thread) override;
};

class CDebugWinThread : public ModuleDebugger {
 public:
  CDebugWinThread();
  ~CDebugWinThread() override;

  bool Start(CZPKModule& module, const std::string& recordPath) override;
  VkDebugFilter Filter() override { return &CDebugWinThread::FilterException; }
  void End() override;

  // For the frame, on the debug thread.
  CZPKDebugSession* Session() const { return session_.get(); }
  uint32_t ImageAddress() const { return imageAddress_; }
  RunControl& Runner() { return runner_; }
  // The module's threads that have met the debugger so far.
  std::vector<uintptr_t> ModuleThreads() const;
  // Stop: suspends the module's threads. The filter's own stop holds the lock already; the
  // user's waits until no thread is inside the filter, so that none is held with the lock.
  bool StopModule(bool fromFilter);
  // The stop waits for Run in turns of 100 milliseconds, pumping this thread's messages; it
  // ends too when the session does.
  void WaitForRun();
  // Force end: the frame is gone for the filter, and the debug thread ends; the module stays
  // stopped, for the host's own end. Before the module's window stands nothing waits for a
  // quit: with `endProcess` the process ends once the session has.
  void Quit(bool endProcess);

 private:
  static uint32_t ThreadEntry(void* self);
  static LONG WINAPI FilterException(EXCEPTION_POINTERS* pointers);
  LONG Answer(EXCEPTION_POINTERS* pointers);
  bool InitInstance();
  void ExitInstance();
  void NoteThread();
  // Takes the filter's lock on the debug thread, answering what the module's threads send to
  // the frame meanwhile; false when a thread keeps it too long (one that Stop holds inside).
  bool LockAnswering();
  // Without a session: the debugger's own traps are passed over, anything else goes on.
  static LONG AnswerWithoutSession(EXCEPTION_POINTERS* pointers);

  os::CriticalSection lock_;  // the filter's, process-wide: one exception at a time
  std::unique_ptr<CZPKDebugSession> session_;
  uint32_t imageAddress_ = 0;
  std::unique_ptr<DebugFilter> filter_;
  std::unique_ptr<CDbgMDIFrm> frame_;
  std::atomic<bool> frameUp_{false};
  bool forceEnded_ = false;
  bool endProcess_ = false;
  os::EventHandle ready_;
  os::Thread* thread_ = nullptr;
  uint32_t hostThreadId_ = 0;  // the thread that started the session
  Win32ThreadControl control_;
  RunControl runner_{control_};
  // Threads join under the filter's lock only; the frame reads them without a lock, since a
  // thread that Stop suspends may hold it.
  static constexpr size_t kMostThreads = 64;
  std::atomic<uintptr_t> threads_[kMostThreads] = {};
  std::atomic<uint32_t> threadIds_[kMostThreads] = {};
  std::atomic<size_t> threadCount_{0};
};
