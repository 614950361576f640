// CZPKDebugSession: what the debugger knows of one debugged module: its procedures with their
// source files and entry breakpoints, its variables, the ring of the last 256 calls, the stop
// list and the registers of the last exception. The windows read it; the debug filter writes
// the ring and the registers.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/os/win32_types.h"
#include "debugger/debug_record.h"

class CZPKDebugSession {
 public:
  static constexpr uint32_t kHistorySize = 256;
  static constexpr uint8_t kBreakpoint = 0xCC;

  // `record` matches the module whose image starts at `image`.
  CZPKDebugSession(drt::DebugRecord record, uint8_t* image);
  // Puts the original bytes back at every procedure entry, so that the module goes on without
  // the debugger.
  ~CZPKDebugSession();
  CZPKDebugSession(const CZPKDebugSession&) = delete;
  CZPKDebugSession& operator=(const CZPKDebugSession&) = delete;

  // Writes a breakpoint at every procedure entry, keeping the bytes it covers.
  void SetBreakpoints();
  // Writes the breakpoint of one procedure again, or its original byte back.
  void ArmBreakpoint(int32_t procedure);
  void DisarmBreakpoint(int32_t procedure);

  uint32_t ImageSize() const { return record_.imageSize; }
  uint8_t ImageByte(uint32_t offset) const { return image_[offset]; }

  // The procedure whose entry lies at image offset `offset`, or -1.
  int32_t ProcedureAtEntry(uint32_t offset) const;
  int32_t ProcedureNamed(const char* name) const;
  const std::string& ProcedureName(int32_t procedure) const { return record_.procedures[procedure].name; }
  uint32_t ProcedureCount() const { return static_cast<uint32_t>(record_.procedures.size()); }
  // The source file of the procedure `name`; null when the record names none.
  const std::string* SourceFileOf(const char* name) const;

  // The call history: a ring of procedure indexes, newest at row 0; -1 is an empty place.
  void NoteCall(int32_t procedure);
  int32_t HistoryRow(uint32_t row) const;
  uint32_t NextHistoryPosition() const { return nextHistory_; }

  // The stop list. Adding a name twice keeps one entry.
  enum class AddResult { Added, AlreadyListed, NotDefined };
  AddResult AddStop(const char* name);
  void RemoveStop(const char* name);
  bool StopsAt(int32_t procedure) const { return stops_.count(procedure) != 0; }
  size_t StopCount() const { return stops_.size(); }

  // The variables in the order of their image offsets; each reaches to the next one's start,
  // the last to the end of the image.
  struct VariableExtent {
    const std::string* name;
    uint32_t offset;
    uint32_t size;
  };
  const std::vector<VariableExtent>& Variables() const { return variables_; }

  void SaveContext(const CONTEXT& context) { context_ = context; }
  const CONTEXT& Context() const { return context_; }

 private:
  struct Breakpoint {
    int32_t procedure;
    uint8_t original;
  };

  drt::DebugRecord record_;
  uint8_t* image_;
  std::map<std::string, int32_t> names_;          // procedure name to index
  std::map<uint32_t, Breakpoint> breakpoints_;    // by entry offset
  bool breakpointsSet_ = false;
  std::vector<VariableExtent> variables_;
  std::set<int32_t> stops_;
  int32_t history_[kHistorySize];
  uint32_t nextHistory_ = 0;
  CONTEXT context_{};
};
