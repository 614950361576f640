#include "host/exports/zbuffer.h"

ZBuffer* RUNA1_API ZBuffer_Create(int32_t width, int32_t height) {
  ZBuffer* buffer = new ZBuffer;
  if (buffer->Create(width, height) != 0) {
    delete buffer;
    return nullptr;
  }
  return buffer;
}

uint32_t RUNA1_API ZBuffer_Delete(ZBuffer* buffer) {
  delete buffer;
  return 0;
}

uint32_t RUNA1_API ZBuffer_Initialize(ZBuffer* buffer, uint32_t value) {
  return buffer->Initialize(value);
}

uint32_t RUNA1_API ZBuffer_InitializeEqual(ZBuffer* buffer, uint32_t newValue, uint32_t oldValue) {
  return buffer->InitializeEqual(newValue, oldValue);
}

uint32_t RUNA1_API ZBuffer_InitializeNonEqual(ZBuffer* buffer, uint32_t newValue,
                                              uint32_t oldValue) {
  return buffer->InitializeNonEqual(newValue, oldValue);
}
