#include "tests/test_support.h"

#include <atomic>
#include <cstdlib>

#include "base/error.h"
#include "base/os/os.h"

#ifndef _WIN32
#include <signal.h>
#endif

namespace runa1_test {

namespace {

std::atomic<uint32_t> raisedCount{0};
std::atomic<uint32_t> raisedCode{0};
std::atomic<uint32_t> trapCount{0};

void noteRaise() {
  raisedCode.store(vkGetLastError());
  raisedCount.fetch_add(1);
}

#ifdef _WIN32
LONG WINAPI continueErrorException(EXCEPTION_POINTERS* info) {
  if (info->ExceptionRecord->ExceptionCode != VK_ERROR_EXCEPTION) return EXCEPTION_CONTINUE_SEARCH;
  noteRaise();
  return EXCEPTION_CONTINUE_EXECUTION;
}

LONG WINAPI stepOverTrap(EXCEPTION_POINTERS* info) {
  if (info->ExceptionRecord->ExceptionCode != EXCEPTION_BREAKPOINT) return EXCEPTION_CONTINUE_SEARCH;
  trapCount.fetch_add(1);
  if (*reinterpret_cast<const uint8_t*>(info->ContextRecord->Eip) == 0xCC) ++info->ContextRecord->Eip;
  return EXCEPTION_CONTINUE_EXECUTION;
}

void* trapHandler = nullptr;
void* errorHandler = nullptr;
#else
void continueErrorException(uint32_t code) {
  if (code == VK_ERROR_EXCEPTION) noteRaise();
}

void countTrap(int) { trapCount.fetch_add(1); }

struct sigaction previousTrapAction;
#endif

}  // namespace

ErrorExceptionCounter::ErrorExceptionCounter() {
  raisedCount.store(0);
#ifdef _WIN32
  errorHandler = AddVectoredExceptionHandler(1, continueErrorException);
#else
  os::setRaiseHook(continueErrorException);
#endif
}

ErrorExceptionCounter::~ErrorExceptionCounter() {
#ifdef _WIN32
  RemoveVectoredExceptionHandler(errorHandler);
#else
  os::setRaiseHook(nullptr);
#endif
}

uint32_t ErrorExceptionCounter::count() const { return raisedCount.load(); }
uint32_t ErrorExceptionCounter::lastCode() const { return raisedCode.load(); }

TrapCounter::TrapCounter() {
  trapCount.store(0);
#ifdef _WIN32
  trapHandler = AddVectoredExceptionHandler(1, stepOverTrap);
#else
  struct sigaction action {};
  action.sa_handler = countTrap;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTRAP, &action, &previousTrapAction);
#endif
}

TrapCounter::~TrapCounter() {
#ifdef _WIN32
  RemoveVectoredExceptionHandler(trapHandler);
#else
  sigaction(SIGTRAP, &previousTrapAction, nullptr);
#endif
}

uint32_t TrapCounter::count() const { return trapCount.load(); }

void setEnvironment(const char* name, const char* value) {
#ifdef _WIN32
  _putenv_s(name, value ? value : "");
#else
  if (value) setenv(name, value, 1);
  else unsetenv(name);
#endif
}

AutoAnswer::AutoAnswer(const char* button) {
  const char* current = std::getenv("RUNA1_AUTO_ANSWER");
  hadPrevious_ = current != nullptr;
  if (current) previous_ = current;
  setEnvironment("RUNA1_AUTO_ANSWER", button);
}

AutoAnswer::~AutoAnswer() { setEnvironment("RUNA1_AUTO_ANSWER", hadPrevious_ ? previous_.c_str() : nullptr); }

}  // namespace runa1_test
