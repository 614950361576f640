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

/* ---- Numeric helpers ---------------------------------------------------------------------- */

/* ---- Record files and archives ------------------------------------------------------------ */
typedef RUNA1_HANDLE KARCHIVE; /* also a KFILE: after KORALArchive_DescendFile it reads the member */

RUNA1_IMPORT(void) VRFFile_SetDefaultVRFID(const void* id);
RUNA1_IMPORT(KARCHIVE) KORALArchive_Open(const char* path, uint32_t quiet);
RUNA1_IMPORT(void) KORALArchive_Close(KARCHIVE archive);
RUNA1_IMPORT(uint32_t) KORALArchive_DescendDirectory(KARCHIVE archive, const char* name);
RUNA1_IMPORT(uint32_t) KORALArchive_AscendDirectory(KARCHIVE archive);
RUNA1_IMPORT(char*) KORALArchive_GetCurrentDirecotry(KARCHIVE archive); /* process heap, caller frees */
RUNA1_IMPORT(uint32_t) KORALArchive_DescendFile(KARCHIVE archive, const char* name);
RUNA1_IMPORT(uint32_t) KORALArchive_AscendFile(KARCHIVE archive);
RUNA1_IMPORT(void*) KORALArchive_GetFileHandle(KARCHIVE archive);
RUNA1_IMPORT(KFILE) KORALArchive_GetRawFile(KARCHIVE archive);

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
