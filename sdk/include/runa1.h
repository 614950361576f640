/* runa1.h: the host's exports as a game module imports them (32-bit x86, module name RUNA1).
 * Every export is __stdcall and imported through a pointer slot (__imp__Name@bytes), which the
 * module linker binds to the host. Handles are opaque 32-bit values.
 * Include this header after <windows.h> when a module uses both: a few flag names of the
 * engine are also Windows macros with other values, and the engine's win here. */
#ifndef RUNA1_H
#define RUNA1_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define RUNA1_IMPORT(type) __declspec(dllimport) type __stdcall

typedef void* RUNA1_HANDLE;

/* ---- File objects ------------------------------------------------------------------------ */
#undef FILE_CREATE
#undef FILE_SHARE_READ
#undef FILE_SHARE_WRITE
#define FILE_CREATE 0x01
#define FILE_READ 0x02
#define FILE_WRITE 0x04
#define FILE_SHARE_READ 0x10
#define FILE_SHARE_WRITE 0x20

typedef RUNA1_HANDLE KFILE; /* any file object: raw file, record, archive member */

RUNA1_IMPORT(KFILE) File_OpenFile(const char* path, uint32_t flags);
RUNA1_IMPORT(uint32_t) File_CloseFile(KFILE file);
RUNA1_IMPORT(uint32_t) File_Read(KFILE file, void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Write(KFILE file, const void* buffer, uint32_t bytes);
RUNA1_IMPORT(uint32_t) File_Seek(KFILE file, int32_t offset, uint32_t method);
RUNA1_IMPORT(uint32_t) File_GetLength(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetPosition(KFILE file);
RUNA1_IMPORT(uint32_t) File_GetFileName(KFILE file, char* buffer);
RUNA1_IMPORT(uint32_t) File_GetFilePath(KFILE file, char* buffer);
RUNA1_IMPORT(void*) File_GetFileHandle(KFILE file);

/* ---- Module loader and host services ----------------------------------------------------- */
typedef RUNA1_HANDLE ZPKMODULE; /* a loaded module; StartingProc receives its own */

/* Conventions of ZPK_CallProcedure. */
#define ZPK_CALL_STDCALL 0  /* the callee pops */
#define ZPK_CALL_CDECL 1    /* the caller pops */
#define ZPK_CALL_THISCALL 2 /* arguments[0] in ECX, the rest pushed */

RUNA1_IMPORT(ZPKMODULE) ZPK_LoadZPKModuleFile(const char* path);
RUNA1_IMPORT(uint32_t) ZPK_DeleteZPKModule(ZPKMODULE module);
RUNA1_IMPORT(void*) ZPK_GetProcedureAddress(ZPKMODULE module, const char* name);
RUNA1_IMPORT(void*) ZPK_GetVariableAddress(ZPKMODULE module, const char* name);
RUNA1_IMPORT(uint32_t) ZPK_CallProcedure(void* procedure, uint32_t count, const uint32_t* arguments,
                                         uint32_t convention);
RUNA1_IMPORT(const char*) ZPK_GetLastErrorMessage(ZPKMODULE module);
RUNA1_IMPORT(const char*) ZPK_GetBaseDirectory(ZPKMODULE module);
RUNA1_IMPORT(uint32_t) ZPK_GetResourceID(ZPKMODULE module, const char* name);
RUNA1_IMPORT(uint32_t) ZPK_GetResourceLength(ZPKMODULE module, int32_t id);
RUNA1_IMPORT(KFILE) ZPK_OpenResource(ZPKMODULE module, int32_t id);

/* ---- Numeric helpers ---------------------------------------------------------------------- */

/* ---- Record files and archives ------------------------------------------------------------ */

/* ---- String stream and text resources ----------------------------------------------------- */

/* ---- Images, views, fonts, z-buffer ------------------------------------------------------- */

/* ---- Drawing core ------------------------------------------------------------------------- */

/* ---- 3D ----------------------------------------------------------------------------------- */

/* ---- Sound, music, timers, movie ---------------------------------------------------------- */

/* ---- Menu screens ------------------------------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* RUNA1_H */
