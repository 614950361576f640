// The main thread's message loop and its stop. While the stop count is 0 the main thread takes
// and dispatches the queue's messages under the loop lock; a module that must work on the
// window from its own thread, or draw over what the window paints, brackets this with Stop and
// Restart, which nest. The gate event is set exactly while no stop is in force, and the window
// operations of the frame are refused while it is set.
#pragma once

#include <atomic>
#include <cstdint>

#include "base/os/os.h"
#include "base/os/window.h"

class MessageLoop {
 public:
  MessageLoop();
  ~MessageLoop();
  MessageLoop(const MessageLoop&) = delete;
  MessageLoop& operator=(const MessageLoop&) = delete;

  // Any thread. The stop takes effect before the loop's next message; it does not wait for it.
  void Stop();
  void Restart();
  // Whether the gate is open, that is no stop is in force: a look at the event without waiting.
  bool IsGateOpen();
  int32_t StopCount() const { return stopCount_; }

  // The main thread: dispatches messages, whenever the gate is open, until `moduleThread` ends or
  // WM_QUIT arrives. It sleeps only while there is nothing to do: no message, or a stop.
  void Run(os::WindowSystem& system, os::Thread* moduleThread);
  // True while Run waits outside its lock, stopped or between turns. Messages that other threads
  // send are answered meanwhile, so that a module thread working on the window is not stuck; the
  // frame answers them without hooks and without touching the display.
  bool IsWaiting() const { return waiting_; }

  // The loop of the running application, which the exports serve; null when none runs.
  static MessageLoop* Current();
  static void SetCurrent(MessageLoop* loop);

 private:
  std::atomic<int32_t> stopCount_{0};
  std::atomic<bool> waiting_{false};
  os::EventHandle gate_;     // manual reset, set at first
  os::CriticalSection lock_;  // held while a message is handled
};
