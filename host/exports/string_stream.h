// strmstr_* exports: the string stream for the module. A text resource handle works with every
// one of them too.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "files/file_obj.h"
#include "files/string_stream.h"

extern "C" {
StringStream* RUNA1_API strmstr_Create(const char* text, int32_t length);
StringStream* RUNA1_API strmstr_LoadText(KFileObj* file);
uint32_t RUNA1_API strmstr_Delete(StringStream* stream);
const char* RUNA1_API strmstr_GetBuffer(StringStream* stream);
int32_t RUNA1_API strmstr_GetLength(StringStream* stream);
int32_t RUNA1_API strmstr_GetIndex(StringStream* stream);
int32_t RUNA1_API strmstr_GetLastIndex(StringStream* stream);
uint32_t RUNA1_API strmstr_SetIndex(StringStream* stream, int32_t index);
uint32_t RUNA1_API strmstr_GetChar(StringStream* stream);
uint32_t RUNA1_API strmstr_GetCurrentChar(StringStream* stream);
uint32_t RUNA1_API strmstr_DisableSpace(StringStream* stream);
StringStream* RUNA1_API strmstr_GetString(StringStream* stream, uint32_t move);
StringStream* RUNA1_API strmstr_GetLine(StringStream* stream, uint32_t move);
StringStream* RUNA1_API strmstr_GetEnclosedString(StringStream* stream, uint32_t open, uint32_t close);
// The float's bit pattern.
uint32_t RUNA1_API strmstr_GetValue(StringStream* stream);
uint32_t RUNA1_API strmstr_IsNumberString(StringStream* stream);
int32_t RUNA1_API strmstr_GetInteger(StringStream* stream);
uint32_t RUNA1_API strmstr_SetSpaceCode(StringStream* stream, const char* codes);
uint32_t RUNA1_API strmstr_SetSeparateCode(StringStream* stream, const char* codes);
uint32_t RUNA1_API strmstr_IsOverflowIndex(StringStream* stream);
uint32_t RUNA1_API strmstr_IsSeparatorCode(StringStream* stream, uint32_t code);
uint32_t RUNA1_API strmstr_IsSeparator(StringStream* stream);
// vsprintf over the module's variable arguments (see files/string_stream_format.h).
int32_t RUNA1_API strmstr_Format(char* buffer, const char* format, const void* arguments);
}
