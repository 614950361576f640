// POSIX side of the platform seam.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <iconv.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/os/os.h"

namespace os {

namespace {

int fdOf(FileHandle file) { return static_cast<int>(reinterpret_cast<intptr_t>(file)); }
FileHandle handleOf(int fd) { return reinterpret_cast<FileHandle>(static_cast<intptr_t>(fd)); }

void toSystemTime(const timespec& when, SYSTEMTIME* out) {
  if (!out) return;
  tm local{};
  time_t seconds = when.tv_sec;
  localtime_r(&seconds, &local);
  out->wYear = static_cast<WORD>(local.tm_year + 1900);
  out->wMonth = static_cast<WORD>(local.tm_mon + 1);
  out->wDayOfWeek = static_cast<WORD>(local.tm_wday);
  out->wDay = static_cast<WORD>(local.tm_mday);
  out->wHour = static_cast<WORD>(local.tm_hour);
  out->wMinute = static_cast<WORD>(local.tm_min);
  out->wSecond = static_cast<WORD>(local.tm_sec);
  out->wMilliseconds = static_cast<WORD>(when.tv_nsec / 1000000);
}

// Makes `path` absolute against the working directory and folds "." and ".." lexically, as
// GetFullPathNameA does; symbolic links are not resolved.
std::string absolutePath(const char* path) {
  std::string joined;
  if (path[0] != '/') {
    std::vector<char> cwd(256);
    while (!getcwd(cwd.data(), cwd.size())) {
      if (errno != ERANGE) return {};
      cwd.resize(cwd.size() * 2);
    }
    joined = cwd.data();
    joined += '/';
  }
  joined += path;
  std::vector<std::string> parts;
  size_t start = 0;
  while (start <= joined.size()) {
    size_t end = joined.find('/', start);
    if (end == std::string::npos) end = joined.size();
    std::string part = joined.substr(start, end - start);
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
    start = end + 1;
  }
  std::string result;
  for (const std::string& part : parts) result += "/" + part;
  // A trailing separator names a directory and stays, as on Windows.
  if (result.empty() || joined.back() == '/') result += '/';
  return result;
}

}  // namespace

FileHandle openFile(const char* path, uint32_t access, uint32_t share, Creation creation) {
  (void)share;  // POSIX has no share modes to enforce
  if (access == 0) {
    // No access rights: create or empty the file as asked, then hold a handle that can
    // neither read nor write.
    if (creation == Creation::CreateAlways) {
      int made = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
      if (made < 0) return invalidFile();
      close(made);
    }
    int fd = open(path, O_PATH | O_CLOEXEC);
    return fd < 0 ? invalidFile() : handleOf(fd);
  }
  int flags = O_CLOEXEC;
  if ((access & kAccessRead) && (access & kAccessWrite)) flags |= O_RDWR;
  else if (access & kAccessWrite) flags |= O_WRONLY;
  else flags |= O_RDONLY;
  if (creation == Creation::CreateAlways) flags |= O_CREAT | O_TRUNC;
  int fd = open(path, flags, 0666);
  if (fd < 0) return invalidFile();
  struct stat info{};
  if (fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
    close(fd);  // CreateFileA refuses directories without backup semantics
    return invalidFile();
  }
  return handleOf(fd);
}

void closeFile(FileHandle file) { close(fdOf(file)); }

uint32_t readFile(FileHandle file, void* buffer, uint32_t bytes) {
  uint32_t done = 0;
  while (done < bytes) {
    ssize_t got = read(fdOf(file), static_cast<char*>(buffer) + done, bytes - done);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return 0;
    if (got == 0) break;
    done += static_cast<uint32_t>(got);
  }
  return done;
}

uint32_t writeFile(FileHandle file, const void* buffer, uint32_t bytes) {
  uint32_t done = 0;
  while (done < bytes) {
    ssize_t put = write(fdOf(file), static_cast<const char*>(buffer) + done, bytes - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return done;
    done += static_cast<uint32_t>(put);
  }
  return done;
}

uint64_t seekFile64(FileHandle file, int64_t offset, uint32_t method) {
  static const int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (method > 2) return UINT64_MAX;
  off_t at = lseek(fdOf(file), static_cast<off_t>(offset), kWhence[method]);
  return at < 0 ? UINT64_MAX : static_cast<uint64_t>(at);
}

uint64_t fileSize64(FileHandle file) {
  struct stat info{};
  return fstat(fdOf(file), &info) == 0 ? static_cast<uint64_t>(info.st_size) : UINT64_MAX;
}

uint32_t seekFile(FileHandle file, int32_t offset, uint32_t method) {
  uint64_t at = seekFile64(file, offset, method);
  return at == UINT64_MAX ? 0xFFFFFFFF : static_cast<uint32_t>(at);
}

uint32_t fileSize(FileHandle file) {
  uint64_t size = fileSize64(file);
  return size == UINT64_MAX ? 0xFFFFFFFF : static_cast<uint32_t>(size);
}

FileHandle duplicateFile(FileHandle file, uint32_t access) {
  (void)access;  // a duplicated descriptor keeps the access it was opened with
  int fd = fcntl(fdOf(file), F_DUPFD_CLOEXEC, 0);
  return fd < 0 ? invalidFile() : handleOf(fd);
}

bool fileTimes(FileHandle file, SYSTEMTIME* created, SYSTEMTIME* accessed, SYSTEMTIME* written) {
  struct stat info{};
  if (fstat(fdOf(file), &info) != 0) return false;
  // Linux keeps no creation time in struct stat; the status change time stands in for it.
  toSystemTime(info.st_ctim, created);
  toSystemTime(info.st_atim, accessed);
  toSystemTime(info.st_mtim, written);
  return true;
}

uint32_t fullPathName(const char* path, uint32_t bufferLength, char* buffer, char** namePart) {
  if (!path || !*path) return 0;
  std::string full = absolutePath(path);
  if (full.empty()) return 0;
  if (full.size() + 1 > bufferLength) return static_cast<uint32_t>(full.size() + 1);
  std::memcpy(buffer, full.c_str(), full.size() + 1);
  if (namePart) {
    char* slash = std::strrchr(buffer, '/');
    *namePart = slash[1] ? slash + 1 : nullptr;
  }
  return static_cast<uint32_t>(full.size());
}

void* heapAlloc(size_t bytes, bool zero) {
  return zero ? std::calloc(1, bytes ? bytes : 1) : std::malloc(bytes ? bytes : 1);
}

void* heapRealloc(void* block, size_t bytes) { return std::realloc(block, bytes ? bytes : 1); }

void heapFree(void* block) { std::free(block); }

namespace {

// The live blocks of globalAlloc, by raw address, with their sizes.
struct LiveBlocks {
  std::mutex lock;
  std::map<uintptr_t, size_t> sizes;
};

LiveBlocks& liveBlocks() {
  static LiveBlocks* blocks = new LiveBlocks;  // never destroyed: blocks may be freed at exit
  return *blocks;
}

}  // namespace

void* globalAlloc(size_t bytes, bool zero) {
  void* raw = zero ? std::calloc(1, bytes ? bytes : 1) : std::malloc(bytes ? bytes : 1);
  if (!raw) return nullptr;
  LiveBlocks& blocks = liveBlocks();
  std::lock_guard<std::mutex> guard(blocks.lock);
  blocks.sizes[reinterpret_cast<uintptr_t>(raw)] = bytes;
  return raw;
}

bool globalFree(void* raw) {
  LiveBlocks& blocks = liveBlocks();
  {
    std::lock_guard<std::mutex> guard(blocks.lock);
    if (blocks.sizes.erase(reinterpret_cast<uintptr_t>(raw)) == 0) return false;
  }
  std::free(raw);
  return true;
}

bool canRead(const void* address, size_t bytes) {
  uintptr_t at = reinterpret_cast<uintptr_t>(address);
  LiveBlocks& blocks = liveBlocks();
  std::lock_guard<std::mutex> guard(blocks.lock);
  auto above = blocks.sizes.upper_bound(at);
  if (above == blocks.sizes.begin()) return false;
  auto block = std::prev(above);
  return at - block->first <= block->second && bytes <= block->second - (at - block->first);
}

uint32_t tlsAlloc(ThreadEndCallback onThreadEnd) {
  pthread_key_t key;
  if (pthread_key_create(&key, onThreadEnd) != 0) return kNoTlsSlot;
  return static_cast<uint32_t>(key);
}

void tlsFree(uint32_t slot) { pthread_key_delete(static_cast<pthread_key_t>(slot)); }
void* tlsGet(uint32_t slot) { return pthread_getspecific(static_cast<pthread_key_t>(slot)); }
void tlsSet(uint32_t slot, void* value) { pthread_setspecific(static_cast<pthread_key_t>(slot), value); }

namespace {

struct Event {
  std::mutex lock;
  std::condition_variable changed;
  bool manualReset;
  bool signalled;
};

}  // namespace

EventHandle createEvent(bool manualReset, bool signalled) {
  return new Event{{}, {}, manualReset, signalled};
}

void setEvent(EventHandle handle) {
  Event* event = static_cast<Event*>(handle);
  std::lock_guard<std::mutex> guard(event->lock);
  event->signalled = true;
  if (event->manualReset) event->changed.notify_all();
  else event->changed.notify_one();
}

void resetEvent(EventHandle handle) {
  Event* event = static_cast<Event*>(handle);
  std::lock_guard<std::mutex> guard(event->lock);
  event->signalled = false;
}

void waitEvent(EventHandle handle) {
  Event* event = static_cast<Event*>(handle);
  std::unique_lock<std::mutex> guard(event->lock);
  event->changed.wait(guard, [event] { return event->signalled; });
  if (!event->manualReset) event->signalled = false;
}

bool waitEvent(EventHandle handle, uint32_t milliseconds) {
  Event* event = static_cast<Event*>(handle);
  std::unique_lock<std::mutex> guard(event->lock);
  if (!event->changed.wait_for(guard, std::chrono::milliseconds(milliseconds), [event] { return event->signalled; }))
    return false;
  if (!event->manualReset) event->signalled = false;
  return true;
}

void closeEvent(EventHandle handle) { delete static_cast<Event*>(handle); }

uint32_t milliseconds() {
  auto since = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(since).count());
}

void sleep(uint32_t milliseconds) { std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds)); }

namespace {
std::atomic<RaiseHook> raiseHook{nullptr};
std::atomic<FaultFilter> faultFilter{nullptr};
}

void raiseException(uint32_t code) {
  if (RaiseHook hook = raiseHook.load()) return hook(code);
  FaultFilter filter = faultFilter.load();
  if (!filter) return;
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  CONTEXT context{};
  EXCEPTION_POINTERS pointers{&record, &context};
  if (filter(&pointers) != -1) std::abort();
}

FaultFilter setFaultFilter(FaultFilter filter) { return faultFilter.exchange(filter); }

bool readMemory(uintptr_t address, void* out, size_t bytes) {
  // The kernel copies for us and answers EFAULT where a plain read would fault.
  iovec local{out, bytes};
  iovec remote{reinterpret_cast<void*>(address), bytes};
  return process_vm_readv(getpid(), &local, 1, &remote, 1, 0) == static_cast<ssize_t>(bytes);
}

RaiseHook setRaiseHook(RaiseHook hook) { return raiseHook.exchange(hook); }

void breakpointTrap() { raise(SIGTRAP); }

void initCommonControls() {}

// The state is shared by the thread and its handle; whichever lets go last frees it.
struct Thread {
  ProcedureEntry entry;
  void* argument;
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  pthread_cond_t ended = PTHREAD_COND_INITIALIZER;
  bool done = false;
  int holders = 2;
  uint32_t id = 0;
};

namespace {

void release(Thread* thread) {
  pthread_mutex_lock(&thread->mutex);
  bool last = --thread->holders == 0;
  pthread_mutex_unlock(&thread->mutex);
  if (last) delete thread;
}

void* runThread(void* state) {
  Thread* thread = static_cast<Thread*>(state);
  thread->entry(thread->argument);
  pthread_mutex_lock(&thread->mutex);
  thread->done = true;
  pthread_cond_broadcast(&thread->ended);
  pthread_mutex_unlock(&thread->mutex);
  release(thread);
  return nullptr;
}

}  // namespace

Thread* startThread(ProcedureEntry entry, void* argument, int32_t, uint32_t stackSize) {
  static std::atomic<uint32_t> lastId{0};
  Thread* thread = new Thread{entry, argument};
  thread->id = ++lastId;
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (stackSize) pthread_attr_setstacksize(&attributes, std::max<size_t>(stackSize, PTHREAD_STACK_MIN));
  pthread_t id;
  int failed = pthread_create(&id, &attributes, runThread, thread);
  pthread_attr_destroy(&attributes);
  if (failed) {
    delete thread;
    return nullptr;
  }
  pthread_detach(id);
  return thread;
}

uintptr_t threadHandle(const Thread* thread) { return reinterpret_cast<uintptr_t>(thread); }
uint32_t threadId(const Thread* thread) { return thread->id; }
void setCurrentThreadPriority(int32_t) {}

int32_t currentThreadPriority() { return 0; }

bool waitThread(Thread* thread, uint32_t milliseconds) {
  timespec until;
  clock_gettime(CLOCK_REALTIME, &until);
  until.tv_sec += milliseconds / 1000;
  until.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
  if (until.tv_nsec >= 1000000000) {
    until.tv_sec += 1;
    until.tv_nsec -= 1000000000;
  }
  pthread_mutex_lock(&thread->mutex);
  while (!thread->done) {
    if (milliseconds == kWaitForever) {
      pthread_cond_wait(&thread->ended, &thread->mutex);
    } else if (pthread_cond_timedwait(&thread->ended, &thread->mutex, &until) == ETIMEDOUT) {
      break;
    }
  }
  bool running = !thread->done;
  pthread_mutex_unlock(&thread->mutex);
  return running;
}

void closeThread(Thread* thread) { release(thread); }

CriticalSection::CriticalSection() {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  pthread_mutex_init(&mutex_, &attributes);
  pthread_mutexattr_destroy(&attributes);
}

CriticalSection::~CriticalSection() { pthread_mutex_destroy(&mutex_); }
void CriticalSection::lock() { pthread_mutex_lock(&mutex_); }
bool CriticalSection::tryLock() { return pthread_mutex_trylock(&mutex_) == 0; }
void CriticalSection::unlock() { pthread_mutex_unlock(&mutex_); }

}  // namespace os

namespace os {

namespace {

// Converts with iconv; false when the input is invalid or has no form in the target.
bool convert(const char* to, const char* from, std::string_view text, std::string* out) {
  iconv_t converter = iconv_open(to, from);
  if (converter == reinterpret_cast<iconv_t>(-1)) return false;
  std::string result(text.size() * 4 + 4, '\0');
  char* in = const_cast<char*>(text.data());
  size_t inLeft = text.size();
  char* at = result.data();
  size_t outLeft = result.size();
  bool ok = iconv(converter, &in, &inLeft, &at, &outLeft) != static_cast<size_t>(-1) &&
            iconv(converter, nullptr, nullptr, &at, &outLeft) != static_cast<size_t>(-1);
  iconv_close(converter);
  if (!ok) return false;
  result.resize(result.size() - outLeft);
  *out = std::move(result);
  return true;
}

}  // namespace

std::string shiftJisToUtf8(std::string_view text) {
  std::string out;
  if (convert("UTF-8", "CP932", text, &out)) return out;
  // Broken Shift-JIS: keep the ASCII and mark the rest, so a diagnostic still says something.
  out.clear();
  for (char c : text) out += (static_cast<unsigned char>(c) < 0x80) ? c : '?';
  return out;
}

bool utf8ToShiftJis(std::string_view text, std::string* out) { return convert("CP932", "UTF-8", text, out); }

int showMessageBox(const char* text, const char* caption, uint32_t flags) {
  writeDiagnostic("runa1: message box \"" + shiftJisToUtf8(caption) + "\": " + shiftJisToUtf8(text) + "\n");
  return automaticAnswer(flags, nullptr);
}

void writeDiagnostic(const std::string& utf8Line) {
  std::fwrite(utf8Line.data(), 1, utf8Line.size(), stderr);
  std::fflush(stderr);
}

void debugOutput(const char* text) { writeDiagnostic(shiftJisToUtf8(text)); }

}  // namespace os


namespace os {

bool chooseFileToOpen(const char* filter, const char*, uint32_t, SystemText*) {
  // No dialogs here: the answer is Cancel, as with RUNA1_AUTO_ANSWER.
  writeDiagnostic("runa1: file dialog \"" + shiftJisToUtf8(filter) + "\": cancel\n");
  return false;
}

bool chooseFileToSave(const char*, const char* title, uint32_t, uint32_t, std::string*) {
  writeDiagnostic("runa1: file dialog \"" + shiftJisToUtf8(title) + "\": cancel\n");
  return false;
}

// Paths and arguments are bytes here, taken as they stand.
SystemText commandLineArguments() {
  SystemText arguments;
  std::string& line = arguments.text;
  FILE* file = std::fopen("/proc/self/cmdline", "rb");
  if (!file) return arguments;
  std::string all;
  char chunk[512];
  size_t got;
  while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) all.append(chunk, got);
  std::fclose(file);
  size_t at = all.find('\0');  // behind the program's own name
  while (at != std::string::npos && at + 1 < all.size()) {
    size_t end = all.find('\0', at + 1);
    if (!line.empty()) line += ' ';
    line += all.substr(at + 1, end - at - 1);
    at = end;
  }
  return arguments;
}

bool setCurrentDirectory(const char* path) { return chdir(path) == 0; }

std::string environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value ? std::string(value) : std::string();
}

std::string executablePath(uint32_t maxLength) {
  std::vector<char> buffer(PATH_MAX);
  ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
  if (length <= 0) return {};
  return std::string(buffer.data(), std::min<size_t>(static_cast<size_t>(length), maxLength));
}

uint32_t currentThreadId() { return static_cast<uint32_t>(syscall(SYS_gettid)); }

void exitProcess(uint32_t code) { std::_Exit(static_cast<int>(code)); }

SystemText currentDirectory(uint32_t maxLength) {
  std::vector<char> buffer(static_cast<size_t>(maxLength) + 1);
  return SystemText{getcwd(buffer.data(), buffer.size()) ? std::string(buffer.data()) : std::string()};
}

void* allocateExecutable(size_t bytes) {
  // Module code is 32-bit x86 and never runs here; the image only needs to be readable and
  // writable, but stays one mapping as on Windows.
  void* block = mmap(nullptr, bytes + 16, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return nullptr;
  std::memcpy(block, &bytes, sizeof bytes);  // the length, for the unmapping
  return static_cast<char*>(block) + 16;
}

void freeExecutable(void* block) {
  if (!block) return;
  char* start = static_cast<char*>(block) - 16;
  size_t bytes;
  std::memcpy(&bytes, start, sizeof bytes);
  munmap(start, bytes + 16);
}

void* loadLibrary(const char* name) { return dlopen(name, RTLD_NOW | RTLD_LOCAL); }
void* libraryProcedure(void* library, const char* name) { return dlsym(library, name); }
void freeLibrary(void* library) {
  if (library) dlclose(library);
}
void* processModule() { return dlopen(nullptr, RTLD_NOW); }

}  // namespace os

namespace os {

// The native build has no desktop: a counter stands for the cursor's, and a small table of
// modes for the display, enough for the logic above them to run in tests.
namespace {
std::atomic<int> cursorCount{0};

// The modes of a plain display of today, and which one stands.
constexpr DisplayMode kDisplayModes[] = {
    {640, 480, 16, 60, 0},  {640, 480, 32, 60, 0},   {800, 600, 32, 60, 0},
    {1024, 768, 32, 60, 0}, {1024, 768, 32, 75, 0},  {1280, 720, 32, 60, 0},
};
constexpr DisplayMode kDesktopMode = {1024, 768, 32, 60, 0};
DisplayMode currentMode = kDesktopMode;
}  // namespace

int showCursor(bool show) { return show ? ++cursorCount : --cursorCount; }

void refreshCursor() {}

void setCursorPosition(POINT) {}

SIZE screenSize() { return SIZE{static_cast<LONG>(currentMode.width), static_cast<LONG>(currentMode.height)}; }

uint32_t displayBitsPerPixel() { return currentMode.bitsPerPixel; }

bool enumDisplayMode(uint32_t index, DisplayMode* mode) {
  if (index >= std::size(kDisplayModes)) return false;
  *mode = kDisplayModes[index];
  return true;
}

bool changeDisplayMode(const DisplayMode* mode) {
  if (!mode) {
    currentMode = kDesktopMode;
    return true;
  }
  for (const DisplayMode& known : kDisplayModes) {
    if (known.width == mode->width && known.height == mode->height && known.bitsPerPixel == mode->bitsPerPixel) {
      currentMode = *mode;
      return true;
    }
  }
  return false;
}

}  // namespace os

namespace os {

namespace {

// The native profile store: one process-wide table of sections, each a table of entries.
struct ProfileValue {
  bool isText;
  uint32_t number;
  std::string text;
};

std::mutex profileLock;
std::map<std::string, std::map<std::string, ProfileValue>> profileSections;

std::string sectionName(const ProfileKey& key) {
  return std::string(key.company) + '\\' + key.application + '\\' + key.section;
}

const ProfileValue* findProfileValue(const ProfileKey& key) {
  auto section = profileSections.find(sectionName(key));
  if (section == profileSections.end()) return nullptr;
  auto entry = section->second.find(key.entry);
  return entry == section->second.end() ? nullptr : &entry->second;
}

}  // namespace

bool readProfileInt(const ProfileKey& key, uint32_t* value) {
  std::lock_guard<std::mutex> guard(profileLock);
  const ProfileValue* found = findProfileValue(key);
  if (!found || found->isText) return false;
  *value = found->number;
  return true;
}

bool writeProfileInt(const ProfileKey& key, uint32_t value) {
  std::lock_guard<std::mutex> guard(profileLock);
  profileSections[sectionName(key)][key.entry] = ProfileValue{false, value, {}};
  return true;
}

bool readProfileString(const ProfileKey& key, std::string* value) {
  std::lock_guard<std::mutex> guard(profileLock);
  const ProfileValue* found = findProfileValue(key);
  if (!found || !found->isText) return false;
  *value = found->text;
  return true;
}

bool writeProfileString(const ProfileKey& key, const char* value) {
  std::lock_guard<std::mutex> guard(profileLock);
  profileSections[sectionName(key)][key.entry] = ProfileValue{true, 0, value};
  return true;
}

bool deleteProfileEntry(const ProfileKey& key) {
  std::lock_guard<std::mutex> guard(profileLock);
  if (!key.entry) return profileSections.erase(sectionName(key)) > 0;
  auto section = profileSections.find(sectionName(key));
  return section != profileSections.end() && section->second.erase(key.entry) > 0;
}

}  // namespace os
