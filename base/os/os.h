// The platform seam: what the library needs of an operating system. One implementation over
// Win32 (os_win32.cpp), one over POSIX (os_posix.cpp); nothing above this layer calls the OS.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "base/os/win32_types.h"

#ifndef _WIN32
#include <pthread.h>
#endif

namespace os {

// ---- Files ---------------------------------------------------------------------------------
// A file handle is the OS's own: a Win32 HANDLE, or a POSIX descriptor carried in a HANDLE.
using FileHandle = HANDLE;
inline FileHandle invalidFile() { return INVALID_HANDLE_VALUE; }

enum FileAccess : uint32_t { kAccessRead = 1, kAccessWrite = 2 };
enum FileShare : uint32_t { kShareRead = 1, kShareWrite = 2 };
enum class Creation { OpenExisting, CreateAlways };

// Opens or creates a file. access 0 gives a handle that can neither read nor write.
FileHandle openFile(const char* path, uint32_t access, uint32_t share, Creation creation);
void closeFile(FileHandle file);
// Transfers up to `bytes` and gives the count done; 0 after a failure.
uint32_t readFile(FileHandle file, void* buffer, uint32_t bytes);
uint32_t writeFile(FileHandle file, const void* buffer, uint32_t bytes);
// method: 0 from the beginning, 1 from the current position, 2 from the end. Gives the new
// position, or 0xFFFFFFFF on failure (a negative result, a handle that cannot seek).
uint32_t seekFile(FileHandle file, int32_t offset, uint32_t method);
// Low 32 bits of the length, 0xFFFFFFFF on failure.
uint32_t fileSize(FileHandle file);
// 64-bit forms for the readers that address files beyond 4 GiB; UINT64_MAX on failure.
uint64_t seekFile64(FileHandle file, int64_t offset, uint32_t method);
uint64_t fileSize64(FileHandle file);
// A second handle to the same open file: both share one position. kSameAccess keeps the access.
constexpr uint32_t kSameAccess = 0xFFFFFFFF;
FileHandle duplicateFile(FileHandle file, uint32_t access);
// Last modification, access and creation times, as local times. Null pointers are skipped.
bool fileTimes(FileHandle file, SYSTEMTIME* created, SYSTEMTIME* accessed, SYSTEMTIME* written);

// Absolute form of `path`, with the contract of GetFullPathNameA: when the answer and its
// terminator fit in `bufferLength` bytes it is written, `*namePart` points at its file
// name part, and the result is its length; otherwise the result is the size needed including
// the terminator and nothing is written. 0 on failure.
uint32_t fullPathName(const char* path, uint32_t bufferLength, char* buffer, char** namePart);

// ---- Text at the system boundary ----------------------------------------------------------
// Text inside the engine is Shift-JIS (code page 932); the outside world gets UTF-8.
std::string shiftJisToUtf8(std::string_view text);
// Gives false when `text` is not valid UTF-8 or holds a character Shift-JIS cannot.
bool utf8ToShiftJis(std::string_view text, std::string* out);

// ---- Dialogs and the debug channel ---------------------------------------------------------
// Every message box of the host goes through here. When RUNA1_AUTO_ANSWER names a button (ok,
// cancel, abort, retry, ignore, yes, no), nothing is shown: one line
// `runa1: message box "<caption>": <text>` goes to stderr and the debug channel, and the answer
// is that button, or the box's default button when it has no such one. Text and caption are
// Shift-JIS; flags and answers are those of MessageBox (MB_*, ID*).
int messageBox(const char* text, const char* caption, uint32_t flags);
// True when boxes answer without a person: RUNA1_AUTO_ANSWER is set, or the build has no box.
bool answersAutomatically();
// The button a box answers without a person: the auto answer, else the default button.
int automaticAnswer(uint32_t flags, const char* autoAnswer);
// Shows a box to a person: the OS's own message box (the native build has none and answers as
// automaticAnswer does, after writing the box to stderr).
int showMessageBox(const char* text, const char* caption, uint32_t flags);
// Writes one UTF-8 line to stderr and to the debug channel.
void writeDiagnostic(const std::string& utf8Line);
// The debug output channel (OutputDebugString), mirrored to stderr in UTF-8 so that users
// running under a terminal or Wine see it. `text` is Shift-JIS.
void debugOutput(const char* text);

// ---- Process heap --------------------------------------------------------------------------
void* heapAlloc(size_t bytes, bool zero);
void* heapRealloc(void* block, size_t bytes);
void heapFree(void* block);

// ---- Threads -------------------------------------------------------------------------------
// A started thread, until closeThread. The handle stays valid after the thread has ended, so a
// wait on it keeps answering at once.
struct Thread;
using ThreadEntry = void (*)(void* argument);
constexpr uint32_t kWaitForever = 0xFFFFFFFF;
// Null when the thread could not be started.
Thread* startThread(ThreadEntry entry, void* argument);
// Waits up to `milliseconds` for the thread's end; true when it still runs afterwards.
bool waitThread(Thread* thread, uint32_t milliseconds);
// Gives up the handle; a thread that still runs goes on to its end.
void closeThread(Thread* thread);

// ---- Recursive lock ------------------------------------------------------------------------
class CriticalSection {
 public:
  CriticalSection();
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  void lock();
  void unlock();

 private:
#ifdef _WIN32
  CRITICAL_SECTION section_;
#else
  pthread_mutex_t mutex_;
#endif
};

class Lock {
 public:
  explicit Lock(CriticalSection& section) : section_(section) { section_.lock(); }
  ~Lock() { section_.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  CriticalSection& section_;
};

}  // namespace os
