// The process's fault filter: the dialogs that come of the library's error exception, of
// breakpoint traps and of every processor exception, and the log files they can save.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

// Exception codes that the filter treats apart from the general report.
enum : uint32_t {
  VK_EXCEPTION_BREAKPOINT = 0x80000003,
  VK_EXCEPTION_SINGLE_STEP = 0x80000004,
  VK_EXCEPTION_ILLEGAL_INSTRUCTION = 0xC000001D,
  VK_EXCEPTION_FLT_INVALID_OPERATION = 0xC0000090,
};

// The two logs, as the save dialog's kind.
enum : uint32_t { VK_LOG_ERROR = 0, VK_LOG_EXCEPTION = 1 };

// The name of an exception code as the report puts it before "exception."; codes not listed
// are "Undefined exception".
const char* vkGetExceptionName(uint32_t code);

// Asks where to save a log of `kind`: a zero-filled 0x400-byte block of global memory holding
// the chosen path (kept until the process ends), or null on Cancel. With RUNA1_FAULT_LOG set,
// nobody is asked: the answer is that path.
char* vkSaveLogDialog(uint32_t kind);

enum class FaultOutcome {
  Resume,  // go on at the context's instruction pointer
  PassOn,  // leave the exception to the system
  End,     // end the process with 0xFFFFFFFF
};

// The filter's decision on one exception, dialogs and log included. Where the decision needs
// it, the context's instruction pointer or flags are changed.
FaultOutcome vkAnswerException(EXCEPTION_POINTERS* pointers);

// The process's unhandled-exception filter, installed at the library's first start and at
// each thread attach: -1 resumes, 0 passes on, and an end ends the process here. Without a
// person at the screen (RUNA1_AUTO_ANSWER) an exception passed on ends the process with its
// code as well, so that no crash handler of the system waits for one.
LONG WINAPI vkFilterException(EXCEPTION_POINTERS* pointers);

// The module debugger's filter, asked first by vkFilterException while a debug session runs:
// -1 resumes, anything else leaves the exception to the dialogs. Null: none. Kept apart from
// the process's filter, which every thread attach installs again.
using VkDebugFilter = LONG(WINAPI*)(EXCEPTION_POINTERS* pointers);
void vkSetDebugFilter(VkDebugFilter filter);
