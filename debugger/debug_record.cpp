#include "debugger/debug_record.h"

#include <cstring>

namespace drt {

namespace {

constexpr size_t kHeaderBytes = 32;

void put32(std::vector<uint8_t>* out, uint32_t value) {
  for (int i = 0; i < 4; ++i) out->push_back(static_cast<uint8_t>(value >> (8 * i)));
}

uint32_t get32(const uint8_t* bytes) {
  return bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

// The string area: NUL-terminated names, each found by its offset.
class Strings {
 public:
  uint32_t add(const std::string& text) {
    uint32_t at = static_cast<uint32_t>(bytes_.size());
    bytes_.insert(bytes_.end(), text.c_str(), text.c_str() + text.size() + 1);
    return at;
  }
  const std::vector<uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
};

// The NUL-terminated name at `offset` of the string area `strings`.
bool nameAt(const uint8_t* strings, size_t stringBytes, uint32_t offset, std::string* text) {
  if (offset >= stringBytes) return false;
  const uint8_t* at = strings + offset;
  const void* end = std::memchr(at, 0, stringBytes - offset);
  if (!end) return false;
  text->assign(reinterpret_cast<const char*>(at), static_cast<const uint8_t*>(end) - at);
  return true;
}

bool fail(std::string* error, const std::string& reason) {
  *error = reason;
  return false;
}

}  // namespace

std::vector<uint8_t> writeDebugRecord(const DebugRecord& record) {
  Strings strings;
  std::vector<uint8_t> tables;
  for (const std::string& file : record.sourceFiles) put32(&tables, strings.add(file));
  for (const Procedure& procedure : record.procedures) {
    put32(&tables, strings.add(procedure.name));
    put32(&tables, procedure.offset);
    put32(&tables, procedure.source);
  }
  for (const Variable& variable : record.variables) {
    put32(&tables, strings.add(variable.name));
    put32(&tables, variable.offset);
  }
  std::vector<uint8_t> out(kSignature, kSignature + 4);
  put32(&out, kVersion);
  put32(&out, record.imageSize);
  put32(&out, record.codeEnd);
  put32(&out, static_cast<uint32_t>(record.sourceFiles.size()));
  put32(&out, static_cast<uint32_t>(record.procedures.size()));
  put32(&out, static_cast<uint32_t>(record.variables.size()));
  put32(&out, static_cast<uint32_t>(strings.bytes().size()));
  out.insert(out.end(), tables.begin(), tables.end());
  out.insert(out.end(), strings.bytes().begin(), strings.bytes().end());
  return out;
}

bool parseDebugRecord(const uint8_t* bytes, size_t size, DebugRecord* record, std::string* error) {
  if (size < kHeaderBytes) return fail(error, "the file is shorter than its header");
  if (std::memcmp(bytes, kSignature, 4) != 0) return fail(error, "the file is not a debug record");
  uint32_t version = get32(bytes + 4);
  record->imageSize = get32(bytes + 8);
  record->codeEnd = get32(bytes + 12);
  uint32_t sources = get32(bytes + 16), procedures = get32(bytes + 20), variables = get32(bytes + 24);
  uint32_t stringBytes = get32(bytes + 28);
  if (version != kVersion) return fail(error, "the record has version " + std::to_string(version));
  uint64_t tableBytes = 4 * (uint64_t{sources} + 3 * uint64_t{procedures} + 2 * uint64_t{variables});
  if (kHeaderBytes + tableBytes + stringBytes != size)
    return fail(error, "the file's length differs from what its header announces");
  // From here on every table word lies inside the bytes.
  const uint8_t* at = bytes + kHeaderBytes;
  const uint8_t* strings = at + tableBytes;
  auto word = [&at] {
    uint32_t value = get32(at);
    at += 4;
    return value;
  };
  record->sourceFiles.assign(sources, {});
  for (std::string& file : record->sourceFiles)
    if (!nameAt(strings, stringBytes, word(), &file)) return fail(error, "a source file name lies outside the record");
  record->procedures.assign(procedures, {});
  for (Procedure& procedure : record->procedures) {
    if (!nameAt(strings, stringBytes, word(), &procedure.name))
      return fail(error, "a procedure name lies outside the record");
    procedure.offset = word();
    procedure.source = word();
    if (procedure.source != kNoSource && procedure.source >= sources)
      return fail(error, "procedure " + procedure.name + " names a source file that the record lacks");
  }
  record->variables.assign(variables, {});
  for (Variable& variable : record->variables) {
    if (!nameAt(strings, stringBytes, word(), &variable.name))
      return fail(error, "a variable name lies outside the record");
    variable.offset = word();
  }
  return true;
}

bool matchesModule(const DebugRecord& record, const ModuleTables& module, std::string* error) {
  if (record.imageSize != module.imageSize || record.codeEnd > record.imageSize)
    return fail(error, "the record was made for an image of another size");
  if (record.procedures.size() != module.procedureNames.size() ||
      record.variables.size() != module.variableNames.size())
    return fail(error, "the record lists other procedures or variables than the module");
  for (size_t i = 0; i < record.procedures.size(); ++i) {
    const Procedure& procedure = record.procedures[i];
    if (procedure.name != module.procedureNames[i] || procedure.offset != module.procedureOffsets[i])
      return fail(error, "procedure " + procedure.name + " is not the module's");
    if (procedure.offset >= record.codeEnd)
      return fail(error, "procedure " + procedure.name + " does not lie in the code");
  }
  for (size_t i = 0; i < record.variables.size(); ++i) {
    const Variable& variable = record.variables[i];
    if (variable.name != module.variableNames[i] || variable.offset != module.variableOffsets[i])
      return fail(error, "variable " + variable.name + " is not the module's");
  }
  return true;
}

}  // namespace drt
