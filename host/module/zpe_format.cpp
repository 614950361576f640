#include "host/module/zpe_format.h"

#include <cstring>

namespace zpe {

namespace {

// A cursor over one block that refuses to step past its end.
class BlockReader {
 public:
  BlockReader(const uint8_t* block, size_t size) : at_(block), end_(block + size) {}

  bool u32(uint32_t* value) {
    if (end_ - at_ < 4) return false;
    *value = readU32(at_);
    at_ += 4;
    return true;
  }

  bool name(const char** text) {
    const void* nul = std::memchr(at_, 0, static_cast<size_t>(end_ - at_));
    if (!nul) return false;
    *text = reinterpret_cast<const char*>(at_);
    at_ = static_cast<const uint8_t*>(nul) + 1;
    return true;
  }

 private:
  const uint8_t* at_;
  const uint8_t* end_;
};

}  // namespace

uint32_t readU32(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

const SectionEntry* findSection(const std::vector<SectionEntry>& table, uint32_t type) {
  for (const SectionEntry& entry : table)
    if (entry.type == type) return &entry;
  return nullptr;
}

uint64_t importTableBytes(uint32_t slots) { return (static_cast<uint64_t>(slots) * 4 + 15) & ~uint64_t{15}; }

bool parseNames(const uint8_t* block, size_t size, uint32_t count, std::vector<const char*>* names) {
  BlockReader reader(block, size);
  names->clear();
  for (uint32_t i = 0; i < count; ++i) {
    const char* name;
    if (!reader.name(&name)) return false;
    names->push_back(name);
  }
  return true;
}

bool parseNameList(const uint8_t* block, size_t size, std::vector<const char*>* names) {
  names->clear();
  return size >= 4 && parseNames(block + 4, size - 4, readU32(block), names);
}

bool parseImportList(const uint8_t* block, size_t size, uint32_t limit, std::vector<Import>* imports) {
  BlockReader reader(block, size);
  uint32_t count;
  imports->clear();
  if (!reader.u32(&count)) return false;
  if (count > limit) count = limit;
  for (uint32_t i = 0; i < count; ++i) {
    Import entry;
    uint32_t library;
    if (!reader.name(&entry.name) || !reader.u32(&library)) return false;
    entry.library = static_cast<int32_t>(library);
    imports->push_back(entry);
  }
  return true;
}

bool parseResourceNames(const uint8_t* block, size_t size, std::vector<const char*>* names,
                        std::vector<uint32_t>* ids) {
  BlockReader reader(block, size);
  uint32_t count;
  names->clear();
  ids->clear();
  if (!reader.u32(&count)) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const char* name;
    uint32_t id;
    if (!reader.name(&name) || !reader.u32(&id)) return false;
    names->push_back(name);
    ids->push_back(id);
  }
  return true;
}

bool parseWords(const uint8_t* block, size_t size, uint32_t count, std::vector<uint32_t>* words) {
  words->clear();
  if (count > size / 4) return false;
  words->reserve(count);
  for (size_t i = 0; i < count; ++i) words->push_back(readU32(block + 4 * i));
  return true;
}

bool parseOffsetList(const uint8_t* block, size_t size, std::vector<uint32_t>* offsets) {
  offsets->clear();
  return size >= 4 && parseWords(block + 4, size - 4, readU32(block), offsets);
}

bool applyRelocations(uint8_t* image, size_t imageSize, uint32_t base, const std::vector<uint32_t>& offsets) {
  for (uint32_t offset : offsets)
    if (imageSize < 4 || offset > imageSize - 4) return false;
  for (uint32_t offset : offsets) {
    uint32_t word;
    std::memcpy(&word, image + offset, 4);  // entries need no alignment
    word += base;
    std::memcpy(image + offset, &word, 4);
  }
  return true;
}

int64_t findName(const std::vector<const char*>& names, const char* key) {
  if (names.empty()) return -1;
  size_t lo = 0;
  size_t hi = names.size() - 1;
  for (;;) {
    size_t mid = (lo + hi) / 2;
    int order = std::strcmp(names[mid], key);  // strcmp compares as unsigned char
    if (order == 0) return static_cast<int64_t>(mid);
    if (lo == hi) return -1;
    if (order > 0) hi = mid;
    else lo = mid + 1;
  }
}

}  // namespace zpe
