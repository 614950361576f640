// The file objects: one abstract interface of seven operations, behind which stand OS files,
// records of a record file and members of an archive alike.
#pragma once

#include <cstdint>

#include "base/os/os.h"
#include "files/kstring.h"

// Open flags. Three of them share their names with Windows macros but not their values;
// engine code means the engine's, and only the platform seam uses Windows' own.
#undef FILE_CREATE
#undef FILE_SHARE_READ
#undef FILE_SHARE_WRITE
enum : uint32_t {
  FILE_CREATE = 1,
  FILE_READ = 2,
  FILE_WRITE = 4,
  FILE_SHARE_READ = 0x10,
  FILE_SHARE_WRITE = 0x20,
};

// Seek origins.
enum : uint32_t { kSeekBegin = 0, kSeekCurrent = 1, kSeekEnd = 2 };

class KFileObj {
 public:
  KFileObj() = default;
  virtual ~KFileObj() = default;
  KFileObj(const KFileObj&) = delete;
  KFileObj& operator=(const KFileObj&) = delete;

  virtual KFileObj* Duplicate() = 0;
  virtual uint32_t Read(void* buffer, uint32_t bytes) = 0;
  virtual uint32_t Write(const void* buffer, uint32_t bytes) = 0;
  virtual uint32_t GetLength() = 0;
  virtual uint32_t Seek(int32_t offset, uint32_t method) = 0;
  virtual uint32_t GetPosition() = 0;

  uint32_t GetFlags() const { return flags_; }

 protected:
  // Guards open, close, seek and duplicate; the transfer calls do not take it.
  os::CriticalSection lock_;
  uint32_t flags_ = 0;  // 0 until a successful open
};

// A file object over an OS file.
class KRawFile : public KFileObj {
 public:
  KRawFile() = default;
  ~KRawFile() override;

  uint32_t Open(const char* path, uint32_t flags);
  uint32_t OpenFromHandle(HANDLE handle, uint32_t flags);
  void Close();
  uint32_t GetFileTimes(SYSTEMTIME* created, SYSTEMTIME* accessed, SYSTEMTIME* written);

  KFileObj* Duplicate() override;
  uint32_t Read(void* buffer, uint32_t bytes) override;
  uint32_t Write(const void* buffer, uint32_t bytes) override;
  uint32_t GetLength() override;
  uint32_t Seek(int32_t offset, uint32_t method) override;
  uint32_t GetPosition() override;

  HANDLE GetHandle() const { return handle_; }
  const char* GetPath() const { return path_.GetText(); }
  const char* GetName() const { return path_.GetText() + nameOffset_; }

 private:
  bool FillPath(const char* path);

  HANDLE handle_ = os::invalidFile();
  KString path_;
  uint32_t nameOffset_ = 0;  // where the file name part starts in path_
};

// The raw file that the archive wrapper allocates; it differs only by its own destructor.
class KRawFileExp : public KRawFile {
 public:
  ~KRawFileExp() override;
};
