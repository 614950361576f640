#include "files/koral_archive.h"

#include <cstring>

#include "base/alloc.h"
#include "base/error.h"
#include "base/trace.h"

namespace {

constexpr const char* kSource = "KFileObj";
constexpr uint32_t kFixedEntryBytes = 36;  // words, record position, time stamp, info length
const KORALDirectory kNoEntries;

uint32_t reportFailure(int line, const char* message) {
  return vkSetError(VK_ERROR_FILE, 0, kSource, line, message);
}

unsigned char folded(unsigned char c) { return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c - 32) : c; }

bool isLeadByte(unsigned char c) { return (c & 0x80) && !(c >= 0xA0 && c <= 0xDF); }

uint8_t* copyBlock(const void* bytes, uint32_t length, uint32_t extra) {
  if (length + extra == 0) return nullptr;
  uint8_t* block = static_cast<uint8_t*>(vkAlloc(length + extra, 1));
  if (length) std::memcpy(block, bytes, length);
  return block;
}

void encodeFixedPart(const KORALDirEntry& entry, uint8_t* bytes) {
  for (int i = 0; i < 4; ++i) writeLittle32(bytes + 4 * i, entry.words[i]);
  writeLittle64(bytes + 16, entry.recordPosition);
  std::memcpy(bytes + 24, entry.timeStamp.parts, 6);
  bytes[30] = static_cast<uint8_t>(entry.timeStamp.word);
  bytes[31] = static_cast<uint8_t>(entry.timeStamp.word >> 8);
  writeLittle32(bytes + 32, entry.infoLength);
}

void decodeFixedPart(const uint8_t* bytes, KORALDirEntry* entry) {
  for (int i = 0; i < 4; ++i) entry->words[i] = readLittle32(bytes + 4 * i);
  entry->recordPosition = readLittle64(bytes + 16);
  std::memcpy(entry->timeStamp.parts, bytes + 24, 6);
  entry->timeStamp.word = static_cast<uint16_t>(bytes[30] | bytes[31] << 8);
  entry->infoLength = readLittle32(bytes + 32);
}

}  // namespace

// ---- Entries and directories -----------------------------------------------------------------

KORALDirEntry* KORALDirEntry::Make(const char* name, const void* info, uint32_t infoLength) {
  KORALDirEntry* entry = static_cast<KORALDirEntry*>(vkAlloc(sizeof(KORALDirEntry), 1));
  entry->infoLength = infoLength;
  entry->info = copyBlock(info, infoLength, 0);
  entry->nameLength = static_cast<uint32_t>(std::strlen(name)) + 1;
  entry->name = reinterpret_cast<char*>(copyBlock(name, entry->nameLength, 0));
  return entry;
}

KORALDirEntry* KORALDirEntry::Copy(const KORALDirEntry& source) {
  KORALDirEntry* entry = static_cast<KORALDirEntry*>(vkAlloc(sizeof(KORALDirEntry), 1));
  *entry = source;
  entry->info = copyBlock(source.info, source.infoLength, 0);
  entry->name = reinterpret_cast<char*>(copyBlock(source.name, source.nameLength, 1));
  return entry;
}

void KORALDirEntry::Free(KORALDirEntry* entry) {
  if (!entry) return;
  if (entry->info) vkFree(entry->info);
  if (entry->name) vkFree(entry->name);
  vkFree(entry);
}

KORALDirectory::~KORALDirectory() {
  for (uint32_t i = 0; i < GetCount(); ++i) KORALDirEntry::Free(GetAt(i));
}

bool KORALNamesMatch(const char* entryName, const char* name) {
  const unsigned char* a = reinterpret_cast<const unsigned char*>(entryName);
  const unsigned char* b = reinterpret_cast<const unsigned char*>(name);
  for (;; ++a, ++b) {
    if (*a != *b && folded(*a) != folded(*b)) return false;
    if (*a == 0) return true;
    if (isLeadByte(*a)) {
      ++a;
      ++b;
      if (*a != *b) return false;
      if (*a == 0) return true;
    }
  }
}

// ---- KORALArchive ----------------------------------------------------------------------------

KORALArchive::~KORALArchive() { Close(); }

uint32_t KORALArchive::Open(KFileObj* file, const KORALDirectory* root) {
  Close();
  VRFFileHeader header = {};
  std::memcpy(header.fileId, kVRFFileId, sizeof kVRFFileId);
  header.fileType = kKORALArchiveType;
  std::memcpy(header.description, kKORALArchiveDescription, sizeof kKORALArchiveDescription);
  os::Lock guard(lock_);
  uint32_t result = VRFFile::Open(file, &header);
  if (result == 0) result = DescendRecord(&kDirEntryId);
  if (result != 0) return result;
  KORALDirectory* directory = IsWriting() ? WriteDirectory(root ? *root : kNoEntries) : ReadDirectory();
  if (!directory) return FailAfterAscending(1);
  directories_.Add(directory);
  indices_.Add(nullptr);
  return AscendRecord();
}

void KORALArchive::Close() {
  os::Lock guard(lock_);
  AscendFile();
  while (directories_.GetCount() > 1) AscendDirectory();
  if (IsWriting() && GetDirectory() && GetDirectory()->GetCount() != 0) RewriteDirectory();
  VRFFile::Close();
  for (uint32_t i = 0; i < directories_.GetCount(); ++i)
    delete static_cast<KORALDirectory*>(directories_.GetAt(i));
  directories_.RemoveAll();
  indices_.RemoveAll();
}

const KORALDirectory* KORALArchive::GetDirectory() const {
  uint32_t count = directories_.GetCount();
  return count ? static_cast<const KORALDirectory*>(directories_.GetAt(count - 1)) : nullptr;
}

// Reads the directory from the current record; reads stop at the record's end, so a short
// count is all that a damaged directory can cause.
KORALDirectory* KORALArchive::ReadDirectory() {
  uint8_t bytes[kFixedEntryBytes];
  if (Read(bytes, 4) < 4) {
    reportFailure(__LINE__, "Failed reading directory information.");
    return nullptr;
  }
  uint32_t count = readLittle32(bytes);
  KORALDirectory* directory = new KORALDirectory;
  for (uint32_t i = 0; i < count; ++i) {
    KORALDirEntry* entry = static_cast<KORALDirEntry*>(vkAlloc(sizeof(KORALDirEntry), 1));
    directory->Add(entry);
    bool complete = Read(bytes, kFixedEntryBytes) == kFixedEntryBytes;
    if (complete) {
      decodeFixedPart(bytes, entry);
      complete = entry->infoLength <= Remaining();
    }
    if (complete && entry->infoLength) {
      entry->info = static_cast<uint8_t*>(vkAlloc(entry->infoLength, 0));
      complete = Read(entry->info, entry->infoLength) == entry->infoLength;
    }
    complete = complete && Read(bytes, 4) == 4;
    if (complete) {
      entry->nameLength = readLittle32(bytes);
      complete = entry->nameLength <= Remaining();
    }
    if (complete) {
      entry->name = static_cast<char*>(vkAlloc(entry->nameLength + 1, 1));
      complete = Read(entry->name, entry->nameLength) == entry->nameLength;
    }
    if (!complete) {
      delete directory;
      reportFailure(__LINE__, "Failed reading directory information.");
      return nullptr;
    }
  }
  return directory;
}

// Writes `source` into the current record and gives the archive's own copy of it.
KORALDirectory* KORALArchive::WriteDirectory(const KORALDirectory& source) {
  uint8_t bytes[kFixedEntryBytes];
  writeLittle32(bytes, source.GetCount());
  bool complete = Write(bytes, 4) == 4;
  KORALDirectory* directory = new KORALDirectory;
  for (uint32_t i = 0; complete && i < source.GetCount(); ++i) {
    KORALDirEntry* entry = KORALDirEntry::Copy(*source.GetAt(i));
    directory->Add(entry);
    encodeFixedPart(*entry, bytes);
    complete = Write(bytes, kFixedEntryBytes) == kFixedEntryBytes &&
               Write(entry->info, entry->infoLength) == entry->infoLength;
    writeLittle32(bytes, entry->nameLength);
    complete = complete && Write(bytes, 4) == 4 && Write(entry->name, entry->nameLength) == entry->nameLength;
  }
  if (!complete) {
    delete directory;
    reportFailure(__LINE__, "Failed writing directory information.");
    return nullptr;
  }
  return directory;
}

// Writes the current directory again over its "DirEntry" record, with the record positions
// that the members written since have filled in.
uint32_t KORALArchive::RewriteDirectory() {
  Seek(0, kSeekBegin);
  uint32_t result = DescendRecord(&kDirEntryId);
  if (result != 0) return result;
  KORALDirectory* written = WriteDirectory(*GetDirectory());
  if (!written) return FailAfterAscending(1);
  delete written;
  return AscendRecord();
}

// Leaves `records` records after a failure, keeping the failure's report.
uint32_t KORALArchive::FailAfterAscending(uint32_t records) {
  for (uint32_t i = 0; i < records; ++i) LeaveRecord();
  return vkGetLastError();
}

uint32_t KORALArchive::FindEntry(const char* name) {
  const KORALDirectory* directory = GetDirectory();
  for (uint32_t i = 0; directory && i < directory->GetCount(); ++i) {
    const KORALDirEntry* entry = directory->GetAt(i);
    if (!KORALNamesMatch(entry->name, name)) continue;
    if (IsWriting()) return i;
    uint32_t position = static_cast<uint32_t>(entry->recordPosition);
    if (Seek(static_cast<int32_t>(position), kSeekBegin) == position) return i;
    TraceMessage(TraceChannel::archive, "Can't seek \"%s\".\n", name);
    reportFailure(__LINE__, "Not found specified file.");
    return kNoMember;
  }
  TraceMessage(TraceChannel::archive, "Not found file entry \"%s\"\n", name);
  reportFailure(__LINE__, "Not found specified file.");
  return kNoMember;
}

// Ends any open member, finds `name` and enters its record. Gives the index, or kNoMember
// with the failure reported.
uint32_t KORALArchive::DescendEntry(const char* name) {
  if (AscendFile() != 0) return kNoMember;
  uint32_t index = FindEntry(name);
  if (index == kNoMember) return kNoMember;
  if (IsWriting()) GetDirectory()->GetAt(index)->recordPosition = GetPosition();
  uint64_t id = index;
  return DescendRecord(&id) == 0 ? index : kNoMember;
}

uint32_t KORALArchive::DescendFile(const char* name) {
  os::Lock guard(lock_);
  uint32_t index = DescendEntry(name);
  if (index == kNoMember) return vkGetLastError();
  openMember_ = index;
  return vkSucceed();
}

uint32_t KORALArchive::AscendFile() {
  os::Lock guard(lock_);
  if (openMember_ == kNoMember) return vkSucceed();
  uint32_t result = AscendRecord();
  if (result == 0) openMember_ = kNoMember;
  return result;
}

uint32_t KORALArchive::DescendDirectory(const char* name, const KORALDirectory* directory) {
  os::Lock guard(lock_);
  uint32_t index = DescendEntry(name);
  if (index == kNoMember) return vkGetLastError();
  return EnterDirectory(directory, index);
}

// Inside the directory's record: reads or writes its "DirEntry" record and makes the
// directory current. On failure the archive leaves the directory's record again.
uint32_t KORALArchive::EnterDirectory(const KORALDirectory* source, uint32_t index) {
  if (DescendRecord(&kDirEntryId) != 0) return FailAfterAscending(1);
  KORALDirectory* directory = IsWriting() ? WriteDirectory(source ? *source : kNoEntries) : ReadDirectory();
  if (!directory) return FailAfterAscending(2);
  uint32_t result = AscendRecord();
  directories_.Add(directory);
  indices_.Add(reinterpret_cast<void*>(static_cast<uintptr_t>(index)));
  return result;
}

uint32_t KORALArchive::AscendDirectory() {
  os::Lock guard(lock_);
  if (directories_.GetCount() < 2) return reportFailure(__LINE__, "Current directory is root directory.");
  uint32_t result = AscendFile();
  if (result != 0) return result;
  if (IsWriting() && GetDirectory()->GetCount() != 0) RewriteDirectory();
  result = AscendRecord();
  uint32_t last = directories_.GetCount() - 1;
  delete static_cast<KORALDirectory*>(directories_.GetAt(last));
  directories_.RemoveAt(last);
  indices_.RemoveAt(last);
  return result;
}

KString KORALArchive::GetCurrentDirectory() const {
  KString path;
  path.Assign("");
  for (uint32_t level = 0; level < directories_.GetCount(); ++level) {
    if (level > 0) {
      const KORALDirectory* above = static_cast<const KORALDirectory*>(directories_.GetAt(level - 1));
      const KORALDirEntry* entry = above->GetAt(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(indices_.GetAt(level))));
      if (entry) path.Append(entry->name);
    }
    path.Append("\\");
  }
  return path;
}

// ---- KArcFileExp -----------------------------------------------------------------------------

KArcFileExp::KArcFileExp() : raw_(new KRawFileExp) {}

KArcFileExp::~KArcFileExp() {
  Close();
  delete raw_;
}
