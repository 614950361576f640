#include "host/frame/message_loop.h"

namespace {

std::atomic<MessageLoop*> currentLoop{nullptr};

}  // namespace

MessageLoop::MessageLoop() : gate_(os::createEvent(true, true)) {}

MessageLoop::~MessageLoop() { os::closeEvent(gate_); }

MessageLoop* MessageLoop::Current() { return currentLoop; }
void MessageLoop::SetCurrent(MessageLoop* loop) { currentLoop = loop; }

void MessageLoop::Stop() {
  ++stopCount_;
  os::resetEvent(gate_);
}

void MessageLoop::Restart() {
  if (--stopCount_ == 0) os::setEvent(gate_);
}

bool MessageLoop::IsGateOpen() { return os::waitEvent(gate_, 0); }

void MessageLoop::Run(os::WindowSystem& system, os::Thread* moduleThread) {
  bool quit = false;
  while (!quit) {
    waiting_ = true;
    bool ended = system.waitForWork(moduleThread, gate_);
    waiting_ = false;
    if (ended) break;
    os::Lock hold(lock_);
    // The count is looked at before each message, so a stop holds from the next one on.
    while (!quit && stopCount_ == 0 && system.dispatchNext(&quit)) {
    }
  }
}
