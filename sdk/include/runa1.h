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

/* ---- String stream and text resources ----------------------------------------------------- */
typedef RUNA1_HANDLE STRMSTR; /* a string stream; a text resource is one too */
typedef RUNA1_HANDLE TEXTRES;

RUNA1_IMPORT(STRMSTR) strmstr_Create(const char* text, int32_t length); /* length 0: up to the NUL */
RUNA1_IMPORT(STRMSTR) strmstr_LoadText(KFILE file);
RUNA1_IMPORT(uint32_t) strmstr_Delete(STRMSTR stream);
RUNA1_IMPORT(const char*) strmstr_GetBuffer(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetLength(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetIndex(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetLastIndex(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_SetIndex(STRMSTR stream, int32_t index);
RUNA1_IMPORT(uint32_t) strmstr_GetChar(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_GetCurrentChar(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_DisableSpace(STRMSTR stream);
/* The three getters give a new stream that the caller deletes. */
RUNA1_IMPORT(STRMSTR) strmstr_GetString(STRMSTR stream, uint32_t move);
RUNA1_IMPORT(STRMSTR) strmstr_GetLine(STRMSTR stream, uint32_t move);
RUNA1_IMPORT(STRMSTR) strmstr_GetEnclosedString(STRMSTR stream, uint32_t open, uint32_t close);
/* A float, given back as its bit pattern. */
RUNA1_IMPORT(uint32_t) strmstr_GetValue(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_IsNumberString(STRMSTR stream);
RUNA1_IMPORT(int32_t) strmstr_GetInteger(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_SetSpaceCode(STRMSTR stream, const char* codes);
RUNA1_IMPORT(uint32_t) strmstr_SetSeparateCode(STRMSTR stream, const char* codes);
RUNA1_IMPORT(uint32_t) strmstr_IsOverflowIndex(STRMSTR stream);
RUNA1_IMPORT(uint32_t) strmstr_IsSeparatorCode(STRMSTR stream, uint32_t code);
RUNA1_IMPORT(uint32_t) strmstr_IsSeparator(STRMSTR stream);
/* vsprintf: `arguments` is a va_list. */
RUNA1_IMPORT(int32_t) strmstr_Format(char* buffer, const char* format, const void* arguments);

RUNA1_IMPORT(TEXTRES) TextRes_ReadText(KFILE file);
RUNA1_IMPORT(uint32_t) TextRes_Delete(TEXTRES res);
RUNA1_IMPORT(int32_t) TextRes_GetLabelIndex(TEXTRES res, int32_t label);
RUNA1_IMPORT(uint32_t) TextRes_MoveToLabel(TEXTRES res, int32_t label);

/* ---- Images, views, fonts, z-buffer ------------------------------------------------------- */

/* ---- Drawing core ------------------------------------------------------------------------- */

/* ---- 3D ----------------------------------------------------------------------------------- */

/* ---- Sound, music, timers, movie ---------------------------------------------------------- */

/* ---- Menu screens ------------------------------------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* RUNA1_H */
