// Calls code at `procedure` with `count` 32-bit arguments, arguments[0] leftmost. convention 0:
// the callee pops; nonzero: the caller pops; 2: arguments[0] goes in ECX instead of on the
// stack. The stack is restored from the frame pointer afterwards, so a wrong convention cannot
// unbalance the caller. Only a 32-bit x86 host runs module code; elsewhere the call reports
// that on the debug channel and gives 0.
#pragma once

#include <cstdint>

uint32_t callProcedure(void* procedure, uint32_t count, const uint32_t* arguments, uint32_t convention);
