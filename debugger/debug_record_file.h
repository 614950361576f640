// Reading a module's debug record file for a debug session.
#pragma once

#include "debugger/debug_record.h"

namespace drt {

// Reads the record at `path` (Shift-JIS) and checks it against `module`. A file that is
// missing, cut short, or lying, or one of another module, gives false after one line on the
// debug output that says why: the module then runs without the debugger.
bool loadDebugRecord(const char* path, const ModuleTables& module, DebugRecord* record);

}  // namespace drt
