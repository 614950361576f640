// The formatter of strmstr_Format: printf-style formatting over the argument cells of a 32-bit
// module, the variable arguments of a call as they lie on the module's stack. Every value takes
// 4-byte cells (int, long, char and short 1 cell; long long, __int64 and double 2 cells, low
// cell first). Text and pointer arguments take one cell per 4 bytes of a host pointer, so the
// same walk serves the 32-bit host, where they are the module's own pointers, and the 64-bit
// build, whose callers lay out 8-byte pointers in two cells.
#pragma once

#include <cstdint>

// Writes the formatted text and a NUL into `buffer`, which has no size limit, and gives the
// count of characters without the NUL. Conversions: d i u o x X c s p e E f F g G a A %, with
// flags - + space # 0, width and precision (numbers or *), and the sizes hh h l ll L I I32 I64
// j z t w. %p gives the address in upper-case hex digits, as many as a pointer holds. %n takes
// its pointer and writes nothing there. Anything else is copied as it stands.
int32_t FormatStringStreamArguments(char* buffer, const char* format, const void* arguments);
