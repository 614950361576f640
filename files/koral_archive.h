// Archives: a record file that holds a tree of directories and members. Each directory is a
// "DirEntry" record listing its entries, followed by one record per entry, whose ID is the
// entry's index. After a descent into a member the archive reads as that member's file.
#pragma once

#include <cstdint>

#include "files/kstring.h"
#include "files/ptr_array.h"
#include "files/vrf_file.h"

constexpr uint32_t kKORALArchiveType = 0x02000400;
constexpr char kKORALArchiveDescription[] = "KORAL-Binary Archive-2";
constexpr uint64_t kDirEntryId = vrfId("DirEntry");
constexpr uint32_t kNoMember = 0xFFFFFFFF;

struct KORALTimeStamp {
  uint8_t parts[6];
  uint16_t word;
};

// One entry of a directory. The four words, the time stamp and the info are carried unchanged.
struct KORALDirEntry {
  uint32_t words[4];
  uint64_t recordPosition;  // of the entry's record, from the start of the enclosing body
  KORALTimeStamp timeStamp;
  uint32_t infoLength;
  uint8_t* info;
  uint32_t nameLength;  // as stored, the terminator included
  char* name;           // the stored bytes, and always a terminator behind them

  // A new entry named `name` (Shift-JIS) with a copy of `info`.
  static KORALDirEntry* Make(const char* name, const void* info, uint32_t infoLength);
  static KORALDirEntry* Copy(const KORALDirEntry& source);
  static void Free(KORALDirEntry* entry);
};

// The entries of one directory, in stored order; it owns them.
class KORALDirectory {
 public:
  KORALDirectory() = default;
  ~KORALDirectory();
  KORALDirectory(const KORALDirectory&) = delete;
  KORALDirectory& operator=(const KORALDirectory&) = delete;

  void Add(KORALDirEntry* entry) { entries_.Add(entry); }
  uint32_t GetCount() const { return entries_.GetCount(); }
  KORALDirEntry* GetAt(uint32_t index) const { return static_cast<KORALDirEntry*>(entries_.GetAt(index)); }

 private:
  KPtrArray entries_;
};

// Compares an entry's name with a wanted one: ASCII letters without regard to case, the byte
// behind a Shift-JIS lead byte exactly.
bool KORALNamesMatch(const char* entryName, const char* name);

class KORALArchive : public VRFFile {
 public:
  KORALArchive() = default;
  ~KORALArchive() override;

  // `root` describes the root directory in writing mode and is not read in reading mode.
  // A writer gives every entry, with its final name and info, before it adds any member.
  uint32_t Open(KFileObj* file, const KORALDirectory* root);
  void Close();
  uint32_t DescendDirectory(const char* name, const KORALDirectory* directory);
  uint32_t AscendDirectory();
  uint32_t DescendFile(const char* name);
  uint32_t AscendFile();
  // "\", then each directory's name and a backslash.
  KString GetCurrentDirectory() const;

  const KORALDirectory* GetDirectory() const;
  uint32_t GetDepth() const { return directories_.GetCount(); }
  uint32_t GetOpenMember() const { return openMember_; }

 private:
  uint32_t FindEntry(const char* name);
  uint32_t DescendEntry(const char* name);
  uint32_t EnterDirectory(const KORALDirectory* source, uint32_t index);
  KORALDirectory* ReadDirectory();
  KORALDirectory* WriteDirectory(const KORALDirectory& source);
  uint32_t RewriteDirectory();
  uint32_t FailAfterAscending(uint32_t records);

  KPtrArray directories_;  // KORALDirectory*, the root first
  KPtrArray indices_;      // each level's index in the level above, 0 for the root
  uint32_t openMember_ = kNoMember;
};

// The archive the exports make: it owns its raw file.
class KArcFileExp : public KORALArchive {
 public:
  KArcFileExp();
  ~KArcFileExp() override;
  KRawFileExp* GetRawFile() const { return raw_; }

 private:
  KRawFileExp* raw_;
};
