// What the tests of every subsystem share. The test main starts the library, attaches the main
// thread and answers every message box by itself (RUNA1_AUTO_ANSWER=cancel unless the variable
// is set). An error exception that no test expects reaches the fault filter, which then ends
// the test program.
#pragma once

#include <cstdint>
#include <string>

namespace runa1_test {

// Counts the error exceptions of vkSetError, on any thread, during its life and lets each
// return, for tests that raise them on purpose.
class ErrorExceptionCounter {
 public:
  ErrorExceptionCounter();
  ~ErrorExceptionCounter();
  ErrorExceptionCounter(const ErrorExceptionCounter&) = delete;
  ErrorExceptionCounter& operator=(const ErrorExceptionCounter&) = delete;
  uint32_t count() const;
  // The code in the raising thread's record when the last one was raised.
  uint32_t lastCode() const;
};

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

void setEnvironment(const char* name, const char* value);

}  // namespace runa1_test
