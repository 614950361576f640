// Links i386 COFF objects and archive members into a module image: code, then data with the
// uninitialised data behind it, after an import table of one slot per `__imp_` symbol.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tools/zpelink/coff.h"
#include "tools/zpelink/zpe_writer.h"

struct LinkOptions {
  std::string entry = "StartingProc";  // empty: the module has no StartingProc
  std::string initializer;
  std::string finalizer;
  // A library file name and the undecorated names bound to it; every other import binds to
  // the host by its decorated name.
  struct Library {
    std::string name;
    std::vector<std::string> names;
  };
  std::vector<Library> libraries;
  // Uninitialised data is stored in the file too, since the format has no size for it; an
  // image beyond this is a mistake, not a game.
  uint64_t maxImageBytes = 256u << 20;
};

class Linker {
 public:
  // Objects are linked whole and give the procedure and variable tables; archive members are
  // linked when they define a symbol that is still undefined.
  void addObject(coff::Object object) { objects_.push_back(std::move(object)); }
  void addArchiveMember(coff::Object object) { archive_.push_back(std::move(object)); }
  // False with a message naming the symbol and the object when something is undefined,
  // defined twice, or relocated in a way the module format cannot hold.
  bool link(const LinkOptions& options, ZpeModule* module, std::string* error);

 private:
  struct Definition {
    size_t object;
    int16_t section;  // 1-based; -1 absolute; 0 common
    uint32_t value;
    bool comdat;
  };
  enum class Kind { Skipped, Code, Data, Bss };

  bool resolve(std::string* error);
  bool define(size_t objectIndex, std::string* error);
  bool layout(ZpeModule* module, uint64_t maxImageBytes, std::string* error);
  bool relocate(ZpeModule* module, std::string* error);
  bool symbolOffset(size_t objectIndex, uint32_t symbolIndex, uint32_t* offset, bool* absolute, std::string* error);
  static Kind kindOf(const coff::Section& section);

  std::vector<coff::Object> objects_;  // included, explicit ones first
  std::vector<coff::Object> archive_;
  std::vector<bool> archiveUsed_;
  size_t explicitCount_ = 0;
  std::map<std::string, Definition> globals_;
  std::vector<std::string> imports_;  // symbol names without the "__imp_" prefix, in slot order
  std::map<std::string, uint32_t> commons_;  // name -> size
  std::map<std::string, uint32_t> commonOffsets_;
  std::vector<std::vector<bool>> discarded_;             // per object, per section
  std::vector<std::vector<uint32_t>> sectionOffsets_;    // image offset per object, per section
  uint32_t tableBytes_ = 0;
};

// "_Name@12" -> "Name", "_Name" -> "Name", "@Name@8" -> "Name".
std::string undecorate(const std::string& symbol);
