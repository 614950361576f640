// ZPK_* exports of the module loader: further modules, their procedures, variables and
// resources, and calls into module code. A module handle is a CZPKModule pointer.
#pragma once

#include <cstdint>

#include "files/file_obj.h"
#include "host/module/zpk_module.h"

extern "C" {
CZPKModule* RUNA1_API ZPK_LoadZPKModuleFile(const char* path);
uint32_t RUNA1_API ZPK_DeleteZPKModule(CZPKModule* module);
void* RUNA1_API ZPK_GetProcedureAddress(CZPKModule* module, const char* name);
void* RUNA1_API ZPK_GetVariableAddress(CZPKModule* module, const char* name);
uint32_t RUNA1_API ZPK_CallProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                     uint32_t convention);
const char* RUNA1_API ZPK_GetLastErrorMessage(CZPKModule* module);
const char* RUNA1_API ZPK_GetBaseDirectory(CZPKModule* module);
uint32_t RUNA1_API ZPK_GetResourceID(CZPKModule* module, const char* name);
uint32_t RUNA1_API ZPK_GetResourceLength(CZPKModule* module, int32_t id);
KRawFile* RUNA1_API ZPK_OpenResource(CZPKModule* module, int32_t id);
}
