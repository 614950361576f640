#include "debugger/debug_session.h"

#include <algorithm>

CZPKDebugSession::CZPKDebugSession(drt::DebugRecord record, uint8_t* image)
    : record_(std::move(record)), image_(image) {
  std::fill(std::begin(history_), std::end(history_), -1);
  for (size_t i = 0; i < record_.procedures.size(); ++i) {
    const drt::Procedure& procedure = record_.procedures[i];
    names_.emplace(procedure.name, static_cast<int32_t>(i));
    breakpoints_.emplace(procedure.offset, Breakpoint{static_cast<int32_t>(i), image_[procedure.offset]});
  }
  for (const drt::Variable& variable : record_.variables) variables_.push_back({&variable.name, variable.offset, 0});
  std::sort(variables_.begin(), variables_.end(),
            [](const VariableExtent& a, const VariableExtent& b) { return a.offset < b.offset; });
  for (size_t i = 0; i < variables_.size(); ++i) {
    uint32_t end = i + 1 < variables_.size() ? variables_[i + 1].offset : record_.imageSize;
    variables_[i].size = end - variables_[i].offset;
  }
}

CZPKDebugSession::~CZPKDebugSession() {
  if (!breakpointsSet_) return;
  for (const auto& [offset, breakpoint] : breakpoints_) image_[offset] = breakpoint.original;
}

void CZPKDebugSession::SetBreakpoints() {
  for (auto& [offset, breakpoint] : breakpoints_) {
    breakpoint.original = image_[offset];
    image_[offset] = kBreakpoint;
  }
  breakpointsSet_ = true;
}

void CZPKDebugSession::ArmBreakpoint(int32_t procedure) { image_[record_.procedures[procedure].offset] = kBreakpoint; }

void CZPKDebugSession::DisarmBreakpoint(int32_t procedure) {
  uint32_t offset = record_.procedures[procedure].offset;
  image_[offset] = breakpoints_.at(offset).original;
}

int32_t CZPKDebugSession::ProcedureAtEntry(uint32_t offset) const {
  auto found = breakpoints_.find(offset);
  return found == breakpoints_.end() ? -1 : found->second.procedure;
}

int32_t CZPKDebugSession::ProcedureNamed(const char* name) const {
  auto found = names_.find(name);
  return found == names_.end() ? -1 : found->second;
}

const std::string* CZPKDebugSession::SourceFileOf(const char* name) const {
  int32_t procedure = ProcedureNamed(name);
  if (procedure < 0) return nullptr;
  uint32_t source = record_.procedures[procedure].source;
  return source == drt::kNoSource ? nullptr : &record_.sourceFiles[source];
}

void CZPKDebugSession::NoteCall(int32_t procedure) {
  history_[nextHistory_] = procedure;
  nextHistory_ = (nextHistory_ + 1) % kHistorySize;
}

int32_t CZPKDebugSession::HistoryRow(uint32_t row) const {
  return history_[(nextHistory_ + kHistorySize - row % kHistorySize - 1) % kHistorySize];
}

CZPKDebugSession::AddResult CZPKDebugSession::AddStop(const char* name) {
  int32_t procedure = ProcedureNamed(name);
  if (procedure < 0) return AddResult::NotDefined;
  return stops_.insert(procedure).second ? AddResult::Added : AddResult::AlreadyListed;
}

void CZPKDebugSession::RemoveStop(const char* name) { stops_.erase(ProcedureNamed(name)); }
