#include "host/exports/module.h"

#include "base/os/os.h"
#include "host/exports/export_table.h"
#include "host/module/call_procedure.h"

namespace {

class SystemModulePlatform : public ModulePlatform {
 public:
  void* allocateImage(uint32_t bytes) override { return os::allocateExecutable(bytes); }
  void freeImage(void* block) override { os::freeExecutable(block); }
  void* loadLibrary(const char* name) override { return os::loadLibrary(name); }
  void* libraryProcedure(void* library, const char* name) override { return os::libraryProcedure(library, name); }
  void freeLibrary(void* library) override { os::freeLibrary(library); }
  void* hostHandle() override { return os::processModule(); }
  void* hostProcedure(const char* name) override {
    const ExportEntry* entry = findExport(name);
    return entry ? const_cast<void*>(entry->function) : nullptr;
  }
  uint32_t callProcedure(void* procedure, uint32_t count, const uint32_t* arguments, uint32_t convention) override {
    return ::callProcedure(procedure, count, arguments, convention);
  }
};

}  // namespace

ModulePlatform& systemModulePlatform() {
  static SystemModulePlatform platform;
  return platform;
}

// A failed load gives null; its reason goes with the deleted object.
CZPKModule* RUNA1_API ZPK_LoadZPKModuleFile(const char* path) {
  CZPKModule* module = new CZPKModule;
  if (module->Load(path) != CZPKModule::kLoaded) {
    delete module;
    return nullptr;
  }
  return module;
}

uint32_t RUNA1_API ZPK_DeleteZPKModule(CZPKModule* module) {
  delete module;  // runs the finaliser
  return 0;
}

void* RUNA1_API ZPK_GetProcedureAddress(CZPKModule* module, const char* name) {
  return module->GetProcedureAddress(name);
}

void* RUNA1_API ZPK_GetVariableAddress(CZPKModule* module, const char* name) {
  return module->GetVariableAddress(name);
}

uint32_t RUNA1_API ZPK_CallProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                     uint32_t convention) {
  return callProcedure(procedure, count, arguments, convention);
}

const char* RUNA1_API ZPK_GetLastErrorMessage(CZPKModule* module) { return module->GetLastErrorMessage(); }

const char* RUNA1_API ZPK_GetBaseDirectory(CZPKModule* module) { return module->GetBaseDirectory(); }

uint32_t RUNA1_API ZPK_GetResourceID(CZPKModule* module, const char* name) { return module->GetResourceID(name); }

uint32_t RUNA1_API ZPK_GetResourceLength(CZPKModule* module, int32_t id) { return module->GetResourceLength(id); }

KRawFile* RUNA1_API ZPK_OpenResource(CZPKModule* module, int32_t id) { return module->OpenResource(id); }
