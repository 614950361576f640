#include "host/exports/file.h"

#include <cstring>

KRawFile* RUNA1_API File_OpenFile(const char* path, uint32_t flags) {
  KRawFile* file = new KRawFile;
  if (file->Open(path, flags) != 0) {
    delete file;  // the error record keeps the reason
    return nullptr;
  }
  return file;
}

uint32_t RUNA1_API File_CloseFile(KRawFile* file) {
  if (file) {
    file->Close();
    delete file;
  }
  return 0;
}

uint32_t RUNA1_API File_Read(KFileObj* file, void* buffer, uint32_t bytes) {
  return file->Read(buffer, bytes);
}

// Gives back the count asked for, not the count written: callers of this export cannot see a
// short write.
uint32_t RUNA1_API File_Write(KFileObj* file, const void* buffer, uint32_t bytes) {
  file->Write(buffer, bytes);
  return bytes;
}

uint32_t RUNA1_API File_Seek(KFileObj* file, int32_t offset, uint32_t method) {
  return file->Seek(offset, method);
}

uint32_t RUNA1_API File_GetLength(KFileObj* file) { return file->GetLength(); }

uint32_t RUNA1_API File_GetPosition(KFileObj* file) { return file->GetPosition(); }

uint32_t RUNA1_API File_GetFileName(KRawFile* file, char* buffer) {
  std::strcpy(buffer, file->GetName());
  return 0;
}

uint32_t RUNA1_API File_GetFilePath(KRawFile* file, char* buffer) {
  std::strcpy(buffer, file->GetPath());
  return 0;
}

HANDLE RUNA1_API File_GetFileHandle(KRawFile* file) { return file->GetHandle(); }
