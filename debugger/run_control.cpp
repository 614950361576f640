#include "debugger/run_control.h"

RunControl::RunControl(ThreadControl& threads) : control_(threads), runEvent_(os::createEvent(true, true)) {}

RunControl::~RunControl() { os::closeEvent(runEvent_); }

bool RunControl::Stop(const std::vector<uintptr_t>& threads) {
  if (!running_ || suspended_) return false;
  suspended_ = true;
  threads_ = threads;
  keptCounts_.clear();
  for (uintptr_t thread : threads_) keptCounts_.push_back(control_.Suspend(thread));
  running_ = false;
  os::resetEvent(runEvent_);
  return true;
}

bool RunControl::Run() {
  if (running_ || !suspended_) return false;
  suspended_ = false;
  // Down to the count before the Stop, whatever else suspended the thread meanwhile; a thread
  // that has ended answers with a failure and is left.
  for (size_t i = 0; i < threads_.size(); ++i) {
    uint32_t before;
    do {
      before = control_.Resume(threads_[i]);
    } while (before != ThreadControl::kFailed && before > keptCounts_[i] + 1);
  }
  running_ = true;
  os::setEvent(runEvent_);
  return true;
}
