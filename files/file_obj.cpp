#include "files/file_obj.h"

#include <cstring>

#include "base/error.h"

namespace {

constexpr const char* kSource = "KFileObj";

uint32_t accessOf(uint32_t flags) {
  return ((flags & FILE_READ) ? os::kAccessRead : 0u) | ((flags & FILE_WRITE) ? os::kAccessWrite : 0u);
}

uint32_t shareOf(uint32_t flags) {
  return ((flags & FILE_SHARE_READ) ? os::kShareRead : 0u) |
         ((flags & FILE_SHARE_WRITE) ? os::kShareWrite : 0u);
}

// Opening for writing always truncates: there is no update mode.
os::Creation creationOf(uint32_t flags) {
  return (flags & (FILE_CREATE | FILE_WRITE)) ? os::Creation::CreateAlways : os::Creation::OpenExisting;
}

uint32_t reportOpenFailure(int line) {
  return vkSetError(VK_ERROR_FILE, 0, kSource, line, "Failed to open file.");
}

}  // namespace

KRawFile::~KRawFile() { Close(); }

uint32_t KRawFile::Open(const char* path, uint32_t flags) {
  os::Lock guard(lock_);
  Close();
  flags_ = 0;
  HANDLE handle = os::openFile(path, accessOf(flags), shareOf(flags), creationOf(flags));
  if (handle == os::invalidFile()) return reportOpenFailure(__LINE__);
  handle_ = handle;
  flags_ = flags;
  FillPath(path);
  return vkSucceed();
}

// The full path is asked for with room for 255 characters first, and again with the size
// the first answer names when that was not enough.
bool KRawFile::FillPath(const char* path) {
  char* name = nullptr;
  uint32_t room = 255;
  uint32_t length = os::fullPathName(path, room, path_.GetBuffer(256), &name);
  if (length >= 256) {
    room = length + 1;
    length = os::fullPathName(path, room, path_.GetBuffer(room), &name);
  }
  if (length == 0 || length >= room) {  // no answer, or the path grew between the calls
    path_.Assign("");
    nameOffset_ = 0;
    return false;
  }
  path_.ReleaseBuffer();
  nameOffset_ = name ? static_cast<uint32_t>(name - path_.GetText()) : path_.GetLength();
  return true;
}

uint32_t KRawFile::OpenFromHandle(HANDLE handle, uint32_t flags) {
  os::Lock guard(lock_);
  Close();
  flags_ = 0;
  path_.Assign("");
  nameOffset_ = 0;
  // Any handle is duplicated as it is: Win32 takes all ones for the process itself.
  HANDLE copy = os::duplicateFile(handle, accessOf(flags));
  if (copy == os::invalidFile()) return reportOpenFailure(__LINE__);
  handle_ = copy;
  flags_ = flags;
  return vkSucceed();
}

void KRawFile::Close() {
  os::Lock guard(lock_);
  if (handle_ != os::invalidFile()) {
    os::closeFile(handle_);
    handle_ = os::invalidFile();
  }
}

uint32_t KRawFile::GetFileTimes(SYSTEMTIME* created, SYSTEMTIME* accessed, SYSTEMTIME* written) {
  if (handle_ == os::invalidFile())
    return vkSetError(VK_ERROR_FILE, 0, kSource, __LINE__, "The file has not opened.");
  if (!os::fileTimes(handle_, created, accessed, written))
    return vkSetError(VK_ERROR_FILE, 0, kSource, __LINE__, "Failed get file time function.");
  return vkSucceed();
}

// The duplicate shares the file position with its source, and always counts as opened for
// reading: its flags stay 0. A handle that cannot be duplicated leaves the duplicate without
// one, so that its transfers give 0; nothing is reported.
KFileObj* KRawFile::Duplicate() {
  os::Lock guard(lock_);
  KRawFile* duplicate = new KRawFile;
  duplicate->path_ = path_;
  duplicate->nameOffset_ = nameOffset_;
  duplicate->handle_ = os::duplicateFile(handle_, os::kSameAccess);
  return duplicate;
}

uint32_t KRawFile::Read(void* buffer, uint32_t bytes) { return os::readFile(handle_, buffer, bytes); }

uint32_t KRawFile::Write(const void* buffer, uint32_t bytes) {
  return os::writeFile(handle_, buffer, bytes);
}

uint32_t KRawFile::GetLength() { return os::fileSize(handle_); }

uint32_t KRawFile::Seek(int32_t offset, uint32_t method) {
  os::Lock guard(lock_);
  return os::seekFile(handle_, offset, method);
}

uint32_t KRawFile::GetPosition() { return Seek(0, kSeekCurrent); }

KRawFileExp::~KRawFileExp() = default;
