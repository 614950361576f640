#include "tools/zpelink/coff.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace coff {

namespace {

uint32_t u32(const uint8_t* at) { return at[0] | at[1] << 8 | at[2] << 16 | static_cast<uint32_t>(at[3]) << 24; }
uint16_t u16(const uint8_t* at) { return static_cast<uint16_t>(at[0] | at[1] << 8); }

bool fits(const std::vector<uint8_t>& bytes, uint64_t offset, uint64_t length) {
  return offset <= bytes.size() && length <= bytes.size() - offset;
}

// A name of 8 bytes in place, or "/offset" (sections) or 4 zero bytes and an offset (symbols)
// into the string table.
std::string stringAt(const std::vector<uint8_t>& bytes, uint64_t table, uint64_t offset) {
  if (table + offset >= bytes.size()) return {};
  const char* start = reinterpret_cast<const char*>(bytes.data() + table + offset);
  return std::string(start, strnlen(start, bytes.size() - table - offset));
}

std::string shortName(const uint8_t* at) {
  const char* start = reinterpret_cast<const char*>(at);
  return std::string(start, strnlen(start, 8));
}

}  // namespace

bool parseObject(const std::vector<uint8_t>& bytes, const std::string& origin, Object* object, std::string* error) {
  object->origin = origin;
  if (bytes.size() < 20 || u16(bytes.data()) != kMachineI386) {
    *error = origin + ": not an i386 COFF object";
    return false;
  }
  uint32_t sectionCount = u16(bytes.data() + 2);
  uint32_t symbolTable = u32(bytes.data() + 8);
  uint32_t symbolCount = u32(bytes.data() + 12);
  uint64_t sectionTable = 20 + uint64_t{u16(bytes.data() + 16)};
  uint64_t stringTable = symbolTable + uint64_t{symbolCount} * 18;
  if (!fits(bytes, sectionTable, uint64_t{sectionCount} * 40) || !fits(bytes, symbolTable, uint64_t{symbolCount} * 18)) {
    *error = origin + ": section or symbol table outside the file";
    return false;
  }

  for (uint32_t i = 0; i < sectionCount; ++i) {
    const uint8_t* header = bytes.data() + sectionTable + 40 * i;
    Section section;
    section.name = shortName(header);
    if (section.name.size() > 1 && section.name[0] == '/')
      section.name = stringAt(bytes, stringTable, std::strtoul(section.name.c_str() + 1, nullptr, 10));
    section.characteristics = u32(header + 36);
    section.size = u32(header + 16);
    uint32_t raw = u32(header + 20);
    uint32_t alignField = (section.characteristics & kAlignMask) >> 20;
    section.alignment = alignField ? 1u << (alignField - 1) : 1;
    if (!(section.characteristics & kUninitializedData) && section.size) {
      if (!fits(bytes, raw, section.size)) {
        *error = origin + ": section " + section.name + " outside the file";
        return false;
      }
      section.bytes.assign(bytes.begin() + raw, bytes.begin() + raw + section.size);
    }
    uint32_t relocations = u32(header + 24);
    uint32_t relocationCount = u16(header + 32);
    if (!fits(bytes, relocations, uint64_t{relocationCount} * 10)) {
      *error = origin + ": relocations of " + section.name + " outside the file";
      return false;
    }
    for (uint32_t r = 0; r < relocationCount; ++r) {
      const uint8_t* at = bytes.data() + relocations + 10 * r;
      section.relocations.push_back({u32(at), u32(at + 4), u16(at + 8)});
    }
    object->sections.push_back(std::move(section));
  }

  for (uint32_t i = 0; i < symbolCount; ++i) {
    const uint8_t* at = bytes.data() + symbolTable + 18 * i;
    Symbol symbol;
    symbol.name = u32(at) == 0 ? stringAt(bytes, stringTable, u32(at + 4)) : shortName(at);
    symbol.value = u32(at + 8);
    symbol.section = static_cast<int16_t>(u16(at + 12));
    symbol.storageClass = at[16];
    symbol.present = true;
    uint8_t auxCount = at[17];
    if (symbol.section > 0 && static_cast<uint32_t>(symbol.section) > sectionCount) {
      *error = origin + ": symbol " + symbol.name + " names a section that does not exist";
      return false;
    }
    object->symbols.push_back(symbol);
    // The section definition record of a COMDAT section carries its selection.
    if (auxCount && symbol.storageClass == kClassStatic && symbol.value == 0 && i + 1 < symbolCount &&
        symbol.section > 0) {
      const uint8_t* aux = at + 18;
      Section& section = object->sections[symbol.section - 1];
      if (section.characteristics & kComdat && section.comdatSelection == 0) {
        section.comdatSelection = aux[14];
        section.comdatAssociate = u16(aux + 12);
      }
    }
    // The .file symbol's auxiliary records hold the source's name, padded with NULs.
    if (symbol.storageClass == kClassFile && object->sourceFile.empty()) {
      uint32_t records = std::min<uint32_t>(auxCount, symbolCount - i - 1);
      const char* name = reinterpret_cast<const char*>(at + 18);
      object->sourceFile.assign(name, strnlen(name, 18 * records));
    }
    for (uint8_t a = 0; a < auxCount && i + 1 < symbolCount; ++a, ++i) object->symbols.push_back({{}, 0, 0, 0, false});
  }
  for (const Section& section : object->sections)
    for (const Relocation& relocation : section.relocations)
      if (relocation.symbol >= object->symbols.size() || !object->symbols[relocation.symbol].present) {
        *error = origin + ": relocation in " + section.name + " names a symbol that does not exist";
        return false;
      }
  return true;
}

bool isArchive(const std::vector<uint8_t>& bytes) {
  return bytes.size() >= 8 && std::memcmp(bytes.data(), "!<arch>\n", 8) == 0;
}

bool parseArchive(const std::vector<uint8_t>& bytes, std::vector<Member>* members, std::string* error) {
  std::string longNames;
  uint64_t at = 8;
  while (at + 60 <= bytes.size()) {
    const char* header = reinterpret_cast<const char*>(bytes.data() + at);
    std::string name(header, 16);
    uint64_t size = std::strtoull(std::string(header + 48, 10).c_str(), nullptr, 10);
    if (!fits(bytes, at + 60, size)) {
      *error = "archive member " + name + " runs past the end of the archive";
      return false;
    }
    std::vector<uint8_t> body(bytes.begin() + static_cast<std::ptrdiff_t>(at + 60),
                              bytes.begin() + static_cast<std::ptrdiff_t>(at + 60 + size));
    name = name.substr(0, name.find_last_not_of(' ') + 1);
    if (name == "//") {
      longNames.assign(body.begin(), body.end());
    } else if (name != "/" && name != "/SYM64/") {
      if (name.size() > 1 && name[0] == '/') {
        size_t offset = std::strtoul(name.c_str() + 1, nullptr, 10);
        name = offset < longNames.size() ? longNames.substr(offset, longNames.find_first_of("/\n", offset) - offset) : name;
      } else if (!name.empty() && name.back() == '/') {
        name.pop_back();
      }
      members->push_back({name, std::move(body)});
    }
    at += 60 + size + (size & 1);
  }
  return true;
}

}  // namespace coff
