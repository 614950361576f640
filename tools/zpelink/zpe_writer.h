// Writes module files: the linked image, its imports and relocations, the procedure and
// variable tables and the resources, in the section layout the host's loader reads.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "debugger/debug_record.h"
#include "host/module/zpe_format.h"

struct ZpeModule {
  struct Import {
    std::string name;  // as the library knows it; host exports in decorated form
    int32_t library;   // index into `libraries`, or -1 for the host (then every library)
  };
  struct Symbol {
    std::string name;
    uint32_t offset;     // image offset
    std::string source = {};  // the source file of the object that defines it; empty when unknown
  };
  struct Resource {
    std::string name;
    bool external;
    std::string fileName;           // external: the file, resolved against the base directory
    std::vector<uint8_t> contents;  // embedded: the bytes
    uint32_t length;                // external: the file's length when the module was made
  };

  uint32_t startingProc = 0;
  uint32_t initializer = zpe::kNoProcedure;
  uint32_t finalizer = zpe::kNoProcedure;
  std::vector<uint8_t> code;
  std::vector<uint8_t> data;
  std::vector<std::string> libraries;
  std::vector<Import> imports;  // one slot each, in slot order
  std::vector<uint32_t> relocations;
  std::vector<Symbol> procedures;  // any order: the writer sorts
  std::vector<Symbol> variables;
  std::vector<Resource> resources;  // any order: ids follow the sorted names
};

// The whole file. Names of procedures, variables and resources are sorted by unsigned bytes.
std::vector<uint8_t> writeZpe(const ZpeModule& module);

// The debug record of the module: its tables in the file's order, each procedure with its
// source file.
drt::DebugRecord debugRecordOf(const ZpeModule& module);

// Sorts names by unsigned byte value, the order the loader's search relies on.
bool namesInOrder(const std::string& a, const std::string& b);
