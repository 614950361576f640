// PlayMCIMovieFile: a movie file played in a child window of `parent` under the calling
// thread's own message loop.
#pragma once

#include <cstdint>

#include "base/os/win32_types.h"

extern "C" {
// 0 when the movie ended or was skipped (allowSkip: Escape or the right button); 1 on failure,
// with the reason in `errorText` (null: a buffer of its own). The three reserved words are not
// read.
uint32_t RUNA1_API PlayMCIMovieFile(HWND parent, const char* fileName, RECT* destination, uint32_t reserved1,
                                    uint32_t reserved2, uint32_t reserved3, int32_t allowSkip, char* errorText,
                                    uint32_t errorSize);
}
