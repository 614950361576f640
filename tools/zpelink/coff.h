// i386 COFF objects and static archives, as the MinGW-w64 compiler and archiver write them:
// just what a module linker needs (sections, symbols, relocations, archive members).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace coff {

enum : uint16_t { kMachineI386 = 0x14C };
enum : uint32_t {
  kCode = 0x20,
  kInitializedData = 0x40,
  kUninitializedData = 0x80,
  kLinkInfo = 0x200,
  kLinkRemove = 0x800,
  kComdat = 0x1000,
  kAlignMask = 0xF00000,
};
enum : uint16_t { kRelAbsolute = 0, kRelDir32 = 6, kRelDir32NB = 7, kRelRel32 = 0x14 };
enum : uint8_t { kClassExternal = 2, kClassStatic = 3, kClassLabel = 6, kClassFile = 103 };
enum : uint8_t { kComdatAssociative = 5 };

struct Relocation {
  uint32_t offset;  // in the section
  uint32_t symbol;  // symbol table index
  uint16_t type;
};

struct Section {
  std::string name;
  uint32_t characteristics;
  std::vector<uint8_t> bytes;  // empty for uninitialised data
  uint32_t size;               // bytes, or the size of uninitialised data
  std::vector<Relocation> relocations;
  uint32_t alignment;  // 1 when the object names none
  // COMDAT: the selection and, for associative sections, the section (1-based) they follow.
  uint8_t comdatSelection = 0;
  uint32_t comdatAssociate = 0;
};

struct Symbol {
  std::string name;
  uint32_t value;
  int16_t section;  // 1-based; 0 undefined (or common when value > 0); -1 absolute; -2 debug
  uint8_t storageClass;
  bool present;  // false for the auxiliary records, which take a symbol index each
};

struct Object {
  std::string origin;  // "file.o" or "lib.a(member.o)"
  std::vector<Section> sections;
  std::vector<Symbol> symbols;
  std::string sourceFile;  // the source named by its .file symbol; empty without one
};

// Parses an object; false with a reason in `error` when the bytes are not an i386 object or
// a count or offset points outside them.
bool parseObject(const std::vector<uint8_t>& bytes, const std::string& origin, Object* object, std::string* error);

struct Member {
  std::string name;
  std::vector<uint8_t> bytes;
};

bool isArchive(const std::vector<uint8_t>& bytes);
// The members of an archive, without its symbol and name tables.
bool parseArchive(const std::vector<uint8_t>& bytes, std::vector<Member>* members, std::string* error);

}  // namespace coff
