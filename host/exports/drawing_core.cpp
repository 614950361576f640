#include "host/exports/drawing_core.h"

#include "graphics/core/molaq.h"

uint32_t RUNA1_API MOLAQ_SetDefInterface(uint32_t flags) {
  mqSelectInterface(mqGetInterface(), flags, 0);
  return 0;
}
