// Record files: a 64-byte file header, then nested records of a 16-byte header (eight ID bytes,
// 64-bit body length) and a body. VRFFile shows the body of the innermost open record as a
// whole file; VRFDirectReader is the image reader's own reader of the same layout.
#pragma once

#include <cstdint>

#include "files/file_obj.h"

struct VRFFileHeader {
  uint8_t fileId[8];
  uint32_t fileType;
  uint32_t reserved;
  char description[48];
};
static_assert(sizeof(VRFFileHeader) == 64);

constexpr uint8_t kVRFFileId[8] = {'V', 'o', 'm', 'a', 'r', 0x1A, 0, 0};
constexpr uint32_t kVRFHeaderSize = 64;
constexpr uint32_t kVRFRecordHeaderSize = 16;

// A record ID as eight bytes read little-endian, so that a character ID such as "DirEntry"
// and a numeric one compare the same way on every host.
constexpr uint64_t vrfId(const char (&text)[9]) {
  uint64_t id = 0;
  for (int i = 7; i >= 0; --i) id = (id << 8) | static_cast<uint8_t>(text[i]);
  return id;
}

uint64_t readLittle64(const uint8_t* bytes);
uint32_t readLittle32(const uint8_t* bytes);
void writeLittle64(uint8_t* bytes, uint64_t value);
void writeLittle32(uint8_t* bytes, uint32_t value);

class VRFFile : public KFileObj {
 public:
  VRFFile() = default;
  ~VRFFile() override;

  // Reading mode reads and checks the file header; writing mode (the underlying file opened
  // with FILE_CREATE or FILE_WRITE) writes `header`, which it needs.
  uint32_t Open(KFileObj* file, const VRFFileHeader* header);
  void Close();
  // Reading: finds the next record with `id` (any record for null), searching forward from
  // the current position. Writing: starts a record with `id`.
  uint32_t DescendRecord(const uint64_t* id);
  uint32_t AscendRecord();

  KFileObj* Duplicate() override;
  uint32_t Read(void* buffer, uint32_t bytes) override;
  uint32_t Write(const void* buffer, uint32_t bytes) override;
  uint32_t GetLength() override;
  uint32_t Seek(int32_t offset, uint32_t method) override;
  uint32_t GetPosition() override;

  // A read on a thread of its own; Read and Close wait for it.
  virtual uint32_t BeginRead(void* buffer, uint32_t bytes);
  // True when the read still runs after `milliseconds`.
  virtual bool WaitForRead(uint32_t milliseconds);
  // True from BeginRead to the next BeginRead or Close, whether the read has ended or not.
  virtual bool IsReading();

  const VRFFileHeader& GetHeader() const { return header_; }
  KFileObj* GetFile() const { return file_; }
  bool IsWriting() const { return (flags_ & (FILE_CREATE | FILE_WRITE)) != 0; }

 protected:
  // What is left of the current record behind the position.
  uint32_t Remaining();
  // AscendRecord without a report: false at the top level.
  bool LeaveRecord();

 private:
  struct Frame {
    Frame* outer;
    uint32_t bodyPosition;  // in the underlying file
    uint64_t id;
    uint64_t length;
  };

  uint32_t ReadBody(void* buffer, uint32_t bytes);
  void SeekUnderlying(uint32_t position);
  void SkipUnderlying(uint32_t bytes);
  void GrowLengthToPosition();
  static void RunBackgroundRead(void* request);

  KFileObj* file_ = nullptr;
  bool ownsFile_ = false;
  Frame* top_ = nullptr;
  os::Thread* reader_ = nullptr;
  VRFFileHeader header_ = {};
};

// The eight bytes that VRFDirectReader expects at the start of a file; the file ID until
// VRFFile_SetDefaultVRFID replaces it.
void setDefaultVRFId(const uint8_t id[8]);

// Reads (and writes) the record layout straight from an OS file, with 64-bit positions.
class VRFDirectReader {
 public:
  enum : uint32_t {
    kRead = 1,
    kWrite = 2,
    kCreate = 4,
    kShareRead = 0x10,
    kShareWrite = 0x20,
    kRandomAccess = 0x100,
    kSequentialScan = 0x200,
  };

  VRFDirectReader() = default;
  virtual ~VRFDirectReader();
  VRFDirectReader(const VRFDirectReader&) = delete;
  VRFDirectReader& operator=(const VRFDirectReader&) = delete;

  // 0, or 1 on any failure. Writing needs `header`; reading fills the one GetHeader gives.
  uint32_t Open(const char* path, uint32_t flags, const VRFFileHeader* header);
  uint32_t DescendRecord(const uint64_t* id);
  uint32_t AscendRecord();
  uint32_t Read(void* buffer, uint32_t bytes);
  uint32_t Write(const void* buffer, uint32_t bytes);

  const VRFFileHeader& GetHeader() const { return header_; }
  uint64_t GetLength() const { return top_ ? top_->length : 0; }
  uint64_t GetPosition() const { return top_ ? top_->relative : 0; }
  // The ID of the innermost open record (0 at the top level).
  uint64_t GetRecordId() const { return top_ && top_->outer ? top_->id : 0; }

 private:
  struct Frame {
    uint64_t id;
    uint64_t length;
    uint64_t start;  // the body in reading mode, the record header in writing mode
    uint64_t relative;
    Frame* outer;
  };

  void Close();
  uint64_t Remaining() const;
  uint64_t FilePosition() const;

  HANDLE file_ = os::invalidFile();
  bool writing_ = false;
  Frame* top_ = nullptr;
  VRFFileHeader header_ = {};
};
