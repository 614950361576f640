#include "tools/zpelink/zpe_writer.h"

#include <algorithm>
#include <cstring>

namespace {

class Bytes {
 public:
  void u32(uint32_t value) {
    for (int i = 0; i < 4; ++i) out_.push_back(static_cast<uint8_t>(value >> (8 * i)));
  }
  void name(const std::string& text) { out_.insert(out_.end(), text.c_str(), text.c_str() + text.size() + 1); }
  void raw(const std::vector<uint8_t>& bytes) { out_.insert(out_.end(), bytes.begin(), bytes.end()); }
  std::vector<uint8_t>& get() { return out_; }

 private:
  std::vector<uint8_t> out_;
};

template <typename T>
std::vector<T> sortedByName(std::vector<T> items) {
  std::stable_sort(items.begin(), items.end(), [](const T& a, const T& b) { return namesInOrder(a.name, b.name); });
  return items;
}

// A sorted name section and its offset section.
void symbolSections(const std::vector<ZpeModule::Symbol>& symbols, Bytes* names, Bytes* offsets) {
  names->u32(static_cast<uint32_t>(symbols.size()));
  for (const ZpeModule::Symbol& symbol : sortedByName(symbols)) {
    names->name(symbol.name);
    offsets->u32(symbol.offset);
  }
}

}  // namespace

bool namesInOrder(const std::string& a, const std::string& b) { return std::strcmp(a.c_str(), b.c_str()) < 0; }

std::vector<uint8_t> writeZpe(const ZpeModule& module) {
  struct Section {
    uint32_t type;
    Bytes bytes;
  };
  std::vector<Section> sections(14);
  auto section = [&](size_t index, uint32_t type) -> Bytes& {
    sections[index].type = type;
    return sections[index].bytes;
  };

  Bytes& header = section(0, zpe::kHeader);
  header.u32(module.startingProc);
  header.u32(static_cast<uint32_t>(module.imports.size()));
  header.u32(module.initializer);
  header.u32(module.finalizer);
  section(1, zpe::kCode).raw(module.code);
  section(2, zpe::kData).raw(module.data);

  Bytes& libraries = section(3, zpe::kLibraryNames);
  libraries.u32(static_cast<uint32_t>(module.libraries.size()));
  for (const std::string& name : module.libraries) libraries.name(name);
  Bytes& imports = section(4, zpe::kImportList);
  imports.u32(static_cast<uint32_t>(module.imports.size()));
  for (const ZpeModule::Import& import : module.imports) {
    imports.name(import.name);
    imports.u32(static_cast<uint32_t>(import.library));
  }
  Bytes& relocations = section(5, zpe::kRelocations);
  relocations.u32(static_cast<uint32_t>(module.relocations.size()));
  for (uint32_t offset : module.relocations) relocations.u32(offset);

  Bytes& resourceNames = section(6, zpe::kResourceNames);
  Bytes& resourceTable = section(7, zpe::kResourceTable);
  Bytes& resourceFiles = section(8, zpe::kResourceFileNames);
  Bytes& resourceData = section(9, zpe::kResourceData);
  std::vector<ZpeModule::Resource> resources = sortedByName(module.resources);
  resourceNames.u32(static_cast<uint32_t>(resources.size()));
  for (uint32_t id = 0; id < resources.size(); ++id) {
    const ZpeModule::Resource& resource = resources[id];
    resourceNames.name(resource.name);
    resourceNames.u32(id);
    resourceTable.u32(resource.external ? zpe::kExternalResource : static_cast<uint32_t>(resourceData.get().size()));
    resourceTable.u32(resource.external ? resource.length : static_cast<uint32_t>(resource.contents.size()));
    resourceTable.u32(0);
    resourceTable.u32(0);
    resourceFiles.name(resource.external ? resource.fileName : std::string());
    if (!resource.external) resourceData.raw(resource.contents);
  }

  symbolSections(module.procedures, &section(10, zpe::kProcedureNames), &section(11, zpe::kProcedureOffsets));
  symbolSections(module.variables, &section(12, zpe::kVariableNames), &section(13, zpe::kVariableOffsets));

  Bytes file;
  for (char c : zpe::kSignature) file.get().push_back(static_cast<uint8_t>(c));
  file.get().resize(8, 0);
  file.u32(zpe::kFormatCode);
  file.get().resize(zpe::kSectionTableOffset - 4, 0);
  file.u32(static_cast<uint32_t>(sections.size()));
  uint32_t offset = zpe::kSectionTableOffset + 16 * static_cast<uint32_t>(sections.size());
  for (Section& s : sections) {
    file.u32(offset);
    file.u32(static_cast<uint32_t>(s.bytes.get().size()));
    file.u32(s.type);
    file.u32(0);
    offset += static_cast<uint32_t>(s.bytes.get().size());
  }
  for (Section& s : sections) file.raw(s.bytes.get());
  return std::move(file.get());
}

drt::DebugRecord debugRecordOf(const ZpeModule& module) {
  drt::DebugRecord record;
  uint64_t codeEnd = zpe::importTableBytes(static_cast<uint32_t>(module.imports.size())) + module.code.size();
  record.codeEnd = static_cast<uint32_t>(codeEnd);
  record.imageSize = static_cast<uint32_t>(codeEnd + module.data.size());
  for (const ZpeModule::Symbol& procedure : sortedByName(module.procedures)) {
    uint32_t source = drt::kNoSource;
    if (!procedure.source.empty()) {
      auto known = std::find(record.sourceFiles.begin(), record.sourceFiles.end(), procedure.source);
      source = static_cast<uint32_t>(known - record.sourceFiles.begin());
      if (known == record.sourceFiles.end()) record.sourceFiles.push_back(procedure.source);
    }
    record.procedures.push_back({procedure.name, procedure.offset, source});
  }
  for (const ZpeModule::Symbol& variable : sortedByName(module.variables))
    record.variables.push_back({variable.name, variable.offset});
  return record;
}
