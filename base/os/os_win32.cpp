// Win32 side of the platform seam. Text inside the engine is Shift-JIS: file names cross the
// boundary through code page 932 and the wide functions, so the host works under any locale.
#include <cstring>
#include <string>

#include "base/os/os.h"

namespace os {

namespace {

constexpr UINT kShiftJis = 932;

std::wstring widen(const char* text) {
  int count = MultiByteToWideChar(kShiftJis, 0, text, -1, nullptr, 0);
  if (count <= 0) return {};
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(kShiftJis, 0, text, -1, wide.data(), count);
  wide.resize(static_cast<size_t>(count - 1));
  return wide;
}

std::string narrow(const wchar_t* text, int length) {
  int count = WideCharToMultiByte(kShiftJis, 0, text, length, nullptr, 0, nullptr, nullptr);
  if (count <= 0) return {};
  std::string bytes(static_cast<size_t>(count), '\0');
  WideCharToMultiByte(kShiftJis, 0, text, length, bytes.data(), count, nullptr, nullptr);
  return bytes;
}

bool toLocalSystemTime(const FILETIME& time, SYSTEMTIME* out) {
  if (!out) return true;
  FILETIME local;
  return FileTimeToLocalFileTime(&time, &local) && FileTimeToSystemTime(&local, out);
}

DWORD win32Access(uint32_t access) {
  return ((access & kAccessRead) ? GENERIC_READ : 0) | ((access & kAccessWrite) ? GENERIC_WRITE : 0);
}

}  // namespace

FileHandle openFile(const char* path, uint32_t access, uint32_t share, Creation creation) {
  DWORD shareMode = ((share & kShareRead) ? FILE_SHARE_READ : 0) |
                    ((share & kShareWrite) ? FILE_SHARE_WRITE : 0);
  DWORD disposition = creation == Creation::CreateAlways ? CREATE_ALWAYS : OPEN_EXISTING;
  return CreateFileW(widen(path).c_str(), win32Access(access), shareMode, nullptr, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

void closeFile(FileHandle file) { CloseHandle(file); }

uint32_t readFile(FileHandle file, void* buffer, uint32_t bytes) {
  DWORD done = 0;
  return ReadFile(file, buffer, bytes, &done, nullptr) ? done : 0;
}

uint32_t writeFile(FileHandle file, const void* buffer, uint32_t bytes) {
  DWORD done = 0;
  return WriteFile(file, buffer, bytes, &done, nullptr) ? done : 0;
}

uint32_t seekFile(FileHandle file, int32_t offset, uint32_t method) {
  return SetFilePointer(file, offset, nullptr, method);
}

uint32_t fileSize(FileHandle file) { return GetFileSize(file, nullptr); }

uint64_t seekFile64(FileHandle file, int64_t offset, uint32_t method) {
  LARGE_INTEGER distance, at;
  distance.QuadPart = offset;
  return SetFilePointerEx(file, distance, &at, method) ? static_cast<uint64_t>(at.QuadPart) : UINT64_MAX;
}

uint64_t fileSize64(FileHandle file) {
  LARGE_INTEGER size;
  return GetFileSizeEx(file, &size) ? static_cast<uint64_t>(size.QuadPart) : UINT64_MAX;
}

FileHandle duplicateFile(FileHandle file, uint32_t access) {
  HANDLE copy = INVALID_HANDLE_VALUE;
  HANDLE self = GetCurrentProcess();
  BOOL done = access == kSameAccess
                  ? DuplicateHandle(self, file, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS)
                  : DuplicateHandle(self, file, self, &copy, win32Access(access), TRUE, 0);
  return done ? copy : INVALID_HANDLE_VALUE;
}

bool fileTimes(FileHandle file, SYSTEMTIME* created, SYSTEMTIME* accessed, SYSTEMTIME* written) {
  FILETIME c, a, w;
  if (!GetFileTime(file, &c, &a, &w)) return false;
  return toLocalSystemTime(c, created) && toLocalSystemTime(a, accessed) &&
         toLocalSystemTime(w, written);
}

uint32_t fullPathName(const char* path, uint32_t bufferLength, char* buffer, char** namePart) {
  std::wstring wide = widen(path);
  if (wide.empty()) return 0;
  DWORD needed = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return 0;
  std::wstring full(needed, L'\0');
  wchar_t* widePart = nullptr;
  DWORD length = GetFullPathNameW(wide.c_str(), needed, full.data(), &widePart);
  if (length == 0 || length >= needed) return 0;
  std::string bytes = narrow(full.c_str(), static_cast<int>(length));
  if (bytes.size() + 1 > bufferLength) return static_cast<uint32_t>(bytes.size() + 1);
  std::memcpy(buffer, bytes.c_str(), bytes.size() + 1);
  if (namePart) {
    // The name part's offset in bytes is the Shift-JIS length of what stands before it.
    *namePart = widePart ? buffer + narrow(full.c_str(), static_cast<int>(widePart - full.c_str())).size()
                         : nullptr;
  }
  return static_cast<uint32_t>(bytes.size());
}

void* heapAlloc(size_t bytes, bool zero) {
  return HeapAlloc(GetProcessHeap(), zero ? HEAP_ZERO_MEMORY : 0, bytes);
}

void* heapRealloc(void* block, size_t bytes) { return HeapReAlloc(GetProcessHeap(), 0, block, bytes); }

void heapFree(void* block) {
  if (block) HeapFree(GetProcessHeap(), 0, block);
}

struct Thread {
  HANDLE handle;
};

namespace {

// What the new thread runs; the thread frees it, so the handle can be closed at any time.
struct ThreadStart {
  ThreadEntry entry;
  void* argument;
};

DWORD WINAPI runThread(void* state) {
  ThreadStart start = *static_cast<ThreadStart*>(state);
  delete static_cast<ThreadStart*>(state);
  start.entry(start.argument);
  return 0;
}

}  // namespace

Thread* startThread(ThreadEntry entry, void* argument) {
  ThreadStart* start = new ThreadStart{entry, argument};
  HANDLE handle = CreateThread(nullptr, 0, runThread, start, 0, nullptr);
  if (!handle) {
    delete start;
    return nullptr;
  }
  return new Thread{handle};
}

bool waitThread(Thread* thread, uint32_t milliseconds) {
  return WaitForSingleObject(thread->handle, milliseconds) == WAIT_TIMEOUT;
}

void closeThread(Thread* thread) {
  CloseHandle(thread->handle);
  delete thread;
}

CriticalSection::CriticalSection() { InitializeCriticalSection(&section_); }
CriticalSection::~CriticalSection() { DeleteCriticalSection(&section_); }
void CriticalSection::lock() { EnterCriticalSection(&section_); }
void CriticalSection::unlock() { LeaveCriticalSection(&section_); }

}  // namespace os

namespace os {

namespace {

std::wstring widenFrom(UINT codePage, std::string_view text, DWORD flags) {
  if (text.empty()) return {};
  int count = MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), nullptr, 0);
  if (count <= 0) return {};
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(codePage, flags, text.data(), static_cast<int>(text.size()), wide.data(), count);
  return wide;
}

}  // namespace

std::string shiftJisToUtf8(std::string_view text) {
  std::wstring wide = widenFrom(kShiftJis, text, 0);
  int count = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(count > 0 ? count : 0), '\0');
  if (count > 0)
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), out.data(), count, nullptr, nullptr);
  return out;
}

bool utf8ToShiftJis(std::string_view text, std::string* out) {
  if (text.empty()) {
    out->clear();
    return true;
  }
  std::wstring wide = widenFrom(CP_UTF8, text, MB_ERR_INVALID_CHARS);
  if (wide.empty()) return false;
  BOOL lossy = FALSE;
  int count = WideCharToMultiByte(kShiftJis, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()),
                                  nullptr, 0, nullptr, &lossy);
  if (count <= 0 || lossy) return false;
  out->assign(static_cast<size_t>(count), '\0');
  WideCharToMultiByte(kShiftJis, WC_NO_BEST_FIT_CHARS, wide.data(), static_cast<int>(wide.size()), out->data(),
                      count, nullptr, nullptr);
  return true;
}

int showMessageBox(const char* text, const char* caption, uint32_t flags) {
  return MessageBoxW(nullptr, widen(text).c_str(), widen(caption).c_str(), flags);
}

void writeDiagnostic(const std::string& utf8Line) {
  HANDLE error = GetStdHandle(STD_ERROR_HANDLE);
  if (error && error != INVALID_HANDLE_VALUE) {
    DWORD written = 0;
    WriteFile(error, utf8Line.data(), static_cast<DWORD>(utf8Line.size()), &written, nullptr);
  }
  std::wstring wide = widenFrom(CP_UTF8, utf8Line, 0);
  OutputDebugStringW(wide.c_str());
}

void debugOutput(const char* text) { writeDiagnostic(shiftJisToUtf8(text)); }

}  // namespace os
