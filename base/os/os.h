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
// the terminator and nothing is written. 0 on failure, and when Shift-JIS cannot hold the answer.
uint32_t fullPathName(const char* path, uint32_t bufferLength, char* buffer, char** namePart);

// ---- Text at the system boundary ----------------------------------------------------------
// Text inside the engine is Shift-JIS (code page 932); the outside world gets UTF-8.
std::string shiftJisToUtf8(std::string_view text);
// Gives false when `text` is not valid UTF-8 or holds a character Shift-JIS cannot.
bool utf8ToShiftJis(std::string_view text, std::string* out);
// Text that comes back from the system (the command line, paths), in Shift-JIS. What Shift-JIS
// cannot hold is never changed to fit: `complete` is then false, and `text` writes each
// character that it lacks as <U+XXXX>, for the message that refuses it.
struct SystemText {
  std::string text;
  bool complete = true;
};

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

// A file-open dialog (the host's module chooser). `filter` is "Name|pattern|...||" text;
// `flags` are OFN_* values. Gives false when the user cancels; with RUNA1_AUTO_ANSWER set it
// shows nothing and answers Cancel, after one diagnostic line.
bool chooseFileToOpen(const char* filter, const char* defaultExtension, uint32_t flags, SystemText* path);
// A file-save dialog titled `title` (the fault filter's log chooser): the chosen path in
// Shift-JIS, at most `maxLength` characters. Same contract as chooseFileToOpen otherwise.
bool chooseFileToSave(const char* filter, const char* title, uint32_t flags, uint32_t maxLength, std::string* path);

// ---- Process -------------------------------------------------------------------------------
// The command line behind the program's own name.
SystemText commandLineArguments();
bool setCurrentDirectory(const char* path);
// A variable of the environment in Shift-JIS; empty when unset.
std::string environmentVariable(const char* name);
// The full path of the running executable in Shift-JIS, cut to `maxLength` characters.
std::string executablePath(uint32_t maxLength);
uint32_t currentThreadId();
// Ends the process at once with `code`.
[[noreturn]] void exitProcess(uint32_t code);
// The working directory, at most `maxLength` characters; an empty text on failure.
SystemText currentDirectory(uint32_t maxLength);

// ---- Code and libraries --------------------------------------------------------------------
// Memory that is readable, writable and executable as one region; null on failure.
void* allocateExecutable(size_t bytes);
void freeExecutable(void* block);
// Libraries by file name (Shift-JIS), their procedures by name, and the executable itself.
void* loadLibrary(const char* name);
void* libraryProcedure(void* library, const char* name);
void freeLibrary(void* library);
void* processModule();

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
// A thread created suspended, given `priority` (THREAD_PRIORITY_*; POSIX keeps the default)
// and `stackSize` bytes of stack (0: the default), then resumed; its exit code is the entry's
// result. Null on failure.
using ProcedureEntry = uint32_t (*)(void* argument);
Thread* startThread(ProcedureEntry entry, void* argument, int32_t priority, uint32_t stackSize);
// The system's handle (Win32 HANDLE; natively the object itself) and thread id.
uintptr_t threadHandle(const Thread* thread);
uint32_t threadId(const Thread* thread);
// The calling thread's scheduling priority (THREAD_PRIORITY_*); nothing natively.
void setCurrentThreadPriority(int32_t priority);
// The calling thread's priority; THREAD_PRIORITY_NORMAL natively.
int32_t currentThreadPriority();

// ---- Block memory --------------------------------------------------------------------------
// Fixed blocks of GlobalAlloc. The native build takes them from the C heap and keeps a table
// of the live ones, which is what canRead consults there.
void* globalAlloc(size_t bytes, bool zero);
// False when `raw` is not a live block of globalAlloc (as far as the platform can tell).
bool globalFree(void* raw);
// Whether `bytes` at `address` can be read without a fault. Win32 asks the virtual memory
// manager (committed, readable, no guard page), so nothing is touched; the native build counts
// only memory inside live blocks of globalAlloc as readable.
bool canRead(const void* address, size_t bytes);

// ---- Threads: local storage and events -----------------------------------------------------
constexpr uint32_t kNoTlsSlot = 0xFFFFFFFF;
using ThreadEndCallback = void(WINAPI*)(void* value);
// A thread-local slot, null in every thread at first. When a thread ends with a non-null value
// in it, `onThreadEnd` gets that value (Win32: fiber-local storage with its callback; POSIX: a
// key with a destructor). kNoTlsSlot when the system has none left. A slot is freed only when
// no thread holds a value in it.
uint32_t tlsAlloc(ThreadEndCallback onThreadEnd);
void tlsFree(uint32_t slot);
void* tlsGet(uint32_t slot);
void tlsSet(uint32_t slot, void* value);

// Events with the semantics of CreateEvent; waits have no time limit.
using EventHandle = void*;
EventHandle createEvent(bool manualReset, bool signalled);
void setEvent(EventHandle event);
void resetEvent(EventHandle event);
void waitEvent(EventHandle event);
// Waits up to `milliseconds`; true when the event was set.
bool waitEvent(EventHandle event, uint32_t milliseconds);
void closeEvent(EventHandle event);

// ---- Time ----------------------------------------------------------------------------------
// A millisecond counter that wraps at 32 bits: timeGetTime on Win32, the monotonic clock
// reduced to 32 bits natively.
uint32_t milliseconds();
// Gives up the processor for about `milliseconds` (Sleep).
void sleep(uint32_t milliseconds);

// ---- Processor -----------------------------------------------------------------------------
// An x87 unit answers fninit and fnstsw.
bool fpuPresent();
// Whether the CPUID instruction exists (the ID flag of EFLAGS can be toggled).
bool cpuidAvailable();
// CPUID with EAX, EBX, ECX and EDX taken from `registers`; the outputs go back there.
void cpuid(uint32_t registers[4]);
// fninit: a clean x87 state for the calling thread.
void resetFpu();

// ---- Software exceptions and traps ---------------------------------------------------------
// Raises a continuable software exception with no parameters. Win32: RaiseException, which
// returns when a handler or the process's filter continues execution. The native build calls
// the hook of setRaiseHook, or without one the fault filter (see setFaultFilter): the call
// returns when the filter answers with -1, and the process ends (abort) when it passes.
void raiseException(uint32_t code);
#ifndef _WIN32
using RaiseHook = void (*)(uint32_t code);
// Gives the hook that was set before.
RaiseHook setRaiseHook(RaiseHook hook);
#endif
// The process's last word on an exception that no handler took (SetUnhandledExceptionFilter).
// The native build has no such exceptions: there raiseException hands its exception to the
// filter when no raise hook is set, with a context of zeros. Gives the filter set before.
using FaultFilter = LONG(WINAPI*)(EXCEPTION_POINTERS* pointers);
FaultFilter setFaultFilter(FaultFilter filter);
// Copies `bytes` at `address` into `out` without faulting; false when any of them cannot be
// read. (The native build asks the kernel, so any readable memory of the process counts.)
bool readMemory(uintptr_t address, void* out, size_t bytes);
// A breakpoint trap (int3 on Win32, SIGTRAP natively): the system's fault handling decides
// whether the program goes on behind it.
void breakpointTrap();

// The shell's common controls (Win32 only; nothing natively).
void initCommonControls();

// ---- Recursive lock ------------------------------------------------------------------------
class CriticalSection {
 public:
  CriticalSection();
  ~CriticalSection();
  CriticalSection(const CriticalSection&) = delete;
  CriticalSection& operator=(const CriticalSection&) = delete;
  void lock();
  // Takes the lock only if no other thread holds it.
  bool tryLock();
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

// ---- Desktop -------------------------------------------------------------------------------
// The cursor's display counter: ShowCursor's contract (the new count after one step up or down).
int showCursor(bool show);
// Re-sets the current cursor so that a hidden one disappears at once.
void refreshCursor();
// Moves the cursor to a point of the screen (nothing natively).
void setCursorPosition(POINT point);
// The primary screen's size in pixels.
SIZE screenSize();
// Bits per pixel of a device context compatible with the display; 0 if none can be made.
uint32_t displayBitsPerPixel();

struct DisplayMode {
  uint32_t width;
  uint32_t height;
  uint32_t bitsPerPixel;
  uint32_t frequency;
  uint32_t flags;
};
// The display's modes in the system's order; false past the last.
bool enumDisplayMode(uint32_t index, DisplayMode* mode);
// Switches the display to `mode` for this process (full-screen change); null goes back to the
// mode the user set. False when the system refuses.
bool changeDisplayMode(const DisplayMode* mode);

// ---- Profile store -------------------------------------------------------------------------
// Per-user integers and strings under company, application, section and entry: the registry's
// current-user software branch on Win32, a process-local store natively. Texts are Shift-JIS.
struct ProfileKey {
  const char* company;
  const char* application;
  const char* section;
  const char* entry;  // null: the whole section, for deletion
};
bool readProfileInt(const ProfileKey& key, uint32_t* value);
bool writeProfileInt(const ProfileKey& key, uint32_t value);
bool readProfileString(const ProfileKey& key, std::string* value);
bool writeProfileString(const ProfileKey& key, const char* value);
// Removes one entry, or the whole section when the key's entry is null.
bool deleteProfileEntry(const ProfileKey& key);

}  // namespace os
