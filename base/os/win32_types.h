// Win32 types that the engine's interfaces expose. On Windows they come from <windows.h>; the
// native build gets layout-compatible definitions so that the portable library compiles as is.
#pragma once

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cstdint>

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using UINT = uint32_t;
using BOOL = int32_t;
using HANDLE = void*;

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)))

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

struct RECT {
  LONG left;
  LONG top;
  LONG right;
  LONG bottom;
};

struct POINT {
  LONG x;
  LONG y;
};
#endif

// Calling convention of the host's exports: the callee pops its arguments on 32-bit x86.
#if defined(_WIN32) && defined(__i386__)
#define RUNA1_API __stdcall
#else
#define RUNA1_API
#endif
