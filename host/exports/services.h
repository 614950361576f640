// ZPK_* host services without a subsystem of their own: profile, cursor, display queries and
// the atomic exchange.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

extern "C" {
uint32_t RUNA1_API ZPK_SetRegistryKey(const char* company, const char* application);
uint32_t RUNA1_API ZPK_GetProfileInt(const char* section, const char* entry, uint32_t defaultValue);
uint32_t RUNA1_API ZPK_WriteProfileInt(const char* section, const char* entry, uint32_t value);
char* RUNA1_API ZPK_GetProfileString(const char* section, const char* entry, const char* defaultValue);
uint32_t RUNA1_API ZPK_WriteProfileString(const char* section, const char* entry, const char* value);

uint32_t RUNA1_API ZPK_IsShowCursor();
uint32_t RUNA1_API ZPK_SetShowCursor(int32_t show);
uint32_t RUNA1_API ZPK_GetDisplaySize(SIZE* size);
uint32_t RUNA1_API ZPK_GetDisplayBitsPerPixel();
uint32_t RUNA1_API ZPK_TestDisplayMode(uint32_t width, uint32_t height, uint32_t bitsPerPixel);
uint32_t RUNA1_API ZPK_CompareExchange(uint32_t* target, uint32_t comparand, uint32_t exchange);
}

// The company under which the profile lives until a module names its own.
inline constexpr const char* kDefaultRegistryCompany = "Orvik Soft";
// The application name: the executable's name without its extension.
inline constexpr const char* kApplicationName = "runa1";
