// What the tests of every subsystem share. The test main starts the library, attaches the main
// thread, answers every message box by itself (RUNA1_AUTO_ANSWER=cancel unless the variable is
// set), and lets each error exception return after counting it.
#pragma once

#include <cstdint>
#include <string>

namespace runa1_test {

// Error exceptions raised by vkSetError since the start of the run, on any thread.
uint32_t errorExceptionCount();
// The code in the raising thread's record when the last one was raised.
uint32_t lastRaisedErrorCode();

// Counts breakpoint traps during its life and lets the program go on behind each.
class TrapCounter {
 public:
  TrapCounter();
  ~TrapCounter();
  TrapCounter(const TrapCounter&) = delete;
  TrapCounter& operator=(const TrapCounter&) = delete;
  uint32_t count() const;
};

// Sets RUNA1_AUTO_ANSWER for its life.
class AutoAnswer {
 public:
  explicit AutoAnswer(const char* button);
  ~AutoAnswer();
  AutoAnswer(const AutoAnswer&) = delete;
  AutoAnswer& operator=(const AutoAnswer&) = delete;

 private:
  bool hadPrevious_;
  std::string previous_;
};

// Installs the counting of error exceptions; the test main calls it.
void countErrorExceptions();
void setEnvironment(const char* name, const char* value);

}  // namespace runa1_test
