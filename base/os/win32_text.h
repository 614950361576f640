// Shift-JIS text for the wide Win32 functions, shared by the Win32 files of the seam.
#pragma once

#include <string>

#include "base/os/win32_types.h"

namespace os {

constexpr UINT kShiftJis = 932;
// Code page 932 to UTF-16; empty for a null or undecodable text.
std::wstring widen(const char* text);

}  // namespace os
