#include "host/exports/record_file.h"

#include "files/vrf_file.h"

void RUNA1_API VRFFile_SetDefaultVRFID(const uint8_t* id) { setDefaultVRFId(id); }
