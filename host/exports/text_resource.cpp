#include "host/exports/text_resource.h"

TextResource* RUNA1_API TextRes_ReadText(KFileObj* file) { return TextResource::ReadText(file); }

uint32_t RUNA1_API TextRes_Delete(TextResource* res) {
  delete res;
  return 0;
}

int32_t RUNA1_API TextRes_GetLabelIndex(TextResource* res, int32_t label) { return res->GetLabelIndex(label); }

uint32_t RUNA1_API TextRes_MoveToLabel(TextResource* res, int32_t label) {
  res->MoveToLabel(label);
  return 0;
}
