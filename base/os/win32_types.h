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
#include <commdlg.h>
#include <mmsystem.h>
#else
#include <cstdint>

using BYTE = uint8_t;
using WORD = uint16_t;
using DWORD = uint32_t;
using LONG = int32_t;
using UINT = uint32_t;
using BOOL = int32_t;
using HANDLE = void*;

#define WINAPI

#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1)))

// Message box flags and answers.
#define MB_OK 0x0u
#define MB_OKCANCEL 0x1u
#define MB_ABORTRETRYIGNORE 0x2u
#define MB_YESNOCANCEL 0x3u
#define MB_YESNO 0x4u
#define MB_RETRYCANCEL 0x5u
#define MB_CANCELTRYCONTINUE 0x6u
#define MB_TYPEMASK 0xFu
#define MB_ICONHAND 0x10u
#define MB_ICONERROR MB_ICONHAND
#define MB_ICONSTOP MB_ICONHAND
#define MB_ICONQUESTION 0x20u
#define MB_ICONEXCLAMATION 0x30u
#define MB_ICONWARNING MB_ICONEXCLAMATION
#define MB_ICONINFORMATION 0x40u
#define MB_DEFBUTTON1 0x0u
#define MB_DEFBUTTON2 0x100u
#define MB_DEFBUTTON3 0x200u
#define MB_DEFBUTTON4 0x300u
#define MB_DEFMASK 0xF00u
#define MB_SETFOREGROUND 0x10000u
#define MB_TOPMOST 0x40000u
#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDTRYAGAIN 10
#define IDCONTINUE 11

// File dialog flags.
#define OFN_OVERWRITEPROMPT 0x2u
#define OFN_HIDEREADONLY 0x4u

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

struct SIZE {
  LONG cx;
  LONG cy;
};

struct POINT {
  LONG x;
  LONG y;
};

// Device-independent bitmaps and palettes, in the layouts of the Windows headers.
struct BITMAPINFOHEADER {
  DWORD biSize;
  LONG biWidth;
  LONG biHeight;
  WORD biPlanes;
  WORD biBitCount;
  DWORD biCompression;
  DWORD biSizeImage;
  LONG biXPelsPerMeter;
  LONG biYPelsPerMeter;
  DWORD biClrUsed;
  DWORD biClrImportant;
};

struct RGBQUAD {
  BYTE rgbBlue;
  BYTE rgbGreen;
  BYTE rgbRed;
  BYTE rgbReserved;
};

struct BITMAPINFO {
  BITMAPINFOHEADER bmiHeader;
  RGBQUAD bmiColors[1];
};

struct PALETTEENTRY {
  BYTE peRed;
  BYTE peGreen;
  BYTE peBlue;
  BYTE peFlags;
};

struct LOGPALETTE {
  WORD palVersion;
  WORD palNumEntries;
  PALETTEENTRY palPalEntry[1];
};

// GDI handles are opaque: the native paint device gives them its own meaning.
struct HDC__;
struct HPALETTE__;
struct HFONT__;
using HDC = HDC__*;
using HPALETTE = HPALETTE__*;
using HFONT = HFONT__*;

#define BI_RGB 0
#define PC_NOCOLLAPSE 0x04
#define DIB_RGB_COLORS 0
#define SRCCOPY 0x00CC0020u

// Windows and window classes. The native window system gives the handles its own meaning.
struct HWND__;
using HWND = HWND__*;
using HINSTANCE = void*;
using HICON = void*;
using HCURSOR = void*;
using HBRUSH = void*;
using WPARAM = uintptr_t;
using LPARAM = intptr_t;
using LRESULT = intptr_t;
using WNDPROC = LRESULT (*)(HWND, UINT, WPARAM, LPARAM);

struct WNDCLASSA {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  const char* lpszMenuName;
  const char* lpszClassName;
};

#define CS_VREDRAW 0x0001u
#define CS_HREDRAW 0x0002u
#define CS_SAVEBITS 0x0800u
#define CS_IME 0x00010000u
#define WS_CAPTION 0x00C00000u

#define WS_POPUP 0x80000000u
#define WS_VISIBLE 0x10000000u
#define WS_MAXIMIZE 0x01000000u
#define WS_DLGFRAME 0x00400000u
#define WS_SYSMENU 0x00080000u
#define WS_EX_TOPMOST 0x00000008u

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CYCAPTION 4
#define SM_CYBORDER 6
#define SM_CXDLGFRAME 7
#define SM_CYDLGFRAME 8
#define SM_CXFRAME 32
#define SM_CYFRAME 33

struct HMENU__;
using HMENU = HMENU__*;

struct MINMAXINFO {
  POINT ptReserved;
  POINT ptMaxSize;
  POINT ptMaxPosition;
  POINT ptMinTrackSize;
  POINT ptMaxTrackSize;
};

#define WM_MOVE 0x0003u
#define WM_SIZE 0x0005u
#define WM_ACTIVATE 0x0006u
#define WM_PAINT 0x000Fu
#define WM_CLOSE 0x0010u
#define WM_QUIT 0x0012u
#define WM_GETMINMAXINFO 0x0024u
#define WM_KEYDOWN 0x0100u
#define WM_TIMER 0x0113u
#define WM_MOUSEMOVE 0x0200u
#define WM_LBUTTONDOWN 0x0201u
#define WM_MOUSEWHEEL 0x020Au
#define WM_MOUSELAST 0x020Du
#define WM_PALETTECHANGED 0x0311u
#define WM_USER 0x0400u
#define WM_APP 0x8000u
#define WA_INACTIVE 0
#define WA_ACTIVE 1

#define SW_MAXIMIZE 3
#define SW_SHOW 5
#define SW_RESTORE 9
#define SWP_NOSIZE 0x0001u
#define SWP_NOMOVE 0x0002u
#define SWP_NOZORDER 0x0004u
#define SWP_NOACTIVATE 0x0010u

#define NORMAL_PRIORITY_CLASS 0x00000020u
#define IDLE_PRIORITY_CLASS 0x00000040u

#define THREAD_PRIORITY_NORMAL 0
#define THREAD_PRIORITY_ABOVE_NORMAL 1

// The wave format record; packed, as the system declares it.
#define WAVE_FORMAT_PCM 1
#pragma pack(push, 1)
struct WAVEFORMATEX {
  WORD wFormatTag;
  WORD nChannels;
  DWORD nSamplesPerSec;
  DWORD nAvgBytesPerSec;
  WORD nBlockAlign;
  WORD wBitsPerSample;
  WORD cbSize;
};
#pragma pack(pop)

static_assert(sizeof(BITMAPINFOHEADER) == 40 && sizeof(RGBQUAD) == 4 && sizeof(BITMAPINFO) == 44);
static_assert(sizeof(PALETTEENTRY) == 4 && sizeof(LOGPALETTE) == 8);
static_assert(sizeof(WAVEFORMATEX) == 18);
#endif

// Calling convention of the host's exports: the callee pops its arguments on 32-bit x86.
#if defined(_WIN32) && defined(__i386__)
#define RUNA1_API __stdcall
#else
#define RUNA1_API
#endif
