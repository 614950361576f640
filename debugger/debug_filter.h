// The debug filter: the process's exception filter while a module runs under the debugger.
// Every procedure entry holds a breakpoint; a hit is noted in the call history and passed over
// by a single step, after which the breakpoint is written again. A procedure on the stop list,
// or a breakpoint that no procedure owns, stops the module until the user lets it run.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "debugger/debug_session.h"

// What the filter asks of the debugger's windows.
class DebugFrame {
 public:
  virtual ~DebugFrame() = default;
  // The registers changed (register, stack, variable and memory panes), or the history.
  virtual void RegistersChanged() = 0;
  virtual void HistoryChanged() = 0;
  // A stop: the source text at the procedure, when there is one, and the box with `text`.
  virtual void ShowSourceOf(const std::string& procedure) = 0;
  virtual void ShowStop(const char* text) = 0;
  // Stop suspends the module's threads; the wait returns once the user has chosen Run.
  virtual void Stop() = 0;
  virtual void WaitForRun() = 0;
  virtual void ForceEnd() = 0;
};

class DebugFilter {
 public:
  // `imageAddress` is where the session's image lies as the module's code sees it.
  DebugFilter(CZPKDebugSession* session, uint32_t imageAddress, DebugFrame* frame)
      : session_(session), imageAddress_(imageAddress), frame_(frame) {}

  // -1 resumes, 0 passes the exception on. One exception at a time: the caller holds the
  // process-wide lock of the debugger around the call.
  LONG Answer(EXCEPTION_POINTERS* pointers);

 private:
  // The procedure whose entry `eip` is, or -1.
  int32_t ProcedureAt(uint32_t eip) const;
  bool ByteBefore(uint32_t eip, uint8_t* byte) const;
  LONG StopAt(int32_t procedure);

  CZPKDebugSession* session_;
  uint32_t imageAddress_;
  DebugFrame* frame_;
  int32_t rearm_ = -1;  // the procedure whose breakpoint comes back after the single step
};
