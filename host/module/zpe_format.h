// The module file format: a section table over a flat image whose addresses are offsets from
// the image base. Everything here is pure: it reads blocks that the loader has read from the
// file and never looks past their ends, so it builds everywhere and is fuzzed natively.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zpe {

inline constexpr char kSignature[5] = {'V', 'o', 'm', 'a', 'r'};  // bytes 5 to 7 are free
inline constexpr uint32_t kFormatCode = 0xFF000100;
inline constexpr uint32_t kDescriptionBytes = 0x34;  // skipped between format code and count
inline constexpr uint32_t kSectionTableOffset = 0x44;
inline constexpr uint32_t kNoProcedure = 0xFFFFFFFF;  // initialiser or finaliser absent
inline constexpr uint32_t kExternalResource = 0xFFFFFFFF;  // resource row offset of a file of its own
inline constexpr uint32_t kBlockFloor = 0x100;  // every block of the loader is at least this big

enum SectionType : uint32_t {
  kHeader = 0,
  kCode = 1,
  kData = 2,
  kLibraryNames = 0x100,
  kImportList = 0x101,
  kRelocations = 0x102,
  kResourceNames = 0x200,
  kResourceTable = 0x201,
  kResourceFileNames = 0x202,
  kResourceData = 0x203,
  kProcedureNames = 0x300,
  kProcedureOffsets = 0x301,
  kVariableNames = 0x302,
  kVariableOffsets = 0x303,
};

struct SectionEntry {
  uint32_t offset;
  uint32_t length;
  uint32_t type;
  uint32_t extra;  // not read by the loader; kept for the resource data section
};

struct ModuleHeader {
  uint32_t startingProc;
  uint32_t importSlots;
  uint32_t initializer;
  uint32_t finalizer;
};

struct ResourceRow {
  uint32_t offset;  // into the resource data section, or kExternalResource
  uint32_t length;
  uint32_t reserved[2];
};

struct Import {
  const char* name;
  int32_t library;  // index into the library names; negative: the host first, then every library
};

// The first entry of `type`, or null.
const SectionEntry* findSection(const std::vector<SectionEntry>& table, uint32_t type);

// Import table bytes for `slots` slots: 4 each, rounded up to 16.
uint64_t importTableBytes(uint32_t slots);

// Block parsers. Each reads only inside [block, block + size) and gives false when the block
// ends before what its counts announce. Names point into the block.
// uint32 count, then that many NUL-terminated names (library, procedure and variable names).
bool parseNameList(const uint8_t* block, size_t size, std::vector<const char*>* names);
// uint32 count, then per entry a name and an int32 library index; at most `limit` entries.
bool parseImportList(const uint8_t* block, size_t size, uint32_t limit, std::vector<Import>* imports);
// uint32 count, then per entry a name and a uint32 id.
bool parseResourceNames(const uint8_t* block, size_t size, std::vector<const char*>* names,
                        std::vector<uint32_t>* ids);
// `count` NUL-terminated names back to back, no count in front.
bool parseNames(const uint8_t* block, size_t size, uint32_t count, std::vector<const char*>* names);
// `count` uint32 words, no count in front (procedure and variable offsets).
bool parseWords(const uint8_t* block, size_t size, uint32_t count, std::vector<uint32_t>* words);
// uint32 count, then that many uint32 image offsets (relocations).
bool parseOffsetList(const uint8_t* block, size_t size, std::vector<uint32_t>* offsets);

// Adds `base` to the 32-bit word at each offset of an image of `imageSize` bytes. False, with
// nothing changed, when a word lies outside the image.
bool applyRelocations(uint8_t* image, size_t imageSize, uint32_t base, const std::vector<uint32_t>& offsets);

uint32_t readU32(const uint8_t* bytes);

// Binary search over names sorted by unsigned bytes, with the upper bound moving to mid.
// Gives the index, or -1.
int64_t findName(const std::vector<const char*>& names, const char* key);

}  // namespace zpe
