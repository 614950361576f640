// Win32 side of the platform seam. Text inside the engine is Shift-JIS: file names cross the
// boundary through code page 932 and the wide functions, so the host works under any locale.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/os/os.h"
#include "base/os/win32_text.h"

#include <commctrl.h>
#include <mmsystem.h>

namespace os {

namespace {

// Text of `codePage` to UTF-16; empty when the text is empty or cannot be decoded.
std::wstring toWide(UINT codePage, std::string_view text, DWORD flags = 0) {
  if (text.empty()) return {};
  int size = static_cast<int>(text.size());
  int count = MultiByteToWideChar(codePage, flags, text.data(), size, nullptr, 0);
  if (count <= 0) return {};
  std::wstring wide(static_cast<size_t>(count), L'\0');
  MultiByteToWideChar(codePage, flags, text.data(), size, wide.data(), count);
  return wide;
}

// UTF-16 to `codePage`. With `exact`, false when a character has no form there (never asked
// of UTF-8, which has a form for all of them).
bool fromWide(UINT codePage, std::wstring_view wide, std::string* out, bool exact = false) {
  out->clear();
  if (wide.empty()) return true;
  int size = static_cast<int>(wide.size());
  DWORD flags = exact ? WC_NO_BEST_FIT_CHARS : 0;
  BOOL lossy = FALSE;
  BOOL* lossyOut = exact ? &lossy : nullptr;
  int count = WideCharToMultiByte(codePage, flags, wide.data(), size, nullptr, 0, nullptr, lossyOut);
  if (count <= 0 || lossy) return false;
  out->assign(static_cast<size_t>(count), '\0');
  WideCharToMultiByte(codePage, flags, wide.data(), size, out->data(), count, nullptr, nullptr);
  return true;
}

// Shift-JIS of a text from the system, refused rather than changed where a character has no form.
SystemText narrow(std::wstring_view text) {
  SystemText out;
  if (fromWide(kShiftJis, text, &out.text, true)) return out;
  out.complete = false;
  out.text.clear();
  for (wchar_t unit : text) {
    std::string bytes;
    if (fromWide(kShiftJis, std::wstring_view(&unit, 1), &bytes, true)) {
      out.text += bytes;
    } else {
      char mark[12];
      std::snprintf(mark, sizeof mark, "<U+%04X>", static_cast<unsigned>(unit));
      out.text += mark;
    }
  }
  return out;
}

bool toLocalSystemTime(const FILETIME& time, SYSTEMTIME* out) {
  if (!out) return true;
  FILETIME local;
  return FileTimeToLocalFileTime(&time, &local) && FileTimeToSystemTime(&local, out);
}

}  // namespace

std::wstring widen(const char* text) { return text ? toWide(kShiftJis, text) : std::wstring(); }

namespace {

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
  SystemText answer = narrow({full.c_str(), length});
  if (!answer.complete) return 0;
  const std::string& bytes = answer.text;
  if (bytes.size() + 1 > bufferLength) return static_cast<uint32_t>(bytes.size() + 1);
  std::memcpy(buffer, bytes.c_str(), bytes.size() + 1);
  if (namePart) {
    // The name part's offset in bytes is the Shift-JIS length of what stands before it.
    *namePart =
        widePart ? buffer + narrow({full.c_str(), static_cast<size_t>(widePart - full.c_str())}).text.size() : nullptr;
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

void* globalAlloc(size_t bytes, bool zero) {
  return GlobalAlloc(GMEM_FIXED | (zero ? GMEM_ZEROINIT : 0), bytes);
}

bool globalFree(void* raw) { return GlobalFree(raw) == nullptr; }

bool canRead(const void* address, size_t bytes) {
  constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                              PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  uintptr_t at = reinterpret_cast<uintptr_t>(address);
  uintptr_t end = at + bytes;
  if (end < at) return false;
  // Walk the regions that cover the range; each must be committed, readable and unguarded.
  while (at < end) {
    MEMORY_BASIC_INFORMATION region;
    if (VirtualQuery(reinterpret_cast<const void*>(at), &region, sizeof(region)) == 0) return false;
    if (region.State != MEM_COMMIT || !(region.Protect & kReadable) || (region.Protect & PAGE_GUARD))
      return false;
    at = reinterpret_cast<uintptr_t>(region.BaseAddress) + region.RegionSize;
  }
  return true;
}

uint32_t tlsAlloc(ThreadEndCallback onThreadEnd) {
  DWORD slot = FlsAlloc(onThreadEnd);
  return slot == FLS_OUT_OF_INDEXES ? kNoTlsSlot : slot;
}

void tlsFree(uint32_t slot) { FlsFree(slot); }
void* tlsGet(uint32_t slot) { return FlsGetValue(slot); }
void tlsSet(uint32_t slot, void* value) { FlsSetValue(slot, value); }

EventHandle createEvent(bool manualReset, bool signalled) {
  return CreateEventW(nullptr, manualReset, signalled, nullptr);
}

void setEvent(EventHandle event) { SetEvent(event); }
void resetEvent(EventHandle event) { ResetEvent(event); }
void waitEvent(EventHandle event) { WaitForSingleObject(event, INFINITE); }
bool waitEvent(EventHandle event, uint32_t milliseconds) {
  return WaitForSingleObject(event, milliseconds) == WAIT_OBJECT_0;
}
void closeEvent(EventHandle event) { CloseHandle(event); }

uint32_t milliseconds() { return timeGetTime(); }

void sleep(uint32_t milliseconds) { Sleep(milliseconds); }

void raiseException(uint32_t code) { RaiseException(code, 0, 0, nullptr); }

FaultFilter setFaultFilter(FaultFilter filter) { return SetUnhandledExceptionFilter(filter); }

bool readMemory(uintptr_t address, void* out, size_t bytes) {
  const void* at = reinterpret_cast<const void*>(address);
  if (!canRead(at, bytes)) return false;
  std::memcpy(out, at, bytes);
  return true;
}

void breakpointTrap() { DebugBreak(); }

void initCommonControls() { InitCommonControls(); }

struct Thread {
  HANDLE handle;
  DWORD id;
};

namespace {

// What the new thread runs; the thread frees it, so the handle can be closed at any time.
struct ThreadStart {
  ProcedureEntry entry;
  void* argument;
};

DWORD WINAPI runThread(void* state) {
  ThreadStart start = *static_cast<ThreadStart*>(state);
  delete static_cast<ThreadStart*>(state);
  return start.entry(start.argument);
}

}  // namespace

Thread* startThread(ProcedureEntry entry, void* argument, int32_t priority, uint32_t stackSize) {
  ThreadStart* start = new ThreadStart{entry, argument};
  DWORD id = 0;
  HANDLE handle = CreateThread(nullptr, stackSize, runThread, start, CREATE_SUSPENDED, &id);
  if (!handle) {
    delete start;
    return nullptr;
  }
  SetThreadPriority(handle, priority);
  // A suspend count above one would leave the thread asleep after a single resume.
  while (ResumeThread(handle) > 1) {
  }
  return new Thread{handle, id};
}

uintptr_t threadHandle(const Thread* thread) { return reinterpret_cast<uintptr_t>(thread->handle); }
uint32_t threadId(const Thread* thread) { return thread->id; }
void setCurrentThreadPriority(int32_t priority) { SetThreadPriority(GetCurrentThread(), priority); }

int32_t currentThreadPriority() { return GetThreadPriority(GetCurrentThread()); }

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
bool CriticalSection::tryLock() { return TryEnterCriticalSection(&section_) != 0; }
void CriticalSection::unlock() { LeaveCriticalSection(&section_); }

}  // namespace os

namespace os {

std::string shiftJisToUtf8(std::string_view text) {
  std::string out;
  fromWide(CP_UTF8, toWide(kShiftJis, text), &out);
  return out;
}

bool utf8ToShiftJis(std::string_view text, std::string* out) {
  std::wstring wide = toWide(CP_UTF8, text, MB_ERR_INVALID_CHARS);
  if (wide.empty() && !text.empty()) return false;
  return fromWide(kShiftJis, wide, out, true);
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
  std::wstring wide = toWide(CP_UTF8, utf8Line);
  OutputDebugStringW(wide.c_str());
}

void debugOutput(const char* text) { writeDiagnostic(shiftJisToUtf8(text)); }

}  // namespace os


namespace os {

namespace {

// True when the dialog is answered without a person: then it shows nothing and cancels.
bool cancelsAutomatically(const char* name) {
  const char* answer = std::getenv("RUNA1_AUTO_ANSWER");
  if (!answer || !*answer) return false;
  writeDiagnostic("runa1: file dialog \"" + shiftJisToUtf8(name) + "\": cancel\n");
  return true;
}

// The dialog wants the filter's parts NUL-separated where the text has bars.
std::wstring dialogFilter(const char* filter) {
  std::wstring wide = widen(filter);
  for (wchar_t& c : wide)
    if (c == L'|') c = L'\0';
  return wide;
}

}  // namespace

bool chooseFileToOpen(const char* filter, const char* defaultExtension, uint32_t flags, SystemText* path) {
  if (cancelsAutomatically(filter)) return false;
  std::wstring wideFilter = dialogFilter(filter);
  std::wstring extension = widen(defaultExtension);
  if (!extension.empty() && extension[0] == L'.') extension.erase(0, 1);
  wchar_t chosen[MAX_PATH * 4] = {};
  OPENFILENAMEW request{};
  request.lStructSize = sizeof request;
  request.lpstrFilter = wideFilter.c_str();
  request.lpstrFile = chosen;
  request.nMaxFile = sizeof chosen / sizeof chosen[0];
  request.lpstrDefExt = extension.c_str();
  request.Flags = flags | OFN_EXPLORER;
  if (!GetOpenFileNameW(&request)) return false;
  *path = narrow(chosen);
  return true;
}

bool chooseFileToSave(const char* filter, const char* title, uint32_t flags, uint32_t maxLength, std::string* path) {
  if (cancelsAutomatically(title)) return false;
  std::wstring wideFilter = dialogFilter(filter);
  std::wstring wideTitle = widen(title);
  std::wstring chosen(static_cast<size_t>(maxLength) + 1, L'\0');
  OPENFILENAMEW request{};
  request.lStructSize = sizeof request;
  request.lpstrFilter = wideFilter.c_str();
  request.lpstrFile = chosen.data();
  request.nMaxFile = maxLength + 1;
  request.lpstrTitle = wideTitle.c_str();
  request.Flags = flags | OFN_EXPLORER;
  if (!GetSaveFileNameW(&request)) return false;
  SystemText bytes = narrow(chosen.c_str());
  // A name that Shift-JIS cannot hold, or makes longer than the caller's buffer, counts as a
  // cancel, as the narrow dialog does with a buffer too small.
  if (!bytes.complete || bytes.text.size() > maxLength) return false;
  *path = bytes.text;
  return true;
}

SystemText commandLineArguments() {
  const wchar_t* line = GetCommandLineW();
  // The program's name ends at its closing quote, or at the first blank when unquoted.
  if (*line == L'"') {
    ++line;
    while (*line && *line != L'"') ++line;
    if (*line) ++line;
  } else {
    while (*line > L' ') ++line;
  }
  while (*line && *line <= L' ') ++line;
  return narrow(line);
}

bool setCurrentDirectory(const char* path) { return SetCurrentDirectoryW(widen(path).c_str()) != 0; }

std::string environmentVariable(const char* name) {
  std::wstring wideName = widen(name);
  DWORD size = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
  if (size == 0) return {};
  std::wstring value(size, L'\0');
  DWORD length = GetEnvironmentVariableW(wideName.c_str(), value.data(), size);
  return length < size ? narrow({value.c_str(), length}).text : std::string();
}

std::string executablePath(uint32_t maxLength) {
  std::wstring buffer(32768, L'\0');
  DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  std::string bytes = narrow({buffer.c_str(), length}).text;
  if (bytes.size() > maxLength) bytes.resize(maxLength);
  return bytes;
}

uint32_t currentThreadId() { return GetCurrentThreadId(); }

void exitProcess(uint32_t code) { ExitProcess(code); }

SystemText currentDirectory(uint32_t maxLength) {
  std::wstring buffer(static_cast<size_t>(maxLength) + 1, L'\0');
  DWORD length = GetCurrentDirectoryW(maxLength, buffer.data());
  if (length == 0 || length >= maxLength) return {};
  return narrow({buffer.c_str(), length});
}

void* allocateExecutable(size_t bytes) {
  return VirtualAlloc(nullptr, bytes, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
}

void freeExecutable(void* block) {
  if (block) VirtualFree(block, 0, MEM_RELEASE);
}

void* loadLibrary(const char* name) { return LoadLibraryW(widen(name).c_str()); }

void* libraryProcedure(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void freeLibrary(void* library) {
  if (library) FreeLibrary(static_cast<HMODULE>(library));
}

void* processModule() { return GetModuleHandleW(nullptr); }

}  // namespace os

namespace os {

int showCursor(bool show) { return ShowCursor(show ? TRUE : FALSE); }

void refreshCursor() { SetCursor(SetCursor(nullptr)); }

void setCursorPosition(POINT point) { SetCursorPos(point.x, point.y); }

SIZE screenSize() { return SIZE{GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}; }

uint32_t displayBitsPerPixel() {
  HDC context = CreateCompatibleDC(nullptr);
  if (!context) return 0;
  uint32_t bits = static_cast<uint32_t>(GetDeviceCaps(context, BITSPIXEL) * GetDeviceCaps(context, PLANES));
  DeleteDC(context);
  return bits;
}

}  // namespace os

namespace os {

namespace {

std::wstring sectionPath(const ProfileKey& key) {
  return L"Software\\" + widen(key.company) + L"\\" + widen(key.application) + L"\\" + widen(key.section);
}

// An open registry key that closes itself.
class RegistryKey {
 public:
  RegistryKey(const ProfileKey& key, bool create) {
    std::wstring path = sectionPath(key);
    LONG status = create ? RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE,
                                           nullptr, &handle_, nullptr)
                         : RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ | KEY_WRITE, &handle_);
    if (status != ERROR_SUCCESS) handle_ = nullptr;
  }
  ~RegistryKey() {
    if (handle_) RegCloseKey(handle_);
  }
  RegistryKey(const RegistryKey&) = delete;
  RegistryKey& operator=(const RegistryKey&) = delete;
  HKEY get() const { return handle_; }

 private:
  HKEY handle_ = nullptr;
};

}  // namespace

bool readProfileInt(const ProfileKey& key, uint32_t* value) {
  RegistryKey section(key, false);
  DWORD type = 0, data = 0, size = sizeof data;
  if (!section.get() ||
      RegQueryValueExW(section.get(), widen(key.entry).c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&data),
                       &size) != ERROR_SUCCESS ||
      type != REG_DWORD)
    return false;
  *value = data;
  return true;
}

bool writeProfileInt(const ProfileKey& key, uint32_t value) {
  RegistryKey section(key, true);
  DWORD data = value;
  return section.get() && RegSetValueExW(section.get(), widen(key.entry).c_str(), 0, REG_DWORD,
                                         reinterpret_cast<const BYTE*>(&data), sizeof data) == ERROR_SUCCESS;
}

bool readProfileString(const ProfileKey& key, std::string* value) {
  RegistryKey section(key, false);
  if (!section.get()) return false;
  std::wstring entry = widen(key.entry);
  DWORD type = 0, size = 0;
  if (RegQueryValueExW(section.get(), entry.c_str(), nullptr, &type, nullptr, &size) != ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ))
    return false;
  std::wstring text(size / sizeof(wchar_t) + 1, L'\0');
  if (RegQueryValueExW(section.get(), entry.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                       &size) != ERROR_SUCCESS)
    return false;
  text.resize(wcsnlen(text.c_str(), text.size()));
  *value = narrow(text).text;
  return true;
}

bool writeProfileString(const ProfileKey& key, const char* value) {
  RegistryKey section(key, true);
  std::wstring text = widen(value);
  return section.get() &&
         RegSetValueExW(section.get(), widen(key.entry).c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) == ERROR_SUCCESS;
}

bool deleteProfileEntry(const ProfileKey& key) {
  if (!key.entry) {
    std::wstring path = sectionPath(key);
    return RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str()) == ERROR_SUCCESS;
  }
  RegistryKey section(key, false);
  return section.get() && RegDeleteValueW(section.get(), widen(key.entry).c_str()) == ERROR_SUCCESS;
}

}  // namespace os

namespace os {

bool enumDisplayMode(uint32_t index, DisplayMode* mode) {
  DEVMODEA settings{};
  settings.dmSize = sizeof settings;
  if (!EnumDisplaySettingsA(nullptr, index, &settings)) return false;
  *mode = DisplayMode{settings.dmPelsWidth, settings.dmPelsHeight, settings.dmBitsPerPel,
                      settings.dmDisplayFrequency, settings.dmDisplayFlags};
  return true;
}

bool changeDisplayMode(const DisplayMode* mode) {
  if (!mode) return ChangeDisplaySettingsA(nullptr, CDS_FULLSCREEN) == DISP_CHANGE_SUCCESSFUL;
  DEVMODEA settings{};
  settings.dmSize = 156;  // the structure as it was when these five fields were all there is
  settings.dmFields = DM_BITSPERPEL | DM_PELSWIDTH | DM_PELSHEIGHT | DM_DISPLAYFLAGS | DM_DISPLAYFREQUENCY;
  settings.dmBitsPerPel = mode->bitsPerPixel;
  settings.dmPelsWidth = mode->width;
  settings.dmPelsHeight = mode->height;
  settings.dmDisplayFlags = mode->flags;
  settings.dmDisplayFrequency = mode->frequency;
  return ChangeDisplaySettingsA(&settings, CDS_FULLSCREEN) == DISP_CHANGE_SUCCESSFUL;
}

}  // namespace os
