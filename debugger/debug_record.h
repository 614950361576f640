// The debug record (.drt) of a module: the source file of each procedure and the names of its
// procedures and variables with their image offsets, as the module debugger needs them. The
// linker writes it beside the module; the debugger reads it and checks it against the loaded
// module before it touches the image. Layout: sdk/debug_record.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace drt {

inline constexpr char kSignature[4] = {'Z', 'D', 'R', 'T'};
inline constexpr uint32_t kVersion = 1;
inline constexpr uint32_t kNoSource = 0xFFFFFFFF;

struct Procedure {
  std::string name;
  uint32_t offset;  // image offset of the entry
  uint32_t source;  // index into the source files, or kNoSource
};

struct Variable {
  std::string name;
  uint32_t offset;
};

struct DebugRecord {
  uint32_t imageSize = 0;  // import table, code and data of the module
  uint32_t codeEnd = 0;    // image offset where the data begins
  std::vector<std::string> sourceFiles;
  std::vector<Procedure> procedures;  // in the order of the module's procedure table
  std::vector<Variable> variables;    // in the order of the module's variable table
};

std::vector<uint8_t> writeDebugRecord(const DebugRecord& record);

// Reads only inside [bytes, bytes + size). False, with the reason in `error`, when the bytes
// are not a record of this version, end before what they announce, or point outside
// themselves; `record` is then left incomplete.
bool parseDebugRecord(const uint8_t* bytes, size_t size, DebugRecord* record, std::string* error);

// What the loaded module says of itself, for the check below.
struct ModuleTables {
  uint32_t imageSize;
  std::vector<const char*> procedureNames;
  std::vector<uint32_t> procedureOffsets;
  std::vector<const char*> variableNames;
  std::vector<uint32_t> variableOffsets;
};

// False, with the reason, when the record describes another module (or another build of it):
// the sizes, names or offsets differ, or a procedure entry lies outside the code.
bool matchesModule(const DebugRecord& record, const ModuleTables& module, std::string* error);

}  // namespace drt
