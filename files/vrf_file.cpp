#include "files/vrf_file.h"

#include <algorithm>
#include <cstring>

#include "base/alloc.h"
#include "base/error.h"
#include "base/library.h"
#include "base/trace.h"

namespace {

constexpr const char* kSource = "KFileObj";
constexpr uint32_t kLargestStep = 0x7FFFFFFF;  // the longest forward move one Seek can make

uint32_t reportFailure(int line, const char* message) {
  return vkSetError(VK_ERROR_FILE, 0, kSource, line, message);
}

bool fitsLowWord(uint64_t length) { return (length >> 32) == 0; }

uint8_t defaultVRFId[8] = {'V', 'o', 'm', 'a', 'r', 0x1A, 0, 0};

}  // namespace

uint64_t readLittle64(const uint8_t* bytes) {
  return readLittle32(bytes) | static_cast<uint64_t>(readLittle32(bytes + 4)) << 32;
}

uint32_t readLittle32(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

void writeLittle64(uint8_t* bytes, uint64_t value) {
  writeLittle32(bytes, static_cast<uint32_t>(value));
  writeLittle32(bytes + 4, static_cast<uint32_t>(value >> 32));
}

void writeLittle32(uint8_t* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<uint8_t>(value >> (8 * i));
}

// ---- VRFFile ---------------------------------------------------------------------------------

VRFFile::~VRFFile() { Close(); }

uint32_t VRFFile::Open(KFileObj* file, const VRFFileHeader* header) {
  Close();
  os::Lock guard(lock_);
  file_ = file;
  flags_ = file->GetFlags();
  if (IsWriting()) {
    if (!header) return reportFailure(__LINE__, "Invalid VRF file header ID!");
    file_->Write(header, kVRFHeaderSize);
    header_ = *header;
    top_ = new Frame{nullptr, file_->GetPosition(), 0, 0};
    return vkSucceed();
  }
  header_ = {};
  file_->Read(&header_, kVRFHeaderSize);
  if (std::memcmp(header_.fileId, kVRFFileId, sizeof kVRFFileId) != 0)
    return reportFailure(__LINE__, "Invalid VRF file header ID!");
  uint32_t body = file_->GetPosition();
  uint32_t length = file_->GetLength();
  top_ = new Frame{nullptr, body, 0, length > body ? length - body : 0};
  return vkSucceed();
}

void VRFFile::Close() {
  if (reader_) WaitForRead(os::kWaitForever);
  os::Lock guard(lock_);
  while (LeaveRecord()) {
  }
  delete top_;
  top_ = nullptr;
  if (reader_) os::closeThread(reader_);
  reader_ = nullptr;
  if (ownsFile_) delete file_;
  file_ = nullptr;
  ownsFile_ = false;
}

uint32_t VRFFile::DescendRecord(const uint64_t* id) {
  os::Lock guard(lock_);
  if (IsWriting()) {
    uint8_t bytes[kVRFRecordHeaderSize] = {};
    writeLittle64(bytes, *id);
    file_->Write(bytes, sizeof bytes);
    top_ = new Frame{top_, file_->GetPosition(), *id, 0};
    return vkSucceed();
  }
  for (;;) {
    uint8_t bytes[kVRFRecordHeaderSize];
    if (Read(bytes, sizeof bytes) < sizeof bytes) return reportFailure(__LINE__, "Not found VRF record.");
    uint64_t found = readLittle64(bytes);
    uint64_t length = readLittle64(bytes + 8);
    if (!fitsLowWord(length) || Remaining() < length)
      return reportFailure(__LINE__, "VRF record length is invalid was found.");
    if (!id || found == *id) {
      top_ = new Frame{top_, file_->GetPosition(), found, length};
      return vkSucceed();
    }
    SkipUnderlying(static_cast<uint32_t>(length));
  }
}

uint32_t VRFFile::AscendRecord() {
  os::Lock guard(lock_);
  if (!LeaveRecord()) return reportFailure(__LINE__, "Can't ascend from top VRF record.");
  return vkSucceed();
}

bool VRFFile::LeaveRecord() {
  os::Lock guard(lock_);
  if (!top_ || !top_->outer) return false;
  Frame* frame = top_;
  if (IsWriting()) {
    GrowLengthToPosition();
    uint8_t bytes[8];
    writeLittle64(bytes, frame->length);
    SeekUnderlying(frame->bodyPosition - 8);
    file_->Write(bytes, sizeof bytes);
    SkipUnderlying(static_cast<uint32_t>(frame->length));
  } else {
    SeekUnderlying(frame->bodyPosition + static_cast<uint32_t>(frame->length));
  }
  top_ = frame->outer;
  delete frame;
  if (IsWriting()) GrowLengthToPosition();
  return true;
}

// What is left of the current record behind the position; nothing when the position stands
// outside the record (a duplicate shares the position and may have moved it).
uint32_t VRFFile::Remaining() {
  uint32_t length = GetLength();
  uint32_t position = GetPosition();
  return position <= length ? length - position : 0;
}

uint32_t VRFFile::ReadBody(void* buffer, uint32_t bytes) {
  if (!top_) return 0;
  return file_->Read(buffer, std::min(bytes, Remaining()));
}

uint32_t VRFFile::Read(void* buffer, uint32_t bytes) {
  if (reader_) WaitForRead(os::kWaitForever);
  return ReadBody(buffer, bytes);
}

uint32_t VRFFile::Write(const void* buffer, uint32_t bytes) {
  os::Lock guard(lock_);
  if (!top_) return 0;
  if (!IsWriting()) return file_->Write(buffer, std::min(bytes, Remaining()));
  uint32_t written = file_->Write(buffer, bytes);
  GrowLengthToPosition();
  return written;
}

// A record written so far is as long as the furthest position reached in it; rewriting
// inside the body never shortens it.
void VRFFile::GrowLengthToPosition() {
  uint32_t position = GetPosition();
  if (fitsLowWord(top_->length) && top_->length <= position) top_->length = position;
}

uint32_t VRFFile::GetLength() { return top_ ? static_cast<uint32_t>(top_->length) : 0; }

uint32_t VRFFile::GetPosition() {
  if (!top_) return 0;
  return file_->GetPosition() - top_->bodyPosition;
}

uint32_t VRFFile::Seek(int32_t offset, uint32_t method) {
  if (!top_) return 0xFFFFFFFF;
  int64_t body = top_->bodyPosition;
  int64_t target;
  switch (method) {
    case kSeekBegin: target = body + offset; break;
    case kSeekCurrent: target = static_cast<int64_t>(file_->GetPosition()) + offset; break;
    case kSeekEnd: target = body + static_cast<int64_t>(top_->length) + offset; break;
    default: target = body; break;
  }
  if (target < body) {
    target = body;
    TraceMessage(TraceChannel::record, "Warring : VRF record boundary underflow.\n");
  }
  int64_t end = body + static_cast<int64_t>(static_cast<uint32_t>(top_->length));
  if (!IsWriting() && fitsLowWord(top_->length) && end <= 0xFFFFFFFF && target > end) {
    target = end;
    TraceMessage(TraceChannel::record, "Warring : VRF record boundary overflow.\n");
  }
  SeekUnderlying(static_cast<uint32_t>(std::min<int64_t>(target, 0xFFFFFFFF)));
  return file_->GetPosition() - top_->bodyPosition;
}

void VRFFile::SeekUnderlying(uint32_t position) {
  uint32_t first = std::min(position, kLargestStep);
  file_->Seek(static_cast<int32_t>(first), kSeekBegin);
  if (position > first) SkipUnderlying(position - first);
}

// Moves forward in steps that the signed offset of Seek can carry.
void VRFFile::SkipUnderlying(uint32_t bytes) {
  do {
    uint32_t step = std::min(bytes, kLargestStep);
    file_->Seek(static_cast<int32_t>(step), kSeekCurrent);
    bytes -= step;
  } while (bytes != 0);
}

// The copy reads the same file from its top level, over a duplicate of the underlying file,
// which it owns. It is always in reading mode, as a duplicated file counts as opened for it.
KFileObj* VRFFile::Duplicate() {
  os::Lock guard(lock_);
  if (!top_) return nullptr;
  KFileObj* file = file_->Duplicate();
  if (!file) return nullptr;
  Frame* outermost = top_;
  while (outermost->outer) outermost = outermost->outer;
  file->Seek(static_cast<int32_t>(outermost->bodyPosition - kVRFHeaderSize), kSeekBegin);
  VRFFile* copy = new VRFFile;
  uint32_t result = copy->Open(file, &header_);
  copy->ownsFile_ = true;
  if (result != 0) {
    delete copy;
    return nullptr;
  }
  return copy;
}

namespace {

struct ReadRequest {
  VRFFile* file;
  void* buffer;
  uint32_t bytes;
};

}  // namespace

// The thread transfers through ReadBody: the Read slot begins by waiting for this very thread.
void VRFFile::RunBackgroundRead(void* request) {
  vkAttachThread();
  ReadRequest* read = static_cast<ReadRequest*>(request);
  read->file->ReadBody(read->buffer, read->bytes);
  vkFree(read);
  vkDetachThread();
}

// The report after the start is the other way round: a started thread reports "Failed to
// create thread.", and a thread that could not start reports success.
uint32_t VRFFile::BeginRead(void* buffer, uint32_t bytes) {
  if (reader_) WaitForRead(os::kWaitForever);
  os::Lock guard(lock_);
  if (reader_) os::closeThread(reader_);
  ReadRequest* request = static_cast<ReadRequest*>(vkAlloc(sizeof(ReadRequest), 1));
  *request = {this, buffer, bytes};
  reader_ = os::startThread(RunBackgroundRead, request);
  if (reader_) return reportFailure(__LINE__, "Failed to create thread.");
  vkFree(request);
  return vkSucceed();
}

bool VRFFile::WaitForRead(uint32_t milliseconds) {
  return reader_ && os::waitThread(reader_, milliseconds);
}

bool VRFFile::IsReading() { return reader_ != nullptr; }

// ---- VRFDirectReader -------------------------------------------------------------------------

void setDefaultVRFId(const uint8_t id[8]) { std::memcpy(defaultVRFId, id, sizeof defaultVRFId); }

VRFDirectReader::~VRFDirectReader() { Close(); }

void VRFDirectReader::Close() {
  while (top_) {
    Frame* outer = top_->outer;
    delete top_;
    top_ = outer;
  }
  if (file_ != os::invalidFile()) os::closeFile(file_);
  file_ = os::invalidFile();
}

uint32_t VRFDirectReader::Open(const char* path, uint32_t flags, const VRFFileHeader* header) {
  Close();
  writing_ = !(flags & kRead) && (flags & kWrite);
  if (writing_ && !header) return 1;
  uint32_t access = writing_ ? os::kAccessWrite : os::kAccessRead;
  uint32_t share = ((flags & kShareRead) ? os::kShareRead : 0u) | ((flags & kShareWrite) ? os::kShareWrite : 0u);
  file_ = os::openFile(path, access, share, (flags & kCreate) ? os::Creation::CreateAlways : os::Creation::OpenExisting);
  if (file_ == os::invalidFile()) return 1;
  uint64_t size = os::fileSize64(file_);
  if (size == UINT64_MAX) return 1;
  if (size == 0) size = 0x7FFFFFFF;
  if (writing_) {
    header_ = *header;
    if (os::writeFile(file_, &header_, kVRFHeaderSize) != kVRFHeaderSize) return 1;
  } else {
    header_ = {};
    os::readFile(file_, &header_, kVRFHeaderSize);
    if (std::memcmp(header_.fileId, defaultVRFId, sizeof defaultVRFId) != 0) return 1;
  }
  uint64_t start = FilePosition();
  if (start == UINT64_MAX) return 1;
  top_ = new Frame{0, size > start ? size - start : 0, start, 0, nullptr};
  return 0;
}

uint64_t VRFDirectReader::FilePosition() const { return os::seekFile64(file_, 0, kSeekCurrent); }

uint64_t VRFDirectReader::Remaining() const {
  return top_->relative <= top_->length ? top_->length - top_->relative : 0;
}

uint32_t VRFDirectReader::DescendRecord(const uint64_t* id) {
  if (!top_) return 1;
  if (writing_) {
    uint8_t bytes[kVRFRecordHeaderSize] = {};
    writeLittle64(bytes, *id);
    uint64_t start = FilePosition();
    if (os::writeFile(file_, bytes, sizeof bytes) != sizeof bytes) return 1;
    top_->relative += sizeof bytes;
    top_ = new Frame{*id, 0, start, 0, top_};
    return 0;
  }
  for (;;) {
    if (Remaining() < kVRFRecordHeaderSize + 1) return 1;
    uint8_t bytes[kVRFRecordHeaderSize];
    if (Read(bytes, sizeof bytes) < sizeof bytes) return 1;
    uint64_t found = readLittle64(bytes);
    uint64_t length = readLittle64(bytes + 8);
    if (!id || found == *id) {
      top_ = new Frame{found, length, FilePosition(), 0, top_};
      return 0;
    }
    if (length > Remaining() || os::seekFile64(file_, static_cast<int64_t>(length), kSeekCurrent) == UINT64_MAX)
      return 1;
    top_->relative += length;
  }
}

uint32_t VRFDirectReader::AscendRecord() {
  if (!top_ || !top_->outer) return 1;
  Frame* frame = top_;
  if (writing_) {
    uint64_t position = FilePosition();
    uint8_t bytes[8];
    writeLittle64(bytes, position - frame->start - kVRFRecordHeaderSize);
    os::seekFile64(file_, static_cast<int64_t>(frame->start + 8), kSeekBegin);
    os::writeFile(file_, bytes, sizeof bytes);
    os::seekFile64(file_, static_cast<int64_t>(position), kSeekBegin);
  } else {
    uint64_t left = frame->relative <= frame->length ? frame->length - frame->relative : 0;
    os::seekFile64(file_, static_cast<int64_t>(left), kSeekCurrent);
  }
  top_ = frame->outer;
  delete frame;
  top_->relative = FilePosition() - top_->start;
  return 0;
}

uint32_t VRFDirectReader::Read(void* buffer, uint32_t bytes) {
  if (!top_) return 0;
  uint32_t count = static_cast<uint32_t>(std::min<uint64_t>(bytes, Remaining()));
  uint32_t done = os::readFile(file_, buffer, count);
  top_->relative += done;
  return done;
}

uint32_t VRFDirectReader::Write(const void* buffer, uint32_t bytes) {
  if (!top_) return 0;
  uint32_t done = os::writeFile(file_, buffer, bytes);
  top_->relative += done;
  return done;
}
