// File_* exports: file objects for the module. `file` is any KFileObj for the transfer calls,
// and a KRawFile for the name, path and handle calls.
#pragma once

#include <cstdint>

#include "files/file_obj.h"

extern "C" {
KRawFile* RUNA1_API File_OpenFile(const char* path, uint32_t flags);
uint32_t RUNA1_API File_CloseFile(KRawFile* file);
uint32_t RUNA1_API File_Read(KFileObj* file, void* buffer, uint32_t bytes);
uint32_t RUNA1_API File_Write(KFileObj* file, const void* buffer, uint32_t bytes);
uint32_t RUNA1_API File_Seek(KFileObj* file, int32_t offset, uint32_t method);
uint32_t RUNA1_API File_GetLength(KFileObj* file);
uint32_t RUNA1_API File_GetPosition(KFileObj* file);
uint32_t RUNA1_API File_GetFileName(KRawFile* file, char* buffer);
uint32_t RUNA1_API File_GetFilePath(KRawFile* file, char* buffer);
HANDLE RUNA1_API File_GetFileHandle(KRawFile* file);
}
