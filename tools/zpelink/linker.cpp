#include "tools/zpelink/linker.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <set>

namespace {

constexpr const char kImportPrefix[] = "__imp_";
constexpr uint32_t kMaxAlignment = 16;  // the loader aligns the image base to 16 bytes

bool isImport(const std::string& name) { return name.rfind(kImportPrefix, 0) == 0; }

bool isExternal(const coff::Symbol& symbol) { return symbol.present && symbol.storageClass == coff::kClassExternal; }
bool isUndefined(const coff::Symbol& symbol) { return isExternal(symbol) && symbol.section == 0 && symbol.value == 0; }
bool isCommon(const coff::Symbol& symbol) { return isExternal(symbol) && symbol.section == 0 && symbol.value > 0; }
bool isDefined(const coff::Symbol& symbol) { return isExternal(symbol) && (symbol.section > 0 || symbol.section == -1); }

uint64_t alignUp(uint64_t value, uint32_t alignment) { return (value + alignment - 1) / alignment * alignment; }

uint32_t readWord(const std::vector<uint8_t>& bytes, uint32_t at) {
  return bytes[at] | bytes[at + 1] << 8 | bytes[at + 2] << 16 | static_cast<uint32_t>(bytes[at + 3]) << 24;
}

void writeWord(std::vector<uint8_t>* bytes, uint32_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) (*bytes)[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

bool imageTooLarge(std::string* error, const std::string& what, const std::string& origin, uint64_t limit) {
  *error = what + " of " + origin + " makes the module image larger than " + std::to_string(limit) + " bytes";
  return false;
}

}  // namespace

std::string undecorate(const std::string& symbol) {
  std::string name = symbol;
  if (!name.empty() && (name[0] == '_' || name[0] == '@')) name.erase(0, 1);
  size_t at = name.rfind('@');
  if (at != std::string::npos && at + 1 < name.size() &&
      name.find_first_not_of("0123456789", at + 1) == std::string::npos)
    name.erase(at);
  return name;
}

Linker::Kind Linker::kindOf(const coff::Section& section) {
  uint32_t flags = section.characteristics;
  if (flags & (coff::kLinkRemove | coff::kLinkInfo) || section.name.rfind(".debug", 0) == 0) return Kind::Skipped;
  if (flags & coff::kUninitializedData) return Kind::Bss;  // no bytes in the object, whatever else it says
  if (flags & coff::kCode) return Kind::Code;
  if (flags & coff::kInitializedData) return Kind::Data;
  return Kind::Skipped;
}

bool Linker::define(size_t objectIndex, std::string* error) {
  coff::Object& object = objects_[objectIndex];
  discarded_.emplace_back(object.sections.size(), false);
  for (const coff::Symbol& symbol : object.symbols) {
    if (isCommon(symbol)) {
      commons_[symbol.name] = std::max(commons_[symbol.name], symbol.value);
      continue;
    }
    if (!isDefined(symbol)) continue;
    bool comdat = symbol.section > 0 && (object.sections[symbol.section - 1].characteristics & coff::kComdat);
    auto it = globals_.find(symbol.name);
    if (it == globals_.end()) {
      globals_[symbol.name] = {objectIndex, symbol.section, symbol.value, comdat};
    } else if (comdat && it->second.comdat) {
      discarded_[objectIndex][symbol.section - 1] = true;  // the first copy stays
    } else {
      *error = "symbol " + symbol.name + " is defined in " + objects_[it->second.object].origin + " and in " +
               object.origin;
      return false;
    }
  }
  for (size_t s = 0; s < object.sections.size(); ++s) {
    const coff::Section& section = object.sections[s];
    if (section.comdatSelection == coff::kComdatAssociative && section.comdatAssociate > 0 &&
        section.comdatAssociate <= object.sections.size() && discarded_[objectIndex][section.comdatAssociate - 1])
      discarded_[objectIndex][s] = true;
  }
  return true;
}

bool Linker::resolve(std::string* error) {
  explicitCount_ = objects_.size();
  archiveUsed_.assign(archive_.size(), false);
  for (size_t i = 0; i < objects_.size(); ++i)
    if (!define(i, error)) return false;
  for (bool grew = true; grew;) {
    grew = false;
    std::set<std::string> wanted;
    for (const coff::Object& object : objects_)
      for (const coff::Symbol& symbol : object.symbols)
        if (isUndefined(symbol) && !isImport(symbol.name) && !globals_.count(symbol.name) && !commons_.count(symbol.name))
          wanted.insert(symbol.name);
    for (size_t m = 0; m < archive_.size() && !wanted.empty(); ++m) {
      if (archiveUsed_[m]) continue;
      bool provides = false;
      for (const coff::Symbol& symbol : archive_[m].symbols)
        provides = provides || ((isDefined(symbol) || isCommon(symbol)) && wanted.count(symbol.name));
      if (!provides) continue;
      archiveUsed_[m] = true;
      objects_.push_back(archive_[m]);
      if (!define(objects_.size() - 1, error)) return false;
      for (const coff::Symbol& symbol : archive_[m].symbols) wanted.erase(symbol.name);
      grew = true;
    }
  }
  std::set<std::string> seenImports;
  for (const coff::Object& object : objects_)
    for (const coff::Symbol& symbol : object.symbols) {
      if (!isUndefined(symbol) || globals_.count(symbol.name) || commons_.count(symbol.name)) continue;
      if (!isImport(symbol.name)) {
        *error = "undefined symbol " + symbol.name + " referenced in " + object.origin;
        return false;
      }
      if (seenImports.insert(symbol.name).second) imports_.push_back(symbol.name.substr(sizeof kImportPrefix - 1));
    }
  return true;
}

bool Linker::layout(ZpeModule* module, uint64_t maxImageBytes, std::string* error) {
  struct Piece {
    size_t object;
    size_t section;
    Kind kind;
  };
  std::vector<Piece> pieces;
  sectionOffsets_.clear();
  for (size_t o = 0; o < objects_.size(); ++o) {
    sectionOffsets_.emplace_back(objects_[o].sections.size(), 0);
    for (size_t s = 0; s < objects_[o].sections.size(); ++s) {
      Kind kind = kindOf(objects_[o].sections[s]);
      if (kind != Kind::Skipped && !discarded_[o][s]) pieces.push_back({o, s, kind});
    }
  }
  // Grouped sections (".text$name") follow their group, ordered by their full names.
  auto group = [&](const Piece& p) {
    const std::string& name = objects_[p.object].sections[p.section].name;
    return std::make_pair(name.substr(0, name.find('$')), name);
  };
  std::stable_sort(pieces.begin(), pieces.end(), [&](const Piece& a, const Piece& b) {
    if (a.kind != b.kind) return a.kind < b.kind;
    return group(a) < group(b);
  });

  tableBytes_ = static_cast<uint32_t>(zpe::importTableBytes(static_cast<uint32_t>(imports_.size())));
  std::vector<uint8_t>* out = &module->code;
  uint32_t start = tableBytes_;
  for (const Piece& piece : pieces) {
    const coff::Section& section = objects_[piece.object].sections[piece.section];
    if (section.alignment > kMaxAlignment) {
      *error = "section " + section.name + " of " + objects_[piece.object].origin + " wants an alignment of " +
               std::to_string(section.alignment) + " bytes; modules align to at most 16";
      return false;
    }
    if (piece.kind != Kind::Code && out == &module->code) {
      out = &module->data;
      start = tableBytes_ + static_cast<uint32_t>(module->code.size());
    }
    uint64_t offset = alignUp(start + out->size(), section.alignment);
    if (offset + section.size > maxImageBytes)
      return imageTooLarge(error, section.name, objects_[piece.object].origin, maxImageBytes);
    out->resize(offset - start, piece.kind == Kind::Code ? 0x90 : 0);
    sectionOffsets_[piece.object][piece.section] = static_cast<uint32_t>(offset);
    if (piece.kind == Kind::Bss) out->resize(out->size() + section.size, 0);
    else out->insert(out->end(), section.bytes.begin(), section.bytes.end());
  }
  if (out == &module->code) start = tableBytes_ + static_cast<uint32_t>(module->code.size());
  for (const auto& [name, size] : commons_) {
    if (globals_.count(name)) continue;
    uint32_t alignment = size >= kMaxAlignment ? kMaxAlignment : std::bit_ceil(size);
    uint64_t offset = alignUp(start + module->data.size(), alignment);
    if (offset + size > maxImageBytes) return imageTooLarge(error, name, "the common symbols", maxImageBytes);
    module->data.resize(offset - start + size, 0);
    commonOffsets_[name] = static_cast<uint32_t>(offset);
  }
  return true;
}

bool Linker::symbolOffset(size_t objectIndex, uint32_t symbolIndex, uint32_t* offset, bool* absolute,
                          std::string* error) {
  const coff::Object& object = objects_[objectIndex];
  const coff::Symbol& symbol = object.symbols[symbolIndex];
  *absolute = false;
  if (symbol.section == -1) {
    *absolute = true;
    *offset = symbol.value;
    return true;
  }
  if (symbol.section > 0) {
    size_t s = static_cast<size_t>(symbol.section - 1);
    if (!discarded_[objectIndex][s] && kindOf(object.sections[s]) != Kind::Skipped) {
      *offset = sectionOffsets_[objectIndex][s] + symbol.value;
      return true;
    }
    if (!isExternal(symbol)) {
      *error = object.origin + ": a kept section refers to " + symbol.name + " in a section that is not linked";
      return false;
    }
  }
  if (isImport(symbol.name)) {
    auto slot = std::find(imports_.begin(), imports_.end(), symbol.name.substr(sizeof kImportPrefix - 1));
    *offset = 4 * static_cast<uint32_t>(slot - imports_.begin());
    return true;
  }
  auto global = globals_.find(symbol.name);
  if (global != globals_.end()) {
    const Definition& definition = global->second;
    const coff::Object& owner = objects_[definition.object];
    for (uint32_t i = 0; i < owner.symbols.size(); ++i) {
      if (!isDefined(owner.symbols[i]) || owner.symbols[i].name != symbol.name) continue;
      if (definition.object == objectIndex && i == symbolIndex) break;  // itself: not linked
      return symbolOffset(definition.object, i, offset, absolute, error);
    }
  }
  auto common = commonOffsets_.find(symbol.name);
  if (common != commonOffsets_.end()) {
    *offset = common->second;
    return true;
  }
  *error = "undefined symbol " + symbol.name + " referenced in " + object.origin;
  return false;
}

bool Linker::relocate(ZpeModule* module, std::string* error) {
  for (size_t o = 0; o < objects_.size(); ++o) {
    const coff::Object& object = objects_[o];
    for (size_t s = 0; s < object.sections.size(); ++s) {
      const coff::Section& section = object.sections[s];
      Kind kind = kindOf(section);
      if (kind == Kind::Skipped || discarded_[o][s] || section.relocations.empty()) continue;
      if (kind == Kind::Bss) {
        *error = object.origin + ": uninitialised section " + section.name + " has relocations";
        return false;
      }
      bool code = kind == Kind::Code;
      std::vector<uint8_t>& bytes = code ? module->code : module->data;
      uint32_t blockStart = code ? tableBytes_ : tableBytes_ + static_cast<uint32_t>(module->code.size());
      for (const coff::Relocation& relocation : section.relocations) {
        const std::string& target = object.symbols[relocation.symbol].name;
        if (relocation.type == coff::kRelAbsolute) continue;
        if (section.size < 4 || relocation.offset > section.size - 4) {
          *error = object.origin + ": relocation against " + target + " lies outside " + section.name;
          return false;
        }
        uint32_t site = sectionOffsets_[o][s] + relocation.offset;  // image offset
        uint32_t at = site - blockStart;
        uint32_t value;
        bool absolute;
        if (!symbolOffset(o, relocation.symbol, &value, &absolute, error)) return false;
        uint32_t word = readWord(bytes, at);
        switch (relocation.type) {
          case coff::kRelDir32:
            writeWord(&bytes, at, word + value);
            if (!absolute) module->relocations.push_back(site);
            break;
          case coff::kRelDir32NB:
            writeWord(&bytes, at, word + value);
            break;
          case coff::kRelRel32:
            writeWord(&bytes, at, word + value - (site + 4));
            break;
          default:
            *error = object.origin + ": unsupported relocation type " + std::to_string(relocation.type) + " against " +
                     target + " in " + section.name;
            return false;
        }
      }
    }
  }
  return true;
}

bool Linker::link(const LinkOptions& options, ZpeModule* module, std::string* error) {
  if (!resolve(error) || !layout(module, options.maxImageBytes, error) || !relocate(module, error)) return false;

  for (const LinkOptions::Library& library : options.libraries) module->libraries.push_back(library.name);
  for (const std::string& name : imports_) {
    std::string plain = undecorate(name);
    ZpeModule::Import import{name, -1};
    for (size_t l = 0; l < options.libraries.size(); ++l) {
      const std::vector<std::string>& names = options.libraries[l].names;
      if (std::find(names.begin(), names.end(), plain) != names.end()) import = {plain, static_cast<int32_t>(l)};
    }
    module->imports.push_back(import);
  }

  // The tables: global symbols of the objects named on the command line, undecorated.
  std::set<std::string> seen;
  for (size_t o = 0; o < explicitCount_; ++o) {
    const coff::Object& object = objects_[o];
    for (uint32_t i = 0; i < object.symbols.size(); ++i) {
      const coff::Symbol& symbol = object.symbols[i];
      bool common = isCommon(symbol) && !globals_.count(symbol.name);
      if ((!isDefined(symbol) && !common) || symbol.section == -1 || isImport(symbol.name)) continue;
      if (!common && (discarded_[o][symbol.section - 1] || kindOf(object.sections[symbol.section - 1]) == Kind::Skipped))
        continue;
      std::string name = undecorate(symbol.name);
      if (name.empty() || name[0] == '.' || !seen.insert(name).second) continue;
      uint32_t offset;
      bool absolute;
      if (!symbolOffset(o, i, &offset, &absolute, error)) return false;
      bool procedure = !common && kindOf(object.sections[symbol.section - 1]) == Kind::Code;
      (procedure ? module->procedures : module->variables).push_back({name, offset, object.sourceFile});
    }
  }

  auto procedureOffset = [&](const std::string& name, uint32_t* offset) {
    for (const ZpeModule::Symbol& symbol : module->procedures)
      if (symbol.name == name) {
        *offset = symbol.offset;
        return true;
      }
    *error = "procedure " + name + " is not defined by the objects";
    return false;
  };
  if (!options.entry.empty() && !procedureOffset(options.entry, &module->startingProc)) return false;
  if (!options.initializer.empty() && !procedureOffset(options.initializer, &module->initializer)) return false;
  if (!options.finalizer.empty() && !procedureOffset(options.finalizer, &module->finalizer)) return false;
  return true;
}
