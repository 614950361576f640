// MOLAQ_* export of the drawing core: the choice of kernel variants.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

extern "C" {
// Chooses the kernel variants anew from the processor's features and `flags`; gives 0.
uint32_t RUNA1_API MOLAQ_SetDefInterface(uint32_t flags);
}
