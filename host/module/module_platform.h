// What the module loader needs of the machine: memory that can run code, libraries and their
// procedures, the host's own exports, and a call into module code. The product uses the
// system's; tests and the fuzzer stand in their own, so that the loader's logic runs anywhere.
#pragma once

#include <cstdint>

class ModulePlatform {
 public:
  virtual ~ModulePlatform() = default;
  // Readable, writable and executable memory; null when there is none.
  virtual void* allocateImage(uint32_t bytes) = 0;
  virtual void freeImage(void* block) = 0;
  virtual void* loadLibrary(const char* name) = 0;
  virtual void* libraryProcedure(void* library, const char* name) = 0;
  virtual void freeLibrary(void* library) = 0;
  // The handle of the host's own executable, and a procedure of it by decorated name.
  virtual void* hostHandle() = 0;
  virtual void* hostProcedure(const char* name) = 0;
  // Calls module code as ZPK_CallProcedure does.
  virtual uint32_t callProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                 uint32_t convention) = 0;
};

// The system's own: executable memory and libraries of the OS, the host's export table, and
// the processor for the calls.
ModulePlatform& systemModulePlatform();
