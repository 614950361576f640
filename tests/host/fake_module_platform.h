// A module platform for tests: plain memory for the image, libraries and procedures from
// tables, and a record of every call into module code instead of running it.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/module/module_platform.h"

class FakeModulePlatform : public ModulePlatform {
 public:
  // Libraries that load, and the procedures each one has.
  std::map<std::string, std::map<std::string, uintptr_t>> libraryTable;
  std::map<std::string, uintptr_t> hostTable;
  uint32_t imageLimit = 16 << 20;

  std::vector<std::string> loaded;  // in load order
  std::vector<std::string> freed;   // in release order
  std::vector<uintptr_t> calls;     // procedure addresses, in call order
  std::vector<std::string> log;     // loads, frees and calls together, in order

  void* allocateImage(uint32_t bytes) override { return bytes > imageLimit ? nullptr : std::malloc(bytes); }
  void freeImage(void* block) override { std::free(block); }
  void* loadLibrary(const char* name) override {
    auto it = libraryTable.find(name);
    if (it == libraryTable.end()) return nullptr;
    loaded.push_back(name);
    log.push_back("load " + it->first);
    return &it->second;
  }
  void* libraryProcedure(void* library, const char* name) override {
    auto& procedures = *static_cast<std::map<std::string, uintptr_t>*>(library);
    auto it = procedures.find(name);
    return it == procedures.end() ? nullptr : reinterpret_cast<void*>(it->second);
  }
  void freeLibrary(void* library) override {
    for (auto& [name, procedures] : libraryTable)
      if (&procedures == library) {
        freed.push_back(name);
        log.push_back("free " + name);
      }
  }
  void* hostHandle() override { return &hostTable; }
  void* hostProcedure(const char* name) override {
    auto it = hostTable.find(name);
    return it == hostTable.end() ? nullptr : reinterpret_cast<void*>(it->second);
  }
  uint32_t callProcedure(void* procedure, uint32_t, const uint32_t*, uint32_t) override {
    calls.push_back(reinterpret_cast<uintptr_t>(procedure));
    log.push_back("call");
    return 0;
  }
};
