// ZBuffer_* exports: depth planes for the module. The handle is a ZBuffer; 0 means success and
// 1 a buffer without cells.
#pragma once

#include <cstdint>

#include "graphics/zbuffer.h"

extern "C" {
ZBuffer* RUNA1_API ZBuffer_Create(int32_t width, int32_t height);
uint32_t RUNA1_API ZBuffer_Delete(ZBuffer* buffer);
uint32_t RUNA1_API ZBuffer_Initialize(ZBuffer* buffer, uint32_t value);
uint32_t RUNA1_API ZBuffer_InitializeEqual(ZBuffer* buffer, uint32_t newValue, uint32_t oldValue);
uint32_t RUNA1_API ZBuffer_InitializeNonEqual(ZBuffer* buffer, uint32_t newValue,
                                              uint32_t oldValue);
}
