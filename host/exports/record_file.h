// VRFFile_* export: the record identifier that record files and archives expect by default.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

extern "C" {
void RUNA1_API VRFFile_SetDefaultVRFID(const uint8_t* id);
}
