// TextRes_* exports: text resources for the module. A text resource is a string stream with
// labels: the strmstr_* exports take its handle too.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"
#include "files/file_obj.h"
#include "files/text_resource.h"

extern "C" {
TextResource* RUNA1_API TextRes_ReadText(KFileObj* file);
uint32_t RUNA1_API TextRes_Delete(TextResource* res);
int32_t RUNA1_API TextRes_GetLabelIndex(TextResource* res, int32_t label);
uint32_t RUNA1_API TextRes_MoveToLabel(TextResource* res, int32_t label);
}
