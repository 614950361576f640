// KORALArchive_* exports: archives for the module. They read only: none of them writes.
#pragma once

#include <cstdint>

#include "files/koral_archive.h"

extern "C" {
KArcFileExp* RUNA1_API KORALArchive_Open(const char* path, uint32_t quiet);
void RUNA1_API KORALArchive_Close(KArcFileExp* archive);
uint32_t RUNA1_API KORALArchive_DescendDirectory(KArcFileExp* archive, const char* name);
uint32_t RUNA1_API KORALArchive_AscendDirectory(KArcFileExp* archive);
char* RUNA1_API KORALArchive_GetCurrentDirecotry(KArcFileExp* archive);
uint32_t RUNA1_API KORALArchive_DescendFile(KArcFileExp* archive, const char* name);
uint32_t RUNA1_API KORALArchive_AscendFile(KArcFileExp* archive);
HANDLE RUNA1_API KORALArchive_GetFileHandle(KArcFileExp* archive);
KFileObj* RUNA1_API KORALArchive_GetRawFile(KArcFileExp* archive);
}
